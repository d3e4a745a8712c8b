// Pyramids: a photograph at ever smaller sizes, and what is lost on the way down and up again.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

const std::string kSubsystem = "Pyramids";
constexpr int kRuns = 5;
constexpr std::array<std::int16_t, 5> kKernel = {1, 4, 6, 4, 1};
constexpr int kTaps = static_cast<int>(kKernel.size());

using Block = std::vector<std::uint8_t>;

Block block(int bytes) { return Block(static_cast<std::size_t>(bytes)); }

RvpiSize sizeBelow(RvpiSize size, float rate) {
  RvpiSize below{};
  check(rvpiGetPyramidDownROI(size, &below, rate), "rvpiGetPyramidDownROI");
  return below;
}

// ---- Levels, each from the one before

// All levels of a pyramid from the picture itself, in colour, down to 1 x 1. One state serves all of them.
std::vector<Picture> levelsOf(const Picture& picture, float rate, Stopwatch& time) {
  std::vector<Picture> levels = {picture};
  while (std::max(levels.back().width(), levels.back().height()) > 1) {
    const RvpiSize size = sizeBelow(levels.back().size(), rate);
    levels.emplace_back(size.width, size.height, 3);
  }
  int bytes = 0;
  int scratchBytes = 0;
  check(rvpiPyramidLayerDownGetSize_8u_C3R(picture.size(), kTaps, &bytes, &scratchBytes, rate),
        "rvpiPyramidLayerDownGetSize_8u_C3R");
  Block memory = block(bytes);
  Block scratch = block(scratchBytes);
  RvpiPyramidDownState* state = nullptr;
  check(rvpiPyramidLayerDownInit_8u_C3R(&state, picture.size(), rate, kKernel.data(), kTaps, rvpiPyramidLinear,
                                        memory.data(), scratch.data()),
        "rvpiPyramidLayerDownInit_8u_C3R");
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      for (std::size_t i = 1; i < levels.size(); ++i) {
        const Picture& larger = levels[i - 1];
        Picture& smaller = levels[i];
        check(rvpiPyramidLayerDown_8u_C3R(larger.data(), larger.step(), larger.size(), smaller.data(),
                                          smaller.step(), smaller.size(), state),
              "rvpiPyramidLayerDown_8u_C3R");
      }
    });
  return levels;
}

Picture up(const Picture& smaller, RvpiSize size, float rate, Stopwatch& time) {
  int bytes = 0;
  check(rvpiPyramidLayerUpGetSize_8u_C3R(size, kTaps, &bytes, rate), "rvpiPyramidLayerUpGetSize_8u_C3R");
  Block memory = block(bytes);
  RvpiPyramidUpState* state = nullptr;
  check(rvpiPyramidLayerUpInit_8u_C3R(&state, size, rate, kKernel.data(), kTaps, rvpiPyramidLinear, memory.data()),
        "rvpiPyramidLayerUpInit_8u_C3R");
  Picture larger(size.width, size.height, 3);
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiPyramidLayerUp_8u_C3R(smaller.data(), smaller.step(), smaller.size(), larger.data(), larger.step(),
                                      size, state),
            "rvpiPyramidLayerUp_8u_C3R");
    });
  return larger;
}

// ---- Pictures

void paste(const Picture& part, int left, int top, Picture& picture) {
  for (int y = 0; y < part.height(); ++y)
    std::copy_n(part.at(0, y), static_cast<std::ptrdiff_t>(part.width()) * 3, picture.at(left, top + y));
}

// All levels in one picture, in lines from left to right. The first line has two of them.
Picture sheet(const std::vector<Picture>& levels) {
  constexpr int kGap = 4;
  constexpr std::uint8_t kPaper = 236;
  const int limit = levels[0].width() + kGap + levels[1].width();
  std::vector<RvpiPoint> places;
  int x = 0;
  int y = 0;
  int lineHeight = 0;
  for (const Picture& level : levels) {
    if (x + level.width() > limit) {
      y += lineHeight + kGap;
      x = lineHeight = 0;
    }
    places.push_back({x, y});
    x += level.width() + kGap;
    lineHeight = std::max(lineHeight, level.height());
  }
  Picture picture(limit, y + lineHeight, 3, kPaper);
  for (std::size_t i = 0; i < levels.size(); ++i) paste(levels[i], places[i].x, places[i].y, picture);
  return picture;
}

// The brightness of one picture less that of another.
Plane difference(const Picture& a, const Picture& b) {
  const Picture first = inGray(a);
  const Picture second = inGray(b);
  Plane result(first.width(), first.height(), 1);
  std::ranges::transform(first.elements(), second.elements(), result.elements().begin(),
                         [](int one, int other) { return static_cast<float>(one - other); });
  return result;
}

std::string sizeText(const Picture& picture) {
  return std::to_string(picture.width()) + " × " + std::to_string(picture.height());
}

// ---- Panels

void addPyramid(const Subject& subject, float rate, const std::string& id, const std::string& text, Page& page) {
  const Picture photograph = inColour(subject.picture);
  const std::string rateText = number(static_cast<double>(rate), rate == 2.0F ? 0 : 1);
  Stopwatch downTime;
  const std::vector<Picture> levels = levelsOf(photograph, rate, downTime);
  Stopwatch upTime;
  const Picture back = up(levels[1], photograph.size(), rate, upTime);
  constexpr float kGreatest = 32.0F;

  const Panel panel = {kSubsystem,
                       id,
                       "A pyramid at rate " + rateText,
                       {"rvpiPyramidLayerDown_8u_C3R", "rvpiPyramidLayerUp_8u_C3R", "rvpiGetPyramidDownROI"},
                       text};
  page.add(
      panel, subject,
      {{{"rate", rateText},
        {"kernel", "1 4 6 4 1"},
        {"levels below the photograph", std::to_string(levels.size() - 1)},
        {"down and up again", number(peakSignalToNoise(back, photograph), 1) + " dB"}},
       {{"all levels down", downTime.median()}, {"one level up", upTime.median()}},
       {{"levels", "All levels, down to one pixel", sheet(levels)},
        {"again", "From " + sizeText(levels[1]) + " up to " + sizeText(back) + " again", back},
        {"difference", "What the way down and up again loses of the brightness",
         falseColour(difference(photograph, back), -kGreatest, kGreatest, kBalance),
         Legend{"gray levels",
                kBalance,
                {number(static_cast<double>(-kGreatest), 0), "0", number(static_cast<double>(kGreatest), 0)}}}}});
}

}  // namespace

void addPyramidPanels(const Subject& subject, Page& page) {
  addPyramid(
      subject, 2.0F, "pyramid-2",
      "Each level is the one before, smoothed and halved in both directions. Doubled again it is the "
      "photograph without its finest detail; the difference is that detail, which a Laplacian pyramid stores.",
      page);
  addPyramid(
      subject, 1.3F, "pyramid-1-3",
      "The rate may be any number above 1 and up to 10. A small one gives many levels close to each other, as "
      "a search over scales needs them. Down and up again loses about as much as at rate 2, as the same kernel "
      "smooths on both ways.",
      page);
}

}  // namespace tour
