#include "features/canny_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkReady<float>(shape);
      case 1:
        return checkReady<std::int16_t>(shape);
      default:
        const RvpiBorderType mode = input.oneOf({0, 1, 6});
        const RvpiBorderType sides = mode == 6 ? 0 : input.between(0, 15) << 4;
        Options options = kOptions[input.between(0, static_cast<int>(std::size(kOptions)) - 1)];
        options.low = static_cast<float>(input.between(0, 2000));
        options.high = options.low + static_cast<float>(input.between(0, 4000));
        return checkBordered(shape, mode | sides, options);
    }
  });
}
