// Faces: a cascade from a file, run over a photograph in all sizes.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "face_detect/cascade.h"
#include "face_detect/detector.h"
#include "number.h"
#include "panels.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

// The cascade, read once. Without it a note says once why the panel is missing.
const std::optional<faces::Cascade>& faceCascade() {
  static const std::optional<faces::Cascade> cascade = [] {
    const std::string path = RVPCV_CASCADE;
    std::string fault = "no cascade file was found when this program was built (Debian: package opencv-data)";
    std::optional<faces::Cascade> read;
    if (!path.empty()) {
      read = faces::readCascade(path, fault);
      if (!read) fault = path + ": " + fault;
    }
    if (!read) std::fprintf(stderr, "tour: the panel of faces is left out: %s\n", fault.c_str());
    return read;
  }();
  return cascade;
}

Table stageTable(const faces::Cascade& cascade, const faces::Detection& detection) {
  Table table = {{"stage", "classifiers", "windows left", "share of all"}, {}};
  const long long all = std::max(1LL, detection.windowsLeft.front());
  table.rows.push_back({"windows looked at", "", count(all), "100 %"});
  for (std::size_t i = 0; i < cascade.stages.size(); ++i) {
    const long long left = detection.windowsLeft[i + 1];
    const double percent = 100.0 * static_cast<double>(left) / static_cast<double>(all);
    table.rows.push_back({std::to_string(i + 1), std::to_string(cascade.stages[i].classifiers.size()), count(left),
                          number(percent, percent < 1.0 ? 3 : 1) + " %"});
  }
  return table;
}

Picture framed(const Picture& photograph, const std::vector<RvpiRect>& rects, int thickness) {
  Picture picture = inColour(photograph);
  for (const RvpiRect& rect : rects) drawOutline(picture, rect, thickness, kMark);
  return picture;
}

}  // namespace

void addFacePanels(const Subject& subject, Page& page) {
  const std::optional<faces::Cascade>& cascade = faceCascade();
  if (!cascade) return;
  const faces::Detector detector(*cascade);
  const Picture gray = inGray(subject.picture);
  const faces::Settings settings;
  constexpr int kRuns = 3;
  std::optional<faces::Detection> detection;
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run) time.lap([&] { detection = detector.detect(gray, settings); });
  if (!detection) {
    std::fprintf(stderr, "tour: the panel of faces is left out: the cascade accepts nearly everything\n");
    return;
  }

  const std::size_t found = detection->objects.size();
  const int thickness = std::max(2, std::min(gray.width(), gray.height()) / 160);
  const Panel panel = {
      "Detection",
      "faces",
      "Faces by a cascade",
      {"rvpiApplyHaarClassifier_32s32f_C1R", "rvpiHaarClassifierGetSize", "rvpiHaarClassifierInit_32f",
       "rvpiSqrIntegral_8u32s64f_C1R", "rvpiRectStdDev_32s32f_C1R"},
      "A window slides over the photograph at all places and scales. Each stage of the cascade tests the windows "
      "that the stages before it left, so that most of them cost a few sums of rectangles. Windows that pass all "
      "stages and agree with each other make a face. The time is that of the whole frame, resampling included."};
  page.add(panel, subject,
           {{{"window", std::to_string(cascade->window.width) + " × " + std::to_string(cascade->window.height)},
             {"scales", std::to_string(detection->scales) + ", step 1.1"},
             {"neighbours", std::to_string(settings.neighbours)},
             {"faces found", std::to_string(found)}},
            {{"frame", time.median()}},
            {{"hits", "Windows that pass all stages: " + std::to_string(detection->hits.size()),
              framed(subject.picture, detection->hits, 1)},
             {"found", found == 1 ? "The face" : "Faces: " + std::to_string(found),
              framed(subject.picture, detection->objects, thickness)}},
            stageTable(*cascade, *detection)});
}

}  // namespace tour
