// Linear filters: the row and the column stage that make any separable filter, and the plain sum.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv/filter.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

constexpr int kRuns = 3;
constexpr double kSigma = 4.0;
constexpr int kReach = 12;
// Between the stages bytes have this many fractional units.
constexpr int kUnit = 64;

// Rows between the two stages: a pointer for each that the column stage reads, `reach` of them above and below the
// image, where they lead to the outermost row.
template <class T>
std::vector<T*> rowsAround(Image<T>& image, int reach) {
  std::vector<T*> rows;
  for (int y = -reach; y < image.height() + reach; ++y)
    rows.push_back(image.at(0, std::clamp(y, 0, image.height() - 1)));
  return rows;
}

Picture smoothed(const Picture& photograph, Stopwatch& time) {
  std::vector<std::int16_t> kernel;
  int sum = 0;
  for (int i = -kReach; i <= kReach; ++i) {
    kernel.push_back(static_cast<std::int16_t>(std::lround(1024 * std::exp(-i * i / (2 * kSigma * kSigma)))));
    sum += kernel.back();
  }
  const int taps = static_cast<int>(kernel.size());
  const RvpiSize size = photograph.size();
  Image<std::int16_t> between(size.width, size.height, 3);
  Picture result(size.width, size.height, 3);
  const std::vector<std::int16_t*> rows = rowsAround(between, kReach);
  int rowBytes = 0;
  int columnBytes = 0;
  check(rvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(size, taps, &rowBytes),
        "rvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R");
  check(rvpiFilterColumnPipelineGetBufferSize_16s8u_C3R(size, taps, &columnBytes),
        "rvpiFilterColumnPipelineGetBufferSize_16s8u_C3R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(std::max(rowBytes, columnBytes)));
  const std::uint8_t black[3] = {};
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiFilterRowBorderPipeline_8u16s_C3R(photograph.data(), photograph.step(), rows.data() + kReach, size,
                                                  kernel.data(), taps, kReach, rvpBorderRepl, black, sum / kUnit,
                                                  scratch.data()),
            "rvpiFilterRowBorderPipeline_8u16s_C3R");
      check(rvpiFilterColumnPipeline_16s8u_C3R(rows.data(), result.data(), result.step(), size, kernel.data(), taps,
                                               sum * kUnit, scratch.data()),
            "rvpiFilterColumnPipeline_16s8u_C3R");
    });
  return result;
}

// Right minus left, smoothed down the rows.
Plane slopes(const Picture& gray, Stopwatch& time) {
  const std::int16_t difference[3] = {-1, 0, 1};
  const std::int16_t smoothing[3] = {1, 2, 1};
  const RvpiSize size = gray.size();
  Image<std::int16_t> between(size.width, size.height, 1);
  Image<std::int16_t> result(size.width, size.height, 1);
  const std::vector<std::int16_t*> rows = rowsAround(between, 1);
  int rowBytes = 0;
  int columnBytes = 0;
  check(rvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(size, 3, &rowBytes),
        "rvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R");
  check(rvpiFilterColumnPipelineGetBufferSize_16s_C1R(size, 3, &columnBytes),
        "rvpiFilterColumnPipelineGetBufferSize_16s_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(std::max(rowBytes, columnBytes)));
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiFilterRowBorderPipeline_8u16s_C1R(gray.data(), gray.step(), rows.data() + 1, size, difference, 3, 1,
                                                  rvpBorderRepl, 0, 1, scratch.data()),
            "rvpiFilterRowBorderPipeline_8u16s_C1R");
      check(rvpiFilterColumnPipeline_16s_C1R(rows.data(), result.data(), result.step(), size, smoothing, 3, 4,
                                             scratch.data()),
            "rvpiFilterColumnPipeline_16s_C1R");
    });
  Plane plane(size.width, size.height, 1);
  std::copy(result.elements().begin(), result.elements().end(), plane.elements().begin());
  return plane;
}

// The photograph less the mean of 5 x 5 pixels.
Plane details(const Picture& gray, Stopwatch& time) {
  const RvpiSize size = gray.size();
  Plane plane(size.width, size.height, 1);
  std::copy(gray.elements().begin(), gray.elements().end(), plane.elements().begin());
  Plane sums(size.width, size.height, 1);
  int bytes = 0;
  check(rvpiFilterLowpassGetBufferSize_32f_C1R(size, 55, &bytes), "rvpiFilterLowpassGetBufferSize_32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiFilterLowpassBorder_32f_C1R(plane.data(), plane.step(), sums.data(), sums.step(), size, 55,
                                            rvpBorderMirror, 0, scratch.data()),
            "rvpiFilterLowpassBorder_32f_C1R");
    });
  std::transform(plane.elements().begin(), plane.elements().end(), sums.elements().begin(),
                 plane.elements().begin(), [](float pixel, float sum) { return pixel - sum / 25.0f; });
  return plane;
}

}  // namespace

void addFilterPanels(const Subject& subject, Page& page) {
  constexpr float kGreatest = 60.0f;
  const Picture gray = inGray(subject.picture);
  const Legend legend = {"gray levels", kBalance, {"-60", "0", "60"}};
  Stopwatch smoothTime;
  Stopwatch slopeTime;
  Stopwatch sumTime;
  const Picture smooth = smoothed(inColour(subject.picture), smoothTime);
  const Picture slope = falseColour(slopes(gray, slopeTime), -kGreatest, kGreatest, kBalance);
  const Picture detail = falseColour(details(gray, sumTime), -kGreatest, kGreatest, kBalance);
  const Panel panel = {
      "Borders and linear filters",
      "linear-filters",
      "Linear filters",
      {"rvpiFilterRowBorderPipeline_8u16s_C3R", "rvpiFilterColumnPipeline_16s8u_C3R",
       "rvpiFilterLowpassBorder_32f_C1R"},
      "A row stage and a column stage make any separable filter: smoothing by a bell curve, and how fast gray "
      "levels "
      "rise to the right. The plain sum of a neighbourhood, taken off the photograph, leaves what is finer."};
  page.add(panel, subject,
           {{{"bell curve", "sigma " + number(kSigma, 0) + ", " + std::to_string(2 * kReach + 1) + " taps"},
             {"slope", "3 × 3"},
             {"plain sum", "5 × 5"}},
            {{"bell curve", smoothTime.median()}, {"slope", slopeTime.median()}, {"plain sum", sumTime.median()}},
            {{"smooth", "Smoothed", smooth},
             {"slope", "Slope to the right", slope, legend},
             {"detail", "Detail: less its mean over 5 × 5 pixels", detail, legend}}});
}

}  // namespace tour
