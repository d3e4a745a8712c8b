#include "filter/pipeline_test.cpp"
#include "support/input.h"

// The operation of that number among the types.
template <class... Ops>
void tryOneOf(testing::Types<Ops...>, int number, const Shape& shape, unsigned seed, int length) {
  (void)((number-- == 0 && (check<Ops>(shape, Setting<Ops>(seed, length)), true)) || ...);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    const unsigned seed = input.any<std::uint16_t>();
    const int length = input.flag() ? input.between(1, 40) : 0;
    tryOneOf(Operations(), input.between(0, 21), shape, seed, length);
  });
  return 0;
}
