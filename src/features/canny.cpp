// Edges by the method of Canny: gradients, thinning to the local maxima along the gradient, and hysteresis between
// two thresholds.
//
// Row by row, the gradient gives a magnitude, which is 0 unless it passes the low threshold. Three rows of
// magnitudes are enough to thin the one in the middle along the directions of its gradients, into weak and strong
// marks in the edge map, a byte a pixel with a frame of zeros around the image. As soon as the rows around a row
// are thinned, its weak marks that touch strong ones become strong, and so do from there all weak ones that can be
// reached; what is strong in the end is an edge.
//
// The three sources differ in how a magnitude is compared with the low threshold and in how the tangents of the
// directions' borders are rounded.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "filter/derivative.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/features.h"

namespace rvp::n8 {
namespace {

// Marks in the edge map.
constexpr std::uint8_t kWeak = 128;
constexpr std::uint8_t kStrong = 64;

// tan 22.5 and tan 67.5 degrees.
constexpr float kLowTangent = 0.41421357F;
constexpr float kHighTangent = 2.4142137F;
constexpr double kLowTangentExact = 0.41421356237309503;
constexpr double kHighTangentExact = 2.414213562373095;

// Derivatives as float lanes.
template <class D>
hn::VFromD<D> loadFloats(D d, const float* src) {
  return hn::LoadU(d, src);
}
template <class D>
hn::VFromD<D> loadFloats(D d, const std::int16_t* src) {
  const hn::RebindToSigned<D> di;
  return hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(hn::Rebind<std::int16_t, D>(), src)));
}

// Whether the sign bits of two numbers differ.
template <class D, class V>
hn::MFromD<D> oppositeSigns(D d, V a, V b) {
  const hn::RebindToSigned<D> di;
  return hn::RebindMask(d, hn::Lt(hn::Xor(hn::BitCast(di, a), hn::BitCast(di, b)), hn::Zero(di)));
}

// The neighbours of a pixel along its gradient, the first and the second. Where no mask is set, they are those
// above left and below right: dx and dy have the same sign. A gradient of zero has none of the first two set.
template <class D>
struct Directions {
  hn::MFromD<D> across;  // left, right
  hn::MFromD<D> down;    // above, below
  hn::MFromD<D> rising;  // above right, below left: dx and dy of opposite sign; only looked at behind the others
};

struct RoundedTangents {
  template <class D, class V>
  static V high(D d, V ax, V /*lowProduct*/) {
    return hn::Mul(ax, hn::Set(d, kHighTangent));
  }
};

// tan 67.5 degrees is 2 + tan 22.5 degrees.
struct SummedTangents {
  template <class D, class V>
  static V high(D /*d*/, V ax, V lowProduct) {
    return hn::Add(hn::Add(ax, ax), lowProduct);
  }
};

// Directions for lanes of 32 or 16 bits.
template <class Tangents, class D, class T>
Directions<D> directionsOf(D d, const T* dx, const T* dy) {
  if constexpr (sizeof(hn::TFromD<D>) == sizeof(float)) {
    const hn::Rebind<float, D> df;
    const auto vx = loadFloats(df, dx), vy = loadFloats(df, dy);
    const auto ax = hn::Abs(vx), ay = hn::Abs(vy);
    const auto low = hn::Mul(ax, hn::Set(df, kLowTangent));
    return {hn::RebindMask(d, hn::Lt(ay, low)), hn::RebindMask(d, hn::Lt(Tangents::high(df, ax, low), ay)),
            hn::RebindMask(d, oppositeSigns(df, vx, vy))};
  } else {
    const auto rising = hn::Lt(hn::Xor(hn::LoadU(d, dx), hn::LoadU(d, dy)), hn::Zero(d));
    if constexpr (hn::MaxLanes(d) == hn::MaxLanes(hn::ScalableTag<std::int16_t>())) {
      const hn::Repartition<std::int32_t, D> half;
      const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(half));
      const auto lower = directionsOf<Tangents>(half, dx, dy), upper = directionsOf<Tangents>(half, dx + n, dy + n);
      const auto both = [&](auto l, auto u) {
        return hn::MaskFromVec(narrowPair<std::int16_t>(hn::VecFromMask(half, l), hn::VecFromMask(half, u)));
      };
      return {both(lower.across, upper.across), both(lower.down, upper.down), rising};
    } else {
      const hn::Rebind<std::int32_t, D> wide;
      const auto directions = directionsOf<Tangents>(wide, dx, dy);
      const auto narrowed = [&](auto mask) {
        return hn::MaskFromVec(hn::DemoteTo(d, hn::VecFromMask(wide, mask)));
      };
      return {narrowed(directions.across), narrowed(directions.down), rising};
    }
  }
}

