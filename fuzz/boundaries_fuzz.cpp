#include "segment/boundaries_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    input.flag() ? checkBoundaries<std::uint8_t>(shape) : checkBoundaries<std::uint16_t>(shape);
  });
  return 0;
}
