// The probabilistic Hough transform: pixels vote in random order, and a line is followed and taken out of the image
// as soon as it has votes enough.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "features/hough_grid.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/hough.h"

namespace rvp::n8 {
namespace {

// The block, at the first multiple of 4 in the caller's memory.
struct ProbBlock {
  float deltaRho;
  float deltaTheta;
  std::int32_t hint;
  // numAngles pairs of cosine and sine follow.
  const float* directions() const { return reinterpret_cast<const float*>(this + 1); }
};
static_assert(sizeof(ProbBlock) == 12);

ProbBlock* probBlock(RvpiHoughProbSpec* spec) {
  return reinterpret_cast<ProbBlock*>(alignedUp(reinterpret_cast<std::uint8_t*>(spec), 4));
}
const ProbBlock& probBlock(const RvpiHoughProbSpec* spec) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(spec);
  return *reinterpret_cast<const ProbBlock*>(bytes + (4 - reinterpret_cast<std::uintptr_t>(bytes) % 4) % 4);
}

// Each factor of the product stays below 2^41, so it is formed in double first.
bool passes31Bits(RvpiSize size, std::int64_t angles, std::int64_t rhos) {
  return 9.0 * size.width * size.height + 4.0 * static_cast<double>(angles) * static_cast<double>(rhos) >
         static_cast<double>(std::numeric_limits<std::int32_t>::max());
}

// Multiply with carry.
class Random {
 public:
  std::uint32_t next() {
    state_ = (state_ >> 32) + (state_ & 0xFFFFFFFFU) * 4164903690U;
    return static_cast<std::uint32_t>(state_);
  }

 private:
  std::uint64_t state_ = ~std::uint64_t{0};
};

struct Position {
  std::ptrdiff_t x;
  std::ptrdiff_t y;
  bool operator==(Position other) const { return x == other.x && y == other.y; }
};

// A line through the middle of a pixel, followed pixel by pixel. Coordinates have 16 bits of fraction.
struct Walk {
  std::int64_t x;
  std::int64_t y;
  std::int64_t dx;
  std::int64_t dy;

  static constexpr std::int64_t kOne = 1 << 16;
  static constexpr std::int64_t kMiddle = kOne / 2;

  Walk(Position from, float c, float s) : x(from.x * kOne + kMiddle), y(from.y * kOne + kMiddle) {
    constexpr auto kFactor = static_cast<float>(kOne);
    // The greater of the two is not 0 where there is a cell to vote for.
    if (std::fabs(s) > std::fabs(c)) {
      dx = 0 < -s ? kOne : -kOne;
      dy = static_cast<std::int64_t>(c * kFactor / std::fabs(s));
    } else {
      dx = static_cast<std::int64_t>(-s * kFactor / std::fabs(c));
      dy = 0 < c ? kOne : -kOne;
    }
  }

  Position position() const { return {static_cast<std::ptrdiff_t>(x >> 16), static_cast<std::ptrdiff_t>(y >> 16)}; }
  void step() {
    x += dx;
    y += dy;
  }
  Walk reversed() const {
    Walk walk = *this;
    walk.dx = -dx;
    walk.dy = -dy;
    return walk;
  }
};

// Cells, mask and list take 4 * numAngles * numRho + 5 * width * height bytes and 3 to align them, which is no more
// than the reported size.
class SegmentFinder {
 public:
  SegmentFinder(RvpiSize size, const ProbBlock& block, std::uint8_t* scratch)
      : width_(size.width),
        height_(size.height),
        directions_(block.directions()),
        angles_(static_cast<std::ptrdiff_t>(houghAngles(block.deltaTheta))),
        rhos_(static_cast<std::ptrdiff_t>(houghRhos(size, block.deltaRho))),
        cells_(reinterpret_cast<std::int32_t*>(alignedUp(scratch, 4))),
        list_(reinterpret_cast<std::uint32_t*>(cells_ + angles_ * rhos_)),
        mask_(reinterpret_cast<std::uint8_t*>(list_ + width_ * height_)) {
    // A cell cannot lie outside if the farthest corner's does not, with a cell to spare for rounding.
    const double reach =
        std::hypot(static_cast<double>(width_), static_cast<double>(height_)) / static_cast<double>(block.deltaRho);
    const std::ptrdiff_t o = (rhos_ - 1) / 2;
    inside_ = reach * (1 + 1e-6) + 2 < static_cast<double>(o);
  }

