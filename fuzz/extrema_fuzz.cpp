#include "morph/extrema_test.cpp"
#include "support/input.h"
#include "support/masks.h"

// The type of that number.
template <class... Types>
void tryOneOf(testing::Types<Types...>, int number, Operation operation, const Shape& shape, const Mask& mask,
              RvpiBorderType border, RvpiSize largest, Cliff cliff) {
  (void)((number-- == 0 &&
          (check<Types>(operation, shape, mask, taken<Types>(border, operation), largest, cliff), true)) ||
         ...);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = fuzz::drawnMask(input);
    const auto operation = static_cast<Operation>(input.between(0, kOperations - 1));
    const RvpiBorderType border = input.border();
    const RvpiSize largest = {shape.width + input.between(0, 20), shape.height + input.between(0, 20)};
    tryOneOf(Forms(), input.between(0, 8), operation, shape, mask, border, largest, input.cliff());
  });
  return 0;
}
