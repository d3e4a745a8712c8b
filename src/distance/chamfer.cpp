// Chamfer distances: how far each pixel is from the nearest zero pixel, in moves of a 3x3 or 5x5 mask. Here are the
// tables of metrics, the checks, and the choice of the moves that a mask really needs. The work is done in
// chamfer_norm.cpp for integers where the mask allows it, else in chamfer_passes.cpp.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "distance/chamfer_norm.h"
#include "distance/chamfer_passes.h"
#include "frame/checks.h"
#include "rvpcv/distance.h"

namespace rvp::n8 {
namespace {

constexpr int kNorms = 3;

template <class Metric>
struct MetricTable {
  Metric of3x3[kNorms][2];
  Metric of5x5[kNorms][3];
};
template <class Metric>
constexpr MetricTable<Metric> kMetrics;
template <>
constexpr MetricTable<std::int32_t> kMetrics<std::int32_t> = {{{1, 1}, {1, 2}, {2, 3}},
                                                              {{1, 1, 2}, {1, 2, 3}, {5, 7, 11}}};
template <>
constexpr MetricTable<float> kMetrics<float> = {{{1.0f, 1.0f}, {1.0f, 2.0f}, {0.955f, 1.3693f}},
                                                {{1.0f, 1.0f, 2.0f}, {1.0f, 2.0f, 3.0f}, {1.0f, 1.4f, 2.1969f}}};

template <class Metric>
RvpStatus metricsOf(int kerSize, RvpiChamferNorm norm, Metric* pMetrics) {
  if (RvpStatus fault = firstFault(nullPointer(pMetrics), faultIf(kerSize != 3 && kerSize != 5, rvpStatusBadSize),
                                   faultIf(norm < 0 || norm >= kNorms, rvpStatusBadArgument)))
    return fault;
  if (kerSize == 3) {
    std::ranges::copy(kMetrics<Metric>.of3x3[norm], pMetrics);
  } else {
    std::ranges::copy(kMetrics<Metric>.of5x5[norm], pMetrics);
  }
  return rvpStatusOk;
}

// Costs are compared in 64 bits, where sums and small multiples of 32-bit costs are exact, or in float.
template <class Metric>
using Cost = std::conditional_t<std::is_same_v<Metric, float>, float, std::int64_t>;

// A cost at which every sum saturates stands for all that are greater.
template <class T, class CostType>
float passCost(CostType cost) {
  return static_cast<float>(std::min(cost, static_cast<CostType>(std::numeric_limits<T>::max())));
}

// Two axis moves do what a diagonal move does, so one that costs no less is left out.
template <class T, class CostType>
ChamferMask mask3x3(CostType axis, CostType diagonal) {
  return {.moves = diagonal < 2 * axis ? ChamferMoves::diagonal : ChamferMoves::axis,
          .axis = passCost<T>(axis),
          .diagonal = passCost<T>(diagonal)};
}

// An axis and a diagonal move do what a knight's move does. Where the costs make a convex polygon of the mask, no
// chain of moves is cheaper than the moves within its cone. Elsewhere a roundabout way may be cheaper than a move:
// the costs become those of the cheapest ways, which make it worth while to step two pixels at once.
template <class T, class CostType>
ChamferMask mask5x5(CostType axis, CostType diagonal, CostType knight) {
  const CostType least = std::min(2 * axis, diagonal);
  if (axis + least <= knight) return mask3x3<T>(axis, diagonal);
  if (least > axis && knight > 2 * axis && 2 * knight > 3 * least) {
    return {.moves = ChamferMoves::knight,
            .axis = passCost<T>(axis),
            .diagonal = passCost<T>(diagonal),
            .knight = passCost<T>(knight)};
  }
  const CostType cheapAxis = std::min(3 * knight, axis);
  const CostType cheapDiagonal = std::min(2 * knight, least);
  return {.moves = ChamferMoves::twoSteps,
          .axis = passCost<T>(cheapAxis),
          .diagonal = passCost<T>(cheapDiagonal),
          .knight = passCost<T>(knight),
          .doubleAxis = passCost<T>(std::min({2 * cheapDiagonal, 2 * cheapAxis, 2 * knight})),
          .doubleDiagonal = passCost<T>(std::min(knight + cheapAxis, 2 * cheapDiagonal))};
}

// A metric below 1, or as a float not above 0, which NaN is not either.
template <class Metric>
bool isBadMetric(Metric metric) {
  return std::is_same_v<Metric, float> ? !(metric > 0) : metric < 1;
}

template <int kSize, class T, class Metric>
RvpStatus distanceTransform(const std::uint8_t* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize,
                            const Metric* pMetrics) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst, pMetrics), badSize(roiSize),
                                   shortStep<std::uint8_t>(roiSize.width, srcStep),
                                   shortStep<T>(roiSize.width, dstStep), oddStep<T>(dstStep)))
    return fault;
  constexpr int kMetricCount = kSize == 3 ? 2 : 3;
  if (std::any_of(pMetrics, pMetrics + kMetricCount, isBadMetric<Metric>)) return rvpStatusBadMetric;

  const auto cost = [&](int i) { return Cost<Metric>{pMetrics[i]}; };
  ChamferMask mask;
  if constexpr (kSize == 3) {
    mask = mask3x3<T>(cost(0), cost(1));
  } else {
    mask = mask5x5<T>(cost(0), cost(1), cost(2));
  }
  if constexpr (!std::is_same_v<T, float>) {
    if (isNorm(mask)) {
      chamferNorm(pSrc, srcStep, pDst, dstStep, roiSize, mask);
      return rvpStatusOk;
    }
  }
  chamferPasses(pSrc, srcStep, pDst, dstStep, roiSize, mask);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_DISTANCE_TRANSFORM(SIZE, TYPES, T, METRIC)                                                    \
  RvpStatus rvpiDistanceTransform_##SIZE##x##SIZE##_##TYPES##_C1R(                                        \
      const uint8_t* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, const METRIC* pMetrics) { \
    return rvp::n8::distanceTransform<SIZE>(pSrc, srcStep, pDst, dstStep, roiSize, pMetrics);             \
  }
