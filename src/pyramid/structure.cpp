// The record of a pyramid and the sizes of its levels.
//
// Extents above 1 shrink by one at least, and by n * (1 - 1 / rate) or so; the rate is 1 + 2^-23 at least. So there
// are fewer than 6 * 10^7 levels of the largest image, and neither the levels' sizes nor the record with its arrays
// ever fill a block of 2^31 - 1 bytes, which is what a reported size goes up to.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "frame/checks.h"
#include "frame/scaling.h"
#include "frame/views.h"
#include "pyramid/levels.h"
#include "rvpcv/pyramid.h"

namespace rvp::n8 {
namespace {

constexpr std::ptrdiff_t kArrayAlignment = 8;
// What the contract counts for the record and its first level, and for each further one. Of these bytes the arrays
// use 28 a level, and 48 go to the record; the rest is room to align them.
constexpr std::int64_t kRecordBytes = 152;
constexpr std::int64_t kLevelBytes = 52;
static_assert(sizeof(RvpiPyramid) == 48);

RvpStatus upRoi(RvpiSize srcRoi, RvpiSize* pDstRoiMin, RvpiSize* pDstRoiMax, float rate) {
  if (RvpStatus fault = firstFault(nullPointer(pDstRoiMin, pDstRoiMax), badSize(srcRoi), badRate(rate)))
    return fault;
  const ExtentRange widths = extentsAbove(srcRoi.width, rate);
  const ExtentRange heights = extentsAbove(srcRoi.height, rate);
  *pDstRoiMin = {saturate<std::int32_t>(widths.least), saturate<std::int32_t>(heights.least)};
  *pDstRoiMax = {saturate<std::int32_t>(widths.most), saturate<std::int32_t>(heights.most)};
  return rvpStatusOk;
}

RvpStatus pyramidSize(int* pPyrSize, int* pBufferSize, int level, RvpiSize roiSize, float rate) {
  if (RvpStatus fault = firstFault(nullPointer(pPyrSize, pBufferSize), badSize(roiSize),
                                   faultIf(level < 1, rvpStatusBadArgument), badRate(rate)))
    return fault;
  *pPyrSize = saturate<int>(kLevelBytes * levelsBelow(roiSize, rate, level) + kRecordBytes);
  *pBufferSize =
      saturate<int>(static_cast<std::int64_t>(sizeof(RvpiSize)) * std::max(roiSize.width, roiSize.height));
  return rvpStatusOk;
}

// Gives out arrays one behind the other.
class Arrays {
 public:
  explicit Arrays(std::uint8_t* block) : free_(block) {}

  template <class T>
  T* take(std::ptrdiff_t count) {
    std::uint8_t* array = alignedUp(free_, kArrayAlignment);
    free_ = array + count * static_cast<std::ptrdiff_t>(sizeof(T));
    return reinterpret_cast<T*>(array);
  }

 private:
  std::uint8_t* free_;
};

RvpStatus initPyramid(RvpiPyramid** ppPyramid, int level, RvpiSize roiSize, std::uint8_t* pMem,
                      std::uint8_t* pBuffer, float rate) {
  if (RvpStatus fault = firstFault(nullPointer(ppPyramid, pMem, pBuffer), badSize(roiSize), badRate(rate),
                                   faultIf(level < 1, rvpStatusBadArgument)))
    return fault;
  // The sizes go to the scratch first, as only at the end it is known how many there are; they fit, being no more
  // than the larger extent.
  const auto sizeAt = [pBuffer](std::ptrdiff_t i) {
    return pBuffer + i * static_cast<std::ptrdiff_t>(sizeof(RvpiSize));
  };
  std::memcpy(sizeAt(0), &roiSize, sizeof(RvpiSize));
  int count = 0;
  for (RvpiSize size = roiSize; !isLastLevel(size);) {
    size = sizeBelow(size, rate);
    std::memcpy(sizeAt(++count), &size, sizeof(RvpiSize));
  }

  auto* pyramid = reinterpret_cast<RvpiPyramid*>(pMem);
  pyramid->level = std::min(level, count);
  const std::ptrdiff_t entries = std::ptrdiff_t{pyramid->level} + 1;
  Arrays arrays(pMem + sizeof(RvpiPyramid));
  pyramid->pImage = arrays.take<std::uint8_t*>(entries);
  pyramid->pRoi = arrays.take<RvpiSize>(entries);
  pyramid->pRate = arrays.take<double>(entries);
  pyramid->pStep = arrays.take<std::int32_t>(entries);
  pyramid->pState = nullptr;
  std::fill_n(pyramid->pImage, entries, nullptr);
  std::memcpy(pyramid->pRoi, pBuffer, static_cast<std::size_t>(entries) * sizeof(RvpiSize));
  std::fill_n(pyramid->pStep, entries, 0);
  pyramid->pRate[0] = 1.0;
  const double shrink = 1.0 / static_cast<double>(rate);
  for (std::ptrdiff_t i = 1; i < entries; ++i) pyramid->pRate[i] = pyramid->pRate[i - 1] * shrink;
  *ppPyramid = pyramid;
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiGetPyramidDownROI(RvpiSize srcRoi, RvpiSize* pDstRoi, float rate) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pDstRoi), badSize(srcRoi), badRate(rate))) return fault;
  *pDstRoi = sizeBelow(srcRoi, rate);
  return rvpStatusOk;
}

RvpStatus rvpiGetPyramidUpROI(RvpiSize srcRoi, RvpiSize* pDstRoiMin, RvpiSize* pDstRoiMax, float rate) {
  return rvp::n8::upRoi(srcRoi, pDstRoiMin, pDstRoiMax, rate);
}

RvpStatus rvpiPyramidGetSize(int* pPyrSize, int* pBufferSize, int level, RvpiSize roiSize, float rate) {
  return rvp::n8::pyramidSize(pPyrSize, pBufferSize, level, roiSize, rate);
}

RvpStatus rvpiPyramidInit(RvpiPyramid** ppPyramid, int level, RvpiSize roiSize, uint8_t* pMem, uint8_t* pBuffer,
                          float rate) {
  return rvp::n8::initPyramid(ppPyramid, level, roiSize, pMem, pBuffer, rate);
}

}  // extern "C"
