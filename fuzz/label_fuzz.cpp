#include "segment/label_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const Shape shape = input.shape();
  const int minLabel = input.between(1, 254);
  const Labels labels = {minLabel, input.between(minLabel, 254), input.between(0, 1)};
  const auto content = input.plane<std::uint8_t>(shape.width, shape.height);
  checkBeside(content, shape, labels);
  checkInPlace(content, shape, labels);
  checkInPlace(input.plane<std::uint16_t>(shape.width, shape.height), shape, labels);
}
