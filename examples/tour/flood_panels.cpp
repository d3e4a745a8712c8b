// Flood fill: the background of a photograph by equal values, in a range and along gentle slopes.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

constexpr int kRuns = 5;

using Colour = std::array<std::uint8_t, 3>;

// The plain kinds have no limits; for them `limit` is of no use.
using PlainCall = decltype(&rvpiFloodFill_4Con_8u_C3IR);
using LimitedCall = decltype(&rvpiFloodFill_Range4Con_8u_C3IR);

struct Kind {
  const char* id;
  const char* name;
  const char* operation;
  PlainCall plain;
  LimitedCall limited;
  bool isGradient;
};

#define TOUR_KIND(ID, NAME, MEMBER, PLAIN, LIMITED, IS_GRADIENT) \
  { ID, NAME, "rvpiFloodFill_" MEMBER "_8u_C3IR", PLAIN, LIMITED, IS_GRADIENT }
constexpr std::array<Kind, 6> kKinds = {{
    TOUR_KIND("plain-4", "Equal values, 4 neighbours", "4Con", rvpiFloodFill_4Con_8u_C3IR, nullptr, false),
    TOUR_KIND("plain-8", "Equal values, 8 neighbours", "8Con", rvpiFloodFill_8Con_8u_C3IR, nullptr, false),
    TOUR_KIND("range-4", "Range, 4 neighbours", "Range4Con", nullptr, rvpiFloodFill_Range4Con_8u_C3IR, false),
    TOUR_KIND("range-8", "Range, 8 neighbours", "Range8Con", nullptr, rvpiFloodFill_Range8Con_8u_C3IR, false),
    TOUR_KIND("gradient-4", "Gradient, 4 neighbours", "Grad4Con", nullptr, rvpiFloodFill_Grad4Con_8u_C3IR, true),
    TOUR_KIND("gradient-8", "Gradient, 8 neighbours", "Grad8Con", nullptr, rvpiFloodFill_Grad8Con_8u_C3IR, true),
}};
#undef TOUR_KIND

constexpr const Kind& kPlain4 = kKinds[0];
constexpr const Kind& kRange8 = kKinds[3];
constexpr const Kind& kGradient8 = kKinds[5];

// Fills pictures of one size.
class Painter {
 public:
  explicit Painter(RvpiSize size) {
    int spans = 0;
    int marks = 0;
    check(rvpiFloodFillGetSize(size, &spans), "rvpiFloodFillGetSize");
    check(rvpiFloodFillGetSize_Grad(size, &marks), "rvpiFloodFillGetSize_Grad");
    scratch_.resize(static_cast<std::size_t>(std::max(spans, marks)));
  }

  RvpiFilledRegion fill(const Kind& kind, Picture& picture, RvpiPoint seed, const Colour& colour, int limit) {
    const auto step = static_cast<std::uint8_t>(limit);
    const Colour limits = {step, step, step};
    RvpiFilledRegion region = {};
    check(kind.plain != nullptr ? kind.plain(picture.data(), picture.step(), picture.size(), seed, colour.data(),
                                             &region, scratch_.data())
                                : kind.limited(picture.data(), picture.step(), picture.size(), seed, colour.data(),
                                               limits.data(), limits.data(), &region, scratch_.data()),
          kind.operation);
    return region;
  }

 private:
  std::vector<std::uint8_t> scratch_;
};

// One of two colours, the one that is farther from what is at a pixel: more than any limit below away from it in
// one channel at least.
Colour contrastTo(const Picture& picture, RvpiPoint at) {
  constexpr Colour kCyan = {kMark.red, kMark.green, kMark.blue};
  constexpr Colour kRed = {255, 40, 60};
  const auto distance = [pixel = picture.at(at.x, at.y)](const Colour& colour) {
    int greatest = 0;
    for (std::size_t c = 0; c < 3; ++c) greatest = std::max(greatest, std::abs(pixel[c] - colour[c]));
    return greatest;
  };
  return distance(kCyan) >= distance(kRed) ? kCyan : kRed;
}

double areaOf(Painter& painter, const Kind& kind, Picture picture, RvpiPoint seed, int limit) {
  return painter.fill(kind, picture, seed, contrastTo(picture, seed), limit).area;
}

