#include "features/fastn_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const auto& [radius, arc] = input.oneOf(kArcs);
  const Settings settings = {radius, arc, input.between(1, 64), input.oneOf({4, 36, 38, 37, 39, 5}),
                             static_cast<float>(input.between(0, 255))};
  const RvpiSize size = input.size();
  const Bytes image = input.flag() ? blobs(size.width, size.height, input.any<std::uint8_t>())
                                   : input.plane<std::uint8_t>(size.width, size.height);
  // The state serves images that can hold a circle.
  if (size.width <= 2 * radius || size.height <= 2 * radius) return;
  const RvpiPoint offset = {input.between(-9, 80), input.between(-9, 30)};
  checkTile(image, reference(image, settings), settings, offset, input.size(), input.any<std::uint8_t>());
}
