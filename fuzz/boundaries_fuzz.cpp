#include "segment/boundaries_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.flag() ? checkBoundaries<std::uint8_t>(shape) : checkBoundaries<std::uint16_t>(shape);
  });
}
