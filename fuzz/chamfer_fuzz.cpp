#include "distance/chamfer_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const auto content = input.flag()
                             ? sparseSeeds(shape.width, shape.height, shape.seed, 1U << input.between(1, 10))
                             : input.plane<std::uint8_t>(shape.width, shape.height);
    input.withOneOf(Outputs(), [&]<class T>() {
      std::vector<double> mask(static_cast<std::size_t>(input.between(2, 3)));
      const int most = input.flag() ? 12 : 0x7FFFFFFF;
      for (double& metric : mask) metric = static_cast<double>(static_cast<MetricOf<T>>(input.between(1, most)));
      checkMask<T>(shape, content, mask);
    });
  });
}
