#include "features/hough_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const RvpiSize size = input.size();
  const unsigned seed = input.any<std::uint8_t>();
  const Bytes image =
      input.flag() ? drawing(size.width, size.height, seed) : input.plane<std::uint8_t>(size.width, size.height);
  const RvpiPointPolar delta = {static_cast<float>(input.between(1, 400)) / 50,
                                static_cast<float>(input.between(1, 100)) / 50};
  const int threshold = input.between(1, 30);
  if (input.flag()) {
    checkLines(image, delta, threshold, seed);
  } else {
    checkSegments(image, delta, {threshold, input.between(0, 40), input.between(0, 20), input.between(0, 40)},
                  seed);
  }
}
