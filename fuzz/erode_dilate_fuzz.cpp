#include "morph/erode_dilate_test.cpp"
#include "support/input.h"
#include "support/masks.h"

// The type of that number.
template <class... Types>
void tryOneOf(testing::Types<Types...>, int number, const Shape& shape, const Mask& mask, RvpiBorderType border,
              RvpiSize largest, Cliff cliff) {
  (void)((number-- == 0 && (ErodeDilate<Types>::check(shape, mask, border, largest, cliff), true)) || ...);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = fuzz::drawnMask(input);
    const RvpiBorderType border = input.border();
    const RvpiSize largest = {shape.width + input.between(0, 20), input.height()};
    tryOneOf(Forms(), input.between(0, 7), shape, mask, border, largest, input.cliff());
  });
  return 0;
}
