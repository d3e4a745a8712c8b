// Finds what a cascade was trained for, at all places and sizes in a picture.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "cascade.h"
#include "rvpcv/detect.h"
#include "tour/picture.h"

namespace faces {

struct Settings {
  // The picture is looked at again and again, each time smaller by this factor; above 1.
  double scaleStep = 1.1;
  // So many windows besides the first have to agree on an object; with 0 every window is one.
  int neighbours = 3;
};

struct Detection {
  std::vector<RvpiRect> objects;
  // Every window that passes all stages, before they are put into groups.
  std::vector<RvpiRect> hits;
  // Windows of all scales: first those that were looked at, then those that each stage left.
  std::vector<long long> windowsLeft;
  int scales = 0;
};

class Detector {
 public:
  explicit Detector(const Cascade& cascade);

  // Nothing if far more windows pass than there can be objects: such a cascade tells nothing apart.
  std::optional<Detection> detect(const tour::Picture& gray, const Settings& settings) const;

 private:
  // A stage as the library wants it. The block holds pointers into itself, so its memory stays where it is.
  struct Stage {
    std::unique_ptr<double[]> memory;
    float threshold;
    bool isMixed;
    RvpiHaarClassifier* block() const { return reinterpret_cast<RvpiHaarClassifier*>(memory.get()); }
  };
  struct Scratch;

  Stage makeStage(const CascadeStage& stage) const;
  void measure(const tour::Picture& picture, Scratch& scratch) const;
  int apply(const Stage& stage, Scratch& scratch) const;

  RvpiSize window_;
  std::vector<Stage> stages_;
  bool needsTilted_ = false;
};

}  // namespace faces
