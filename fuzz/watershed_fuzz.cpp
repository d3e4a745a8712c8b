#include "segment/watershed_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkQueue<std::uint8_t>(shape);
      case 1:
        return checkQueue<std::uint16_t>(shape);
      default:
        return checkDistances(shape);
    }
  });
}
