// Reconstruction: holes that are filled, and domes that are cut off.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

const std::string kSubsystem = "Morphology";
constexpr int kRuns = 5;

struct Reconstructed {
  Picture picture;
  double milliseconds;
};

using Operation = decltype(&rvpiMorphReconstructDilate_8u_C1IR);

Reconstructed reconstruct(Operation operation, const char* name, const Picture& mask, const Picture& marker) {
  int bytes = 0;
  check(rvpiMorphReconstructGetBufferSize(mask.size(), rvp8u, 1, &bytes), "rvpiMorphReconstructGetBufferSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture result;
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run) {
    result = marker;
    time.lap([&] {
      check(operation(mask.data(), mask.step(), result.data(), result.step(), mask.size(), scratch.data(),
                      rvpConnect4),
            name);
    });
  }
  return {result, time.median()};
}

// Holes are dark places that no path of dark pixels connects with the frame: the marker falls from white to the
// mask everywhere but there.
void addHoles(const Subject& subject, Page& page) {
  const Picture gray = inGray(subject.picture);
  std::vector<std::uint8_t> sorted = gray.elements();
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() * 6 / 10);
  std::nth_element(sorted.begin(), middle, sorted.end());
  Picture shape(gray.width(), gray.height(), 1);
  std::transform(gray.elements().begin(), gray.elements().end(), shape.elements().begin(),
                 [level = *middle](std::uint8_t value) -> std::uint8_t { return value > level ? 255 : 0; });
  Picture marker(gray.width(), gray.height(), 1, 255);
  for (int y = 0; y < gray.height(); ++y) {
    const bool isFrame = y == 0 || y == gray.height() - 1;
    for (int x = 0; x < gray.width(); x += isFrame ? 1 : gray.width() - 1) *marker.at(x, y) = *shape.at(x, y);
  }
  const Reconstructed filled =
      reconstruct(rvpiMorphReconstructErode_8u_C1IR, "rvpiMorphReconstructErode_8u_C1IR", shape, marker);
  Picture overlay = inColour(shape);
  long long holes = 0;
  for (int y = 0; y < gray.height(); ++y) {
    for (int x = 0; x < gray.width(); ++x) {
      if (*filled.picture.at(x, y) == *shape.at(x, y)) continue;
      ++holes;
      std::uint8_t* const pixel = overlay.at(x, y);
      pixel[0] = kMark.red;
      pixel[1] = kMark.green;
      pixel[2] = kMark.blue;
    }
  }
  page.add({kSubsystem,
            "fill-holes",
            "Filling holes",
            {"rvpiMorphReconstructGetBufferSize", "rvpiMorphReconstructErode_8u_C1IR"},
            "Black places that white encloses are filled, whatever their size and form; black that reaches the "
            "frame stays."},
           subject,
           {{{"neighbours", "4"}},
            {{"reconstruction", filled.milliseconds}},
            {{"shape", "The brighter part of the photograph", shape},
             {"filled", "Without holes", filled.picture},
             {"holes", "The holes, " + count(holes) + " pixels", overlay}}});
}

// What rises above its surroundings by up to `kHeight`, whatever the level of these.
void addDomes(const Subject& subject, Page& page) {
  constexpr int kHeight = 48;
  const Picture gray = inGray(subject.picture);
  Picture marker = gray;
  for (std::uint8_t& value : marker.elements()) value = static_cast<std::uint8_t>(std::max(value - kHeight, 0));
  const Reconstructed cut =
      reconstruct(rvpiMorphReconstructDilate_8u_C1IR, "rvpiMorphReconstructDilate_8u_C1IR", gray, marker);
  Plane domes(gray.width(), gray.height(), 1);
  for (std::size_t i = 0; i < domes.elements().size(); ++i)
    domes.elements()[i] = static_cast<float>(gray.elements()[i] - cut.picture.elements()[i]);
  page.add({kSubsystem,
            "domes",
            "Domes",
            {"rvpiMorphReconstructGetBufferSize", "rvpiMorphReconstructDilate_8u_C1IR"},
            "The photograph lowered by some levels and grown again under the photograph loses the tops of its "
            "peaks and keeps all edges. The difference shows highlights and fine bright detail on bright and dark "
            "ground alike."},
           subject,
           {{{"height", std::to_string(kHeight) + " gray levels"}, {"neighbours", "4"}},
            {{"reconstruction", cut.milliseconds}},
            {{"gray", "The brightness", gray},
             {"cut", "Without its peaks", cut.picture},
             {"difference", "The difference", falseColour(domes, 0.0f, kHeight, kHeat),
              Legend{"gray levels", kHeat, {"0", std::to_string(kHeight / 2), std::to_string(kHeight)}}}}});
}

}  // namespace

void addReconstructPanels(const Subject& subject, Page& page) {
  addHoles(subject, page);
  addDomes(subject, page);
}

}  // namespace tour
