// The standard Hough transform: angle by angle, all pixels vote into a row of cells, and three rows are enough to
// tell the peaks of the one in the middle.
//
// Pixels are listed once, as pairs of 16-bit coordinates, so that one instruction forms x * cos + y * sin of
// several of them. Where coordinates or factors need more bits, their places in the image are listed instead and
// sums have 64 bits. The rectangle around all pixels bounds the cells that an angle can reach: these alone are
// cleared and searched. Angles whose fixed-point sine and cosine equal those before vote alike, and are not voted
// again: after an equal row, no cell has more votes than the one before it.
//
// The list of lines is a heap with the weakest on top, and is sorted at the end.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "features/hough_grid.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/hough.h"

namespace rvp::n8 {
namespace {

constexpr int kFractionBits = 10;
constexpr std::int64_t kHalf = 1 << (kFractionBits - 1);
constexpr std::int64_t kMost16 = std::numeric_limits<std::int16_t>::max();

struct Limits {
  float theta0, theta1;
  std::int64_t r0, r1;
};

struct Coefficients {
  std::int64_t cosine;
  std::int64_t sine;
  bool operator==(const Coefficients& other) const { return cosine == other.cosine && sine == other.sine; }
};

// Votes of one angle. Cells have a neighbour of 0 on either side.
struct VoteRow {
  std::int32_t* cells;
  // The cells that may hold votes; none if `last` is below `first`.
  std::int64_t first = 0;
  std::int64_t last = -1;
  std::int64_t angle = 0;
  bool searched = true;

  void clear() {
    if (first <= last)
      std::memset(cells + first, 0, sizeof(std::int32_t) * static_cast<std::size_t>(last - first + 1));
    first = 0;
    last = -1;
  }
};

// The nonzero pixels, in raster order.
class Pixels {
 public:
  Pixels(const std::uint8_t* src, int step, RvpiSize size, std::uint32_t* list)
      : list_(list), width_(size.width), paired_(size.width <= kMost16 + 1 && size.height <= kMost16 + 1) {
    for (std::ptrdiff_t y = 0; y < size.height; ++y) {
      const std::uint8_t* line = row(src, step, y);
      forVectors<std::uint8_t>(0, size.width, [&](auto d, std::ptrdiff_t x) {
        if (hn::AllTrue(d, hn::Eq(hn::LoadU(d, line + x), hn::Zero(d)))) return;
        const auto last = x + static_cast<std::ptrdiff_t>(hn::Lanes(d));
        for (std::ptrdiff_t i = x; i < last; ++i) {
          if (line[i] != 0) add(i, y);
        }
      });
    }
  }

  bool empty() const { return count_ == 0; }

  // The smallest and the largest of a function that is linear in x and y.
  template <class Linear>
  std::pair<std::int64_t, std::int64_t> range(const Linear& linear) const {
    return std::minmax(
        {linear(left_, top_), linear(right_, top_), linear(left_, bottom_), linear(right_, bottom_)});
  }

  // cells[r] gains 1 for every pixel, with r = ((cosine * x + sine * y + 512) >> 10) + o; an r outside first..last
  // counts at first - 1 or last + 1.
  void vote(Coefficients factors, std::int64_t o, std::int64_t first, std::int64_t last,
            std::int32_t* cells) const {
    if (paired_ && std::max(std::abs(factors.cosine), std::abs(factors.sine)) <= kMost16) {
      votePairs(factors, o, first, last, cells);
    } else {
      voteWide(factors, o, first, last, cells);
    }
  }

 private:
  void add(std::ptrdiff_t x, std::ptrdiff_t y) {
    if (count_ == 0) left_ = right_ = x, top_ = y;
    left_ = std::min<std::int64_t>(left_, x);
    right_ = std::max<std::int64_t>(right_, x);
    bottom_ = y;
    list_[count_++] = static_cast<std::uint32_t>(paired_ ? x | y << 16 : y * width_ + x);
  }

