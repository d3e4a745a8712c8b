// Morphology: what erosion and dilation do, what is made of the two, masks of any form, and images of bits.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

const std::string kSubsystem = "Morphology";
constexpr int kRuns = 5;
constexpr std::uint8_t kSelected = 255;

struct Filtered {
  Picture picture;
  double milliseconds;
};

// ---- Masks

// Cells for which select(x, y) holds, with the anchor at the origin.
template <class Select>
Picture maskOf(int side, Select select) {
  Picture mask(side, side, 1);
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x)
      if (select(x - side / 2, y - side / 2)) *mask.at(x, y) = kSelected;
  }
  return mask;
}

Picture disc(int side) {
  return maskOf(side, [=](int x, int y) { return 4 * (x * x + y * y) <= side * side; });
}

// An odd number of cells that is this part of a picture's shorter side.
int sideFor(const Picture& picture, int parts) {
  return std::max(std::min(picture.width(), picture.height()) / parts, 3) | 1;
}

std::string sizeOf(const Picture& mask) {
  return std::to_string(mask.width()) + " x " + std::to_string(mask.height());
}

// A mask with cells large enough to be seen.
Picture drawn(const Picture& mask) {
  constexpr int kCell = 12;
  Picture picture(mask.width() * kCell + 1, mask.height() * kCell + 1, 1, 120);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      if (x % kCell == 0 || y % kCell == 0) continue;
      *picture.at(x, y) = *mask.at(x / kCell, y / kCell) != 0 ? 255 : 24;
    }
  }
  return picture;
}

// ---- Calls

// A structuring element and its scratch memory; `S` is RvpiMorphState or RvpiMorphAdvState.
template <class S, auto kGetSize, auto kInit>
class Element {
 public:
  using State = S;

  Element(RvpiSize region, const Picture& mask) {
    int specBytes = 0;
    int bufferBytes = 0;
    check(kGetSize(region, mask.size(), &specBytes, &bufferBytes), "the mask's GetSize");
    spec_.resize(static_cast<std::size_t>(specBytes));
    buffer_.resize(static_cast<std::size_t>(bufferBytes));
    check(kInit(region, mask.data(), mask.size(), state(), buffer()), "the mask's Init");
  }
  State* state() { return reinterpret_cast<State*>(spec_.data()); }
  std::uint8_t* buffer() { return buffer_.data(); }

 private:
  std::vector<std::uint8_t> spec_;
  std::vector<std::uint8_t> buffer_;
};

using Colour = Element<RvpiMorphState, rvpiMorphologyBorderGetSize_8u_C3R, rvpiMorphologyBorderInit_8u_C3R>;
using ColourAdv = Element<RvpiMorphAdvState, rvpiMorphAdvGetSize_8u_C3R, rvpiMorphAdvInit_8u_C3R>;
using GrayAdv = Element<RvpiMorphAdvState, rvpiMorphAdvGetSize_8u_C1R, rvpiMorphAdvInit_8u_C1R>;
using Bits = Element<RvpiMorphState, rvpiMorphologyBorderGetSize_1u_C1R, rvpiMorphologyBorderInit_1u_C1R>;
using BitsAdv = Element<RvpiMorphAdvState, rvpiMorphAdvGetSize_1u_C1R, rvpiMorphAdvInit_1u_C1R>;

// `Value` is one value or a pointer to three of them. Beyond the picture its edge goes on, so that none is needed.
template <class E, class Value>
using Operation = RvpStatus (*)(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, RvpiBorderType, Value,
                                const typename E::State*, std::uint8_t*);

template <class E, class Value>
Filtered filter(Operation<E, Value> operation, const char* name, const Picture& src, const Picture& mask) {
  E element(src.size(), mask);
  Picture dst(src.width(), src.height(), src.channels());
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run) {
    time.lap([&] {
      check(operation(src.data(), src.step(), dst.data(), dst.step(), src.size(), rvpBorderRepl, Value{},
                      element.state(), element.buffer()),
            name);
    });
  }
  return {dst, time.median()};
}
// The name of an operation is told with it.
#define FILTER(ELEMENT, OPERATION, SRC, MASK) filter<ELEMENT>(OPERATION, #OPERATION, SRC, MASK)

