#include "morph/extrema_test.cpp"
#include "support/input.h"

Mask drawnMask(fuzz::Input& input) {
  const int width = input.between(1, 40), height = input.between(1, 20);
  switch (input.between(0, 3)) {
    case 0:
      return rectangle(width, height);
    case 1:
      return ellipse(width, height);
    case 2:
      return randomMask(width, height, input.any<std::uint8_t>());
    default:
      return rectangleIn(width, height,
                         {input.between(0, width - 1), input.between(0, height - 1), input.between(0, width),
                          input.between(0, height)});
  }
}

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = drawnMask(input);
    const auto operation = static_cast<Operation>(input.between(0, kOperations - 1));
    const RvpiBorderType border = input.border();
    const RvpiSize largest = {shape.width + input.between(0, 20), shape.height + input.between(0, 20)};
    const Cliff cliff = input.cliff();
    input.withOneOf(
        Forms(), [&]<class T>() { check<T>(operation, shape, mask, taken<T>(border, operation), largest, cliff); });
  });
}