  void votePairs(Coefficients factors, std::int64_t o, std::int64_t first, std::int64_t last,
                 std::int32_t* cells) const {
    // Enough for the stores of one block to be over when they are read again.
    constexpr std::ptrdiff_t kBlock = 256;
    alignas(64) std::int32_t places[kBlock];
    const auto factorPair = static_cast<std::int32_t>((static_cast<std::uint32_t>(factors.sine) << 16) |
                                                      (static_cast<std::uint32_t>(factors.cosine) & 0xFFFFU));
    const auto lowest = static_cast<std::int32_t>(first - 1), highest = static_cast<std::int32_t>(last + 1);
    for (std::ptrdiff_t begin = 0; begin < count_; begin += kBlock) {
      const std::ptrdiff_t n = std::min(kBlock, count_ - begin);
      forVectors<std::int32_t>(0, n, [&](auto d, std::ptrdiff_t k) {
        const hn::Repartition<std::int16_t, decltype(d)> d16;
        const hn::RebindToUnsigned<decltype(d)> du;
        auto unused = hn::Zero(d);
        // At most 2 * 32767^2 + 512, which is below 2^31.
        const auto sum = hn::ReorderWidenMulAccumulate(d, hn::BitCast(d16, hn::LoadU(du, list_ + begin + k)),
                                                       hn::BitCast(d16, hn::Set(d, factorPair)),
                                                       hn::Set(d, static_cast<std::int32_t>(kHalf)), unused);
        const auto r = hn::Add(hn::ShiftRight<kFractionBits>(sum), hn::Set(d, static_cast<std::int32_t>(o)));
        hn::StoreU(hn::Min(hn::Max(r, hn::Set(d, lowest)), hn::Set(d, highest)), d, places + k);
      });
      for (std::ptrdiff_t k = 0; k < n; ++k) ++cells[places[k]];
    }
  }

  void voteWide(Coefficients factors, std::int64_t o, std::int64_t first, std::int64_t last,
                std::int32_t* cells) const {
    for (std::ptrdiff_t k = 0; k < count_; ++k) {
      const std::int64_t place = list_[k];
      const std::int64_t x = paired_ ? place & 0xFFFF : place % width_;
      const std::int64_t y = paired_ ? place >> 16 : place / width_;
      const std::int64_t r = ((factors.cosine * x + factors.sine * y + kHalf) >> kFractionBits) + o;
      ++cells[std::clamp(r, first - 1, last + 1)];
    }
  }

  std::uint32_t* list_;
  std::ptrdiff_t count_ = 0;
  std::int64_t width_;
  bool paired_;
  std::int64_t left_ = 0, right_ = 0, top_ = 0, bottom_ = 0;
};

struct Peak {
  std::int32_t rhoIndex;
  std::int32_t angleIndex;
  std::int32_t votes;
  // Whether it comes earlier in the list.
  bool operator<(const Peak& other) const {
    if (votes != other.votes) return votes > other.votes;
    if (angleIndex != other.angleIndex) return angleIndex < other.angleIndex;
    return rhoIndex < other.rhoIndex;
  }
};

class PeakList {
 public:
  PeakList(Peak* peaks, int most) : peaks_(peaks), most_(most) {}

  // A new peak has more than this many votes. Equal ones come later in the list than those that are there.
  std::int32_t floor(std::int32_t threshold) const {
    return count_ < most_ ? threshold : std::max(threshold, peaks_[0].votes);
  }

  void insert(Peak peak) {
    if (count_ == most_) {
      std::pop_heap(peaks_, peaks_ + count_);
      --count_;
    }
    peaks_[count_++] = peak;
    std::push_heap(peaks_, peaks_ + count_);
  }

  int write(RvpiPointPolar* lines, RvpiPointPolar delta, std::int64_t o) {
    std::sort_heap(peaks_, peaks_ + count_);
    for (int k = 0; k < count_; ++k)
      lines[k] = {static_cast<float>(peaks_[k].rhoIndex - o) * delta.rho,
                  static_cast<float>(peaks_[k].angleIndex) * delta.theta};
    return count_;
  }