// The largest threshold that can matter: no integer magnitude passes it. A threshold that is no number is never
// passed either.
constexpr std::int32_t kNeverPassed = 1 << 24;

std::int32_t truncated(float threshold) {
  return threshold < static_cast<float>(kNeverPassed) ? static_cast<std::int32_t>(threshold) : kNeverPassed;
}

struct FloatGradients {
  using Magnitude = float;
  static constexpr bool kKeepsDerivatives = false;
  const float* dx;
  int dxStep;
  const float* dy;
  int dyStep;
  RvpiSize size;
  float low;
  float high;

  void magnitudeRow(std::ptrdiff_t y, float* magnitudes) const {
    const float* rowX = row(dx, dxStep, y);
    const float* rowY = row(dy, dyStep, y);
    forVectors<float>(0, size.width, [&](auto d, std::ptrdiff_t x) {
      const auto m = hn::Add(hn::Abs(hn::LoadU(d, rowX + x)), hn::Abs(hn::LoadU(d, rowY + x)));
      hn::StoreU(hn::IfThenZeroElse(hn::Lt(m, hn::Set(d, low)), m), d, magnitudes + x);
    });
  }

  template <class D>
  Directions<D> directions(D d, std::ptrdiff_t y, std::ptrdiff_t x) const {
    return directionsOf<RoundedTangents>(d, row(dx, dxStep, y) + x, row(dy, dyStep, y) + x);
  }
};

struct IntegerGradients {
  using Magnitude = std::int32_t;
  static constexpr bool kKeepsDerivatives = false;
  const std::int16_t* dx;
  int dxStep;
  const std::int16_t* dy;
  int dyStep;
  RvpiSize size;
  std::int32_t low;
  std::int32_t high;

  // Sums saturate at 65535 in whole blocks of eight columns from the row's start; the columns behind the last block
  // can reach 65536. The columns behind the last whole group of four see the tangents in double.
  static constexpr std::ptrdiff_t kBlock = 8;

  void magnitudeRow(std::ptrdiff_t y, std::int32_t* magnitudes) const {
    const std::int16_t* rowX = row(dx, dxStep, y);
    const std::int16_t* rowY = row(dy, dyStep, y);
    const std::ptrdiff_t saturated = size.width / kBlock * kBlock;
    forVectors<std::int32_t>(0, size.width, [&](auto d, std::ptrdiff_t x) {
      const hn::Rebind<std::int16_t, decltype(d)> d16;
      const auto ax = hn::Abs(hn::PromoteTo(d, hn::LoadU(d16, rowX + x)));
      const auto ay = hn::Abs(hn::PromoteTo(d, hn::LoadU(d16, rowY + x)));
      const auto limit = hn::Set(d, x < saturated ? 65535 : 65536);
      const auto m = hn::Min(hn::Add(ax, ay), limit);
      hn::StoreU(hn::IfThenElseZero(hn::Gt(m, hn::Set(d, low)), m), d, magnitudes + x);
    });
  }

