// Borders: rows of an image without end, and copies of an image with a border around it.
//
// A row is its middle, copied as one block, and two ends made from the row's own pixels. A row above or below the
// image is a copy of the finished row that it stands for, or a row of the constant.
#include "filter/border.h"

#include <array>
#include <cstring>

#include "frame/simd.h"

namespace rvp::n8::pixels {
namespace {

template <int kBytes>
struct Pixel {
  std::uint8_t bytes[kBytes];
};

template <class P>
void copyPixels(const P* src, std::ptrdiff_t count, P* dst) {
  std::memmove(dst, src, static_cast<std::size_t>(count) * sizeof(P));
}

// One pixel over and over. 48 bytes hold a whole number of pixels of each size, and a run of pixels that ends
// anywhere can be closed by a block that overlaps the one before: its phase is the same.
template <class P>
class Pattern {
 public:
  explicit Pattern(const P& pixel) {
    const hn::FixedTag<std::uint8_t, kVector> d;
    std::uint8_t once[kVector] = {};
    std::memcpy(once, &pixel, sizeof(P));
    const auto v = hn::LoadU(d, once);
    for (std::size_t i = 0; i < kBlock; i += kVector)
      hn::StoreU(hn::TableLookupBytes(v, hn::LoadU(d, kPhases.data() + i)), d, block_ + i);
  }

  void fill(P* dst, std::ptrdiff_t count) const {
    if (count <= 0) return;
    auto* at = reinterpret_cast<std::uint8_t*>(dst);
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(P);
    if (bytes < kBlock) {
      std::memcpy(at, block_, bytes);
      return;
    }
    for (std::size_t i = 0; i + kBlock <= bytes; i += kBlock) std::memcpy(at + i, block_, kBlock);
    std::memcpy(at + bytes - kBlock, block_, kBlock);
  }

 private:
  static constexpr std::size_t kVector = 16;
  static constexpr std::size_t kBlock = 48;
  static_assert(kBlock % sizeof(P) == 0);

  static constexpr auto kPhases = [] {
    std::array<std::uint8_t, kBlock> phases{};
    for (std::size_t i = 0; i < kBlock; ++i) phases[i] = static_cast<std::uint8_t>(i % sizeof(P));
    return phases;
  }();

  std::uint8_t block_[kBlock];
};

// The pixels before and behind a row of n pixels at `middle`, for the modes that repeat the row's own pixels.
template <class P>
void repeatEnds(int mode, P* middle, std::ptrdiff_t n, std::ptrdiff_t left, std::ptrdiff_t right) {
  if (mode == rvpBorderRepl || n == 1) {
    Pattern<P>(middle[0]).fill(middle - left, left);
    Pattern<P>(middle[n - 1]).fill(middle + n, right);
    return;
  }
  // One reflection on each side makes a whole period of the row; what lies farther out is a period away from that.
  const std::ptrdiff_t period = 2 * n - 2;
  for (std::ptrdiff_t x = 1; x <= std::min(left, n - 1); ++x) middle[-x] = middle[x];
  for (std::ptrdiff_t x = 1; x <= std::min(right, n - 1); ++x) middle[n - 1 + x] = middle[n - 1 - x];
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
      pattern.fill(out, layout.left);
      copyPixels(row(src, srcStep, y - layout.top), layout.width, out + layout.left);
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
  for (std::ptrdiff_t y = 0; y < layout.height; ++y)
    repeatEnds(mode, row(image, srcDstStep, y), layout.width, layout.left, layout.right);
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
    copyPixels(row(src, srcStep, y), layout.width, middle);
    repeatEnds(mode, middle, layout.width, layout.left, layout.right);
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
