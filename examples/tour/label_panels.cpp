// Connected components: labels in false colours, and speckles of a disparity map.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
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

const std::string kSubsystem = "Segmentation";
constexpr int kRuns = 5;

// ---- Labels

// 255 where a pixel is darker than the mean of the square around it by more than a few levels.
Picture darkSpots(const Picture& gray) {
  constexpr int kReach = 16;
  constexpr int kDarker = 6;
  const int width = gray.width();
  const int height = gray.height();
  std::vector<std::int64_t> sums(static_cast<std::size_t>(width + 1) * static_cast<std::size_t>(height + 1));
  const auto sum = [&](int x, int y) -> std::int64_t& {
    return sums[static_cast<std::size_t>(y) * static_cast<std::size_t>(width + 1) + static_cast<std::size_t>(x)];
  };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) sum(x + 1, y + 1) = *gray.at(x, y) + sum(x, y + 1) + sum(x + 1, y) - sum(x, y);
  }
  Picture spots(width, height, 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int left = std::max(x - kReach, 0);
      const int right = std::min(x + kReach + 1, width);
      const int top = std::max(y - kReach, 0);
      const int bottom = std::min(y + kReach + 1, height);
      const std::int64_t whole = sum(right, bottom) - sum(left, bottom) - sum(right, top) + sum(left, top);
      const std::int64_t pixels = static_cast<std::int64_t>(right - left) * (bottom - top);
      *spots.at(x, y) = (*gray.at(x, y) + kDarker) * pixels < whole ? 255 : 0;
    }
  }
  return spots;
}

// A strong colour for each label, far from those of labels near it.
Rgb colourOf(std::int32_t label) {
  const std::uint32_t turn = static_cast<std::uint32_t>(label) * 2654435769U;  // the golden section of 2^32
  const auto channel = [turn](unsigned shift) {
    return static_cast<std::uint8_t>(70 + (turn >> shift & 0xFFU) * 185 / 255);
  };
  return {channel(24), channel(13), channel(3)};
}

Picture inLabelColours(const Image<std::int32_t>& labels) {
  Picture picture(labels.width(), labels.height(), 3);
  for (int y = 0; y < labels.height(); ++y) {
    for (int x = 0; x < labels.width(); ++x) {
      const std::int32_t label = *labels.at(x, y);
      const Rgb colour = label == 0 ? Rgb{18, 18, 24} : colourOf(label);
      std::uint8_t* const pixel = picture.at(x, y);
      pixel[0] = colour.red;
      pixel[1] = colour.green;
      pixel[2] = colour.blue;
    }
  }
  return picture;
}