  template <class D>
  Directions<D> directions(D d, std::ptrdiff_t y, std::ptrdiff_t x) const {
    const std::int16_t* atX = row(dx, dxStep, y) + x;
    const std::int16_t* atY = row(dy, dyStep, y) + x;
    // One lane is behind the last whole group.
    if constexpr (hn::MaxLanes(d) == 1) return exactDirections(d, *atX, *atY);
    return directionsOf<RoundedTangents>(d, atX, atY);
  }

  template <class D>
  static Directions<D> exactDirections(D d, int dx, int dy) {
    const double ax = std::abs(dx), ay = std::abs(dy);
    const auto mask = [&](bool set) { return hn::Ne(hn::Set(d, set ? 1 : 0), hn::Zero(d)); };
    return {mask(ay < kLowTangentExact * ax), mask(kHighTangentExact * ax < ay), mask((dx < 0) != (dy < 0))};
  }
};

// Magnitudes |dx| + |dy| are integers of 16 bits, at most 2 * 12240; so are the thresholds that they are compared
// with: m > t is m > floor(t).
struct SumNorm {
  using Magnitude = std::int16_t;
  static std::int16_t threshold(float t) {
    return static_cast<std::int16_t>(std::min(truncated(t), std::int32_t{INT16_MAX}));
  }
  template <class D>
  static hn::VFromD<D> magnitude(D d, const std::int16_t* dx, const std::int16_t* dy) {
    return hn::Add(hn::Abs(hn::LoadU(d, dx)), hn::Abs(hn::LoadU(d, dy)));
  }
};

// sqrt(dx * dx + dy * dy), each operation rounded to float.
struct RootNorm {
  using Magnitude = float;
  static float threshold(float t) { return t; }
  template <class D>
  static hn::VFromD<D> magnitude(D d, const std::int16_t* dx, const std::int16_t* dy) {
    const auto vx = loadFloats(d, dx), vy = loadFloats(d, dy);
    return hn::Sqrt(hn::Add(hn::Mul(vx, vx), hn::Mul(vy, vy)));
  }
};

template <class Kernel, class Norm>
struct ImageGradients {
  using Magnitude = typename Norm::Magnitude;
  static constexpr bool kKeepsDerivatives = true;
  ExtendedImage<std::uint8_t, 1> image;
  RvpiSize size;
  Magnitude low;
  Magnitude high;
  // Two rows of dx and of dy, which take turns.
  std::int16_t* derivatives = nullptr;

  std::int16_t* dxRow(std::ptrdiff_t y) const { return derivatives + y % 2 * size.width; }
  std::int16_t* dyRow(std::ptrdiff_t y) const { return dxRow(y) + std::ptrdiff_t{2} * size.width; }

  void magnitudeRow(std::ptrdiff_t y, Magnitude* magnitudes) const {
    std::int16_t* dx = dxRow(y);
    std::int16_t* dy = dyRow(y);
    derivativeRow<Kernel>(image, y, 0, size.width, dx, dy);
    forVectors<Magnitude>(0, size.width, [&](auto d, std::ptrdiff_t x) {
      const auto m = Norm::magnitude(d, dx + x, dy + x);
      hn::StoreU(hn::IfThenElseZero(hn::Gt(m, hn::Set(d, low)), m), d, magnitudes + x);
    });
  }

  template <class D>
  Directions<D> directions(D d, std::ptrdiff_t y, std::ptrdiff_t x) const {
    return directionsOf<SummedTangents>(d, dxRow(y) + x, dyRow(y) + x);
  }
};

// The edge map and the stack of marks that became strong and whose neighbours are still to be looked at. An entry
// is a place in the map: with the sizes that fit a caller's scratch the map has less than 2^31 bytes. A pixel is
// pushed once, when it becomes strong, so the stack needs no more entries than the image has pixels.
class EdgeMap {
 public:
  EdgeMap(RvpiSize size, std::uint8_t* map, std::uint32_t* stack)
      : width_(size.width), height_(size.height), stride_(width_ + 2), map_(map), stack_(stack) {
    clearRow(-1);
  }

