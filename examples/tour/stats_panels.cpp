// Accumulators: what a stream of frames tells about each pixel.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"
#include "stream.h"

namespace tour {
namespace {

const std::string kSubsystem = "Accumulators and statistics";

std::string signalToNoise(const Picture& picture, const Picture& reference) {
  return "PSNR " + number(peakSignalToNoise(picture, reference), 1) + " dB";
}

// One accumulator for each channel of a picture.
std::vector<Plane> accumulators(const Picture& picture) {
  return std::vector<Plane>(static_cast<std::size_t>(picture.channels()),
                            Plane(picture.width(), picture.height(), 1));
}

// The accumulators as a picture, each pixel multiplied by `factor(x, y)`.
template <class Factor>
Picture developed(const std::vector<Plane>& sums, Factor factor) {
  std::vector<Picture> planes;
  for (const Plane& sum : sums) {
    Picture plane(sum.width(), sum.height(), 1);
    for (int y = 0; y < sum.height(); ++y)
      for (int x = 0; x < sum.width(); ++x) *plane.at(x, y) = toByte(*sum.at(x, y) * factor(x, y));
    planes.push_back(std::move(plane));
  }
  return mergeChannels(planes);
}

// The value below which `share` of all values lie.
float quantile(const Plane& plane, double share) {
  std::vector<float> values = plane.elements();
  const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

// With the sum S and the sum of squares Q of n values at hand, their variance is (Q - S * S / n) / (n - 1). The
// same with the sum of products of two series gives their covariance. Sums of up to 257 products of bytes are
// exact.
float covariance(float products, float sum1, float sum2, int n) {
  return static_cast<float>((static_cast<double>(products) - static_cast<double>(sum1) * sum2 / n) / (n - 1));
}

constexpr int kFrames = 32;
constexpr NoisyStream kStream = {.shift = 2, .noise = 24.0f, .seed = 20};

const std::vector<Parameter> kStreamParameters = {
    {"frames", std::to_string(kFrames)}, {"shift", "up to ±2 pixels"}, {"noise", "σ 24 gray levels"}};

// Mean and variance of every pixel over a stream.
void addMeanAndVariance(const Subject& subject, Page& page) {
  const Picture& photograph = subject.picture;
  std::vector<Plane> sums = accumulators(photograph);
  std::vector<Plane> squares = accumulators(photograph);
  Picture frame;
  Stopwatch time;
  for (int k = 0; k < kFrames; ++k) {
    frame = kStream.frame(photograph, k);
    const std::vector<Picture> planes = splitChannels(frame);
    time.lap([&] {
      for (std::size_t c = 0; c < planes.size(); ++c) {
        const Picture& plane = planes[c];
        check(rvpiAdd_8u32f_C1IR(plane.data(), plane.step(), sums[c].data(), sums[c].step(), plane.size()),
              "rvpiAdd_8u32f_C1IR");
        check(rvpiAddSquare_8u32f_C1IR(plane.data(), plane.step(), squares[c].data(), squares[c].step(),
                                       plane.size()),
              "rvpiAddSquare_8u32f_C1IR");
      }
    });
  }

  const Picture mean = developed(sums, [](int, int) { return 1.0f / kFrames; });
  // The standard deviation, as the root of the channels' mean variance: its scale shows both noise and edges.
  Plane deviation(photograph.width(), photograph.height(), 1);
  for (int y = 0; y < deviation.height(); ++y)
    for (int x = 0; x < deviation.width(); ++x) {
      float variance = 0.0f;
      for (std::size_t c = 0; c < sums.size(); ++c)
        variance += covariance(*squares[c].at(x, y), *sums[c].at(x, y), *sums[c].at(x, y), kFrames);
      *deviation.at(x, y) = std::sqrt(variance / static_cast<float>(sums.size()));
    }
  const float greatest = quantile(deviation, 0.995);
  const auto varianceAt = [greatest](float share) {
    return number(static_cast<double>(greatest) * greatest * share * share, 0);
  };

  const Panel panel = {
      kSubsystem,
      "mean-and-variance",
      "Mean and variance of a noisy stream",
      {"rvpiAdd_8u32f_C1IR", "rvpiAddSquare_8u32f_C1IR"},
      "A camera that shakes and hisses looks at one scene. The mean of its frames is free of noise "
      "and a little soft; the variance is low where only noise changes a pixel, and glows along "
      "edges, which the shaking moves to and fro."};
  page.add(panel, subject,
           {kStreamParameters,
            {{"time for one frame", time.median()}},
            {{"", "The photograph", photograph},
             {"frame", "The last frame, " + signalToNoise(frame, photograph), frame},
             {"mean", "The mean, " + signalToNoise(mean, photograph), mean},
             {"variance", "The variance, mean of the channels", falseColour(deviation, 0.0f, greatest, kHeat),
              Legend{"gray levels squared, root scale", kHeat, {"0", varianceAt(0.5f), varianceAt(1.0f)}}}}});
}

// How two channels change together over a stream.
void addCorrelation(const Subject& subject, Page& page) {
  const Picture& photograph = subject.picture;
  if (photograph.channels() != 3) return;
  const std::size_t kRed = 0;
  const std::size_t kBlue = 2;
  std::vector<Plane> sums = accumulators(photograph);
  std::vector<Plane> squares = accumulators(photograph);
  Plane products(photograph.width(), photograph.height(), 1);
  Stopwatch time;
  for (int k = 0; k < kFrames; ++k) {
    const std::vector<Picture> planes = splitChannels(kStream.frame(photograph, k));
    time.lap([&] {
      for (const std::size_t c : {kRed, kBlue}) {
        check(rvpiAdd_8u32f_C1IR(planes[c].data(), planes[c].step(), sums[c].data(), sums[c].step(),
                                 photograph.size()),
              "rvpiAdd_8u32f_C1IR");
        check(rvpiAddSquare_8u32f_C1IR(planes[c].data(), planes[c].step(), squares[c].data(), squares[c].step(),
                                       photograph.size()),
              "rvpiAddSquare_8u32f_C1IR");
      }
      check(rvpiAddProduct_8u32f_C1IR(planes[kRed].data(), planes[kRed].step(), planes[kBlue].data(),
                                      planes[kBlue].step(), products.data(), products.step(), photograph.size()),
            "rvpiAddProduct_8u32f_C1IR");
    });
  }

  Plane correlation(photograph.width(), photograph.height(), 1);
  for (int y = 0; y < correlation.height(); ++y)
    for (int x = 0; x < correlation.width(); ++x) {
      const float red = *sums[kRed].at(x, y);
      const float blue = *sums[kBlue].at(x, y);
      const float redVariance = covariance(*squares[kRed].at(x, y), red, red, kFrames);
      const float blueVariance = covariance(*squares[kBlue].at(x, y), blue, blue, kFrames);
      const float scale = std::sqrt(redVariance * blueVariance);
      // A channel that never changes is correlated with nothing.
      *correlation.at(x, y) = scale > 0.0f ? covariance(*products.at(x, y), red, blue, kFrames) / scale : 0.0f;
    }

  const std::vector<Picture> planes = splitChannels(photograph);
  const Panel panel = {
      kSubsystem,
      "correlation",
      "Correlation of two channels",
      {"rvpiAddProduct_8u32f_C1IR", "rvpiAdd_8u32f_C1IR", "rvpiAddSquare_8u32f_C1IR"},
      "Over the same stream, the products of red and blue tell which pixels change together. Noise comes "
      "and goes in each channel by itself, but the shaking moves both: edges that are bright on the "
      "same side in both channels turn red, the rarer ones that are not turn blue."};
  page.add(panel, subject,
           {kStreamParameters,
            {{"time for one frame", time.median()}},
            {{"", "The photograph", photograph},
             {"red", "Its red channel", planes[kRed]},
             {"blue", "Its blue channel", planes[kBlue]},
             {"correlation", "Correlation of red and blue", falseColour(correlation, -1.0f, 1.0f, kBalance),
              Legend{"coefficient of correlation", kBalance, {"−1", "0", "+1"}}}}});
}

// A running average that learns inside a mask only.
void addRunningAverage(const Subject& subject, Page& page) {
  const Picture& photograph = subject.picture;
  const RvpiSize size = photograph.size();
  const Picture mask = ellipseMask(
      size, {size.width / 6, size.height / 8, size.width - size.width / 6 * 2, size.height - size.height / 8 * 2});
  constexpr NoisyStream kSteadyStream = {.shift = 0, .noise = 40.0f, .seed = 30};
  const Picture first = kSteadyStream.frame(photograph, 0);

  std::vector<Plane> averages = accumulators(photograph);
  const std::vector<Picture> firstPlanes = splitChannels(first);
  for (std::size_t c = 0; c < averages.size(); ++c)
    std::ranges::copy(firstPlanes[c].elements(), averages[c].elements().begin());

  Stopwatch time;
  for (int k = 1; k < kFrames; ++k) {
    const std::vector<Picture> planes = splitChannels(kSteadyStream.frame(photograph, k));
    // With 1 / (k + 1) the running average is the mean of all frames so far.
    const float alpha = 1.0f / static_cast<float>(k + 1);
    time.lap([&] {
      for (std::size_t c = 0; c < planes.size(); ++c)
        check(rvpiAddWeighted_8u32f_C1IMR(planes[c].data(), planes[c].step(), mask.data(), mask.step(),
                                          averages[c].data(), averages[c].step(), size, alpha),
              "rvpiAddWeighted_8u32f_C1IMR");
    });
  }

  const Picture average = developed(averages, [](int, int) { return 1.0f; });
  const Panel panel = {
      kSubsystem,
      "running-average",
      "Running average under a mask",
      {"rvpiAddWeighted_8u32f_C1IMR"},
      "The average starts as the first frame and moves towards each new one, but only where the mask "
      "selects. Inside the ellipse the noise has gone; outside, not a pixel has changed."};
  page.add(panel, subject,
           {{{"frames", std::to_string(kFrames)}, {"noise", "σ 40 gray levels"}, {"alpha", "1/2, 1/3, … 1/32"}},
            {{"time for one frame", time.median()}},
            {{"", "The photograph", photograph},
             {"first", "The first frame, with which the average starts", first},
             {"mask", "The mask: white pixels are learnt", mask},
             {"average", "The average after " + std::to_string(kFrames) + " frames", average}}});
}

// A ball that crosses the scene from left to right, slowly in the middle. `progress` goes from -1 to 1.
Ball ballAt(RvpiSize size, float progress) {
  const float width = static_cast<float>(size.width);
  const float height = static_cast<float>(size.height);
  const float radius = std::min(width, height) / 7.0f;
  const float path = 0.25f * progress + 0.75f * progress * progress * progress;
  return {0.5f * width + path * (0.5f * width + radius), 0.62f * height - 0.1f * height * (1.0f - path * path),
          radius};
}

// The background of a scene that something crosses, learnt with and without a mask.
void addBackground(const Subject& subject, Page& page) {
  const Picture& photograph = subject.picture;
  const RvpiSize size = photograph.size();
  constexpr NoisyStream kSteadyStream = {.shift = 0, .noise = 12.0f, .seed = 40};
  // What is counted: one for each time that a pixel is seen.
  const Picture one(size.width, size.height, 1, 1);

  std::vector<Plane> sums = accumulators(photograph);
  std::vector<Plane> maskedSums = accumulators(photograph);
  Plane count(size.width, size.height, 1);
  Picture shownFrame;
  Picture shownMask;
  Stopwatch time;
  Stopwatch maskedTime;
  for (int k = 0; k < kFrames; ++k) {
    const Ball ball = ballAt(size, -1.0f + 2.0f * static_cast<float>(k) / (kFrames - 1));
    Picture frame = kSteadyStream.frame(photograph, k);
    drawBall(frame, ball);
    const Picture mask = maskAround(size, ball);
    const std::vector<Picture> planes = splitChannels(frame);
    time.lap([&] {
      for (std::size_t c = 0; c < planes.size(); ++c)
        check(rvpiAdd_8u32f_C1IR(planes[c].data(), planes[c].step(), sums[c].data(), sums[c].step(), size),
              "rvpiAdd_8u32f_C1IR");
    });
    maskedTime.lap([&] {
      for (std::size_t c = 0; c < planes.size(); ++c)
        check(rvpiAdd_8u32f_C1IMR(planes[c].data(), planes[c].step(), mask.data(), mask.step(),
                                  maskedSums[c].data(), maskedSums[c].step(), size),
              "rvpiAdd_8u32f_C1IMR");
      check(rvpiAdd_8u32f_C1IMR(one.data(), one.step(), mask.data(), mask.step(), count.data(), count.step(), size),
            "rvpiAdd_8u32f_C1IMR");
    });
    if (k == kFrames * 3 / 8) {
      shownFrame = frame;
      shownMask = mask;
    }
  }

  const Picture mean = developed(sums, [](int, int) { return 1.0f / kFrames; });
  // No pixel is hidden in all frames, as the ball enters from outside and leaves again: each count is above 0.
  const Picture maskedMean = developed(maskedSums, [&](int x, int y) { return 1.0f / *count.at(x, y); });
  const Panel panel = {
      kSubsystem,
      "background",
      "A background learnt around a moving object",
      {"rvpiAdd_8u32f_C1IR", "rvpiAdd_8u32f_C1IMR"},
      "A ball rolls through the scene and lingers in the middle. The plain mean keeps its ghost; with "
      "the ball masked out, and the times counted that each pixel was seen, the background comes out "
      "as if nothing had passed."};
  page.add(
      panel, subject,
      {{{"frames", std::to_string(kFrames)}, {"noise", "σ 12 gray levels"}},
       {{"time for one frame", time.median()}, {"with mask and count", maskedTime.median()}},
       {{"frame", "One frame", shownFrame},
        {"mask", "Its mask: black pixels are left out", shownMask},
        {"mean", "The mean of all frames, " + signalToNoise(mean, photograph), mean},
        {"masked-mean", "The mean of what is selected, " + signalToNoise(maskedMean, photograph), maskedMean}}});
}

}  // namespace

void addStatsPanels(const Subject& subject, Page& page) {
  addMeanAndVariance(subject, page);
  addCorrelation(subject, page);
  addRunningAverage(subject, page);
  addBackground(subject, page);
}

}  // namespace tour
