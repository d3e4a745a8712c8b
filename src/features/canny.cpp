// Edges by the method of Canny: gradients, thinning to the local maxima along the gradient, and hysteresis between
// two thresholds.
//
// Row by row, the gradient gives a magnitude, which is 0 unless it passes the low threshold, and the sector of its
// direction. Three rows of magnitudes are enough to thin the one in the middle. Sectors and then marks stand in the
// edge map, a byte a pixel with a frame of zeros around the image. A strong mark is on the map and on the stack,
// from where the marks spread to all weak ones that touch them; what is strong in the end is an edge.
//
// The three sources differ in how a magnitude is compared with the low threshold and in how the tangents of the
// sectors' borders are rounded.
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

// The gradient's direction, and with it the neighbours of a pixel along it, the first and the second:
constexpr std::int32_t kAcross = 1;   // left, right
constexpr std::int32_t kRising = 2;   // above right, below left: dx and dy of opposite sign
constexpr std::int32_t kDown = 3;     // above, below
constexpr std::int32_t kFalling = 4;  // above left, below right: dx and dy of the same sign
// Marks in the edge map, apart from all sectors. No mark or sector but the weak one has its bit.
constexpr std::uint8_t kWeak = 128;
constexpr std::uint8_t kStrong = 64;

// tan 22.5 and tan 67.5 degrees.
constexpr float kLowTangent = 0.41421357F;
constexpr float kHighTangent = 2.4142137F;
constexpr double kLowTangentExact = 0.41421356237309503;
constexpr double kHighTangentExact = 2.414213562373095;

// Sectors of a group of lanes from |dx|, |dy|, the two products of |dx| with the tangents, and whether the signs of
// dx and dy differ. The steep sector is tested first; a gradient of zero falls to a diagonal.
template <class D, class V, class M>
void storeSectors(D /*d*/, V ay, V low, V high, M opposite, std::uint8_t* sectors) {
  const hn::RebindToSigned<D> di;
  const auto diagonal = hn::IfThenElse(hn::RebindMask(di, opposite), hn::Set(di, kRising), hn::Set(di, kFalling));
  const auto flat = hn::IfThenElse(hn::RebindMask(di, hn::Lt(ay, low)), hn::Set(di, kAcross), diagonal);
  const auto sector = hn::IfThenElse(hn::RebindMask(di, hn::Lt(high, ay)), hn::Set(di, kDown), flat);
  hn::StoreU(hn::DemoteTo(hn::Rebind<std::uint8_t, D>(), sector), hn::Rebind<std::uint8_t, D>(), sectors);
}

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

// Magnitudes of n pixels and, where any of a group is not 0, their sectors. magnitude(d, x) gives a group's
// magnitudes, and sectors(d, x) stores the sectors of a group of float lanes.
template <class M, class Magnitude, class Sectors>
void storeGradients(std::ptrdiff_t n, M* magnitudes, std::uint8_t* codes, const Magnitude& magnitude,
                    const Sectors& sectors) {
  forVectors<M>(0, n, [&](auto d, std::ptrdiff_t x) {
    const auto m = magnitude(d, x);
    hn::StoreU(m, d, magnitudes + x);
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    if (hn::AllTrue(d, hn::Eq(m, hn::Zero(d)))) {
      std::memset(codes + x, 0, static_cast<std::size_t>(lanes));
    } else {
      forVectors<float>(x, x + lanes, sectors);
    }
  });
}

// The largest threshold that can matter: no integer magnitude passes it. A threshold that is no number is never
// passed either.
constexpr std::int32_t kNeverPassed = 1 << 24;

std::int32_t truncated(float threshold) {
  return threshold < static_cast<float>(kNeverPassed) ? static_cast<std::int32_t>(threshold) : kNeverPassed;
}

struct FloatGradients {
  using Magnitude = float;
  const float* dx;
  int dxStep;
  const float* dy;
  int dyStep;
  RvpiSize size;
  float low;
  float high;

