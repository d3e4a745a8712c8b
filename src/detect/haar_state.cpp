// One stage of a Haar cascade: how large its block is, how it is filled, and how its rectangles are tilted.
#include "detect/haar_state.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "detect/tables.h"
#include "frame/checks.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

constexpr std::uintptr_t kScratchAlignment = 64;
constexpr std::int32_t kTiltedMark = 1;

// What a caller gives to describe a stage.
template <class T>
struct Description {
  const RvpiRect* pFeature;
  const T* pWeight;
  const T* pThreshold;
  const T* pVal1;
  const T* pVal2;
  const int* pNum;
  int length;
};

RvpStatus badCounts(const int* pNum, int length) {
  return faultIf(length < 1 || std::any_of(pNum, pNum + length, [](int count) { return count < 1; }),
                 rvpStatusBadSize);
}

enum class Grid { upright, tilted };

void setCorners(RvpiPoint* corners, Grid grid, RvpiRect r) {
  const auto sum = [](std::int32_t a, std::int32_t b) { return wrappedSum(a, b); };
  const int right = sum(r.x, r.width), bottom = sum(r.y, r.height);
  if (grid == Grid::upright) {
    corners[0] = {right, bottom};
    corners[1] = {r.x, bottom};
    corners[2] = {right, r.y};
  } else {
    corners[0] = {wrappedDifference(right, r.height), sum(sum(r.y, r.width), r.height)};
    corners[1] = {wrappedDifference(r.x, r.height), bottom};
    corners[2] = {right, sum(r.y, r.width)};
  }
  corners[3] = {r.x, r.y};
}

// Until a rectangle widens them, width and height are those of the first
// rectangle and no right and lower edge; the left and upper edge is subtracted from them all the same.
template <class Header>
void extendBounds(Header& header, RvpiRect r) {
  header.boundX = std::min(header.boundX, r.x);
  header.boundY = std::min(header.boundY, r.y);
  const int right = wrappedSum(r.x, r.width), bottom = wrappedSum(r.y, r.height);
  if (wrappedSum(header.boundX, header.boundWidth) < right) header.boundWidth = right;
  if (wrappedSum(header.boundY, header.boundHeight) < bottom) header.boundHeight = bottom;
}

bool badRect(Grid grid, RvpiRect r) {
  return r.x < 0 || r.y < 0 || r.width < 1 || r.height < 1 || (grid == Grid::tilted && r.x < r.height - 1);
}

// Fills the records of classifiers one after the other.
template <class T>
class Writer {
 public:
  Writer(HaarHeader<T>& header, const Description<T>& from, Grid grid, HaarClassifier<T>* classifiers,
         HaarFeature<T>* features)
      : header_(header), from_(from), grid_(grid), classifier_(classifiers), feature_(features) {}

  // Writes those classifiers whose number of rectangles passes the test, in the caller's order.
  template <class Test>
  RvpStatus write(const Test& takes) {
    std::ptrdiff_t source = 0;
    for (int i = 0; i < from_.length; ++i) {
      const int count = from_.pNum[i];
      if (takes(count)) {
        if (RvpStatus fault = write(i, count, source)) return fault;
      }
      source += count;
    }
    return rvpStatusOk;
  }

 private:
  RvpStatus write(int i, int count, std::ptrdiff_t source) {
    const auto index = static_cast<std::int32_t>(static_cast<std::uint32_t>(i) << 8U);
    *classifier_++ = {count,          feature_,       from_.pThreshold[i],
                      from_.pVal1[i], from_.pVal2[i], grid_ == Grid::tilted ? index | kTiltedMark : index};
    for (std::ptrdiff_t k = source; k < source + count; ++k, ++feature_) {
      const RvpiRect rect = from_.pFeature[k];
      if (badRect(grid_, rect)) return rvpStatusBadArgument;
      setCorners(feature_->corners, grid_, rect);
      feature_->weight = from_.pWeight[k];
      extendBounds(header_, rect);
    }
    return rvpStatusOk;
  }

  HaarHeader<T>& header_;
  const Description<T>& from_;
  Grid grid_;
  HaarClassifier<T>* classifier_;
  HaarFeature<T>* feature_;
};

