#include "features/corners_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const RvpiBorderType border = input.border();
    const Options& options = input.oneOf(kOptions);
    switch (input.between(0, 2)) {
      case 0:
        return checkHarris<std::uint8_t>(shape, border, options);
      case 1:
        return checkHarris<float>(shape, border, options);
      default:
        return checkSuppression(shape, border, options);
    }
  });
}
