// Erosion and dilation by a structuring element:
//
//   dst[y][x] = min or max of ext[y + i - anchorY][x + j - anchorX] over the selected cells (i, j) of the mask
//
// where ext is the source extended by its border.
#include <cstdint>
#include <type_traits>

#include "frame/checks.h"
#include "morph/stage.h"
#include "rvpcv/morph.h"

namespace rvp::n8 {
namespace {

template <class Op, class T, int kChannels>
RvpStatus filterPixels(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize,
                       RvpiBorderType borderType, const T* pValue, const RvpiMorphState* pSpec,
                       std::uint8_t* pBuffer) {
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pDst, pSpec, pBuffer),
                     faultIf(needsValue(borderType) && pValue == nullptr, rvpStatusNullPointer), badSize(roiSize),
                     shortStep<T, kChannels>(roiSize.width, srcStep, dstStep), oddStep<T>(srcStep, dstStep),
                     faultIf(!isBorder(borderType), rvpStatusBadBorder)))
    return fault;
  const RvpiMorphState& state = *headerOf(pSpec);
  if (RvpStatus fault = firstFault(faultIf(state.maxRoiWidth < roiSize.width, rvpStatusBadSize),
                                   faultIf(kRefusesInPlace<T> && pSrc == pDst, rvpStatusInPlaceNotSupported)))
    return fault;
  const ExtendedImage<T, kChannels> src = {pSrc, srcStep, roiSize, borderOf(borderType), pValue};
  filterStage<Op>(src, PixelTarget<T>{pDst, dstStep}, state, Workspace(pBuffer, state.bufferSize));
  return rvpStatusOk;
}

template <class Op>
RvpStatus filterBits(const std::uint8_t* pSrc, int srcStep, int srcBitOffset, std::uint8_t* pDst, int dstStep,
                     int dstBitOffset, RvpiSize roiSize, RvpiBorderType borderType, std::uint8_t borderValue,
                     const RvpiMorphState* pSpec, std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst, pSpec, pBuffer),
                                   faultIf(srcBitOffset < 0 || dstBitOffset < 0, rvpStatusBadSize),
                                   badSize(roiSize), shortBitStep(roiSize.width, srcStep, dstStep),
                                   faultIf(!isPlainBorder(borderType), rvpStatusBadBorder),
                                   faultIf(pSrc == pDst, rvpStatusInPlaceNotSupported)))
    return fault;
  const RvpiMorphState& state = *headerOf(pSpec);
  const ExtendedBits src = {{pSrc, srcStep, srcBitOffset}, roiSize, borderOf(borderType), borderValue != 0};
  filterStage<Op>(src, BitTarget{pDst, dstStep, dstBitOffset}, state, Workspace(pBuffer, state.bufferSize));
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// `AT` is & where the constant is given itself and not by a pointer.
#define RVP_FILTER_BORDER(NAME, OP, TYPE, CHANNELS, T, VALUE, AT)                                             \
  RvpStatus rvpi##NAME##Border_##TYPE##_C##CHANNELS##R(                                                       \
      const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, RvpiBorderType borderType,          \
      VALUE borderValue, const RvpiMorphState* pSpec, uint8_t* pBuffer) {                                     \
    return rvp::n8::filterPixels<rvp::n8::OP, T, CHANNELS>(pSrc, srcStep, pDst, dstStep, roiSize, borderType, \
                                                           AT borderValue, pSpec, pBuffer);                   \
  }
#define RVP_FILTER_BORDERS(NAME, OP)                                                                              \
  RVP_FILTER_BORDER(NAME, OP, 8u, 1, uint8_t, uint8_t, &)                                                         \
  RVP_FILTER_BORDER(NAME, OP, 8u, 3, uint8_t, const uint8_t*, )                                                   \
  RVP_FILTER_BORDER(NAME, OP, 8u, 4, uint8_t, const uint8_t*, )                                                   \
  RVP_FILTER_BORDER(NAME, OP, 16u, 1, uint16_t, uint16_t, &)                                                      \
  RVP_FILTER_BORDER(NAME, OP, 16s, 1, int16_t, int16_t, &)                                                        \
  RVP_FILTER_BORDER(NAME, OP, 32f, 1, float, float, &)                                                            \
  RVP_FILTER_BORDER(NAME, OP, 32f, 3, float, const float*, )                                                      \
  RVP_FILTER_BORDER(NAME, OP, 32f, 4, float, const float*, )                                                      \
  RvpStatus rvpi##NAME##Border_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,          \
                                      int dstStep, int dstBitOffset, RvpiSize roiSize, RvpiBorderType borderType, \
                                      uint8_t borderValue, const RvpiMorphState* pSpec, uint8_t* pBuffer) {       \
    return rvp::n8::filterBits<rvp::n8::OP>(pSrc, srcStep, srcBitOffset, pDst, dstStep, dstBitOffset, roiSize,    \
                                            borderType, borderValue, pSpec, pBuffer);                             \
  }

extern "C" {

RVP_FILTER_BORDERS(Erode, Erosion)
RVP_FILTER_BORDERS(Dilate, Dilation)

}  // extern "C"