// Eight pixels a byte, the first one lowest.
Picture packed(const Picture& shape) {
  Picture bits((shape.width() + 7) / 8, shape.height(), 1);
  for (int y = 0; y < shape.height(); ++y) {
    for (int x = 0; x < shape.width(); ++x) {
      if (*shape.at(x, y) == 0) continue;
      std::uint8_t* const byte = bits.at(x / 8, y);
      *byte = static_cast<std::uint8_t>(*byte | 1U << static_cast<unsigned>(x % 8));
    }
  }
  return bits;
}

Picture unpacked(const Picture& bits, RvpiSize size) {
  Picture shape(size.width, size.height, 1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x)
      if ((*bits.at(x / 8, y) >> (x % 8) & 1) != 0) *shape.at(x, y) = 255;
  }
  return shape;
}

template <class E>
using BitOperation = RvpStatus (*)(const std::uint8_t*, int, int, std::uint8_t*, int, int, RvpiSize, RvpiBorderType,
                                   std::uint8_t, const typename E::State*, std::uint8_t*);

template <class E>
Filtered filterBits(BitOperation<E> operation, const char* name, const Picture& shape, const Picture& mask) {
  E element(shape.size(), mask);
  const Picture src = packed(shape);
  Picture dst(src.width(), src.height(), 1);
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run) {
    time.lap([&] {
      check(operation(src.data(), src.step(), 0, dst.data(), dst.step(), 0, shape.size(), rvpBorderRepl, 0,
                      element.state(), element.buffer()),
            name);
    });
  }
  return {unpacked(dst, shape.size()), time.median()};
}
#define FILTER_BITS(ELEMENT, OPERATION, SRC, MASK) filterBits<ELEMENT>(OPERATION, #OPERATION, SRC, MASK)

// ---- Panels

void addBasics(const Subject& subject, Page& page) {
  const Picture photograph = inColour(subject.picture);
  const Picture mask = disc(sideFor(photograph, 40));
  const Filtered eroded = FILTER(Colour, rvpiErodeBorder_8u_C3R, photograph, mask);
  const Filtered dilated = FILTER(Colour, rvpiDilateBorder_8u_C3R, photograph, mask);
  const Filtered opened = FILTER(ColourAdv, rvpiMorphOpenBorder_8u_C3R, photograph, mask);
  const Filtered closed = FILTER(ColourAdv, rvpiMorphCloseBorder_8u_C3R, photograph, mask);
  page.add({kSubsystem,
            "erosion-dilation",
            "Erosion and dilation, opening and closing",
            {"rvpiErodeBorder_8u_C3R", "rvpiDilateBorder_8u_C3R", "rvpiMorphOpenBorder_8u_C3R",
             "rvpiMorphCloseBorder_8u_C3R"},
            "Erosion takes the least value under a disc and lets dark things grow; dilation takes the greatest and "
            "lets bright things grow. One after the other they give things back their size: opening removes bright "
            "detail narrower than the disc, closing removes dark detail."},
           subject,
           {{{"mask", "disc, " + sizeOf(mask)}, {"border", "replicated"}},
            {{"erosion", eroded.milliseconds},
             {"dilation", dilated.milliseconds},
             {"opening", opened.milliseconds},
             {"closing", closed.milliseconds}},
            {{"", "The photograph", subject.picture},
             {"eroded", "Eroded", eroded.picture},
             {"dilated", "Dilated", dilated.picture},
             {"opened", "Opened", opened.picture},
             {"closed", "Closed", closed.picture}}});
}

