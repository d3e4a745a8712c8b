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
 * @addtogroup accumulators Accumulators
 * @details
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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
 * @return The first status that applies, in the order of @ref accumulators.
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

/**
 * @addtogroup norms Masked norms
 * @details
 * How large an image is, how far two images are apart, and how far in proportion to the second, over the pixels
 * that a mask selects. With `a` and `b` the selected pixels of the first and the second image:
 *
 * | norm  | `rvpiNorm`         | `rvpiNormDiff`         | `rvpiNormRel`                          |
 * | ----- | ------------------ | ---------------------- | -------------------------------------- |
 * | `Inf` | `max abs(a)`       | `max abs(a - b)`       | `max abs(a - b) / max abs(b)`          |
 * | `L1`  | `sum abs(a)`       | `sum abs(a - b)`       | `sum abs(a - b) / sum abs(b)`          |
 * | `L2`  | `sqrt(sum a^2)`    | `sqrt(sum (a - b)^2)`  | `sqrt(sum (a - b)^2 / sum b^2)`        |
 *
 * For `a` = 3, 4 and `b` = 0, 8, all selected, `rvpiNorm_L2` of `a` is 5, `rvpiNormDiff_L1` is 7 and
 * `rvpiNormRel_Inf` is 0.5. If nothing is selected, the norm of an image or of a difference is 0.
 *
 * **Mask and channel.** The mask has one byte a pixel, and any value but zero selects. The `C3C` forms measure one
 * channel, `coi`, of three interleaved ones; their mask too has one byte a pixel. Pixels that are not selected have
 * no part in the result, whatever they hold.
 *
 * **Precision.** For `8u` and `16u` each thread's sum is exact, whatever the size of the image, and is rounded once
 * to double. For `32f` pixels are converted to double; each difference, square and addition there is rounded by
 * itself. A thread adds its rows' pixels in a fixed order: the pixel of column x of the region, in each row from
 * the top, goes to sum x mod 8, and the eight sums are added as `((s0 + s4) + (s2 + s6)) + ((s1 + s5) + (s3 +
 * s7))`.
 * ::rvpiNormRel_L2_32f_C1MR rounds its two sums to float before the division, so that a sum may become 0 or
 * infinite there; the other members keep them in double.
 *
 * **NaN.** In `Inf` a selected NaN, also one that comes of the difference of two infinities, is passed over,
 * wherever it stands. In `L1` and `L2` it makes the sum NaN.
 *
 * **Parameters.** A source step is in bytes, at least the row's length, and a multiple of the element size; the
 * mask's step is at least `width`. No pointer may be null. `pValue` is written only if the call succeeds or warns.
 *
 * **Statuses**, in the order of checking:
 * 1. ::rvpStatusNullPointer: a pointer is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. The steps. With two images: any step is shorter than its row (::rvpStatusBadStep), then a source step is no
 *    multiple of the element size (::rvpStatusStepNotMultiple). With one image: the source step is shorter than the
 *    row (::rvpStatusBadStep), then it is no multiple of the element size (::rvpStatusStepNotMultiple), then the
 *    mask's step is shorter than the row (::rvpStatusBadStep).
 * 4. ::rvpStatusBadChannelOfInterest: `coi` is not 1, 2 or 3.
 *
 * ::rvpStatusDivByZero is a warning of `rvpiNormRel` that the second image's norm is zero. The result is then
 * infinity if the difference has a norm above zero, and NaN otherwise.
 *
 * **Memory and threads.** From a number of pixels on that grows with the number of threads, the rows are shared out
 * to a team of ::rvpGetNumThreads threads, whose results are merged in the order of the rows:
 *
 * - never a team: `rvpiNormDiff_Inf`; the `32f` members of `rvpiNormDiff_L1`, `rvpiNormDiff_L2`, `rvpiNormRel_L1`
 *   and `rvpiNormRel_L2`; ::rvpiNormRel_L1_8u_C1MR;
 * - from 32768 pixels for each thread on: the `C3C` members of `rvpiNorm_L2` and `rvpiNormRel_Inf`;
 *   ::rvpiNorm_Inf_32f_C3CMR; the `16u` `C3C` members of `rvpiNormDiff`; all other `16u` members of
 *   `rvpiNormRel_L1` and `rvpiNormRel_L2`; their `8u` `C3C` members; ::rvpiNormRel_Inf_32f_C1MR;
 * - from 524288 pixels on: ::rvpiNorm_Inf_8u_C1MR, ::rvpiNorm_Inf_16u_C1MR;
 * - from 131072 pixels on: all others.
 *
 * The number of threads can change a result in its last bits where sums of threads need more than the 53 bits of a
 * double: in ::rvpiNorm_L1_32f_C1MR, ::rvpiNorm_L2_32f_C1MR and their `C3C` forms, and in integer sums above 2^53.
 * A team of more than 32 threads needs a block of the core library for the time of the call; if it cannot be had,
 * the team has 32.
 * @{
 */

