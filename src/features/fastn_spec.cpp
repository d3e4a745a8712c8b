// What the FastN functions go by: circles, parameters and the state block; and the list of corners.
#include "features/fastn.h"

#include <cmath>
#include <iterator>
#include <limits>

#include "frame/simd.h"
#include "frame/views.h"

namespace rvp::n8 {
namespace {

constexpr RvpiPoint coordR1_[] = {{0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}};
constexpr RvpiPoint coordR2_[] = {{0, 2},  {-1, 2}, {-2, 1}, {-2, 0}, {-2, -1}, {-1, -2},
                                  {0, -2}, {1, -2}, {2, -1}, {2, 0},  {2, 1},   {1, 2}};
constexpr RvpiPoint coordR3_[] = {{0, 3},  {-1, 3}, {-2, 2}, {-3, 1}, {-3, 0}, {-3, -1}, {-2, -2}, {-1, -3},
                                  {0, -3}, {1, -3}, {2, -2}, {3, -1}, {3, 0},  {3, 1},   {2, 2},   {1, 3}};
constexpr RvpiPoint coordR5_[] = {{0, 5},  {-1, 5},  {-2, 5},  {-3, 4},  {-4, 3},  {-5, 2},  {-5, 1},
                                  {-5, 0}, {-5, -1}, {-5, -2}, {-4, -3}, {-3, -4}, {-2, -5}, {-1, -5},
                                  {0, -5}, {1, -5},  {2, -5},  {3, -4},  {4, -3},  {5, -2},  {5, -1},
                                  {5, 0},  {5, 1},   {5, 2},   {4, 3},   {3, 4},   {2, 5},   {1, 5}};
constexpr RvpiPoint coordR7_[] = {{0, 7},   {-1, 7},  {-2, 7},  {-3, 6},  {-4, 6},  {-5, 5},  {-6, 4},  {-6, 3},
                                  {-7, 2},  {-7, 1},  {-7, 0},  {-7, -1}, {-7, -2}, {-6, -3}, {-6, -4}, {-5, -5},
                                  {-4, -6}, {-3, -6}, {-2, -7}, {-1, -7}, {0, -7},  {1, -7},  {2, -7},  {3, -6},
                                  {4, -6},  {5, -5},  {6, -4},  {6, -3},  {7, -2},  {7, -1},  {7, 0},   {7, 1},
                                  {7, 2},   {6, 3},   {6, 4},   {5, 5},   {4, 6},   {3, 6},   {2, 7},   {1, 7}};
// Not quite round: the thirteenth point stands where (-9, 1) would.
constexpr RvpiPoint coordR9_[] = {
    {0, 9},   {-1, 9},  {-2, 9},  {-3, 9},  {-4, 8},  {-5, 8},  {-6, 7},  {-7, 6},  {-8, 5},  {-8, 4},  {-9, 3},
    {-9, 2},  {-9, -1}, {-9, 0},  {-9, -1}, {-9, -2}, {-9, -3}, {-8, -4}, {-8, -5}, {-7, -6}, {-6, -7}, {-5, -8},
    {-4, -8}, {-3, -9}, {-2, -9}, {-1, -9}, {0, -9},  {1, -9},  {2, -9},  {3, -9},  {4, -8},  {5, -8},  {6, -7},
    {7, -6},  {8, -5},  {8, -4},  {9, -3},  {9, -2},  {9, -1},  {9, 0},   {9, 1},   {9, 2},   {9, 3},   {8, 4},
    {8, 5},   {7, 6},   {6, 7},   {5, 8},   {4, 8},   {3, 9},   {2, 9},   {1, 9}};

// The full circle, as float.
constexpr float kFullCircle = 6.2831855F;
constexpr float kPerFullCircle = 0.15915494F;
constexpr int kKnownOptions = rvpFastNOrientation | rvpFastNSuppression | rvpFastNDetect | rvpFastNScore;
constexpr int kMostBins = 64;

// A threshold that does not fit in 31 bits is passed by no difference of pixels, and neither is the greatest
// integer.
std::int32_t truncated(float threshold) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  return threshold < static_cast<float>(kMost) ? static_cast<std::int32_t>(threshold) : kMost;
}

void listRow(const std::uint8_t* corners, const std::uint8_t* scores, std::ptrdiff_t y, RvpiSize size,
             const FastNBlock& block, RvpiCornerFastN* pDst, int maxLen, int& count) {
  forVectors<std::uint8_t>(0, size.width, [&](auto d, std::ptrdiff_t x) {
    if (hn::AllTrue(d, hn::Eq(hn::LoadU(d, corners + x), hn::Zero(d)))) return;
    const auto last = x + static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t i = x; i < last && count < maxLen; ++i) {
      if (corners[i] == 0) continue;
      RvpiCornerFastN& corner = pDst[count++];
      corner = {static_cast<std::int32_t>(i), static_cast<std::int32_t>(y), corners[i] >> 7, -1, -1.0F, -1.0F};
      if (block.has(rvpFastNOrientation)) {
        corner.orientationBin = corners[i] & (kMostBins - 1);
        corner.angle = static_cast<float>(corner.orientationBin * 360) / static_cast<float>(block.orientationBins);
      }
      if (block.has(rvpFastNScore)) corner.score = static_cast<float>(scores[i]);
    }
  });
}

}  // namespace

