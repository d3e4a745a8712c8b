#include "distance/fast_marching_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = input.flag()
                          ? blobs(shape.width, shape.height, shape.seed, static_cast<unsigned>(input.between(0, 2)))
                          : input.plane<std::uint8_t>(shape.width, shape.height);
    checkShape(shape, mask, static_cast<float>(input.between(0, 40)) / 4);
  });
}
