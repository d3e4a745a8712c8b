// The corner response of Harris and Stephens: with a, b, c the means of dx * dx, dx * dy and dy * dy over a window,
//
//   (a * c - b * b - (a + c) * (k * (a + c))) * s
//
// where s is the scale times the fourth power of the window's side, as if a, b, c were sums.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "features/corner_tensors.h"
#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/features.h"

namespace rvp::n8 {
namespace {

class Response {
 public:
  Response(float* dst, int step, int avgWindow, float k, float scale)
      : dst_(dst), step_(step), mean_(meanFactor(avgWindow)), k_(k) {
    // The fourth power wraps at 32 bits.
    const auto side = static_cast<std::uint32_t>(avgWindow);
    scale_ = static_cast<float>(static_cast<double>(side * side * side * side) * static_cast<double>(scale));
  }

  template <class D, class V>
  void operator()(D d, std::ptrdiff_t y, std::ptrdiff_t x, V sumA, V sumB, V sumC) const {
    const V mean = hn::Set(d, mean_);
    const V a = hn::Mul(sumA, mean), b = hn::Mul(sumB, mean), c = hn::Mul(sumC, mean);
    const V determinant = hn::Sub(hn::Mul(a, c), hn::Mul(b, b)), trace = hn::Add(a, c);
    const V response = hn::Sub(determinant, hn::Mul(trace, hn::Mul(hn::Set(d, k_), trace)));
    hn::StoreU(hn::Mul(response, hn::Set(d, scale_)), d, row(dst_, step_, y) + x);
  }

 private:
  float* dst_;
  int step_;
  float mean_;
  float k_;
  float scale_ = 0;
};

template <class Src>
RvpStatus harris(const Src* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize, int filterKind,
                 RvpiMaskSize maskSize, int avgWindow, float k, float scale, RvpiBorderType borderType,
                 Src borderValue, std::uint8_t* pBuffer) {
  constexpr bool kFloat = sizeof(Src) == sizeof(float);
  const bool inPlace = kFloat && static_cast<const void*>(pSrc) == static_cast<const void*>(pDst);
  if (RvpStatus fault = firstFault(
          nullPointer(pSrc, pDst, pBuffer), badSize(roiSize),
          kFloat ? oddStep<float>(srcStep, dstStep) : oddStep<float>(dstStep),
          badCornerFilter(filterKind, maskSize, borderType), faultIf(avgWindow < 1, rvpStatusBadSize),
          faultIf(srcStep < 0 || dstStep < 0, rvpStatusBadStep), faultIf(inPlace, rvpStatusInPlaceNotSupported)))
    return fault;
  const ExtendedImage<Src, 1> image = {pSrc, srcStep, roiSize, cornerBorder(borderType), &borderValue};
  cornerTensors(image, filterKind, maskSize, avgWindow, pBuffer, Response(pDst, dstStep, avgWindow, k, scale));
  return rvpStatusOk;
}

}  // namespace

// The size is that of the largest block that the image may be cut into: the four strips along its edges and a tile
// of its inside, each with its margins, two planes of derivatives and three of products. It is mostly more than
// what the windows take here, but part of the interface.
std::int64_t cornerBufferBytes(RvpiSize size, RvpiMaskSize maskSize, int avgWindow, int elementBytes) {
  const WindowSpan span = windowSpan(avgWindow);
  const std::int64_t radius = maskSize == 33 ? 1 : 2;
  const std::int64_t before = radius + span.before, behind = radius + span.behind, margins = before + behind;
  const std::int64_t width = size.width, height = size.height;
  const auto toLine = [](std::int64_t bytes) { return (bytes + 31) / 32 * 32; };
  const auto need = [&](std::int64_t w, std::int64_t h) {
    const std::int64_t products = toLine(4 * (w + margins));
    const std::int64_t derivatives = elementBytes == 4 ? products : toLine(2 * (w + margins));
    const std::int64_t rowBytes = 2 * derivatives + 3 * products;
    // A row that passes 31 bits decides; of any other, times h + margins below 2^32, the product fits in 63 bits.
    return rowBytes > INT32_MAX ? rowBytes : rowBytes * (h + margins) + 64;
  };
  // About 256000 bytes of planes for a tile.
  const std::int64_t pixels = 256000 / (elementBytes == 4 ? 36 : 29);
  const auto edge = static_cast<std::int64_t>(std::sqrt(static_cast<double>(pixels)));
  const std::int64_t tile = (std::max<std::int64_t>(edge - margins, 0) + 15) / 16 * 16 + margins;
  const std::int64_t least = std::int64_t{8} * avgWindow;
  const std::int64_t tileWidth = std::min(std::max(tile - margins, least), width);
  const std::int64_t tileHeight = std::min(std::max(pixels / tile - margins, least), height);
  const bool inOnePiece = width <= before || height <= before;
  const std::int64_t planes =
      inOnePiece ? need(width, height)
                 : std::max({need(width, behind), need(behind, height), need(tileWidth, tileHeight)});
  // Nor can the rings pass 63 bits where the planes, of more rows and columns, do not pass 31.
  if (planes > INT32_MAX) return planes;
  const std::int64_t sums = GroupedWindow::bytes(span, size.width);
  return std::max({planes, sums, elementBytes == 1 ? RunningWindow::bytes(span, size.width) : 0});
}

}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiHarrisCornerGetBufferSize(RvpiSize roiSize, RvpiMaskSize maskSize, int avgWindow,
                                        RvpDataType dataType, int numChannels, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pBufferSize), badSize(roiSize),
                     faultIf(maskSize != 33 && maskSize != 55, rvpStatusBadMaskSize),
                     faultIf(dataType != rvp8u && dataType != rvp32f, rvpStatusBadDataType),
                     faultIf(numChannels != 1, rvpStatusBadNumChannels), faultIf(avgWindow == 0, rvpStatusBadSize),
                     faultIf(avgWindow < 0, rvpStatusBadMaskSize)))
    return fault;
  const std::int64_t bytes = cornerBufferBytes(roiSize, maskSize, avgWindow, dataType == rvp8u ? 1 : 4);
  if (bytes > INT32_MAX) return rvpStatusSizeOverflow;
  *pBufferSize = static_cast<int>(bytes);
  return rvpStatusOk;
}

RvpStatus rvpiHarrisCorner_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,
                                     RvpiFilterKind filterKind, RvpiMaskSize maskSize, int avgWindow, float k,
                                     float scale, RvpiBorderType borderType, uint8_t borderValue,
                                     uint8_t* pBuffer) {
  return rvp::n8::harris(pSrc, srcStep, pDst, dstStep, roiSize, filterKind, maskSize, avgWindow, k, scale,
                         borderType, borderValue, pBuffer);
}

RvpStatus rvpiHarrisCorner_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,
                                   RvpiFilterKind filterKind, RvpiMaskSize maskSize, int avgWindow, float k,
                                   float scale, RvpiBorderType borderType, float borderValue, uint8_t* pBuffer) {
  return rvp::n8::harris(pSrc, srcStep, pDst, dstStep, roiSize, filterKind, maskSize, avgWindow, k, scale,
                         borderType, borderValue, pBuffer);
}

}  // extern "C"