// The picture under a lamp at its upper left: a quarter of the light is left at the lower right.
Picture unevenlyLit(const Picture& gray) {
  constexpr float kLeast = 0.25f;
  Picture lit = gray;
  const auto span = static_cast<float>(gray.width() + gray.height() - 2);
  for (int y = 0; y < gray.height(); ++y) {
    for (int x = 0; x < gray.width(); ++x) {
      const float light = 1.0f - (1.0f - kLeast) * static_cast<float>(x + y) / span;
      *lit.at(x, y) = toByte(light * static_cast<float>(*gray.at(x, y)));
    }
  }
  return lit;
}

// Multiplied, so that all but the brightest thousandth keeps its differences.
Picture brightened(const Picture& picture) {
  std::vector<std::uint8_t> sorted = picture.elements();
  const auto high = sorted.end() - 1 - static_cast<std::ptrdiff_t>(sorted.size() / 1000);
  std::nth_element(sorted.begin(), high, sorted.end());
  const float factor = 255.0f / static_cast<float>(std::max<int>(*high, 1));
  Picture result = picture;
  for (std::uint8_t& value : result.elements()) value = toByte(factor * static_cast<float>(value));
  return result;
}

void addHats(const Subject& subject, Page& page) {
  const Picture lit = unevenlyLit(inGray(subject.picture));
  const Picture mask = disc(sideFor(lit, 16));
  const Filtered ground = FILTER(GrayAdv, rvpiMorphOpenBorder_8u_C1R, lit, mask);
  const Filtered tops = FILTER(GrayAdv, rvpiMorphTophatBorder_8u_C1R, lit, mask);
  const Filtered pits = FILTER(GrayAdv, rvpiMorphBlackhatBorder_8u_C1R, lit, mask);
  page.add({kSubsystem,
            "hats",
            "Top-hat and black-hat",
            {"rvpiMorphOpenBorder_8u_C1R", "rvpiMorphTophatBorder_8u_C1R", "rvpiMorphBlackhatBorder_8u_C1R"},
            "The photograph is lit from the upper left. Its opening by a large disc is its ground with the shading "
            "on it; the top-hat is what stands out of that and lies on black everywhere. The black-hat is the same "
            "for dark detail."},
           subject,
           {{{"mask", "disc, " + sizeOf(mask)}},
            {{"opening", ground.milliseconds}, {"top-hat", tops.milliseconds}, {"black-hat", pits.milliseconds}},
            {{"lit", "Unevenly lit", lit},
             {"ground", "The ground: opened", ground.picture},
             {"tophat", "Top-hat, brightened", brightened(tops.picture)},
             {"blackhat", "Black-hat, brightened", brightened(pits.picture)}}});
}

void addGradient(const Subject& subject, Page& page) {
  const Picture gray = inGray(subject.picture);
  Strip strip;
  for (const int side : {3, 9}) {
    const Picture mask = disc(side);
    const Filtered gradient = FILTER(GrayAdv, rvpiMorphGradientBorder_8u_C1R, gray, mask);
    Plane heights(gray.width(), gray.height(), 1);
    std::ranges::copy(gradient.picture.elements(), heights.elements().begin());
    const int greatest = std::max<int>(*std::ranges::max_element(gradient.picture.elements()), 1);
    strip.times.push_back({"gradient, " + sizeOf(mask), gradient.milliseconds});
    strip.figures.push_back({"gradient-" + std::to_string(side), "Disc of " + sizeOf(mask),
                             falseColour(heights, 0.0f, static_cast<float>(greatest), kHeat),
                             Legend{"gray levels", kHeat, {"0", std::to_string(greatest)}}});
  }
  page.add({kSubsystem,
            "morph-gradient",
            "Morphological gradient",
            {"rvpiMorphGradientBorder_8u_C1R"},
            "Dilation less erosion: how much the brightness changes under the mask, in whatever direction. A wider "
            "mask gives wider edges of the same height."},
           subject, strip);
}