/** @name Norm of an image
 *  @{ */
/**
 * Measures one image under a mask. See @ref norms for the formulas, the limits and the statuses.
 *
 * @param pSrc First pixel of the image.
 * @param srcStep Row step of the image, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pValue Where the result goes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiNorm_Inf_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_Inf_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_Inf_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_L1_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_L1_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_L1_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_L2_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_L2_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNorm_L2_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, double* pValue);
/** @} */

/** @name Norm of an image, one channel of three
 *  @{ */
/**
 * Measures one image in one channel of three under a mask. See @ref norms for the formulas, the limits and the
 * statuses.
 *
 * @param pSrc First pixel of the image.
 * @param srcStep Row step of the image, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param coi Channel of interest, 1 to 3.
 * @param pValue Where the result goes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiNorm_Inf_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_Inf_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_Inf_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_L1_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_L1_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_L1_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_L2_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_L2_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, int coi, double* pValue);
RVP_API RvpStatus rvpiNorm_L2_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        RvpiSize roiSize, int coi, double* pValue);
/** @} */

/** @name Norm of a difference
 *  @{ */
/**
 * Measures the difference of two images under a mask. See @ref norms for the formulas, the limits and the statuses.
 *
 * @param pSrc1 First pixel of the first image.
 * @param src1Step Row step of the first image, in bytes.
 * @param pSrc2 First pixel of the second image.
 * @param src2Step Row step of the second image, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pValue Where the result goes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiNormDiff_Inf_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_Inf_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                            int src2Step, const uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                            double* pValue);
RVP_API RvpStatus rvpiNormDiff_Inf_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L1_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L1_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L1_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L2_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L2_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L2_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
/** @} */

/** @name Norm of a difference, one channel of three
 *  @{ */
/**
 * Measures the difference of two images in one channel of three under a mask. See @ref norms for the formulas, the
 * limits and the statuses.
 *
 * @param pSrc1 First pixel of the first image.
 * @param src1Step Row step of the first image, in bytes.
 * @param pSrc2 First pixel of the second image.
 * @param src2Step Row step of the second image, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param coi Channel of interest, 1 to 3.
 * @param pValue Where the result goes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiNormDiff_Inf_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                            double* pValue);
RVP_API RvpStatus rvpiNormDiff_Inf_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                             int src2Step, const uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                             int coi, double* pValue);
RVP_API RvpStatus rvpiNormDiff_Inf_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                             double* pValue);
RVP_API RvpStatus rvpiNormDiff_L1_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
RVP_API RvpStatus rvpiNormDiff_L1_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                            int src2Step, const uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                            int coi, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L1_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                            double* pValue);
RVP_API RvpStatus rvpiNormDiff_L2_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
RVP_API RvpStatus rvpiNormDiff_L2_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                            int src2Step, const uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                            int coi, double* pValue);
RVP_API RvpStatus rvpiNormDiff_L2_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                            double* pValue);
/** @} */

/** @name Norm of a difference relative to the second image
 *  @{ */
/**
 * Measures the difference of two images in proportion to the second under a mask. See @ref norms for the formulas,
 * the limits and the statuses.
 *
 * @param pSrc1 First pixel of the first image.
 * @param src1Step Row step of the first image, in bytes.
 * @param pSrc2 First pixel of the second image, which is the measure.
 * @param src2Step Row step of the second image, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pValue Where the result goes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiNormRel_Inf_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_Inf_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_Inf_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_L1_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                         const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_L1_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_L1_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_L2_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                         const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_L2_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
RVP_API RvpStatus rvpiNormRel_L2_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue);
/** @} */

/** @name Norm of a difference relative to the second image, one channel of three
 *  @{ */
/**
 * Measures the difference of two images in proportion to the second in one channel of three under a mask. See @ref
 * norms for the formulas, the limits and the statuses.
 *
 * @param pSrc1 First pixel of the first image.
 * @param src1Step Row step of the first image, in bytes.
 * @param pSrc2 First pixel of the second image, which is the measure.
 * @param src2Step Row step of the second image, in bytes.
 * @param pMask First pixel of the mask; any value but zero selects.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param coi Channel of interest, 1 to 3.
 * @param pValue Where the result goes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiNormRel_Inf_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
RVP_API RvpStatus rvpiNormRel_Inf_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                            int src2Step, const uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                            int coi, double* pValue);
RVP_API RvpStatus rvpiNormRel_Inf_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                            double* pValue);
RVP_API RvpStatus rvpiNormRel_L1_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                          double* pValue);
RVP_API RvpStatus rvpiNormRel_L1_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
RVP_API RvpStatus rvpiNormRel_L1_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
RVP_API RvpStatus rvpiNormRel_L2_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                          double* pValue);
RVP_API RvpStatus rvpiNormRel_L2_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
RVP_API RvpStatus rvpiNormRel_L2_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,
                                           double* pValue);
/** @} */
/** @} */

#ifdef __cplusplus
}
#endif

#endif
