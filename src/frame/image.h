// Image primitives: operations on a region, row by row. A template bears the common stem of its typed forms; the
// forms that exist are listed at its declaration. Pointers are checked first, then the size. Steps are not tested
// unless the declaration says so; rows are done from top to bottom.
#pragma once

#include <cstdint>

#include "rvpcv/types.h"

namespace rvp::n8 {

// 8u C1, C3, C4; 16u C1; 16s C1; 32f C1, C3, C4.
template <class T, int kChannels>
RvpStatus rvpiCopy(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize);

// Every pixel becomes `value`. A region of more than 524288 pixels that is at least as large as the cache passes it
// by. 8u C1, 16s C1.
template <class T>
RvpStatus rvpiSet(T value, T* pDst, int dstStep, RvpiSize roiSize);

// Its kernel; `stream` passes the cache by.
template <class T>
void owniSet_C1_M7(T value, T* dst, int step, RvpiSize size, bool stream);

// Integers as floats; a step below 1 is refused. 16u C1, which passes the cache by where both images together are
// larger; 8u C3.
template <class T, int kChannels>
RvpStatus rvpiConvert_32f(const T* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize);

// Its kernel; `stream` passes the cache by.
template <class T>
void owniConvert_32f_M7(const T* src, int srcStep, float* dst, int dstStep, RvpiSize elements, bool stream);

// (pSrc2 - pSrc1) * 2^-scaleFactor, rounded to nearest with ties to even, saturated. 8u C1, C3, C4; 16u C1; 16s C1.
// 8u C1 and 16s C1 run on a team from kArithmeticTeamPixels on.
template <class T, int kChannels>
RvpStatus rvpiSub_Sfs(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                      RvpiSize roiSize, int scaleFactor);

// pSrc2 - pSrc1, on a team from kArithmeticTeamPixels elements on. C1; C3 and C4 check the width before the
// pointers.
template <int kChannels>
RvpStatus rvpiSub_32f(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pDst, int dstStep,
                      RvpiSize roiSize);

// pSrc * value * 2^-scaleFactor, rounded and saturated as in rvpiSub_Sfs; on a team likewise.
RvpStatus rvpiMulC_16s_C1RSfs(const std::int16_t* pSrc, int srcStep, std::int16_t value, std::int16_t* pDst,
                              int dstStep, RvpiSize roiSize, int scaleFactor);
RvpStatus rvpiMulC_32f_C1R(const float* pSrc, int srcStep, float value, float* pDst, int dstStep, RvpiSize roiSize);

// The comparisons of rvpiThreshold_Val.
constexpr int kThresholdLess = 0;
constexpr int kThresholdGreater = 4;

// Pixels below (op 0) or above (op 4) the threshold become `value`. Any other op is refused before all else with
// rvpStatusNotSupported, and a step below 1 last. 8u C1, 16u C1.
template <class T>
RvpStatus rvpiThreshold_Val(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, T threshold,
                            T value, int op);
template <class T>
RvpStatus rvpiThreshold_GTVal(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, T threshold,
                              T value);

// Pixels below the threshold become the threshold; NaN stays. A step below 1 is refused.
RvpStatus rvpiThreshold_LT_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,
                                   float threshold);

}  // namespace rvp::n8