  // Column 0 of row y.
  std::uint8_t* rowAt(std::ptrdiff_t y) const { return map_ + (y + 1) * stride_ + 1; }

  // Row y with its frame; the rows around thinned ones have to be clear.
  void clearRow(std::ptrdiff_t y) { std::memset(rowAt(y) - 1, 0, static_cast<std::size_t>(stride_)); }

  // Makes the weak marks strong that touch strong ones in the rows up to y + 1, and all those that they reach. Rows
  // up to y - 1 have had their turn.
  void join(std::ptrdiff_t y) {
    std::uint8_t* marks = rowAt(y);
    forVectors<std::uint8_t>(0, width_, [&](auto d, std::ptrdiff_t x) {
      const auto centre = hn::LoadU(d, marks + x);
      const auto weak = hn::Eq(centre, hn::Set(d, kWeak));
      if (hn::AllFalse(d, weak)) return;
      const auto line = [&](const std::uint8_t* at) {
        return hn::Or(hn::Or(hn::LoadU(d, at - 1), hn::LoadU(d, at + 1)), hn::LoadU(d, at));
      };
      const auto around = hn::Or(hn::Or(line(marks + x - stride_), line(marks + x + stride_)), line(marks + x));
      const auto strong = hn::Set(d, kStrong);
      const auto joined = hn::And(weak, hn::Eq(hn::And(around, strong), strong));
      if (hn::AllFalse(d, joined)) return;
      hn::StoreU(hn::IfThenElse(joined, strong, centre), d, marks + x);
      std::uint8_t bits[8] = {};
      static_assert(hn::MaxLanes(d) <= 64);
      hn::StoreMaskBits(d, joined, bits);
      std::uint64_t left = 0;
      std::memcpy(&left, bits, sizeof(left));
      for (; left != 0; left &= left - 1) push(marks + x + __builtin_ctzll(left));
    });
    spread();
  }

  void writeEdges(std::uint8_t* pDst, int dstStep) const {
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      const std::uint8_t* marks = rowAt(y);
      std::uint8_t* dst = row(pDst, dstStep, y);
      forVectors<std::uint8_t>(0, width_, [&](auto d, std::ptrdiff_t x) {
        hn::StoreU(hn::VecFromMask(d, hn::Eq(hn::LoadU(d, marks + x), hn::Set(d, kStrong))), d, dst + x);
      });
    }
  }

 private:
  void push(std::uint8_t* at) { stack_[count_++] = static_cast<std::uint32_t>(at - map_); }

  void spread() {
    // Three loads tell the weak neighbours; each reads one byte more than the three of its row, at the very end of
    // the map the first one behind it, where the magnitudes stand.
    constexpr std::uint32_t kWeakNeighbours = 0x00010101U * kWeak;
    while (count_ != 0) {
      std::uint8_t* corner = map_ + stack_[--count_] - stride_ - 1;
      for (std::uint8_t* line : {corner, corner + stride_, corner + 2 * stride_}) {
        std::uint32_t four = 0;
        std::memcpy(&four, line, sizeof(four));
        for (std::uint32_t weak = four & kWeakNeighbours; weak != 0; weak &= weak - 1) {
          std::uint8_t* at = line + __builtin_ctz(weak) / 8;
          *at = kStrong;
          push(at);
        }
      }
    }
  }

  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  std::ptrdiff_t stride_;
  std::uint8_t* map_;
  std::uint32_t* stack_;
  std::size_t count_ = 0;
};

