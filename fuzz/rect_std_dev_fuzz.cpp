#include "detect/rect_std_dev_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  const bool tilted = input.flag();
  const RvpiSize size = input.size();
  // No corner of a tilted rectangle lies to the left of the first column.
  RvpiRect rect = {input.between(0, 6), input.between(0, 6), input.between(1, 9), input.between(1, 9)};
  if (tilted) rect.x += rect.y + rect.height;
  const int scale = input.between(-10, 10);
  const Shape shape = input.shape();
  switch (input.between(0, 2)) {
    case 0:
      check<Scaled>(tilted, size, rect, scale, shape);
      break;
    case 1:
      check<Mixed>(tilted, size, rect, scale, shape);
      break;
    default:
      check<Floats>(tilted, size, rect, scale, shape);
  }
  return 0;
}