void addLabels(const Subject& subject, Page& page) {
  const Picture spots = darkSpots(inGray(subject.picture));
  Image<std::int32_t> labels(spots.width(), spots.height(), 1);
  int bytes = 0;
  check(rvpiLabelMarkersGetBufferSize_8u32s_C1R(spots.size(), &bytes), "rvpiLabelMarkersGetBufferSize_8u32s_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Strip strip = {{{"labels", "1, 2, 3, ..."}}, {}, {{"spots", "Pixels darker than those around them", spots}}};
  for (const auto& [norm, name] : {std::pair{rvpConnect4, "4"}, {rvpConnect8, "8"}}) {
    int components = 0;
    Stopwatch time;
    for (int run = 0; run < kRuns; ++run) {
      time.lap([&, norm = norm] {
        check(rvpiLabelMarkers_8u32s_C1R(spots.data(), spots.step(), labels.data(), labels.step(), spots.size(), 1,
                                         0x7FFFFFFE, norm, &components, scratch.data()),
              "rvpiLabelMarkers_8u32s_C1R");
      });
    }
    const std::string neighbours = std::string(name) + " neighbours";
    strip.times.push_back({neighbours, time.median()});
    strip.figures.push_back({"components-" + std::string(name),
                             neighbours + ": " + count(components) + " components", inLabelColours(labels)});
  }
  page.add({kSubsystem,
            "labels",
            "Connected components",
            {"rvpiLabelMarkersGetBufferSize_8u32s_C1R", "rvpiLabelMarkers_8u32s_C1R"},
            "Each connected component of the white pixels has a number and, here, a colour of its own. With 8 "
            "neighbours, components that touch at a corner are one."},
           subject, strip);
}

// ---- Speckles

// A disparity map as a matcher might give it: smooth, quantised, steps between near and far, with holes where
// nothing was found, and with small patches that were matched to something else. The photograph's brightness serves
// as depth.
Picture noisyDisparity(const Picture& gray) {
  constexpr int kCell = 6;
  constexpr int kLevels = 64;
  const int width = gray.width();
  const int height = gray.height();
  Picture map(width, height, 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int sum = 0;
      int pixels = 0;
      for (int dy = -kCell; dy <= kCell; dy += 2) {
        for (int dx = -kCell; dx <= kCell; dx += 2, ++pixels)
          sum += *gray.at(std::clamp(x + dx, 0, width - 1), std::clamp(y + dy, 0, height - 1));
      }
      *map.at(x, y) = static_cast<std::uint8_t>(kLevels + sum / pixels * 2 * kLevels / 256);
    }
  }
  std::minstd_rand chance(20);
  const auto below = [&chance](int end) { return static_cast<int>(chance() >> 4U) % end; };
  for (int patches = width * height / 400; patches > 0; --patches) {
    const int side = 1 + below(6);
    const int left = below(width);
    const int top = below(height);
    const auto value = static_cast<std::uint8_t>(below(5) == 0 ? 0 : 1 + below(250));
    for (int y = top; y < std::min(top + side, height); ++y)
      for (int x = left; x < std::min(left + 1 + below(side), width); ++x) *map.at(x, y) = value;
  }
  return map;
}

Picture inDepthColours(const Picture& map) {
  Plane values(map.width(), map.height(), 1);
  std::transform(map.elements().begin(), map.elements().end(), values.elements().begin(),
                 [](std::uint8_t value) { return static_cast<float>(value); });
  return falseColour(values, 0.0f, 255.0f, kHeat);
}

void addSpeckles(const Subject& subject, Page& page) {
  constexpr std::uint8_t kNone = 0;
  constexpr int kMaxSize = 60;
  constexpr std::uint8_t kMaxDifference = 4;
  const Picture noisy = noisyDisparity(inGray(subject.picture));
  int bytes = 0;
  check(rvpiMarkSpecklesGetBufferSize(noisy.size(), rvp8u, 1, &bytes), "rvpiMarkSpecklesGetBufferSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture clean;
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run) {
    clean = noisy;
    time.lap([&] {
      check(rvpiMarkSpeckles_8u_C1IR(clean.data(), clean.step(), clean.size(), kNone, kMaxSize, kMaxDifference,
                                     rvpConnect4, scratch.data()),
            "rvpiMarkSpeckles_8u_C1IR");
    });
  }
  long long marked = 0;
  for (std::size_t i = 0; i < clean.elements().size(); ++i)
    marked += clean.elements()[i] != noisy.elements()[i] ? 1 : 0;
  page.add({kSubsystem,
            "speckles",
            "Speckles of a disparity map",
            {"rvpiMarkSpecklesGetBufferSize", "rvpiMarkSpeckles_8u_C1IR"},
            "A map such as stereo matching gives, made of the photograph's brightness, with small patches that "
            "are wrong. Patches that no chain of small steps connects with what is around them become "
            "\"nothing known\", which is black; slopes stay."},
           subject,
           {{{"size", "up to " + std::to_string(kMaxSize) + " pixels"},
             {"difference", "up to " + std::to_string(kMaxDifference)}},
            {{"marking", time.median()}},
            {{"noisy", "The noisy map", inDepthColours(noisy)},
             {"clean", count(marked) + " pixels marked", inDepthColours(clean)}}});
}

}  // namespace

void addLabelPanels(const Subject& subject, Page& page) {
  addLabels(subject, page);
  addSpeckles(subject, page);
}

}  // namespace tour
