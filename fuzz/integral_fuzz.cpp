#include "detect/integral_test.cpp"
#include "support/input.h"

template <class Op>
void tryOne(fuzz::Input& input, const Plane<std::uint8_t>& content, Placing placing) {
  const auto all = operations<Op>();
  check(all[static_cast<std::size_t>(input.between(0, static_cast<int>(all.size()) - 1))], content, placing);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  const RvpiSize size = input.size();
  const auto content = input.plane<std::uint8_t>(size.width, size.height);
  const Placing placing = input.placing();
  switch (input.between(0, 2)) {
    case 0:
      tryOne<Ints>(input, content, placing);
      break;
    case 1:
      tryOne<Mixed>(input, content, placing);
      break;
    default:
      tryOne<Floats>(input, content, placing);
  }
  return 0;
}
