// Borders: rows of an image without end, and copies of an image with a border around it.
//
// A row is its middle, copied as one block, and two ends made from the row's own pixels. A row above or below the
// image is a copy of the finished row that it stands for, or a row of the constant.
#include "filter/border.h"

#include <array>
#include <cstring>
#include <type_traits>

#include "frame/simd.h"

namespace rvp::n8::pixels {
namespace {

template <int kBytes>
struct Pixel {
  std::uint8_t bytes[kBytes];
};

// Short rows are copied here, as calling for it costs as much as the copy; long ones by the C library.
constexpr std::size_t kCallBytes = 512;

template <class P>
void copyPixels(const P* src, std::ptrdiff_t count, P* dst) {
  const hn::ScalableTag<std::uint8_t> d;
  const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(P);
  const std::size_t lanes = hn::Lanes(d);
  if (bytes < lanes || bytes >= kCallBytes) {
    std::memmove(dst, src, bytes);
    return;
  }
  const auto* from = reinterpret_cast<const std::uint8_t*>(src);
  auto* to = reinterpret_cast<std::uint8_t*>(dst);
  const auto last = hn::LoadU(d, from + bytes - lanes);
  for (std::size_t i = 0; i + lanes <= bytes; i += lanes) hn::StoreU(hn::LoadU(d, from + i), d, to + i);
  hn::StoreU(last, d, to + bytes - lanes);
}

// One pixel over and over, in vectors of 16 bytes. Three of them hold a whole number of pixels of each size; so the
// third ends with a pixel's last byte, and fits at the end of a run of any length.
template <class P>
class Pattern {
 public:
  explicit Pattern(const P& pixel) {
    // The pixel's bytes are put together in registers: a vector load would wait for byte stores before it.
    std::uint64_t halves[2] = {};
    for (std::size_t i = 0; i < sizeof(P); ++i) halves[i / 8] |= std::uint64_t{pixel.bytes[i]} << (i % 8 * 8);
    const auto once =
        hn::BitCast(kTag, hn::InterleaveLower(hn::Set(kTag64, halves[0]), hn::Set(kTag64, halves[1])));
    for (std::size_t part = 0; part < 3; ++part)
      parts_[part] = hn::TableLookupBytes(once, hn::Load(kTag, kPhases.data() + part * kVector));
  }

  void fill(P* dst, std::ptrdiff_t count) const {
    auto* at = reinterpret_cast<std::uint8_t*>(dst);
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(P);
    if (bytes < kVector) {
      fillFew(at, bytes);
      return;
    }
    std::size_t i = 0;
    for (; i + 3 * kVector <= bytes; i += 3 * kVector) {
      for (std::size_t part = 0; part < 3; ++part) hn::StoreU(parts_[part], kTag, at + i + part * kVector);
    }
    for (std::size_t part = 0; i + kVector <= bytes; i += kVector, ++part) hn::StoreU(parts_[part], kTag, at + i);
    hn::StoreU(parts_[2], kTag, at + bytes - kVector);
  }

 private:
  static constexpr hn::FixedTag<std::uint8_t, 16> kTag = {};
  static constexpr hn::FixedTag<std::uint64_t, 2> kTag64 = {};
  static constexpr std::size_t kVector = 16;
  static_assert(3 * kVector % sizeof(P) == 0);

  alignas(kVector) static constexpr auto kPhases = [] {
    std::array<std::uint8_t, 3 * kVector> phases{};
    for (std::size_t i = 0; i < phases.size(); ++i) phases[i] = static_cast<std::uint8_t>(i % sizeof(P));
    return phases;
  }();

  // Fewer bytes than a vector has: the powers of two that make up their number.
  void fillFew(std::uint8_t* at, std::size_t bytes) const {
    const auto halves = hn::BitCast(kTag64, parts_[0]);
    std::uint64_t next = hn::GetLane(halves);
    if ((bytes & 8) != 0) {
      std::memcpy(at, &next, 8);
      at += 8;
      next = hn::GetLane(hn::InterleaveUpper(kTag64, halves, halves));
    }
    const auto fillNext = [&](auto size) {
      if ((bytes & size()) == 0) return;
      std::memcpy(at, &next, size());
      at += size();
      next >>= 8 * size();
    };
    fillNext(std::integral_constant<std::size_t, 4>());
    fillNext(std::integral_constant<std::size_t, 2>());
    fillNext(std::integral_constant<std::size_t, 1>());
  }

