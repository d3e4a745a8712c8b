#include "morph/reconstruct_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.withOneOf(Types(), [&]<class T>() {
      const auto noise = [&](unsigned seed) {
        return noisePlane<T>(shape.width, shape.height, seed, input.between(0, 4));
      };
      const auto mask = noise(shape.seed);
      checkAll<T>(mask, input.flag() ? noise(shape.seed + 1) : sparseMarker<T>(mask, shape.seed, T{}), shape);
    });
  });
}