  void gradientRow(std::ptrdiff_t y, float* magnitudes, std::uint8_t* codes) const {
    const float* rowX = row(dx, dxStep, y);
    const float* rowY = row(dy, dyStep, y);
    const auto magnitude = [&](auto d, std::ptrdiff_t x) {
      const auto m = hn::Add(hn::Abs(hn::LoadU(d, rowX + x)), hn::Abs(hn::LoadU(d, rowY + x)));
      return hn::IfThenZeroElse(hn::Lt(m, hn::Set(d, low)), m);
    };
    storeGradients(size.width, magnitudes, codes, magnitude, [&](auto d, std::ptrdiff_t x) {
      const auto vx = hn::LoadU(d, rowX + x), vy = hn::LoadU(d, rowY + x);
      const auto ax = hn::Abs(vx);
      storeSectors(d, hn::Abs(vy), hn::Mul(ax, hn::Set(d, kLowTangent)), hn::Mul(ax, hn::Set(d, kHighTangent)),
                   oppositeSigns(d, vx, vy), codes + x);
    });
  }
};

struct IntegerGradients {
  using Magnitude = std::int32_t;
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
  static constexpr std::ptrdiff_t kGroup = 4;

  void gradientRow(std::ptrdiff_t y, std::int32_t* magnitudes, std::uint8_t* codes) const {
    const std::int16_t* rowX = row(dx, dxStep, y);
    const std::int16_t* rowY = row(dy, dyStep, y);
    const std::ptrdiff_t saturated = size.width / kBlock * kBlock;
    const std::ptrdiff_t grouped = size.width / kGroup * kGroup;
    const auto magnitude = [&](auto d, std::ptrdiff_t x) {
      const hn::Rebind<std::int16_t, decltype(d)> d16;
      const auto ax = hn::Abs(hn::PromoteTo(d, hn::LoadU(d16, rowX + x)));
      const auto ay = hn::Abs(hn::PromoteTo(d, hn::LoadU(d16, rowY + x)));
      const auto limit = hn::Set(d, x < saturated ? 65535 : 65536);
      const auto m = hn::Min(hn::Add(ax, ay), limit);
      return hn::IfThenElseZero(hn::Gt(m, hn::Set(d, low)), m);
    };
    storeGradients(size.width, magnitudes, codes, magnitude, [&](auto d, std::ptrdiff_t x) {
      if (x >= grouped) {
        codes[x] = exactSector(rowX[x], rowY[x]);
        return;
      }
      const auto vx = loadFloats(d, rowX + x), vy = loadFloats(d, rowY + x);
      const auto ax = hn::Abs(vx);
      storeSectors(d, hn::Abs(vy), hn::Mul(ax, hn::Set(d, kLowTangent)), hn::Mul(ax, hn::Set(d, kHighTangent)),
                   oppositeSigns(d, vx, vy), codes + x);
    });
  }