  hn::Vec<hn::FixedTag<std::uint8_t, 16>> parts_[3];
};

// dst[i] = src[count - 1 - i]; the two must not overlap. Pixels of a size that divides 16 bytes are turned round a
// vector at a time.
template <class P>
void copyReversed(const P* src, std::ptrdiff_t count, P* dst) {
  std::ptrdiff_t i = 0;
  if constexpr (16 % sizeof(P) == 0) {
    constexpr std::ptrdiff_t kPixels = 16 / sizeof(P);
    const hn::FixedTag<std::uint8_t, 16> d;
    alignas(16) static constexpr auto kReverse = [] {
      std::array<std::uint8_t, 16> from{};
      for (std::size_t k = 0; k < 16; ++k)
        from[k] = static_cast<std::uint8_t>(16 - sizeof(P) - k / sizeof(P) * sizeof(P) + k % sizeof(P));
      return from;
    }();
    for (; i + kPixels <= count; i += kPixels) {
      const auto block = hn::LoadU(d, src[count - kPixels - i].bytes);
      hn::StoreU(hn::TableLookupBytes(block, hn::Load(d, kReverse.data())), d, dst[i].bytes);
    }
  }
  for (; i < count; ++i) dst[i] = src[count - 1 - i];
}

// The pixels before and behind a row of n pixels at `middle`, for the modes that repeat the row's own pixels. They
// are read from `src`, which holds the same n pixels: what was just written is slow to read.
template <class P>
void repeatEnds(int mode, const P* src, P* middle, std::ptrdiff_t n, std::ptrdiff_t left, std::ptrdiff_t right) {
  if (mode == rvpBorderRepl || n == 1) {
    if (left > 0) Pattern<P>(src[0]).fill(middle - left, left);
    if (right > 0) Pattern<P>(src[n - 1]).fill(middle + n, right);
    return;
  }
  // One reflection on each side makes a whole period of the row; what lies farther out is a period away from that.
  const std::ptrdiff_t period = 2 * n - 2;
  const std::ptrdiff_t nearLeft = std::min(left, n - 1);
  const std::ptrdiff_t nearRight = std::min(right, n - 1);
  copyReversed(src + 1, nearLeft, middle - nearLeft);
  copyReversed(src + (n - 1 - nearRight), nearRight, middle + n);
  for (std::ptrdiff_t x = n; x <= left; ++x) middle[-x] = middle[period - x];
  for (std::ptrdiff_t x = n; x <= right; ++x) middle[n - 1 + x] = middle[n - 1 + x - period];
}

// Where the source lies in its destination, and how wide each border is. In 64 bits: a border's width and the
// image's may each be near 2^31.
struct Layout {
  std::ptrdiff_t width, height, top, bottom, left, right;