void addMasks(const Subject& subject, Page& page) {
  constexpr int kSide = 21;
  const Picture photograph = inColour(subject.picture);
  struct Form {
    const char* name;
    const char* caption;
    Picture mask;
  };
  const std::array<Form, 3> forms = {{
      {"stroke", "a stroke", maskOf(kSide, [](int x, int y) { return std::abs(x + y) <= 1; })},
      {"ring", "a ring",
       maskOf(kSide,
              [](int x, int y) {
                const int square = x * x + y * y;
                return square > 64 && square <= 110;
              })},
      {"arrow", "an arrow",
       maskOf(
           kSide,
           [](int x, int y) { return (x < 3 && std::abs(y) <= 1) || (x >= 2 && std::abs(y) + x <= kSide / 2); })},
  }};
  Strip strip;
  strip.parameters = {{"masks", sizeOf(forms[0].mask)}};
  for (const auto& [name, caption, mask] : forms) {
    const Filtered dilated = FILTER(Colour, rvpiDilateBorder_8u_C3R, photograph, mask);
    strip.times.push_back({std::string("dilation, ") + caption, dilated.milliseconds});
    strip.figures.push_back({std::string("mask-") + name, std::string("The mask: ") + caption, drawn(mask)});
    strip.figures.push_back(
        {std::string("dilated-") + name, std::string("Dilated by ") + caption, dilated.picture});
  }
  page.add({kSubsystem,
            "arbitrary-masks",
            "Masks of any form",
            {"rvpiMorphologyBorderInit_8u_C3R", "rvpiDilateBorder_8u_C3R"},
            "Any set of cells will do. As each pixel takes the greatest value under the mask, a lone highlight "
            "becomes the mask's own form, turned by half a circle."},
           subject, strip);
}

void addBits(const Subject& subject, Page& page) {
  const Picture gray = inGray(subject.picture);
  std::vector<std::uint8_t> sorted = gray.elements();
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  Picture shape(gray.width(), gray.height(), 1);
  std::ranges::transform(gray.elements(), shape.elements().begin(),
                         [level = *middle](std::uint8_t value) -> std::uint8_t { return value > level ? 255 : 0; });
  const Picture mask = disc(sideFor(gray, 60));
  const Filtered eroded = FILTER_BITS(Bits, rvpiErodeBorder_1u_C1R, shape, mask);
  const Filtered opened = FILTER_BITS(BitsAdv, rvpiMorphOpenBorder_1u_C1R, shape, mask);
  const Filtered cleaned = FILTER_BITS(BitsAdv, rvpiMorphCloseBorder_1u_C1R, opened.picture, mask);
  const Filtered outline = FILTER_BITS(BitsAdv, rvpiMorphGradientBorder_1u_C1R, cleaned.picture, disc(3));
  page.add({kSubsystem,
            "bit-morphology",
            "Images of bits",
            {"rvpiErodeBorder_1u_C1R", "rvpiMorphOpenBorder_1u_C1R", "rvpiMorphCloseBorder_1u_C1R",
             "rvpiMorphGradientBorder_1u_C1R"},
            "The brighter half of the photograph, one bit a pixel. Opening removes specks and closing fills small "
            "gaps; the gradient draws what is left as outlines. A word holds 64 pixels, and all of them are worked "
            "on at once."},
           subject,
           {{{"mask", "disc, " + sizeOf(mask)}, {"outline", "disc, 3 x 3"}},
            {{"erosion", eroded.milliseconds},
             {"opening", opened.milliseconds},
             {"closing", cleaned.milliseconds},
             {"gradient", outline.milliseconds}},
            {{"half", "The brighter half", shape},
             {"bits-eroded", "Eroded", eroded.picture},
             {"bits-opened", "Opened", opened.picture},
             {"bits-cleaned", "Opened, then closed", cleaned.picture},
             {"bits-outline", "Its outlines", outline.picture}}});
}

}  // namespace

void addMorphPanels(const Subject& subject, Page& page) {
  addBasics(subject, page);
  addHats(subject, page);
  addGradient(subject, page);
  addMasks(subject, page);
  addBits(subject, page);
}

}  // namespace tour
