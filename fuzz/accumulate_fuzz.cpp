#include "stats/accumulate_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.withOneOf<std::uint8_t, std::uint16_t, float>([&]<class T>() { checkShape<T>(shape); });
  });
}