template <class T>
RvpStatus init(RvpiHaarClassifier* pState, const Description<T>& from, Grid grid) {
  if (RvpStatus fault =
          nullPointer(pState, from.pFeature, from.pWeight, from.pThreshold, from.pVal1, from.pVal2, from.pNum))
    return fault;
  if (RvpStatus fault = badCounts(from.pNum, from.length)) return fault;
  HaarHeader<T>& header = *headerOf<T>(pState);
  header = {};
  const RvpiRect first = from.pFeature[0];
  header.boundX = first.x;
  header.boundY = first.y;
  header.boundWidth = first.width;
  header.boundHeight = first.height;
  auto* classifiers = reinterpret_cast<HaarClassifier<T>*>(&header + 1);
  auto* features = reinterpret_cast<HaarFeature<T>*>(classifiers + from.length);

  Writer<T> writer(header, from, grid, classifiers, features);
  RvpStatus fault = rvpStatusOk;
  if (grid == Grid::tilted) {
    fault = writer.write([](int) { return true; });
  } else {
    for (const int count : {2, 3}) {
      if (fault == rvpStatusOk) fault = writer.write([=](int n) { return n == count; });
    }
    if (fault == rvpStatusOk) fault = writer.write([](int n) { return n != 2 && n != 3; });
  }
  // A block whose rectangles were refused has no classifiers.
  if (fault != rvpStatusOk) return fault;

  const auto* counts = from.pNum;
  for (int i = 0; i < from.length; ++i) {
    header.featureTotal = wrappedSum(header.featureTotal, counts[i]);
    header.pairCount += counts[i] == 2 ? 1 : 0;
    header.smallCount += counts[i] == 2 || counts[i] == 3 ? 1 : 0;
  }
  header.boundWidth = wrappedDifference(header.boundWidth, header.boundX);
  header.boundHeight = wrappedDifference(header.boundHeight, header.boundY);
  header.featureCount = header.featureTotal;
  header.tiltMark = grid == Grid::tilted ? kTiltedMark : 0;
  header.pClassifiers = classifiers;
  const auto end = reinterpret_cast<std::uintptr_t>(features + header.featureTotal);
  header.pScratch =
      reinterpret_cast<char*>(&header) + ((end + kScratchAlignment - 1) / kScratchAlignment * kScratchAlignment -
                                          reinterpret_cast<std::uintptr_t>(&header));
  if constexpr (std::is_same_v<T, float>) {
    // Truncates to -1.
    header.allMinusOne = std::all_of(classifiers, classifiers + from.length, [](const HaarClassifier<T>& c) {
      return c.pFeatures->weight > -2 && c.pFeatures->weight <= -1;
    });
  }
  header.classifierCount = from.length;
  return rvpStatusOk;
}

template <class T>
RvpStatus classifierSize(const RvpiHaarClassifier* pState, RvpiSize* pSize) {
  if (RvpStatus fault = nullPointer(pState, pSize)) return fault;
  const HaarHeader<T>& header = *headerOf<T>(pState);
  RvpiSize size = {0, 0};
  const HaarClassifier<T>* classifiers = classifiersOf<T>(header);
  for (int i = 0; i < header.classifierCount; ++i) {
    std::for_each_n(classifiers[i].pFeatures, classifiers[i].rectCount, [&](const HaarFeature<T>& feature) {
      size.width = std::max(size.width, feature.corners[2].x);
      size.height = std::max(size.height, feature.corners[0].y);
    });
  }
  *pSize = size;
  return rvpStatusOk;
}

// Tilts a rectangle that stands upright about its upper left corner or, without `flag`, about its lower left one.
template <class T>
void tilt(HaarFeature<T>& feature, bool flag) {
  RvpiPoint* c = feature.corners;
  const RvpiRect r = {c[3].x, c[3].y, wrappedDifference(c[2].x, c[3].x), wrappedDifference(c[0].y, c[3].y)};
  if (flag) {
    setCorners(c, Grid::tilted, r);
    return;
  }
  const int right = wrappedSum(r.x, r.width), bottom = wrappedSum(r.y, r.height);
  c[0] = {r.x, bottom};
  c[1] = {wrappedDifference(r.x, r.height), r.y};
  c[2] = {right, wrappedDifference(bottom, r.width)};
  c[3] = {wrappedDifference(right, r.height), wrappedDifference(r.y, r.width)};
}

