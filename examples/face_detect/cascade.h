// A cascade of boosted classifiers of Haar features, as a file describes it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "rvpcv/types.h"

namespace faces {

// A rectangle of a feature and its weight.
struct WeightedRect {
  RvpiRect rect;
  float weight;
};

// A classifier adds `below` to the sum of its stage if the feature's value is below the threshold, else `above`.
// The value is the weighted sum of the rectangles' sums, divided by the number of pixels of the window without its
// outermost ones, and by their standard deviation.
struct WeakClassifier {
  std::vector<WeightedRect> rects;
  bool isTilted;
  float threshold;
  float below;
  float above;
};

struct CascadeStage {
  std::vector<WeakClassifier> classifiers;
  float threshold;
};

struct Cascade {
  RvpiSize window;
  std::vector<CascadeStage> stages;
};

// Reads a cascade file in XML with one decision for each classifier. Every number is checked, so that whatever is
// in the file, each rectangle lies in the window and all lists are of reasonable length. Returns nothing if the
// file is not such a cascade; `fault` then says in one line what is wrong with it, without the file's name.
std::optional<Cascade> readCascade(const std::filesystem::path& path, std::string& fault);

}  // namespace faces
