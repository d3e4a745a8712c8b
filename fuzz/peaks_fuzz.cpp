#include "features/peaks_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    input.flag() ? Peaks<float>::check(shape) : Peaks<std::int32_t>::check(shape);
  });
  return 0;
}
