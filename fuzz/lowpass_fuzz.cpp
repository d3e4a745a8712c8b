#include "filter/lowpass_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) { checkLowpass(shape, input.border(), input.flag() ? 33 : 55); });
  return 0;
}
