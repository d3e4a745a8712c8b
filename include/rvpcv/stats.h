/**
 * @file
 * Accumulation and statistics.
 */
#ifndef RVPCV_STATS_H
#define RVPCV_STATS_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup accumulators Accumulators
 *
 * Running sums over a stream of frames. Each operation adds something made from a frame to a float image in place;
 * with the sums of values and of squares at hand, mean and variance of every pixel are one division away.
 *
 * With `s` a source pixel converted to float and `acc` the accumulator's pixel at the same place:
 *
 * | operation          | `8u32f` sources              | `16u32f` sources             | `32f` sources         |
 * | ------------------ | ---------------------------- | ---------------------------- | --------------------- |
 * | `rvpiAdd`          | `acc + s`                    | `acc + s`                    | `acc + s` (with mask) |
 * | `rvpiAddSquare`    | `acc + s * s`, square exact  | `acc + s * s`                | `acc + s * s`         |
 * | `rvpiAddProduct`   | `acc + s1 * s2`, product exact | `acc + s1 * s2`            | `acc + s1 * s2`       |
 * | `rvpiAddWeighted`  | `acc + (s - acc) * alpha`    | `acc + (s - acc) * alpha`    | `acc + (s - acc) * alpha` |
 *
 * Every operation of a formula is rounded by itself to the nearest float. So `rvpiAddSquare_8u32f_C1IR` adds
 * exactly 65025 for a pixel of 255, and `rvpiAddWeighted_8u32f_C1IR` with `alpha` 0.5 turns an accumulator of 0
 * into 1.5 for a pixel of 3. NaN and infinity pass through the arithmetic; an accumulator that overflows becomes
 * infinite, and no status says so.
 *
 * **Mask.** In the `M` forms a pixel takes part where the mask is not zero. A pixel that takes no part keeps its
 * value, with two consequences of working on groups of four pixels that a caller can see. Within a group the pixel
 * is read and written back, and what is added to it is zero: an accumulator of -0.0 may become +0.0, and in
 * `rvpiAddProduct_32f_C1IMR` the zero is `+0.0 * s2`, which is NaN where the second source is infinite or NaN.
 * The pixels of a row outside any group are left alone. Counted from the row's first pixel there are
 * - in `rvpiAddProduct`, `rvpiAddWeighted` and the `32f` members: groups of four as long as four pixels are left;
 * - in `rvpiAdd` and `rvpiAddSquare` of `8u32f` and `16u32f`: single pixels until the accumulator's address is a
 *   multiple of 16, then groups of four as long as four pixels are left.
 *
 * No other thread may write to the accumulator's rows during a call, not even to pixels that the mask leaves out.
 *
 * **Parameters.** A source step is in bytes, at least `width` elements, and a multiple of the element size; the
 * accumulator's step is at least `4 * width` and a multiple of 4; the mask's step is at least `width`. `alpha` may
 * be any float. No pointer may be null. Source and accumulator may be the same image where both are float.
 *
 * **Statuses**, in the order of checking:
 * 1. ::rvpStatusNullPointer: a pointer is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. The steps. With `8u` and `16u` sources: a source step is shorter than the row (::rvpStatusBadStep), then a
 *    `16u` source step is odd (::rvpStatusStepNotMultiple), then the mask's or the accumulator's step is shorter
 *    than the row (::rvpStatusBadStep), then the accumulator's step is no multiple of 4
 *    (::rvpStatusStepNotMultiple). With `32f` sources: any step is shorter than the row (::rvpStatusBadStep), then
 *    a step of a float image is no multiple of 4 (::rvpStatusStepNotMultiple).
 *
 * **Memory and threads.** Nothing is allocated. From 262144 pixels on, the rows are shared out to a team of
 * ::rvpGetNumThreads threads; the result does not depend on their number. ::rvpiAddWeighted_32f_C1R always runs on
 * the caller's thread.
 * @{
 */

/** @name Sum
 *  `acc + s`
 *  @{ */
/**
 * Adds an image to an accumulator. See @ref accumulators for the formula, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 */
RVP_API RvpStatus rvpiAdd_8u32f_C1IR(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                     RvpiSize roiSize);
RVP_API RvpStatus rvpiAdd_16u32f_C1IR(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                      RvpiSize roiSize);
/** @} */

/** @name Sum under a mask
 *  `acc + s` where the mask is not zero
 *  @{ */
/**
 * Adds an image to an accumulator under a mask. See @ref accumulators for the formula, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 */
RVP_API RvpStatus rvpiAdd_8u32f_C1IMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      float* pSrcDst, int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAdd_16u32f_C1IMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       float* pSrcDst, int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAdd_32f_C1IMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                    float* pSrcDst, int srcDstStep, RvpiSize roiSize);
/** @} */

/** @name Sum of squares
 *  `acc + s * s`
 *  @{ */
/**
 * Adds the square of an image to an accumulator. See @ref accumulators for the formula, the limits and the
 * statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 */
