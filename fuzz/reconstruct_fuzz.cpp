#include "morph/reconstruct_test.cpp"
#include "support/input.h"

template <class T>
void tryType(fuzz::Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const auto mask = noisePlane<T>(shape.width, shape.height, shape.seed, input.between(0, 4));
    const auto marker = input.flag() ? noisePlane<T>(shape.width, shape.height, shape.seed + 1, input.between(0, 4))
                                     : sparseMarker<T>(mask, shape.seed, T{});
    checkAll<T>(mask, marker, shape);
  });
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  switch (input.between(0, 3)) {
    case 0:
      tryType<std::uint8_t>(input);
      break;
    case 1:
      tryType<std::uint16_t>(input);
      break;
    case 2:
      tryType<float>(input);
      break;
    default:
      tryType<double>(input);
  }
  return 0;
}
