/**
 * @file
 * Distances and propagation.
 */
#ifndef RVPCV_DISTANCE_H
#define RVPCV_DISTANCE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup chamfer Chamfer distances
 *
 * How far every pixel is from the nearest zero pixel of the source, as the cost of the cheapest way there in moves
 * of a small mask. A move along an axis costs `pMetrics[0]`, a diagonal move `pMetrics[1]`, and with a 5x5 mask a
 * knight's move, two pixels along one axis and one along the other, `pMetrics[2]`.
 *
 * With `inf` the largest value of the destination (255, 65535, or the largest finite float) and with neighbours
 * outside the region left out, two passes over the image compute
 *
 *     d[y][x] = 0     where the source is 0
 *     d[y][x] = inf   elsewhere
 *
 *     from the first row to the last, from left to right:
 *     d[y][x] = min(d[y][x],
 *                   d[y][x-1] + axis,       d[y-1][x] + axis,
 *                   d[y-1][x-1] + diagonal, d[y-1][x+1] + diagonal,
 *                   d[y-1][x-2] + knight,   d[y-1][x+2] + knight,
 *                   d[y-2][x-1] + knight,   d[y-2][x+1] + knight)
 *
 *     then from the last row to the first, from right to left, the same with the neighbours on the other sides.
 *
 * Every sum saturates at `inf`. Float sums are rounded one by one in the order of the formula, so that a value is
 * the same on every processor. A pixel that no zero pixel reaches stays `inf`; a source without a zero gives `inf`
 * everywhere. With metrics 2, 3 a row of 0 1 1 1 becomes 0 2 4 6.
 *
 * **The moves that take part** depend on the metrics.
 * - 3x3: the diagonal moves, only if `diagonal < 2 * axis`.
 * - 5x5, with `d = min(2 * axis, diagonal)`:
 *   - if `axis + d <= knight`, a knight's move is never needed, and the result is that of the 3x3 operation;
 *   - else, if `d > axis`, `knight > 2 * axis` and `2 * knight > 3 * d`, the moves above;
 *   - else some move is dearer than a roundabout way. The costs become `axis' = min(3 * knight, axis)` and
 *     `diagonal' = min(2 * knight, d)`, the knight's stays, and the passes also step two pixels at once: along an
 *     axis, from `d[y][x-2]` and `d[y-2][x]`, at `min(2 * diagonal', 2 * axis', 2 * knight)`, and along a diagonal,
 *     from `d[y-2][x-2]` and `d[y-2][x+2]`, at `min(knight + axis', 2 * diagonal')`.
 *
 * The tests are exact for integer metrics; for float metrics each operation in them is rounded to float.
 *
 * **Metrics.** ::rvpiGetDistanceTransformMask_32s and ::rvpiGetDistanceTransformMask_32f give these:
 *
 * | mask | norm 0, chessboard | norm 1, city block | norm 2, Euclidean as `int32_t` | as `float`         |
 * | ---- | ------------------ | ------------------ | ------------------------------ | ------------------ |
 * | 3x3  | 1, 1               | 1, 2               | 2, 3                           | 0.955, 1.3693      |
 * | 5x5  | 1, 1, 2            | 1, 2, 3            | 5, 7, 11                       | 1.0, 1.4, 2.1969   |
 *
 * The integer Euclidean metrics measure in halves of a pixel with the 3x3 mask, and in fifths with the 5x5 mask.
 * Any other metrics do as well.
 *
 * **Memory and threads.** Nothing is allocated, and some 20 KiB of stack are used. It runs on the caller's thread.
 *
 * **Sources.** The two passes: A. Rosenfeld, J. L. Pfaltz, "Sequential operations in digital picture processing",
 * Journal of the ACM 13 (1966). The masks: G. Borgefors, "Distance transformations in digital images", Computer
 * Vision, Graphics, and Image Processing 34 (1986).
 * @{
 */

/** Size of a chamfer mask. */
enum RvpiChamferMaskSizeCode {
  rvpiChamfer3x3 = 3, /**< Two metrics: axis and diagonal. */
  rvpiChamfer5x5 = 5  /**< Three metrics: axis, diagonal and knight. */
};

/** Norm that a chamfer mask stands for. */
enum RvpiChamferNormCode {
  rvpiChamferNormInf = 0, /**< Chessboard: the greater of the two coordinates. */
  rvpiChamferNormL1 = 1,  /**< City block: the sum of the coordinates. */
  rvpiChamferNormL2 = 2   /**< An approximation of the Euclidean distance. */
};

/** @name Metrics
 *  @{ */
/**
 * Gives the metrics of a mask and a norm.
 *
 * @param kerSize One of ::RvpiChamferMaskSizeCode.
 * @param norm One of ::RvpiChamferNormCode.
 * @param pMetrics Receives 2 metrics for a 3x3 mask, 3 for a 5x5 mask.
 * @retval rvpStatusNullPointer `pMetrics` is null.
 * @retval rvpStatusBadSize `kerSize` is neither 3 nor 5.
 * @retval rvpStatusBadArgument `norm` is not 0, 1 or 2.
 */
RVP_API RvpStatus rvpiGetDistanceTransformMask_32s(int kerSize, int norm, int32_t* pMetrics);
/** @copydoc rvpiGetDistanceTransformMask_32s */
RVP_API RvpStatus rvpiGetDistanceTransformMask_32f(int kerSize, int norm, float* pMetrics);

/**
 * Gives the float metrics of a mask and a norm in one number.
 *
 * @param maskType 10 times the size of the mask plus the norm: 30, 31, 32, 50, 51 or 52.
 * @param pMetrics Receives 2 metrics for a 3x3 mask, 3 for a 5x5 mask.
 * @retval rvpStatusBadArgument The last decimal digit of `maskType` is not 0, 1 or 2, or `maskType` is negative and
 * no multiple of 10.
 * @retval rvpStatusNullPointer `pMetrics` is null.
 * @retval rvpStatusBadSize The other digits are neither 3 nor 5.
 */
RVP_API RvpStatus rvpiGetDistanceTransformMask(int maskType, float* pMetrics);
/** @} */

/** @name Distances
 *  @{ */
/**
 * Computes chamfer distances. See @ref chamfer for the formula.
 *
 * Source and destination may be the same image where both are 8-bit; other overlaps are not allowed.
 *
 * @param pSrc First pixel of the source; zero pixels are at distance 0.
 * @param srcStep Row step of the source, in bytes; at least `width`.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the region, in pixels.
 * @param pMetrics Cost of each kind of move: 2 entries for a 3x3 mask, 3 for a 5x5 mask.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple `dstStep` is no multiple of the element size.
 * @retval rvpStatusBadMetric An integer metric is below 1; a float metric is not above 0.
 */
RVP_API RvpStatus rvpiDistanceTransform_3x3_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                   RvpiSize roiSize, const int32_t* pMetrics);
/** @copydoc rvpiDistanceTransform_3x3_8u_C1R */
RVP_API RvpStatus rvpiDistanceTransform_3x3_8u16u_C1R(const uint8_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                      RvpiSize roiSize, const int32_t* pMetrics);
/** @copydoc rvpiDistanceTransform_3x3_8u_C1R */
RVP_API RvpStatus rvpiDistanceTransform_3x3_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                      RvpiSize roiSize, const float* pMetrics);
/** @copydoc rvpiDistanceTransform_3x3_8u_C1R */
RVP_API RvpStatus rvpiDistanceTransform_5x5_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                   RvpiSize roiSize, const int32_t* pMetrics);
/** @copydoc rvpiDistanceTransform_3x3_8u_C1R */
RVP_API RvpStatus rvpiDistanceTransform_5x5_8u16u_C1R(const uint8_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                      RvpiSize roiSize, const int32_t* pMetrics);
/** @copydoc rvpiDistanceTransform_3x3_8u_C1R */
RVP_API RvpStatus rvpiDistanceTransform_5x5_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                      RvpiSize roiSize, const float* pMetrics);
/**
 * Computes chamfer distances in place. See @ref chamfer for the formula.
 *
 * @param pSrcDst First pixel of the image; zero pixels are at distance 0.
 * @param srcDstStep Row step of the image, in bytes; at least `width`.
 * @param roiSize Size of the region, in pixels.
 * @param pMetrics Cost of each kind of move: 2 entries for a 3x3 mask, 3 for a 5x5 mask.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `srcDstStep` is below `width`.
 * @retval rvpStatusBadMetric A metric is below 1.
 */
RVP_API RvpStatus rvpiDistanceTransform_3x3_8u_C1IR(uint8_t* pSrcDst, int srcDstStep, RvpiSize roiSize,
                                                    const int32_t* pMetrics);
/** @copydoc rvpiDistanceTransform_3x3_8u_C1IR */
RVP_API RvpStatus rvpiDistanceTransform_5x5_8u_C1IR(uint8_t* pSrcDst, int srcDstStep, RvpiSize roiSize,
                                                    const int32_t* pMetrics);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
