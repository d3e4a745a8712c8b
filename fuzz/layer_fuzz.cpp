#include "pyramid/layer_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const float rate = input.flag() ? input.oneOf(kRates) : 1 + static_cast<float>(input.between(1, 9000)) / 1000;
    const Kernel& kernel = input.oneOf(kKernels);
    input.withOneOf(Forms(), [&]<class F>() {
      input.flag() ? checkDown<F>(shape, rate, kernel, shape.size())
                   : checkUp<F>(shape, rate, kernel, shape.seed % 2 == 0);
    });
  });
}