  void readImage(const std::uint8_t* src, int step) {
    std::memset(cells_, 0, sizeof(std::int32_t) * static_cast<std::size_t>(angles_ * rhos_));
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      const std::uint8_t* line = row(src, step, y);
      for (std::ptrdiff_t x = 0; x < width_; ++x) {
        const bool set = line[x] != 0;
        mask_[y * width_ + x] = set ? 1 : 0;
        // Written where nothing is set, too: the next pixel writes over it, and the list is as long as the image.
        list_[count_] = static_cast<std::uint32_t>(y * width_ + x);
        count_ += set ? 1 : 0;
      }
    }
  }

  RvpStatus find(int threshold, int lineLength, int lineGap, RvpiSegment* pLine, int maxLineCount,
                 int* pLineCount) {
    if (rhos_ < 1) return rvpStatusOk;
    Random random;
    while (count_ > 0) {
      const std::uint32_t index = random.next() % static_cast<std::uint32_t>(count_);
      const std::uint32_t place = list_[index];
      list_[index] = list_[--count_];
      if (mask_[place] == 0) continue;
      const Position point = {static_cast<std::ptrdiff_t>(place % static_cast<std::uint32_t>(width_)),
                              static_cast<std::ptrdiff_t>(place / static_cast<std::uint32_t>(width_))};
      const std::ptrdiff_t angle = vote(point, threshold);
      if (angle < 0) continue;
      const Walk forward(point, directions_[2 * angle], directions_[2 * angle + 1]);
      const Walk backward = forward.reversed();
      const Position end0 = lastPixel(forward, point, lineGap);
      const Position end1 = lastPixel(backward, point, lineGap);
      const bool good = std::abs(end1.x - end0.x) >= lineLength || std::abs(end1.y - end0.y) >= lineLength;
      erase(forward, end0, good);
      erase(backward, end1, good);
      if (!good) continue;
      if (*pLineCount >= maxLineCount) return rvpStatusTooManyLines;
      pLine[(*pLineCount)++] = {static_cast<std::int32_t>(end0.x), static_cast<std::int32_t>(end0.y),
                                static_cast<std::int32_t>(end1.x), static_cast<std::int32_t>(end1.y)};
    }
    return rvpStatusOk;
  }

 private:
  // Calls body(i, r) for each angle i and the cell r of a pixel in it.
  template <class Body>
  HWY_INLINE void forCells(Position point, const Body& body) const {
    constexpr std::ptrdiff_t kBlock = 64;
    alignas(64) std::int32_t places[kBlock];
    const auto o = static_cast<std::int32_t>((rhos_ - 1) / 2);
    const auto fx = static_cast<float>(point.x);
    const auto fy = static_cast<float>(point.y);
    for (std::ptrdiff_t begin = 0; begin < angles_; begin += kBlock) {
      const std::ptrdiff_t n = std::min(kBlock, angles_ - begin);
      const auto group = [&](auto d, std::ptrdiff_t k) {
        const hn::RebindToSigned<decltype(d)> di;
        hn::VFromD<decltype(d)> c, s;
        hn::LoadInterleaved2(d, directions_ + 2 * (begin + k), c, s);
        const auto sum = hn::Add(hn::Mul(c, hn::Set(d, fx)), hn::Mul(s, hn::Set(d, fy)));
        hn::StoreU(hn::Add(hn::ConvertTo(di, sum), hn::Set(di, o)), di, places + k);
      };
      forVectors<float>(0, n, group);
      if (inside_) {
        for (std::ptrdiff_t k = 0; k < n; ++k) body(begin + k, places[k]);
      } else {
        for (std::ptrdiff_t k = 0; k < n; ++k) {
          if (places[k] >= 0 && places[k] < rhos_) body(begin + k, places[k]);
        }
      }
    }
  }

  // The first angle with most votes, if these are `threshold` or more; else -1.
  std::ptrdiff_t vote(Position point, int threshold) {
    std::int32_t most = threshold - 1;
    std::ptrdiff_t angle = -1;
    forCells(point, [&](std::ptrdiff_t i, std::ptrdiff_t r) {
      const std::int32_t votes = ++cells_[i * rhos_ + r];
      if (votes > most) {
        most = votes;
        angle = i;
      }
    });
    return angle;
  }