// Thins row y: marks its local maxima in a row of zeros. A maximum is greater than its first neighbour, and greater
// than the second one too; along an axis it may equal the second, so that a plateau keeps its first pixel.
template <class Source, class M>
void suppressRow(const Source& source, std::ptrdiff_t y, const M* above, const M* centre, const M* below,
                 std::uint8_t* marks) {
  forVectors<M>(0, source.size.width, [&](auto d, std::ptrdiff_t x) {
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    const auto m = hn::LoadU(d, centre + x);
    if (hn::AllTrue(d, hn::Eq(m, hn::Zero(d)))) return;
    const auto to = source.directions(d, y, x);
    const auto chosen = [&](const M* a, const M* s, const M* r, const M* f) {
      return hn::IfThenElse(to.across, hn::LoadU(d, a + x),
                            hn::IfThenElse(to.down, hn::LoadU(d, s + x),
                                           hn::IfThenElse(to.rising, hn::LoadU(d, r + x), hn::LoadU(d, f + x))));
    };
    const auto first = chosen(centre - 1, above, above + 1, above - 1);
    const auto second = chosen(centre + 1, below, below - 1, below + 1);
    const auto tie = hn::And(hn::Or(to.across, to.down), hn::Eq(m, second));
    const auto maximum = hn::And(hn::Gt(m, first), hn::Or(hn::Gt(m, second), tie));
    const auto strong = hn::Gt(m, hn::Set(d, source.high));
    const auto mark = hn::IfThenElse(hn::RebindMask(di, strong), hn::Set(di, kStrong), hn::Set(di, kWeak));
    hn::StoreU(hn::DemoteTo(d8, hn::IfThenElseZero(hn::RebindMask(di, maximum), mark)), d8, marks + x);
  });
}

// Blocks of the scratch begin at multiples of this.
constexpr std::ptrdiff_t kBlockBytes = 32;

// The three rows of magnitudes have a column of zeros on both sides. Of an image's derivatives follow four rows.
template <class Source>
void detectEdges(Source source, std::uint8_t* pDst, int dstStep, std::uint8_t* pBuffer) {
  using M = typename Source::Magnitude;
  constexpr int kRows = 3;
  const std::ptrdiff_t width = source.size.width, height = source.size.height, stride = width + 2;
  std::uint8_t* map = alignedUp(pBuffer, kBlockBytes);
  std::uint8_t* ring = alignedUp(map + stride * (height + 2), kBlockBytes);
  const std::ptrdiff_t ringBytes = kRows * stride * static_cast<std::ptrdiff_t>(sizeof(M));
  std::memset(ring, 0, static_cast<std::size_t>(ringBytes));
  std::uint8_t* behindRing = ring + ringBytes;
  if constexpr (Source::kKeepsDerivatives) {
    source.derivatives = reinterpret_cast<std::int16_t*>(behindRing);
    behindRing = reinterpret_cast<std::uint8_t*>(source.derivatives + 4 * width);
  }
  EdgeMap edges(source.size, map, reinterpret_cast<std::uint32_t*>(alignedUp(behindRing, alignof(std::uint32_t))));
  // Row -1 stands in slot 0, above the image, where all is zero.
  const auto magnitudes = [&](std::ptrdiff_t y) {
    return reinterpret_cast<M*>(ring) + (y + 1) % kRows * stride + 1;
  };
  for (std::ptrdiff_t y = 0; y <= height; ++y) {
    if (y < height) {
      source.magnitudeRow(y, magnitudes(y));
    } else {
      std::fill_n(magnitudes(y), width, M{0});
    }
    edges.clearRow(y);
    if (y == 0) continue;
    suppressRow(source, y - 1, magnitudes(y - 2), magnitudes(y - 1), magnitudes(y), edges.rowAt(y - 1));
    if (y > 1) edges.join(y - 2);
  }
  edges.join(height - 1);
  edges.writeEdges(pDst, dstStep);
}

RvpStatus badThresholds(float low, float high) { return faultIf(low < 0 || low > high, rvpStatusBadArgument); }

