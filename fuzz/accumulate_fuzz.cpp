#include "stats/accumulate_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkShape<std::uint8_t>(shape);
      case 1:
        return checkShape<std::uint16_t>(shape);
      default:
        return checkShape<float>(shape);
    }
  });
  return 0;
}
