#include "segment/watershed_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 4)) {
      case 0:
        return checkQueue<std::uint8_t>(shape);
      case 1:
        return checkQueue<std::uint16_t>(shape);
      case 2:
        return checkDistance<std::uint8_t, std::uint8_t>(shape);
      case 3:
        return checkDistance<std::uint8_t, std::uint16_t>(shape);
      default:
        return checkDistance<float, std::uint16_t>(shape);
    }
  });
  return 0;
}