  static std::uint8_t exactSector(int dx, int dy) {
    const double ax = std::abs(dx), ay = std::abs(dy);
    if (kHighTangentExact * ax < ay) return kDown;
    if (ay < kLowTangentExact * ax) return kAcross;
    return (dx < 0) == (dy < 0) ? kFalling : kRising;
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
  ExtendedImage<std::uint8_t, 1> image;
  RvpiSize size;
  Magnitude low;
  Magnitude high;

  void gradientRow(std::ptrdiff_t y, Magnitude* magnitudes, std::uint8_t* codes) const {
    std::int16_t dx[kStretch];
    std::int16_t dy[kStretch];
    forStretches(0, size.width, [&](std::ptrdiff_t x0, std::ptrdiff_t n) {
      derivativeRow<Kernel>(image, y, x0, x0 + n, dx, dy);
      std::uint8_t* to = codes + x0;
      const auto magnitude = [&](auto d, std::ptrdiff_t x) {
        const auto m = Norm::magnitude(d, dx + x, dy + x);
        return hn::IfThenElseZero(hn::Gt(m, hn::Set(d, low)), m);
      };
      storeGradients(n, magnitudes + x0, to, magnitude, [&](auto d, std::ptrdiff_t x) {
        const auto vx = loadFloats(d, dx + x), vy = loadFloats(d, dy + x);
        const auto ax = hn::Abs(vx);
        const auto lowProduct = hn::Mul(ax, hn::Set(d, kLowTangent));
        storeSectors(d, hn::Abs(vy), lowProduct, hn::Add(hn::Add(ax, ax), lowProduct), oppositeSigns(d, vx, vy),
                     to + x);
      });
    });
  }
};

// The edge map and the stack of strong marks whose neighbours are still to be looked at. An entry is a place in the
// map: with the sizes that fit a caller's scratch the map has less than 2^31 bytes. A pixel is pushed once, when it
// becomes strong, so the stack needs no more entries than the image has pixels.
class EdgeMap {
 public:
  EdgeMap(RvpiSize size, std::uint8_t* map, std::uint32_t* stack)
      : width_(size.width), height_(size.height), stride_(width_ + 2), map_(map), stack_(stack) {
    const auto stride = static_cast<std::size_t>(stride_);
    std::memset(map_, 0, stride);
    std::memset(rowAt(height_) - 1, 0, stride);
    for (std::ptrdiff_t y = 0; y < height_; ++y) rowAt(y)[-1] = rowAt(y)[width_] = 0;
  }

  // Column 0 of row y.
  std::uint8_t* rowAt(std::ptrdiff_t y) const { return map_ + (y + 1) * stride_ + 1; }

  void push(std::uint8_t* at) { stack_[count_++] = static_cast<std::uint32_t>(at - map_); }