  Layout(RvpiSize src, RvpiSize dst, int topBorderHeight, int leftBorderWidth)
      : width(src.width),
        height(src.height),
        top(topBorderHeight),
        bottom(dst.height - top - height),
        left(leftBorderWidth),
        right(dst.width - left - width) {}
};

RvpStatus badLayout(RvpiSize src, RvpiSize dst, int topBorderHeight, int leftBorderWidth) {
  const Layout layout(src, dst, topBorderHeight, leftBorderWidth);
  return firstFault(
      badSize(src), badSize(dst),
      faultIf(layout.top < 0 || layout.left < 0 || layout.bottom < 0 || layout.right < 0, rvpStatusBadSize));
}

// Rows above and below finished rows, for the modes that repeat them. `first` is the destination's first pixel in
// the image's first row.
template <class P>
void repeatRows(int mode, P* first, int step, const Layout& layout) {
  const std::ptrdiff_t width = layout.left + layout.width + layout.right;
  const auto copyFrom = [&](std::ptrdiff_t y) {
    copyPixels(row(first, step, borderIndex(mode, y, layout.height)), width, row(first, step, y));
  };
  for (std::ptrdiff_t y = -1; y >= -layout.top; --y) copyFrom(y);
  for (std::ptrdiff_t y = 0; y < layout.bottom; ++y) copyFrom(layout.height + y);
}

template <class P>
void constantBorder(const P* src, int srcStep, P* dst, int dstStep, const Layout& layout, const P& value) {
  const Pattern<P> pattern(value);
  const std::ptrdiff_t width = layout.left + layout.width + layout.right;
  for (std::ptrdiff_t y = 0; y < layout.top + layout.height + layout.bottom; ++y) {
    P* out = row(dst, dstStep, y);
    if (y < layout.top || y >= layout.top + layout.height) {
      pattern.fill(out, width);
    } else {
      copyPixels(row(src, srcStep, y - layout.top), layout.width, out + layout.left);
      pattern.fill(out, layout.left);
      pattern.fill(out + layout.left + layout.width, layout.right);
    }
  }
}

}  // namespace

template <int kBytes>
RvpStatus borderInPlace(int mode, void* pSrcDst, int srcDstStep, RvpiSize srcRoiSize, RvpiSize dstRoiSize,
                        int topBorderHeight, int leftBorderWidth) {
  using P = Pixel<kBytes>;
  if (RvpStatus fault = firstFault(nullPointer(pSrcDst), stepBelowOne(srcDstStep),
                                   badLayout(srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth)))
    return fault;
  const Layout layout(srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth);
  auto* image = static_cast<P*>(pSrcDst);
  for (std::ptrdiff_t y = 0; y < layout.height; ++y) {
    P* middle = row(image, srcDstStep, y);
    repeatEnds(mode, middle, middle, layout.width, layout.left, layout.right);
  }
  repeatRows(mode, image - layout.left, srcDstStep, layout);
  return rvpStatusOk;
}

template <int kBytes>
RvpStatus copyWithBorder(int mode, const void* pSrc, int srcStep, RvpiSize srcRoiSize, void* pDst, int dstStep,
                         RvpiSize dstRoiSize, int topBorderHeight, int leftBorderWidth, const void* value) {
  using P = Pixel<kBytes>;
  const bool constant = mode == rvpBorderConst;
  if (!constant && pSrc == pDst)
    return borderInPlace<kBytes>(mode, pDst, dstStep, srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth);
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), stepBelowOne(srcStep, dstStep),
                                   badLayout(srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth),
                                   faultIf(constant && value == nullptr, rvpStatusNullPointer)))
    return fault;
  const Layout layout(srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth);
  const auto* src = static_cast<const P*>(pSrc);
  auto* dst = static_cast<P*>(pDst);
  if (constant) {
    constantBorder(src, srcStep, dst, dstStep, layout, *static_cast<const P*>(value));
    return rvpStatusOk;
  }
  P* first = row(dst, dstStep, layout.top);
  for (std::ptrdiff_t y = 0; y < layout.height; ++y) {
    P* middle = row(first, dstStep, y) + layout.left;
    const P* from = row(src, srcStep, y);
    copyPixels(from, layout.width, middle);
    repeatEnds(mode, from, middle, layout.width, layout.left, layout.right);
  }
  repeatRows(mode, first, dstStep, layout);
  return rvpStatusOk;
}

template <int kBytes>
void extendedRow(const Image& image, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, void* ext) {
  using P = Pixel<kBytes>;
  const Border& border = image.border;
  auto* out = static_cast<P*>(ext);
  const bool rowInMemory = (y < 0 && border.top) || (y >= image.size.height && border.bottom);
  const std::ptrdiff_t sy = rowInMemory ? y : borderIndex(border.mode, y, image.size.height);
  if (!rowInMemory && sy == kConstantPixel) {
    Pattern<P>(*static_cast<const P*>(image.value)).fill(out, last - first);
    return;
  }
  const P* src = row(static_cast<const P*>(image.src), image.step, sy);
  const std::ptrdiff_t n = image.size.width;
  // The part that is read where it stands; it may be empty, on either side of the range.
  const std::ptrdiff_t from = border.left ? first : std::clamp<std::ptrdiff_t>(0, first, last);
  const std::ptrdiff_t to = border.right ? last : std::clamp(n, from, last);
  const auto fillOutside = [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
    if (begin >= end) return;
    if (border.mode == rvpBorderConst) {
      Pattern<P>(*static_cast<const P*>(image.value)).fill(out + (begin - first), end - begin);
    } else {
      for (std::ptrdiff_t x = begin; x < end; ++x) out[x - first] = src[borderIndex(border.mode, x, n)];
    }
  };
  fillOutside(first, from);
  if (from < to) copyPixels(src + from, to - from, out + (from - first));
  fillOutside(to, last);
}

#define RVP_PIXEL_BYTES(BYTES)                                                                              \
  template void extendedRow<BYTES>(const Image&, std::ptrdiff_t, std::ptrdiff_t, std::ptrdiff_t, void*);    \
  template RvpStatus copyWithBorder<BYTES>(int, const void*, int, RvpiSize, void*, int, RvpiSize, int, int, \
                                           const void*);                                                    \
  template RvpStatus borderInPlace<BYTES>(int, void*, int, RvpiSize, RvpiSize, int, int);
RVP_PIXEL_BYTES(1)
RVP_PIXEL_BYTES(2)
RVP_PIXEL_BYTES(3)
RVP_PIXEL_BYTES(4)
RVP_PIXEL_BYTES(6)
RVP_PIXEL_BYTES(8)
RVP_PIXEL_BYTES(12)
RVP_PIXEL_BYTES(16)

}  // namespace rvp::n8::pixels
