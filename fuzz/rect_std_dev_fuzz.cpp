#include "detect/rect_std_dev_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const bool tilted = input.flag();
  const RvpiSize size = input.size();
  // No corner of a tilted rectangle lies to the left of the first column.
  RvpiRect rect = {input.between(0, 6), input.between(0, 6), input.between(1, 9), input.between(1, 9)};
  if (tilted) rect.x += rect.y + rect.height;
  const int scale = input.between(-10, 10);
  const Shape shape = input.shape();
  input.withOneOf(Forms(), [&]<class Form>() { check<Form>(tilted, size, rect, scale, shape); });
}
