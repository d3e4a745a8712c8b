#include "distance/chamfer_test.cpp"
#include "support/input.h"

template <class T>
void tryMask(fuzz::Input& input, const Shape& shape, const Plane<std::uint8_t>& content) {
  std::vector<double> mask(static_cast<std::size_t>(input.between(2, 3)));
  const int most = input.flag() ? 12 : 0x7FFFFFFF;
  for (double& metric : mask) metric = static_cast<double>(static_cast<MetricOf<T>>(input.between(1, most)));
  checkMask<T>(shape, content, mask);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    const auto content = input.flag()
                             ? sparseSeeds(shape.width, shape.height, shape.seed, 1U << input.between(1, 10))
                             : input.plane<std::uint8_t>(shape.width, shape.height);
    switch (input.between(0, 2)) {
      case 0:
        return tryMask<std::uint8_t>(input, shape, content);
      case 1:
        return tryMask<std::uint16_t>(input, shape, content);
      default:
        return tryMask<float>(input, shape, content);
    }
  });
  return 0;
}
