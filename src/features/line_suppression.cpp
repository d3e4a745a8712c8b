// Line suppression: a feature stays where the structure tensor around it is that of a corner, det * threshold not
// less than trace^2, and becomes 0 where it lies on a line.
#include <cstdint>

#include "features/corner_tensors.h"
#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/features.h"

namespace rvp::n8 {
namespace {

struct CornerFeatures {
  const std::uint8_t* feature;
  int featureStep;
  std::uint8_t* dst;
  int dstStep;
  float mean;
  float threshold;

  template <class D, class V>
  void operator()(D d, std::ptrdiff_t y, std::ptrdiff_t x, V sumA, V sumB, V sumC) const {
    const hn::RebindToSigned<D> di;
    const hn::Rebind<std::uint8_t, D> d8;
    const V factor = hn::Set(d, mean);
    const V a = hn::Mul(sumA, factor), b = hn::Mul(sumB, factor), c = hn::Mul(sumC, factor);
    const V trace = hn::Add(a, c);
    const V determinant = hn::Sub(hn::Mul(a, c), hn::Mul(b, b));
    const auto line = hn::Gt(hn::Mul(trace, trace), hn::Mul(determinant, hn::Set(d, threshold)));
    const auto features = hn::PromoteTo(di, hn::LoadU(d8, row(feature, featureStep, y) + x));
    hn::StoreU(hn::DemoteTo(d8, hn::IfThenZeroElse(hn::RebindMask(di, line), features)), d8,
               row(dst, dstStep, y) + x);
  }
};

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiLineSuppressionGetBufferSize(RvpiSize roiSize, RvpiMaskSize maskSize, int avgWindow,
                                           RvpDataType dataType, int numChannels, int* pBufferSize) {
  return rvpiHarrisCornerGetBufferSize(roiSize, maskSize, avgWindow, dataType, numChannels, pBufferSize);
}

RvpStatus rvpiLineSuppression_8u_C1R(const uint8_t* pSrc, int srcStep, const uint8_t* pFeature, int featureStep,
                                     uint8_t* pDst, int dstStep, RvpiSize roiSize, RvpiFilterKind filterKind,
                                     RvpiMaskSize maskSize, int avgWindow, float threshold,
                                     RvpiBorderType borderType, uint8_t borderValue, uint8_t* pBuffer) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pFeature, pDst, pBuffer), badSize(roiSize),
                     badCornerFilter(filterKind, maskSize, borderType), faultIf(avgWindow < 1, rvpStatusBadSize),
                     faultIf(srcStep < 0 || featureStep < 0 || dstStep < 0, rvpStatusBadStep),
                     faultIf(pFeature == pDst, rvpStatusInPlaceNotSupported)))
    return fault;
  const ExtendedImage<uint8_t, 1> image = {pSrc, srcStep, roiSize, cornerBorder(borderType), &borderValue};
  cornerTensors(image, filterKind, maskSize, avgWindow, pBuffer,
                CornerFeatures{pFeature, featureStep, pDst, dstStep, meanFactor(avgWindow), threshold});
  return rvpStatusOk;
}

}  // extern "C"