 private:
  Peak* peaks_;
  int most_;
  int count_ = 0;
};

void search(VoteRow& votes, const VoteRow& before, const VoteRow& behind, std::int32_t threshold, PeakList& peaks) {
  if (votes.searched) return;
  votes.searched = true;
  std::int32_t floor = peaks.floor(threshold);
  const auto group = [&](auto d, std::ptrdiff_t r) {
    const auto v = hn::LoadU(d, votes.cells + r);
    if (hn::AllFalse(d, hn::Gt(v, hn::Set(d, floor)))) return;
    const auto last = r + static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t k = r; k < last; ++k) {
      const std::int32_t c = votes.cells[k];
      if (c > floor && c > votes.cells[k - 1] && c >= votes.cells[k + 1] && c > before.cells[k] &&
          c >= behind.cells[k]) {
        peaks.insert({static_cast<std::int32_t>(k), static_cast<std::int32_t>(votes.angle), c});
        floor = peaks.floor(threshold);
      }
    }
  };
  forVectors<std::int32_t>(votes.first, votes.last + 1, group);
}

std::int64_t scratchBytes(RvpiSize size, std::int64_t angles, std::int64_t rhos, int maxLineCount) {
  return std::int64_t{size.height} * (4 * std::int64_t{size.width} + 64) + 16 * std::int64_t{maxLineCount} +
         8 * angles + 16 * rhos + 288;
}

RvpStatus badDetection(RvpiSize size, RvpiPointPolar delta, int threshold, int maxLineCount) {
  const auto extent = static_cast<float>(std::int64_t{size.width} + size.height);
  if (RvpStatus fault = firstFault(
          badSize(size), faultIf(maxLineCount < 1, rvpStatusBadSize), badHoughSteps(delta),
          faultIf(delta.rho > extent || delta.theta > kHoughMostTheta || threshold < 1, rvpStatusBadArgument)))
    return fault;
  return faultIf(
      passes31Bits(scratchBytes(size, houghAngles(delta.theta), houghRhos(size, delta.rho), maxLineCount)),
      rvpStatusBadArgument);
}

// The list, the peaks, and three rows of cells take at most 4 * width * height + 12 * maxLineCount + 12 * (numRho +
// 2) bytes and 3 to align them, which is less than the reported size.
int findLines(const std::uint8_t* pSrc, int srcStep, RvpiSize size, RvpiPointPolar delta, int threshold,
              const Limits& limits, RvpiPointPolar* pLine, int maxLineCount, std::uint8_t* pBuffer) {
  auto* list = reinterpret_cast<std::uint32_t*>(alignedUp(pBuffer, 4));
  const Pixels pixels(pSrc, srcStep, size, list);
  if (pixels.empty()) return 0;
  auto* peakMemory = reinterpret_cast<Peak*>(list + std::ptrdiff_t{size.width} * size.height);
  PeakList peaks(peakMemory, maxLineCount);
  const std::int64_t angles = houghAngles(delta.theta);
  const std::int64_t rhos = houghRhos(size, delta.rho);
  const std::int64_t o = (rhos - 1) / 2;
  auto* cells = reinterpret_cast<std::int32_t*>(peakMemory + maxLineCount);
  std::memset(cells, 0, 3 * sizeof(std::int32_t) * static_cast<std::size_t>(rhos + 2));
  VoteRow rows[] = {{cells + 1}, {cells + rhos + 3}, {cells + 2 * rhos + 5}};
  VoteRow* before = rows;
  VoteRow* current = rows + 1;
  VoteRow* next = rows + 2;
  const std::int64_t lowest = std::max<std::int64_t>(limits.r0, 0);
  const std::int64_t highest = std::min(limits.r1, rhos - 1);

  const double scale = 1024.0 * static_cast<double>(1.0F / delta.rho);
  float theta = 0;
  float thetaBefore = -1;
  Coefficients factors = {0, 0};
  Coefficients votedFactors = {0, 0};
  bool votedBefore = false;
  for (std::int64_t i = 0; i < angles; ++i, theta += delta.theta) {
    const float place = static_cast<float>(i) * delta.theta;
    const bool votes = place >= limits.theta0 && place <= limits.theta1 && lowest <= highest;
    if (!votes && place > limits.theta1) break;
    if (votes && theta != thetaBefore) {
      factors = {static_cast<std::int64_t>(std::cos(static_cast<double>(theta)) * scale),
                 static_cast<std::int64_t>(std::sin(static_cast<double>(theta)) * scale)};
      thetaBefore = theta;
    }
    if (votes && votedBefore && factors == votedFactors) {
      search(*current, *before, *current, threshold, peaks);
      continue;
    }
    if (!votes && !votedBefore) continue;
    next->clear();
    if (votes) {
      const auto at = [&](std::int64_t x, std::int64_t y) {
        return ((factors.cosine * x + factors.sine * y + kHalf) >> kFractionBits) + o;
      };
      const auto [least, greatest] = pixels.range(at);
      next->first = std::max(least, lowest);
      next->last = std::min(greatest, highest);
      next->angle = i;
      next->searched = false;
      // An angle that no pixel reaches within the limits has no votes.
      if (next->first <= next->last) {
        pixels.vote(factors, o, next->first, next->last, next->cells);
        next->cells[next->first - 1] = 0;
        next->cells[next->last + 1] = 0;
      }
    }
    search(*current, *before, *next, threshold, peaks);
    VoteRow* oldest = before;
    before = current;
    current = next;
    next = oldest;
    votedBefore = votes;
    votedFactors = factors;
  }
  next->clear();
  search(*current, *before, *next, threshold, peaks);
  return peaks.write(pLine, delta, o);
}

// The end of a range of cells. What is no number, or too large, is no limit that a cell could meet.
std::int64_t cellOf(float rho, float deltaRho, std::int64_t o) {
  const float place = rho / deltaRho + static_cast<float>(o);
  constexpr float kFar = 0x1p40F;
  return static_cast<std::int64_t>(std::clamp(place, -kFar, kFar));
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiHoughLineGetSize_8u_C1R(RvpiSize roiSize, RvpiPointPolar delta, int maxLineCount, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize), badHoughSteps(delta))) return fault;
  const int64_t bytes =
      scratchBytes(roiSize, houghAngles(delta.theta), houghRhos(roiSize, delta.rho), maxLineCount);
  *pBufferSize = static_cast<int>(static_cast<uint32_t>(bytes));
  // The test leaves out the bytes that align the parts.
  return passes31Bits(bytes - 48) ? RvpStatus{rvpStatusBufferSizeOverflow} : RvpStatus{rvpStatusOk};
}

