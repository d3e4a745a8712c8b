// Gradients of an image at the pixels of a mask, for the inpainting of what the mask leaves out. Arguments are
// checked by the callers; steps are bytes.
//
// A destination pixel is a pair (dx, dy) for each channel, and is written only where the mask is not 0. With both
// neighbours along an axis at hand the difference is 2 * (p(next) - p(previous)), with one of them p(next) - p(x)
// or p(x) - p(previous), and with none 0. The `Abs` forms write absolute values.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rvpcv/types.h"

namespace rvp::n8 {

// Neighbours in the image are at hand. Channels: 1, 3.
template <int kChannels>
void owncvGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                            const std::uint8_t* pMask, int maskStep, RvpiSize roiSize);
template <int kChannels>
void owncvAbsGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                               const std::uint8_t* pMask, int maskStep, RvpiSize roiSize);

// Neighbours are at hand where `pKnown` is not 0 as well. Channels: 1, 3.
template <int kChannels>
void owncvModGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                               const std::uint8_t* pMask, int maskStep, const std::uint8_t* pKnown, int knownStep,
                               RvpiSize roiSize);
template <int kChannels>
void owncvModAbsGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                                  const std::uint8_t* pMask, int maskStep, const std::uint8_t* pKnown,
                                  int knownStep, RvpiSize roiSize);

// The same at one pixel, whose pairs go to `pDst`.
template <int kChannels>
void owncvModGradientPoint_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst,
                                    const std::uint8_t* pKnown, int knownStep, RvpiSize roiSize, RvpiPoint point);
template <int kChannels>
void owncvModAbsGradientPoint_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst,
                                       const std::uint8_t* pKnown, int knownStep, RvpiSize roiSize,
                                       RvpiPoint point);

// Of floats: with s = 2^-scaleFactor, one-sided differences times s, and those of both neighbours times s / 2, the
// latter product in double. Rounded to nearest, ties to even, and saturated; NaN gives -32768.
void owncvGradient_32f16s_C1MR_Sfs(const float* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                                   const std::uint8_t* pMask, int maskStep, RvpiSize roiSize, int scaleFactor);

// Copies the values above 0, in raster order, until `length` of them are copied; returns how many were.
std::ptrdiff_t owncvFillNoZero_32f(const float* pSrc, int srcStep, RvpiSize roiSize, double* pDst,
                                   std::ptrdiff_t length);

// Counts the bytes other than 0.
void owncvNoZero_8u(const std::uint8_t* pSrc, int srcStep, RvpiSize roiSize, std::int64_t* pCount);

}  // namespace rvp::n8
