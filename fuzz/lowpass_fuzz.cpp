#include "filter/lowpass_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) { checkLowpass(shape, input.border(), input.flag() ? 33 : 55); });
}