  void spread() {
    // Most strong marks lie inside a line of strong marks. Three loads tell that no neighbour is weak; each reads
    // one byte more than the three of its row, at the very end of the map the first one behind it, where the
    // magnitudes stand.
    constexpr std::uint32_t kWeakNeighbours = 0x00010101U * kWeak;
    const auto row4 = [](const std::uint8_t* at) {
      std::uint32_t four = 0;
      std::memcpy(&four, at, sizeof(four));
      return four;
    };
    while (count_ != 0) {
      std::uint8_t* corner = map_ + stack_[--count_] - stride_ - 1;
      const std::uint32_t any = row4(corner) | row4(corner + stride_) | row4(corner + 2 * stride_);
      if ((any & kWeakNeighbours) == 0) continue;
      for (std::uint8_t* line : {corner, corner + stride_, corner + 2 * stride_}) {
        for (std::uint32_t weak = row4(line) & kWeakNeighbours; weak != 0; weak &= weak - 1) {
          std::uint8_t* at = line + __builtin_ctz(weak) / 8;
          *at = kStrong;
          push(at);
        }
      }
    }
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
  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  std::ptrdiff_t stride_;
  std::uint8_t* map_;
  std::uint32_t* stack_;
  std::size_t count_ = 0;
};

// Thins one row: turns the sectors of local maxima into marks. A maximum is greater than its first neighbour, and
// greater than the second one too; along an axis it may equal the second, so that a plateau keeps its first pixel.
template <class M>
void suppressRow(const M* above, const M* centre, const M* below, std::ptrdiff_t width, M high, std::uint8_t* codes,
                 EdgeMap& edges) {
  forVectors<M>(0, width, [&](auto d, std::ptrdiff_t x) {
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    const auto m = hn::LoadU(d, centre + x);
    if (hn::AllTrue(d, hn::Eq(m, hn::Zero(d)))) return;
    const auto sector = hn::PromoteTo(di, hn::LoadU(d8, codes + x));
    const auto is = [&](std::int32_t which) {
      return hn::RebindMask(d, hn::Eq(sector, hn::Set(di, static_cast<hn::TFromD<decltype(di)>>(which))));
    };
    const auto across = is(kAcross), down = is(kDown), rising = is(kRising);
    const auto chosen = [&](const M* a, const M* s, const M* r, const M* f) {
      return hn::IfThenElse(across, hn::LoadU(d, a + x),
                            hn::IfThenElse(down, hn::LoadU(d, s + x),
                                           hn::IfThenElse(rising, hn::LoadU(d, r + x), hn::LoadU(d, f + x))));
    };
    const auto first = chosen(centre - 1, above, above + 1, above - 1);
    const auto second = chosen(centre + 1, below, below - 1, below + 1);
    const auto tie = hn::And(hn::Or(across, down), hn::Eq(m, second));
    const auto maximum = hn::And(hn::Gt(m, first), hn::Or(hn::Gt(m, second), tie));
    const auto strong = hn::And(maximum, hn::Gt(m, hn::Set(d, high)));
    const auto mark = hn::IfThenElse(hn::RebindMask(di, strong), hn::Set(di, kStrong), hn::Set(di, kWeak));
    const auto marks = hn::IfThenElseZero(hn::RebindMask(di, maximum), mark);
    hn::StoreU(hn::DemoteTo(d8, marks), d8, codes + x);
    if (hn::AllFalse(d, strong)) return;
    std::uint8_t bits[8] = {};
    hn::StoreMaskBits(d, strong, bits);
    std::uint32_t left = 0;
    std::memcpy(&left, bits, sizeof(left));
    for (; left != 0; left &= left - 1) edges.push(codes + x + __builtin_ctz(left));
  });
}

// Blocks of the scratch begin at multiples of this.
constexpr std::ptrdiff_t kBlockBytes = 32;

// The three rows of magnitudes have a column of zeros on both sides.
template <class Source>
void detectEdges(const Source& source, RvpiSize size, std::uint8_t* pDst, int dstStep, std::uint8_t* pBuffer) {
  using M = typename Source::Magnitude;
  constexpr int kRows = 3;
  const std::ptrdiff_t width = size.width, stride = width + 2;
  std::uint8_t* map = alignedUp(pBuffer, kBlockBytes);
  std::uint8_t* ring = alignedUp(map + stride * (size.height + std::ptrdiff_t{2}), kBlockBytes);
  const std::ptrdiff_t ringBytes = kRows * stride * static_cast<std::ptrdiff_t>(sizeof(M));
  auto* stack = reinterpret_cast<std::uint32_t*>(alignedUp(ring + ringBytes, alignof(std::uint32_t)));
  std::memset(ring, 0, static_cast<std::size_t>(ringBytes));
  EdgeMap edges(size, map, stack);
  // Row -1 stands in slot 0, above the image, where all is zero.
  const auto magnitudes = [&](std::ptrdiff_t y) {
    return reinterpret_cast<M*>(ring) + (y + 1) % kRows * stride + 1;
  };
  for (std::ptrdiff_t y = 0; y <= size.height; ++y) {
    if (y < size.height) {
      source.gradientRow(y, magnitudes(y), edges.rowAt(y));
    } else {
      std::fill_n(magnitudes(y), width, M{0});
    }
    if (y > 0)
      suppressRow(magnitudes(y - 2), magnitudes(y - 1), magnitudes(y), width, source.high, edges.rowAt(y - 1),
                  edges);
  }
  edges.spread();
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
  detectEdges(ImageGradients<Kernel, Norm>{image, image.size, Norm::threshold(low), Norm::threshold(high)},
              image.size, pDst, dstStep, pBuffer);
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
  detectEdges(FloatGradients{pSrcDx, srcDxStep, pSrcDy, srcDyStep, roiSize, lowThreshold, highThreshold}, roiSize,
              pDstEdges, dstEdgeStep, pBuffer);
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
              roiSize, pDstEdges, dstEdgeStep, pBuffer);
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
