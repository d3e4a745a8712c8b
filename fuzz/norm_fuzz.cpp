#include "stats/norm_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.withOneOf(SourceTypes(), [&]<class T>() {
      const auto all = operations<T>();
      const auto& operation = input.oneOf(all);
      Inputs<T> in(shape.width, shape.height, operation.channels, shape.seed);
      if (input.flag()) in.mask = input.plane<std::uint8_t>(shape.width, shape.height);
      if (std::is_integral_v<T> && input.flag()) {
        in.src1 = input.plane<T>(in.src1.width, in.src1.height);
        in.src2 = input.plane<T>(in.src2.width, in.src2.height);
      }
      checkOne(operation, in, input.between(1, operation.channels), shape);
    });
  });
}