#define RVP_DISTANCE_TRANSFORM_IN_PLACE(SIZE)                                                                   \
  RvpStatus rvpiDistanceTransform_##SIZE##x##SIZE##_8u_C1IR(uint8_t* pSrcDst, int srcDstStep, RvpiSize roiSize, \
                                                            const int32_t* pMetrics) {                          \
    return rvp::n8::distanceTransform<SIZE>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, pMetrics);       \
  }

extern "C" {

RvpStatus rvpiGetDistanceTransformMask_32s(int kerSize, RvpiChamferNorm norm, int32_t* pMetrics) {
  return rvp::n8::metricsOf(kerSize, norm, pMetrics);
}

RvpStatus rvpiGetDistanceTransformMask_32f(int kerSize, RvpiChamferNorm norm, float* pMetrics) {
  return rvp::n8::metricsOf(kerSize, norm, pMetrics);
}

RvpStatus rvpiGetDistanceTransformMask(int maskType, float* pMetrics) {
  const int norm = maskType % 10;
  if (norm < 0 || norm >= rvp::n8::kNorms) return rvpStatusBadArgument;
  return rvpiGetDistanceTransformMask_32f(maskType / 10, norm, pMetrics);
}

RVP_DISTANCE_TRANSFORM(3, 8u, uint8_t, int32_t)
RVP_DISTANCE_TRANSFORM(3, 8u16u, uint16_t, int32_t)
RVP_DISTANCE_TRANSFORM(3, 8u32f, float, float)
RVP_DISTANCE_TRANSFORM_IN_PLACE(3)

RVP_DISTANCE_TRANSFORM(5, 8u, uint8_t, int32_t)
RVP_DISTANCE_TRANSFORM(5, 8u16u, uint16_t, int32_t)
RVP_DISTANCE_TRANSFORM(5, 8u32f, float, float)
RVP_DISTANCE_TRANSFORM_IN_PLACE(5)

}  // extern "C"