template <class T>
RvpStatus cannyFault(const T* pSrcDx, int srcDxStep, const T* pSrcDy, int srcDyStep, const std::uint8_t* pDstEdges,
                     int dstEdgeStep, RvpiSize roiSize, const std::uint8_t* pBuffer, float low, float high) {
  return firstFault(nullPointer(pSrcDx, pSrcDy, pDstEdges, pBuffer), badSize(roiSize),
                    shortStep<T>(roiSize.width, srcDxStep, srcDyStep),
                    shortStep<std::uint8_t>(roiSize.width, dstEdgeStep), oddStep<T>(srcDxStep, srcDyStep),
                    badThresholds(low, high));
}

constexpr bool isMask(RvpiMaskSize mask) { return mask == 33 || mask == 55; }

// Pixels that the mask needs around the region, both sides together.
constexpr int marginOf(RvpiMaskSize mask) { return mask == 33 ? 2 : 4; }

// A side shorter than the mask.
constexpr bool isSmall(RvpiSize size, RvpiMaskSize mask) {
  return std::min(size.width, size.height) <= marginOf(mask);
}

constexpr std::uint32_t toBlock(std::uint32_t bytes) {
  return (bytes + std::uint32_t{kBlockBytes - 1}) & ~std::uint32_t{kBlockBytes - 1};
}

template <class Kernel, class Norm>
void imageEdges(const ExtendedImage<std::uint8_t, 1>& image, std::uint8_t* pDst, int dstStep, std::uint8_t* pBuffer,
                float low, float high) {
  detectEdges(ImageGradients<Kernel, Norm>{image, image.size, Norm::threshold(low), Norm::threshold(high)}, pDst,
              dstStep, pBuffer);
}

template <class Norm>
void imageEdges(const ExtendedImage<std::uint8_t, 1>& image, RvpiFilterKind filterKind, RvpiMaskSize mask,
                std::uint8_t* pDst, int dstStep, std::uint8_t* pBuffer, float low, float high) {
  // dx is right minus left and dy below minus above: their signs decide between the diagonals.
  using Scharr = DerivativeKernel<ScharrSmooth, Rising3, Rising3>;
  using Sobel = DerivativeKernel<SobelSmooth3, Rising3, Rising3>;
  using WideSobel = DerivativeKernel<SobelSmooth5, Rising5, Rising5>;
  if (filterKind == rvpFilterScharr) {
    imageEdges<Scharr, Norm>(image, pDst, dstStep, pBuffer, low, high);
  } else if (mask == 33) {
    imageEdges<Sobel, Norm>(image, pDst, dstStep, pBuffer, low, high);
  } else {
    imageEdges<WideSobel, Norm>(image, pDst, dstStep, pBuffer, low, high);
  }
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

// The sums of the size functions wrap at 32 bits.
RvpStatus rvpiCannyGetSize(RvpiSize roiSize, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize))) return fault;
  const auto width = static_cast<uint32_t>(roiSize.width), height = static_cast<uint32_t>(roiSize.height);
  // From this side on, coordinates would not fit in 16 bits with the frame around them.
  constexpr uint32_t kWide = 65533;
  const uint32_t bytesOfPixel = width < kWide && height < kWide ? 5 : 9;
  *pBufferSize = static_cast<int>(bytesOfPixel * ((width + 2) * (height + 2)) + 16 * width + 160);
  return rvpStatusOk;
}

RvpStatus rvpiCannyBorderGetSize(RvpiSize roiSize, RvpiFilterKind filterKind, RvpiMaskSize maskSize,
                                 RvpiNormKind normKind, int* pBufferSize) {
  using namespace rvp::n8;
  static_cast<void>(filterKind);
  static_cast<void>(normKind);
  if (RvpStatus fault =
          firstFault(nullPointer(pBufferSize), badSize(roiSize), faultIf(!isMask(maskSize), rvpStatusBadMaskSize)))
    return fault;
  const auto margin = static_cast<uint32_t>(marginOf(maskSize));
  const uint32_t width = static_cast<uint32_t>(roiSize.width) + margin;
  const uint32_t pixels = (static_cast<uint32_t>(roiSize.height) + margin) * width;
  uint32_t bytes = toBlock(16 * width) + toBlock(pixels) + toBlock(4 * pixels) + 64;
  if (isSmall(roiSize, maskSize)) bytes += toBlock(pixels);
  *pBufferSize = static_cast<int>(bytes);
  return rvpStatusOk;
}

