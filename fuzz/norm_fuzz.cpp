#include "stats/norm_test.cpp"
#include "support/input.h"

template <class T>
void tryNorm(fuzz::Input& input, const Shape& shape) {
  const auto all = operations<T>();
  const auto& operation = all[static_cast<std::size_t>(input.between(0, static_cast<int>(all.size()) - 1))];
  Inputs<T> in(shape.width, shape.height, operation.channels, shape.seed);
  if (input.flag()) in.mask = input.plane<std::uint8_t>(shape.width, shape.height);
  if (std::is_integral_v<T> && input.flag()) {
    in.src1 = input.plane<T>(in.src1.width, in.src1.height);
    in.src2 = input.plane<T>(in.src2.width, in.src2.height);
  }
  checkOne(operation, in, input.between(1, operation.channels), shape);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return tryNorm<std::uint8_t>(input, shape);
      case 1:
        return tryNorm<std::uint16_t>(input, shape);
      default:
        return tryNorm<float>(input, shape);
    }
  });
  return 0;
}