// The photograph in four levels of each channel, in which large parts are equal.
Picture inFewColours(const Picture& picture) {
  Picture few = picture;
  for (std::uint8_t& value : few.elements()) value = static_cast<std::uint8_t>(value / 64 * 85);
  return few;
}

// The pixel in the upper part of the picture, where skies and backgrounds are, from which both the plain and the
// range kind reach far.
RvpiPoint backgroundSeed(Painter& painter, const Picture& picture, const Picture& few) {
  constexpr int kColumns = 24;
  constexpr int kLimit = 24;
  RvpiPoint best = {};
  double most = -1.0;
  for (int i = 0; i < kColumns; ++i) {
    const RvpiPoint seed = {(2 * i + 1) * picture.width() / (2 * kColumns), picture.height() / 20};
    const double area =
        std::min(areaOf(painter, kPlain4, few, seed, 0), areaOf(painter, kRange8, picture, seed, kLimit));
    if (area <= most) continue;
    most = area;
    best = seed;
  }
  return best;
}

// The least of some limits with which a fill takes a good part of the picture; the greatest if none does.
int limitFor(Painter& painter, const Kind& kind, const Picture& picture, RvpiPoint seed,
             const std::vector<int>& limits) {
  constexpr double kGoodPart = 0.12;
  const double enough = kGoodPart * picture.width() * picture.height();
  for (const int limit : limits)
    if (areaOf(painter, kind, picture, seed, limit) >= enough) return limit;
  return limits.back();
}

// A small square around the seed, and the rectangle around what was filled.
void drawRegion(Picture& picture, RvpiPoint seed, const RvpiRect& rectangle) {
  constexpr Rgb kWhite = {255, 255, 255};
  drawOutline(picture, rectangle, 1, kWhite);
  drawOutline(picture, {seed.x - 2, seed.y - 2, 5, 5}, 2, kWhite);
}

}  // namespace

void addFloodPanels(const Subject& subject, Page& page) {
  const Picture photograph = inColour(subject.picture);
  const Picture few = inFewColours(photograph);
  Painter painter(photograph.size());
  const RvpiPoint seed = backgroundSeed(painter, photograph, few);
  const int range = limitFor(painter, kRange8, photograph, seed, {8, 16, 24, 32, 48, 64, 80});
  const int slope = limitFor(painter, kGradient8, photograph, seed, {1, 2, 3, 4, 5, 6, 8, 10, 12, 16});
  const double pixels = static_cast<double>(photograph.width()) * photograph.height();

  Panel panel = {
      "Segmentation",
      "flood-fill",
      "Flood fill of a background",
      {"rvpiFloodFillGetSize", "rvpiFloodFillGetSize_Grad"},
      "What is connected with the seed in the small square, painted over: pixels that equal it, in the "
      "photograph brought down to four levels of each channel; pixels in a range around it; pixels that "
      "differ little from a neighbour that belongs to the region. The thin rectangle is the one the call "
      "tells. With 8 neighbours the region also passes where pixels touch at a corner."};
  Strip strip = {{{"seed", "(" + std::to_string(seed.x) + ", " + std::to_string(seed.y) + ")"},
                  {"range", "±" + std::to_string(range)},
                  {"gradient", "±" + std::to_string(slope)}},
                 {},
                 {{"", "The photograph", subject.picture}, {"few", "In four levels of each channel", few}},
                 Table{{"kind", "pixels", "share"}, {}}};
  for (const Kind& kind : kKinds) {
    const Picture& source = kind.plain != nullptr ? few : photograph;
    const Colour colour = contrastTo(source, seed);
    Picture result;
    RvpiFilledRegion region = {};
    Stopwatch time;
    for (int run = 0; run < kRuns; ++run) {
      result = source;
      time.lap([&] { region = painter.fill(kind, result, seed, colour, kind.isGradient ? slope : range); });
    }
    drawRegion(result, seed, region.rect);
    panel.operations.emplace_back(kind.operation);
    strip.times.push_back({kind.name, time.median()});
    strip.table->rows.push_back(
        {kind.name, count(static_cast<long long>(region.area)), number(100.0 * region.area / pixels, 1) + " %"});
    strip.figures.push_back({kind.id, kind.name, result});
  }
  page.add(panel, subject, strip);
}

}  // namespace tour