FastNCircle circleOf(int radius) {
  switch (radius) {
    case 1:
      return {static_cast<int>(std::size(coordR1_)), coordR1_};
    case 2:
      return {static_cast<int>(std::size(coordR2_)), coordR2_};
    case 3:
      return {static_cast<int>(std::size(coordR3_)), coordR3_};
    case 5:
      return {static_cast<int>(std::size(coordR5_)), coordR5_};
    case 7:
      return {static_cast<int>(std::size(coordR7_)), coordR7_};
    case 9:
      return {static_cast<int>(std::size(coordR9_)), coordR9_};
    default:
      return {0, nullptr};
  }
}

RvpStatus badFastNParameters(int circleRadius, int arcLength, int orientationBins, int options,
                             RvpDataType dataType, int numChannels) {
  const int length = circleOf(circleRadius).length;
  const bool isDetector = (options & rvpFastNDetect) != 0 && (options & ~kKnownOptions) == 0;
  const bool lacksScore = (options & rvpFastNSuppression) != 0 && (options & rvpFastNScore) == 0;
  const bool badBins = (options & rvpFastNOrientation) != 0 && (orientationBins < 1 || orientationBins > kMostBins);
  return firstFault(faultIf(dataType != rvp8u, rvpStatusBadDataType),
                    faultIf(numChannels != 1, rvpStatusBadNumChannels),
                    faultIf(!isDetector || lacksScore, rvpStatusBadArgument), faultIf(badBins, rvpStatusOutOfRange),
                    faultIf(length == 0, rvpStatusBadArgument),
                    faultIf(arcLength <= length / 2 || arcLength > length, rvpStatusOutOfRange));
}

}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiFastNGetSize(RvpiSize roiSize, int circleRadius, int arcLength, int orientationBins, int options,
                           RvpDataType dataType, int numChannels, int* pSpecSize) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pSpecSize), badSize(roiSize),
                     badFastNParameters(circleRadius, arcLength, orientationBins, options, dataType, numChannels)))
    return fault;
  *pSpecSize = 8 * circleOf(circleRadius).length + 68;
  return rvpStatusOk;
}

RvpStatus rvpiFastNGetBufferSize(const RvpiFastNSpec* pSpec, RvpiSize roiSize, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSpec, pBufferSize), badSize(roiSize))) return fault;
  *pBufferSize = static_cast<int>(6U * (static_cast<uint32_t>(roiSize.width) + 2U) + 624U);
  return rvpStatusOk;
}

RvpStatus rvpiFastNInit(RvpiSize roiSize, int circleRadius, int arcLength, int orientationBins, int options,
                        RvpDataType dataType, int numChannels, RvpiFastNSpec* pSpec, float threshold) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pSpec), badSize(roiSize), faultIf(!(threshold >= 0), rvpStatusBadThreshold),
                     badFastNParameters(circleRadius, arcLength, orientationBins, options, dataType, numChannels)))
    return fault;
  const FastNCircle circle = circleOf(circleRadius);
  const std::ptrdiff_t distance = fastNBlockDistance(pSpec);
  auto* first = reinterpret_cast<uint8_t*>(pSpec);
  *first = static_cast<uint8_t>(distance);
  auto* block = reinterpret_cast<FastNBlock*>(first + distance);
  *block = {kFastNMagic, dataType,        numChannels, roiSize.width, roiSize.height,       circleRadius,
            arcLength,   orientationBins, options,     threshold,     truncated(threshold), circle.points};
  if (!block->has(rvpFastNOrientation)) return rvpStatusOk;
  const float unit = kFullCircle / static_cast<float>(circle.length);
  float* sines = block->floats();
  float* cosines = sines + circle.length;
  for (int i = 0; i < circle.length; ++i) {
    const double angle = static_cast<double>(i) * static_cast<double>(unit);
    sines[i] = static_cast<float>(std::sin(angle));
    cosines[i] = static_cast<float>(std::cos(angle));
  }
  cosines[circle.length] = static_cast<float>(orientationBins) * kPerFullCircle;
  return rvpStatusOk;
}

RvpStatus rvpiFastN2DToVec_8u(const uint8_t* pSrcCorner, int srcCornerStep, const uint8_t* pSrcScore,
                              int srcScoreStep, RvpiCornerFastN* pDst, RvpiSize dstRoiSize, int maxLen,
                              int* pNumCorners, const RvpiFastNSpec* pSpec) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrcCorner, pDst, pNumCorners, pSpec),
                                   faultIf(maxLen < 0, rvpStatusBadSize), badSize(dstRoiSize)))
    return fault;
  if (RvpStatus fault = badFastNSpec(pSpec)) return fault;
  const FastNBlock& block = fastNBlock(pSpec);
  const bool hasScores = block.has(rvpFastNScore);
  if (RvpStatus fault =
          firstFault(badFastNParameters(block), faultIf(hasScores && pSrcScore == nullptr, rvpStatusNullPointer)))
    return fault;
  int count = 0;
  for (std::ptrdiff_t y = 0; y < dstRoiSize.height && count < maxLen; ++y) {
    listRow(row(pSrcCorner, srcCornerStep, y), hasScores ? row(pSrcScore, srcScoreStep, y) : nullptr, y, dstRoiSize,
            block, pDst, maxLen, count);
  }
  *pNumCorners = count;
  return rvpStatusOk;
}

}  // extern "C"