RvpStatus rvpiHoughLine_8u32f_C1R(const uint8_t* pSrc, int srcStep, RvpiSize roiSize, RvpiPointPolar delta,
                                  int threshold, RvpiPointPolar* pLine, int maxLineCount, int* pLineCount,
                                  uint8_t* pBuffer) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pLine, pLineCount, pBuffer), stepBelowOne(srcStep)))
    return fault;
  if (RvpStatus fault = badDetection(roiSize, delta, threshold, maxLineCount)) return fault;
  constexpr float kAnyTheta = std::numeric_limits<float>::infinity();
  *pLineCount = findLines(pSrc, srcStep, roiSize, delta, threshold,
                          {0, kAnyTheta, 0, std::numeric_limits<int64_t>::max()}, pLine, maxLineCount, pBuffer);
  return rvpStatusOk;
}

RvpStatus rvpiHoughLine_Region_8u32f_C1R(const uint8_t* pSrc, int srcStep, RvpiSize roiSize, RvpiPointPolar* pLine,
                                         RvpiPointPolar* dstRoi, int maxLineCount, int* pLineCount,
                                         RvpiPointPolar delta, int threshold, uint8_t* pBuffer) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pLine, dstRoi, pLineCount, pBuffer), stepBelowOne(srcStep)))
    return fault;
  if (RvpStatus fault = badDetection(roiSize, delta, threshold, maxLineCount)) return fault;
  *pLineCount = 0;
  if (dstRoi[1].theta < dstRoi[0].theta || dstRoi[1].rho < dstRoi[0].rho) return rvpStatusBadRange;
  for (RvpiPointPolar* limit : {dstRoi, dstRoi + 1}) limit->theta = std::clamp(limit->theta, 0.0F, kHoughMostTheta);
  // A limit that is no number lets nothing pass.
  if (std::isnan(dstRoi[0].rho) || std::isnan(dstRoi[1].rho)) return rvpStatusOk;
  const int64_t o = (houghRhos(roiSize, delta.rho) - 1) / 2;
  const Limits limits = {dstRoi[0].theta, dstRoi[1].theta, cellOf(dstRoi[0].rho, delta.rho, o),
                         cellOf(dstRoi[1].rho, delta.rho, o)};
  *pLineCount = findLines(pSrc, srcStep, roiSize, delta, threshold, limits, pLine, maxLineCount, pBuffer);
  return rvpStatusOk;
}

}  // extern "C"
