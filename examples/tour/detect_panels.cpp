// Summed-area tables and what they give in constant time; how far degraded copies are from the photograph.
#include <algorithm>
#include <cmath>
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
#include "stream.h"

namespace tour {
namespace {

constexpr int kRuns = 5;
const std::string kDetection = "Detection";

std::string square(int side) { return std::to_string(side) + " × " + std::to_string(side); }

template <class T>
float greatestOf(const Image<T>& image) {
  return std::max(1.0f, static_cast<float>(*std::ranges::max_element(image.elements())));
}

Plane inFloats(const Image<std::int32_t>& image) {
  Plane plane(image.width(), image.height(), 1);
  std::ranges::transform(image.elements(), plane.elements().begin(),
                         [](std::int32_t value) { return static_cast<float>(value); });
  return plane;
}

// ---- Tables

// Means over squares of `side` pixels, cut at the picture's edge, from four cells each.
Picture boxMeans(const Image<std::int32_t>& table, int side) {
  const int width = table.width() - 1;
  const int height = table.height() - 1;
  Picture means(width, height, 1);
  const int before = side / 2;
  for (int y = 0; y < height; ++y) {
    const int top = std::max(y - before, 0);
    const int bottom = std::min(y - before + side, height);
    for (int x = 0; x < width; ++x) {
      const int left = std::max(x - before, 0);
      const int right = std::min(x - before + side, width);
      const int sum =
          *table.at(right, bottom) - *table.at(right, top) - *table.at(left, bottom) + *table.at(left, top);
      *means.at(x, y) = toByte(static_cast<float>(sum) / static_cast<float>((right - left) * (bottom - top)));
    }
  }
  return means;
}

void addIntegral(const Subject& subject, const Picture& gray, Page& page) {
  const RvpiSize size = gray.size();
  Image<std::int32_t> upright(size.width + 1, size.height + 1, 1);
  Image<std::int32_t> tilted(size.width + 2, size.height + 2, 1);
  Stopwatch uprightTime;
  Stopwatch tiltedTime;
  for (int run = 0; run < kRuns; ++run) {
    uprightTime.lap([&] {
      check(rvpiIntegral_8u32s_C1R(gray.data(), gray.step(), upright.data(), upright.step(), size, 0),
            "rvpiIntegral_8u32s_C1R");
    });
    tiltedTime.lap([&] {
      check(rvpiTiltedIntegral_8u32s_C1R(gray.data(), gray.step(), tilted.data(), tilted.step(), size, 0),
            "rvpiTiltedIntegral_8u32s_C1R");
    });
  }
  const int side = std::max(3, std::min(size.width, size.height) / 16 | 1);
  const auto legend = [](float greatest) {
    return Legend{"millions", kHeat, {"0", number(static_cast<double>(greatest) / 1e6, 1)}};
  };
  const float uprightGreatest = greatestOf(upright);
  const float tiltedGreatest = greatestOf(tilted);
  const Panel panel = {kDetection,
                       "summed-area-tables",
                       "Summed-area tables",
                       {"rvpiIntegral_8u32s_C1R", "rvpiTiltedIntegral_8u32s_C1R"},
                       "Each cell of the upright table is the sum of all pixels above and to the left of it, each "
                       "cell of the tilted one that of a wedge that opens upwards. The sum over any rectangle is "
                       "then four cells away, so that the mean over a large square costs no more than over a small "
                       "one."};
  page.add(panel, subject,
           {{{"square", square(side)}},
            {{"upright table", uprightTime.median()}, {"tilted table", tiltedTime.median()}},
            {{"gray", "The photograph in gray", gray},
             {"upright", "Upright table", falseColour(inFloats(upright), 0.0f, uprightGreatest, kHeat),
              legend(uprightGreatest)},
             {"tilted", "Tilted table", falseColour(inFloats(tilted), 0.0f, tiltedGreatest, kHeat),
              legend(tiltedGreatest)},
             {"means", "Means over squares, four cells each", boxMeans(upright, side)}}});
}

void addLocalDeviation(const Subject& subject, const Picture& gray, Page& page) {
  const RvpiSize size = gray.size();
  Plane sums(size.width + 1, size.height + 1, 1);
  Image<double> squares(size.width + 1, size.height + 1, 1);
  Stopwatch tables;
  for (int run = 0; run < kRuns; ++run)
    tables.lap([&] {
      check(rvpiSqrIntegral_8u32f64f_C1R(gray.data(), gray.step(), sums.data(), sums.step(), squares.data(),
                                         squares.step(), size, 0.0f, 0.0),
            "rvpiSqrIntegral_8u32f64f_C1R");
    });
  std::vector<Timing> times = {{"tables", tables.median()}};
  std::vector<Figure> figures = {{"gray", "The photograph in gray", gray}};
  for (const int side : {3, 15}) {
    const RvpiSize places = {size.width - side + 1, size.height - side + 1};
    Plane deviation(places.width, places.height, 1);
    Stopwatch time;
    for (int run = 0; run < kRuns; ++run)
      time.lap([&] {
        check(rvpiRectStdDev_32f_C1R(sums.data(), sums.step(), squares.data(), squares.step(), deviation.data(),
                                     deviation.step(), places, {0, 0, side, side}),
              "rvpiRectStdDev_32f_C1R");
      });
    const float greatest = greatestOf(deviation);
    times.push_back({"squares of " + square(side), time.median()});
    figures.push_back({"squares-" + std::to_string(side), "Standard deviation in squares of " + square(side),
                       falseColour(deviation, 0.0f, greatest, kHeat),
                       Legend{"gray levels", kHeat, {"0", number(static_cast<double>(greatest), 0)}}});
  }
  const Panel panel = {kDetection,
                       "local-deviation",
                       "Local standard deviation",
                       {"rvpiRectStdDev_32f_C1R", "rvpiSqrIntegral_8u32f64f_C1R"},
                       "How much gray levels vary around each pixel: texture and edges glow, flat areas stay dark. "
                       "With tables of values and of squares, a large square takes the time of a small one."};
  page.add(panel, subject, {{}, std::move(times), std::move(figures)});
}

// ---- Norms

struct Copy {
  std::string name;  // also of the file: small letters and hyphens
  std::string caption;
  Picture picture;
};

Picture darker(const Picture& gray, int levels) {
  Picture result = gray;
  for (std::uint8_t& value : result.elements()) value = static_cast<std::uint8_t>(std::max(value - levels, 0));
  return result;
}

// One pixel in a hundred becomes black or white.
Picture speckled(const Picture& gray) {
  Picture result = gray;
  Random random(60);
  for (std::uint8_t& value : result.elements()) {
    const std::uint64_t draw = random.next() % 200;
    if (draw < 2) value = draw == 0 ? std::uint8_t{0} : std::uint8_t{255};
  }
  return result;
}

Picture blurred(const Picture& gray, int side) {
  const RvpiSize size = gray.size();
  Image<std::int32_t> table(size.width + 1, size.height + 1, 1);
  check(rvpiIntegral_8u32s_C1R(gray.data(), gray.step(), table.data(), table.step(), size, 0),
        "rvpiIntegral_8u32s_C1R");
  return boxMeans(table, side);
}

void addNorms(const Subject& subject, const Picture& gray, Page& page) {
  const RvpiSize size = gray.size();
  const Picture mask =
      ellipseMask(size, {size.width / 12, size.height / 12, size.width * 5 / 6, size.height * 5 / 6});
  constexpr NoisyStream kNoise = {.shift = 0, .noise = 12.0f, .seed = 50};
  constexpr NoisyStream kShake = {.shift = 1, .noise = 0.0f, .seed = 51};
  const std::vector<Copy> copies = {{"noisy", "With noise, σ 12", kNoise.frame(gray, 1)},
                                    {"speckled", "One pixel in a hundred black or white", speckled(gray)},
                                    {"blurred", "Means over 5 × 5", blurred(gray, 5)},
                                    {"moved", "Moved by up to a pixel", kShake.frame(gray, 1)},
                                    {"darker", "Darker by 12 gray levels", darker(gray, 12)}};
  const auto selected = std::ranges::count_if(mask.elements(), [](std::uint8_t value) { return value != 0; });
  const double pixels = std::max(1.0, static_cast<double>(selected));

  Table table = {
      {"copy", "greatest difference", "mean difference", "root mean square", "relative L1", "relative L2"}, {}};
  std::vector<Figure> figures = {{"mask", "What is measured: the white pixels", mask}};
  Stopwatch time;
  for (const Copy& copy : copies) {
    const std::uint8_t* const a = copy.picture.data();
    const std::uint8_t* const b = gray.data();
    const int step = gray.step();
    double greatest = 0.0;
    double sum = 0.0;
    double root = 0.0;
    double relativeSum = 0.0;
    double relativeRoot = 0.0;
    for (int run = 0; run < kRuns; ++run)
      time.lap([&] {
        check(rvpiNormDiff_Inf_8u_C1MR(a, step, b, step, mask.data(), mask.step(), size, &greatest),
              "rvpiNormDiff_Inf_8u_C1MR");
        check(rvpiNormDiff_L1_8u_C1MR(a, step, b, step, mask.data(), mask.step(), size, &sum),
              "rvpiNormDiff_L1_8u_C1MR");
        check(rvpiNormDiff_L2_8u_C1MR(a, step, b, step, mask.data(), mask.step(), size, &root),
              "rvpiNormDiff_L2_8u_C1MR");
        check(rvpiNormRel_L1_8u_C1MR(a, step, b, step, mask.data(), mask.step(), size, &relativeSum),
              "rvpiNormRel_L1_8u_C1MR");
        check(rvpiNormRel_L2_8u_C1MR(a, step, b, step, mask.data(), mask.step(), size, &relativeRoot),
              "rvpiNormRel_L2_8u_C1MR");
      });
    table.rows.push_back({copy.caption, number(greatest, 0), number(sum / pixels, 2),
                          number(root / std::sqrt(pixels), 2), number(100.0 * relativeSum, 1) + " %",
                          number(100.0 * relativeRoot, 1) + " %"});
    figures.push_back({copy.name, copy.caption, copy.picture});
  }
  const Panel panel = {"Accumulators and statistics",
                       "norms",
                       "Norms between a photograph and its copies",
                       {"rvpiNormDiff_Inf_8u_C1MR", "rvpiNormDiff_L1_8u_C1MR", "rvpiNormDiff_L2_8u_C1MR",
                        "rvpiNormRel_L1_8u_C1MR", "rvpiNormRel_L2_8u_C1MR"},
                       "Five ways to spoil a photograph, and how far each copy is from it inside an ellipse. The "
                       "greatest difference sees a single speckle, the mean hardly does; means and roots are shown "
                       "for one pixel, and the relative norms in proportion to the photograph itself."};
  page.add(panel, subject,
           {{{"pixels measured", count(selected)}},
            {{"five norms", time.median()}},
            std::move(figures),
            std::move(table)});
}

}  // namespace

void addDetectPanels(const Subject& subject, Page& page) {
  const Picture gray = inGray(subject.picture);
  addIntegral(subject, gray, page);
  addLocalDeviation(subject, gray, page);
  addNorms(subject, gray, page);
}

}  // namespace tour
