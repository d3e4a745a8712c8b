/**
 * @file
 * Borders and linear filters.
 */
#ifndef RVPCV_FILTER_H
#define RVPCV_FILTER_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup lowpass Smoothing by a plain sum
 *
 * The sum of a pixel's neighbourhood, 3x3 or 5x5, every coefficient 1. With `r` of 1 or 2 and `p` the source
 * extended by its border,
 *
 *     dst(x, y) = sum over j from -r to r of (sum over i from -r to r of p(x + i, y + j))
 *
 * A row of ones so becomes a row of 9, or of 25. The terms of a row are added in ascending order; the rows' sums
 * `s(j)` are added as `s(0) + (s(-1) + s(1))`, and for 5x5 as `(s(0) + (s(-1) + s(1))) + (s(-2) + s(2))`. Each
 * operation is rounded to float by itself. No sum is carried from pixel to pixel: the error of a result is at most
 * 8 (3x3: 4) roundings of sums over its own neighbourhood, and NaN or infinity reaches only the pixels whose
 * neighbourhood contains it.
 * @{
 */

/**
 * Tells how much scratch ::rvpiFilterLowpassBorder_32f_C1R needs.
 *
 * @param roiSize Size of the region, in pixels.
 * @param mask 33 for 3x3, 55 for 5x5.
 * @param[out] pBufferSize Bytes of scratch: as many rows of sums as the mask has, for each of ::rvpGetNumThreads
 *             threads. That number must not grow between this call and the operation. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadMaskSize `mask` is neither 33 nor 55.
 * @retval rvpStatusSizeOverflow The size does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFilterLowpassGetBufferSize_32f_C1R(RvpiSize roiSize, RvpiMaskSize mask, int* pBufferSize);

/**
 * Smooths an image by the plain sum over a mask; see @ref lowpass for the formula.
 *
 * From 256 rows on, the rows are shared out to a team with at least 128 rows for each thread and at most
 * ::rvpGetNumThreads threads; the result does not depend on their number.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination, which must not overlap the source or what its border reads.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param mask 33 for 3x3, 55 for 5x5.
 * @param borderType ::rvpBorderConst, ::rvpBorderRepl, ::rvpBorderMirror or ::rvpBorderInMem, with side flags. A
 *        side in memory needs 1 (3x3) or 2 (5x5) pixels there.
 * @param borderValue The pixels outside, for ::rvpBorderConst alone.
 * @param pBuffer Scratch of ::rvpiFilterLowpassGetBufferSize_32f_C1R, at any address.
 * @retval rvpStatusOk The image is smoothed.
 * @retval rvpStatusNullPointer `pSrc`, `pDst` or `pBuffer` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is below `4 * width`.
 * @retval rvpStatusStepNotMultiple A step is no multiple of 4.
 * @retval rvpStatusBadMaskSize `mask` is neither 33 nor 55.
 * @retval rvpStatusBadArgument `borderType` is none of the above.
 */
RVP_API RvpStatus rvpiFilterLowpassBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                                  float borderValue, uint8_t* pBuffer);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
