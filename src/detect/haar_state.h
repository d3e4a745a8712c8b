// The block that holds one stage of a cascade: a header, one record for each classifier, one for each rectangle,
// and room for the rectangles' offsets in the table of a call. Pointers in it are absolute.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "rvpcv/detect.h"

namespace rvp::n8 {

// T is std::int32_t or float, the type of weights and thresholds.
template <class T>
using HaarHeader =
    std::conditional_t<std::is_same_v<T, float>, RvpiHaarClassifierHeader_32f, RvpiHaarClassifierHeader_32s>;

// A rectangle's corners, in the order in which their cells are added with the signs + - - +.
template <class T>
struct HaarFeature {
  static constexpr int kCorners = 4;
  RvpiPoint corners[kCorners];
  T weight;
};

template <class T>
struct HaarClassifier {
  std::int32_t rectCount;
  HaarFeature<T>* pFeatures;
  T threshold;
  T val1;
  T val2;
  std::int32_t sourceIndex;

  bool tilted() const { return (sourceIndex & 1) != 0; }
  int sourcePosition() const { return sourceIndex >> 8; }
};

// The reported sizes count these bytes.
static_assert(sizeof(HaarClassifier<float>) == 32 && sizeof(HaarFeature<float>) == 36);
static_assert(sizeof(HaarHeader<float>) <= 64 && sizeof(HaarHeader<std::int32_t>) <= 64);

template <class T>
HaarHeader<T>* headerOf(RvpiHaarClassifier* state) {
  return reinterpret_cast<HaarHeader<T>*>(state);
}
template <class T>
const HaarHeader<T>* headerOf(const RvpiHaarClassifier* state) {
  return reinterpret_cast<const HaarHeader<T>*>(state);
}
template <class T>
HaarClassifier<T>* classifiersOf(const HaarHeader<T>& header) {
  return static_cast<HaarClassifier<T>*>(header.pClassifiers);
}

}  // namespace rvp::n8