  bool contains(Position p) const { return p.x >= 0 && p.x < width_ && p.y >= 0 && p.y < height_; }
  std::uint8_t& maskAt(Position p) { return mask_[p.y * width_ + p.x]; }

  Position lastPixel(Walk walk, Position last, std::ptrdiff_t lineGap) {
    std::ptrdiff_t gap = 0;
    for (; contains(walk.position()); walk.step()) {
      if (maskAt(walk.position()) != 0) {
        last = walk.position();
        gap = 0;
      } else if (++gap > lineGap) {
        break;
      }
    }
    return last;
  }

  void erase(Walk walk, Position last, bool takeBack) {
    for (;; walk.step()) {
      const Position p = walk.position();
      if (maskAt(p) != 0) {
        if (takeBack) forCells(p, [&](std::ptrdiff_t i, std::ptrdiff_t r) { --cells_[i * rhos_ + r]; });
        maskAt(p) = 0;
      }
      if (p == last) return;
    }
  }

  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  const float* directions_;
  std::ptrdiff_t angles_;
  std::ptrdiff_t rhos_;
  std::int32_t* cells_;
  std::uint32_t* list_;
  std::uint8_t* mask_;
  std::ptrdiff_t count_ = 0;
  bool inside_ = false;
};

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiHoughProbLineGetSize_8u_C1R(RvpiSize roiSize, RvpiPointPolar delta, int* pSpecSize,
                                          int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSpecSize, pBufferSize), badSize(roiSize), badHoughSteps(delta)))
    return fault;
  const auto angles = static_cast<uint32_t>(houghAngles(delta.theta));
  const auto rhos = static_cast<uint32_t>(houghRhos(roiSize, delta.rho));
  const uint32_t pixels = static_cast<uint32_t>(roiSize.width) * static_cast<uint32_t>(roiSize.height);
  *pSpecSize = static_cast<int>(8 * angles + 16);
  *pBufferSize = static_cast<int>(9 * pixels + 4 * rhos * angles);
  return rvpStatusOk;
}

RvpStatus rvpiHoughProbLineInit_8u32f_C1R(RvpiSize roiSize, RvpiPointPolar delta, int hint,
                                          RvpiHoughProbSpec* pSpec) {
  using namespace rvp::n8;
  const auto tooManyAngles = [&] {
    return faultIf(passes31Bits(8 * houghAngles(delta.theta) + 16), rvpStatusBadArgument);
  };
  if (RvpStatus fault = firstFault(badSize(roiSize), badHoughSteps(delta))) return fault;
  if (RvpStatus fault = firstFault(tooManyAngles(), nullPointer(pSpec))) return fault;
  ProbBlock* block = probBlock(pSpec);
  *block = {delta.rho, delta.theta, hint};
  auto* directions = reinterpret_cast<float*>(block + 1);
  const auto scale = static_cast<double>(1.0F / delta.rho);
  const int64_t angles = houghAngles(delta.theta);
  float theta = 0;
  for (int64_t i = 0; i < angles; ++i, theta += delta.theta) {
    directions[2 * i] = static_cast<float>(std::cos(static_cast<double>(theta)) * scale);
    directions[2 * i + 1] = static_cast<float>(std::sin(static_cast<double>(theta)) * scale);
  }
  return rvpStatusOk;
}

RvpStatus rvpiHoughProbLine_8u32f_C1R(const uint8_t* pSrc, int srcStep, RvpiSize roiSize, int threshold,
                                      int lineLength, int lineGap, RvpiSegment* pLine, int maxLineCount,
                                      int* pLineCount, uint8_t* pBuffer, const RvpiHoughProbSpec* pSpec) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pLine, pLineCount, pBuffer, pSpec), badSize(roiSize),
                                   faultIf(threshold < 1 || lineLength < 0 || lineGap < 0, rvpStatusBadArgument)))
    return fault;
  const ProbBlock& block = probBlock(pSpec);
  if (RvpStatus fault = badHoughSteps({block.deltaRho, block.deltaTheta})) return fault;
  if (passes31Bits(roiSize, houghAngles(block.deltaTheta), houghRhos(roiSize, block.deltaRho)))
    return rvpStatusBadArgument;
  SegmentFinder finder(roiSize, block, pBuffer);
  finder.readImage(pSrc, srcStep);
  *pLineCount = 0;
  return finder.find(threshold, lineLength, lineGap, pLine, maxLineCount, pLineCount);
}

}  // extern "C"