RVP_API RvpStatus rvpiAddSquare_8u32f_C1IR(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                           RvpiSize roiSize);
RVP_API RvpStatus rvpiAddSquare_16u32f_C1IR(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                            RvpiSize roiSize);
RVP_API RvpStatus rvpiAddSquare_32f_C1IR(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                         RvpiSize roiSize);
/** @} */

/** @name Sum of squares under a mask
 *  `acc + s * s` where the mask is not zero
 *  @{ */
/**
 * Adds the square of an image to an accumulator under a mask. See @ref accumulators for the formula, the limits and
 * the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 */
RVP_API RvpStatus rvpiAddSquare_8u32f_C1IMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                            float* pSrcDst, int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAddSquare_16u32f_C1IMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                             float* pSrcDst, int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAddSquare_32f_C1IMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          float* pSrcDst, int srcDstStep, RvpiSize roiSize);
/** @} */

/** @name Sum of products
 *  `acc + s1 * s2`
 *  @{ */
/**
 * Adds the product of two images to an accumulator. See @ref accumulators for the formula, the limits and the
 * statuses.
 *
 * @param pSrc1 First pixel of the first source.
 * @param src1Step Row step of the first source, in bytes.
 * @param pSrc2 First pixel of the second source.
 * @param src2Step Row step of the second source, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 */
RVP_API RvpStatus rvpiAddProduct_8u32f_C1IR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            float* pSrcDst, int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAddProduct_16u32f_C1IR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                             int src2Step, float* pSrcDst, int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAddProduct_32f_C1IR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                          float* pSrcDst, int srcDstStep, RvpiSize roiSize);
/** @} */

/** @name Sum of products under a mask
 *  `acc + s1 * s2` where the mask is not zero
 *  @{ */
/**
 * Adds the product of two images to an accumulator under a mask. See @ref accumulators for the formula, the limits
 * and the statuses.
 *
 * @param pSrc1 First pixel of the first source.
 * @param src1Step Row step of the first source, in bytes.
 * @param pSrc2 First pixel of the second source.
 * @param src2Step Row step of the second source, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 */
RVP_API RvpStatus rvpiAddProduct_8u32f_C1IMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
                                             RvpiSize roiSize);
RVP_API RvpStatus rvpiAddProduct_16u32f_C1IMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                              int src2Step, const uint8_t* pMask, int maskStep, float* pSrcDst,
                                              int srcDstStep, RvpiSize roiSize);
RVP_API RvpStatus rvpiAddProduct_32f_C1IMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
                                           RvpiSize roiSize);
/** @} */

/** @name Running average
 *  `acc + (s - acc) * alpha`
 *  @{ */
/**
 * Moves an accumulator towards an image. See @ref accumulators for the formula, the limits and the statuses.
 *
 * The form of the sum means that `alpha` 1 may leave the accumulator a rounding away from the source, and that
 * `alpha` 0 leaves every finite accumulator as it is where the source is finite too.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param alpha Share of the way; any value.
 */
RVP_API RvpStatus rvpiAddWeighted_8u32f_C1IR(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                             RvpiSize roiSize, float alpha);
RVP_API RvpStatus rvpiAddWeighted_16u32f_C1IR(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                              RvpiSize roiSize, float alpha);
RVP_API RvpStatus rvpiAddWeighted_32f_C1IR(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                           RvpiSize roiSize, float alpha);
/** @} */

/** @name Running average under a mask
 *  `acc + (s - acc) * alpha` where the mask is not zero
 *  @{ */
/**
 * Moves an accumulator towards an image under a mask. See @ref accumulators for the formula, the limits and the
 * statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param pSrcDst First pixel of the accumulator.
 * @param srcDstStep Row step of the accumulator, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param alpha Share of the way; any value.
 */
RVP_API RvpStatus rvpiAddWeighted_8u32f_C1IMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                              float* pSrcDst, int srcDstStep, RvpiSize roiSize, float alpha);
RVP_API RvpStatus rvpiAddWeighted_16u32f_C1IMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                               int maskStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize,
                                               float alpha);
RVP_API RvpStatus rvpiAddWeighted_32f_C1IMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                            float* pSrcDst, int srcDstStep, RvpiSize roiSize, float alpha);
/** @} */

/**
 * Blends two images: `dst = (src1 - src2) * alpha + src2`, each operation rounded by itself.
 *
 * It always runs on the caller's thread. The destination may be one of the sources.
 *
 * @param pSrc1 First pixel of the first source, which `alpha` 1 stands for.
 * @param src1Step Row step of the first source, in bytes; at least `4 * width` and a multiple of 4.
 * @param pSrc2 First pixel of the second source, which `alpha` 0 stands for.
 * @param src2Step Row step of the second source, in bytes; likewise.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes; likewise.
 * @param roiSize Size of the region, in pixels.
 * @param alpha Share of the first source; any value.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple A step is no multiple of 4.
 */
RVP_API RvpStatus rvpiAddWeighted_32f_C1R(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                          float* pDst, int dstStep, RvpiSize roiSize, float alpha);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