RvpStatus rvpiCanny_32f8u_C1R(const float* pSrcDx, int srcDxStep, const float* pSrcDy, int srcDyStep,
                              uint8_t* pDstEdges, int dstEdgeStep, RvpiSize roiSize, uint8_t* pBuffer,
                              float lowThreshold, float highThreshold) {
  using namespace rvp::n8;
  if (RvpStatus fault = cannyFault(pSrcDx, srcDxStep, pSrcDy, srcDyStep, pDstEdges, dstEdgeStep, roiSize, pBuffer,
                                   lowThreshold, highThreshold))
    return fault;
  detectEdges(FloatGradients{pSrcDx, srcDxStep, pSrcDy, srcDyStep, roiSize, lowThreshold, highThreshold}, pDstEdges,
              dstEdgeStep, pBuffer);
  return rvpStatusOk;
}

RvpStatus rvpiCanny_16s8u_C1R(const int16_t* pSrcDx, int srcDxStep, const int16_t* pSrcDy, int srcDyStep,
                              uint8_t* pDstEdges, int dstEdgeStep, RvpiSize roiSize, uint8_t* pBuffer,
                              float lowThreshold, float highThreshold) {
  using namespace rvp::n8;
  if (RvpStatus fault = cannyFault(pSrcDx, srcDxStep, pSrcDy, srcDyStep, pDstEdges, dstEdgeStep, roiSize, pBuffer,
                                   lowThreshold, highThreshold))
    return fault;
  detectEdges(IntegerGradients{pSrcDx, srcDxStep, pSrcDy, srcDyStep, roiSize, truncated(lowThreshold),
                               truncated(highThreshold)},
              pDstEdges, dstEdgeStep, pBuffer);
  return rvpStatusOk;
}

RvpStatus rvpiCannyBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep, RvpiSize roiSize,
                                 int filterKind, RvpiMaskSize maskSize, RvpiBorderType borderType,
                                 uint8_t borderValue, RvpiNormKind normKind, uint8_t* pBuffer, float lowThreshold,
                                 float highThreshold) {
  using namespace rvp::n8;
  const int mode = borderType & kBorderModeBits;
  if (RvpStatus fault = firstFault(
          faultIf((filterKind == rvpFilterScharr && maskSize == 55) || !isMask(maskSize), rvpStatusBadMaskSize),
          nullPointer(pSrc, pDst, pBuffer), badSize(roiSize),
          faultIf(filterKind != rvpFilterSobel && filterKind != rvpFilterScharr, rvpStatusBadArgument),
          faultIf(normKind != rvpNormL1 && normKind != rvpNormL2, rvpStatusBadArgument),
          badThresholds(lowThreshold, highThreshold),
          faultIf(mode != rvpBorderConst && mode != rvpBorderRepl && mode != rvpBorderInMem, rvpStatusBadBorder)))
    return fault;
  // Mode 6 with flags reads those sides from memory and no others, which have the constant.
  if (mode == rvpBorderInMem && (borderType & kBorderAllSides) != 0) borderType &= kBorderAllSides;
  // A region smaller than the mask has the constant on all sides, whatever the selector says.
  const Border border = borderOf(isSmall(roiSize, maskSize) ? RvpiBorderType{rvpBorderConst} : borderType);
  const ExtendedImage<uint8_t, 1> image = {pSrc, srcStep, roiSize, border, &borderValue};
  (normKind == rvpNormL1 ? imageEdges<SumNorm> : imageEdges<RootNorm>)(image, filterKind, maskSize, pDst, dstStep,
                                                                       pBuffer, lowThreshold, highThreshold);
  return rvpStatusOk;
}

}  // extern "C"
