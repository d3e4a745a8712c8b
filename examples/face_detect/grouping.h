// Puts windows that lie on top of each other into groups.
#pragma once

#include <vector>

#include "rvpcv/types.h"

namespace faces {

// The mean rectangle of each group of similar ones that has more than `neighbours` members, unless it lies in the
// rectangle of a larger group. With `neighbours` 0 all rectangles as they are.
std::vector<RvpiRect> grouped(const std::vector<RvpiRect>& rects, int neighbours);

}  // namespace faces
