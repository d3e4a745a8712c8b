#include "features/peaks_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.flag() ? Peaks<float>::check(shape) : Peaks<std::int32_t>::check(shape);
  });
}
