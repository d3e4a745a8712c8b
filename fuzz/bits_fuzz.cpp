#include "morph/bits_test.cpp"
#include "support/input.h"
#include "support/masks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = fuzz::drawnMask(input);
    RvpiBorderType border = input.border();
    if ((border & 15) == rvpBorderMirror) border = rvpBorderRepl;
    const RvpiSize largest = {input.width(), input.height()};
    check(shape, mask, border, largest, input.cliff());
  });
  return 0;
}
