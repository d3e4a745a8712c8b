// Structuring elements that a fuzz target draws.
#pragma once

#include "morph/masks.h"
#include "support/input.h"

namespace fuzz {

inline test::Mask drawnMask(Input& input) {
  const int width = input.between(1, 40);
  const int height = input.between(1, 20);
  switch (input.between(0, 3)) {
    case 0:
      return test::rectangle(width, height);
    case 1:
      return test::ellipse(width, height);
    case 2:
      return test::randomMask(width, height, input.any<std::uint8_t>());
    default:
      const RvpiRect cells = {input.between(0, width - 1), input.between(0, height - 1), input.between(0, width),
                              input.between(0, height)};
      return test::rectangleIn(width, height, cells);
  }
}

}  // namespace fuzz
