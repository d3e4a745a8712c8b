#include "segment/gradient_segments_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkGrowth(shape);
      case 1:
        return checkGradients<1>(shape);
      default:
        return checkGradients<3>(shape);
    }
  });
}