template <class T>
RvpStatus tiltFeatures(const std::uint8_t* pMask, int flag, RvpiHaarClassifier* pState) {
  if (RvpStatus fault = nullPointer(pMask, pState)) return fault;
  HaarHeader<T>& header = *headerOf<T>(pState);
  if ((header.tiltMark & kTiltedMark) != 0) return rvpStatusBadArgument;
  HaarClassifier<T>* classifiers = classifiersOf<T>(header);
  for (int i = 0; i < header.classifierCount; ++i) {
    if (pMask[i] == 0) continue;
    header.tiltMark |= kTiltedMark;
    HaarClassifier<T>* end = classifiers + header.classifierCount;
    HaarClassifier<T>* found =
        std::find_if(classifiers, end, [&](const HaarClassifier<T>& c) { return c.sourcePosition() == i; });
    if (found == end) continue;
    found->sourceIndex = kTiltedMark;
    std::for_each_n(found->pFeatures, found->rectCount, [&](HaarFeature<T>& f) { tilt(f, flag != 0); });
  }
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// The exported names.
#define RVP_HAAR_INIT(NAME, T, GRID)                                                                          \
  RvpStatus NAME(RvpiHaarClassifier* pState, const RvpiRect* pFeature, const T* pWeight, const T* pThreshold, \
                 const T* pVal1, const T* pVal2, const int* pNum, int length) {                               \
    using namespace rvp::n8;                                                                                  \
    return init<T>(pState, {pFeature, pWeight, pThreshold, pVal1, pVal2, pNum, length}, Grid::GRID);          \
  }
#define RVP_HAAR_STATE(TYPE, T)                                                                       \
  RVP_HAAR_INIT(rvpiHaarClassifierInit_##TYPE, T, upright)                                            \
  RVP_HAAR_INIT(rvpiTiltedHaarClassifierInit_##TYPE, T, tilted)                                       \
  RvpStatus rvpiGetHaarClassifierSize_##TYPE(const RvpiHaarClassifier* pState, RvpiSize* pSize) {     \
    return rvp::n8::classifierSize<T>(pState, pSize);                                                 \
  }                                                                                                   \
  RvpStatus rvpiTiltHaarFeatures_##TYPE(const uint8_t* pMask, int flag, RvpiHaarClassifier* pState) { \
    return rvp::n8::tiltFeatures<T>(pMask, flag, pState);                                             \
  }

extern "C" {

RvpStatus rvpiHaarClassifierGetSize(RvpDataType dataType, RvpiSize roiSize, const int* pNum, int length,
                                    int* pSize) {
  using namespace rvp::n8;
  if (RvpStatus fault = nullPointer(pNum, pSize)) return fault;
  if (RvpStatus fault = firstFault(faultIf(length < 1, rvpStatusBadSize), badSize(roiSize))) return fault;
  if (RvpStatus fault = badCounts(pNum, length)) return fault;
  if (dataType != rvp32s && dataType != rvp32f) return rvpStatusBadDataType;
  // 2^31 counts below 2^31 have a sum below 2^62; it is cut where the size can no longer fit, so that its product
  // does not overflow.
  std::int64_t sum = 0;
  for (int i = 0; i < length; ++i) sum += pNum[i];
  sum = std::min(sum, std::int64_t{std::numeric_limits<int>::max()});
  const std::int64_t size =
      dataType == rvp32s ? 32 * std::int64_t{length} + 52 * sum + 128 : 44 * std::int64_t{length} + 60 * sum + 512;
  if (size > std::numeric_limits<int>::max()) return rvpStatusSizeOverflow;
  *pSize = static_cast<int>(size);
  return rvpStatusOk;
}

RVP_HAAR_STATE(32s, int32_t)
RVP_HAAR_STATE(32f, float)

}  // extern "C"
