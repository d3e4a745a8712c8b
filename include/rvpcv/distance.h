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
 * @addtogroup chamfer Chamfer distances
 * @details
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
 *     from `d[y-2][x-2]` and `d[y-2][x+2]`, at `min(knight + axis', 2 * diagonal')`. In the first row of the first
 *     pass a pixel is reached from `d[y][x-1]` alone.
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

/** Norm that a chamfer mask stands for. One of ::RvpiChamferNormCode. */
typedef int32_t RvpiChamferNorm;

/** The norms of chamfer masks. */
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
 * @param kerSize Size of the mask: 3 or 5.
 * @param norm One of ::RvpiChamferNormCode.
 * @param pMetrics Receives 2 metrics for a 3x3 mask, 3 for a 5x5 mask.
 * @retval rvpStatusNullPointer `pMetrics` is null.
 * @retval rvpStatusBadSize `kerSize` is neither 3 nor 5.
 * @retval rvpStatusBadArgument `norm` is not 0, 1 or 2.
 */
RVP_API RvpStatus rvpiGetDistanceTransformMask_32s(int kerSize, RvpiChamferNorm norm, int32_t* pMetrics);
/** @copydoc rvpiGetDistanceTransformMask_32s */
RVP_API RvpStatus rvpiGetDistanceTransformMask_32f(int kerSize, RvpiChamferNorm norm, float* pMetrics);

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

/**
 * @addtogroup fastmarching Fast marching
 * @details
 * The approximate Euclidean distance of every pixel from the boundary of a mask: the time at which a front of unit
 * speed that starts at the boundary arrives.
 *
 * With `v` the earlier time of the neighbours above and below, `h` that of the neighbours on the left and right,
 * `low = min(v, h)`, `high = max(v, h)`, and neighbours beyond the region never reached, each time solves
 *
 *     t = low + 1                                         where high - low >= 1
 *     t = (low + high + sqrt(2 - (high - low)^2)) / 2     elsewhere
 *
 * Differences are exact; the second line is computed in double and rounded to float once. Its times do not depend
 * on the order of the computation, so they are the same on every processor and for every number of threads.
 *
 * - An inside pixel, where the source is not 0, holds its time, with all outside pixels at time 0: so 1, 2, 3, ...
 * along the normal of a straight boundary along an axis.
 * - With `radius` 0, an outside pixel holds 0.
 * - With `radius` above 0, the front also runs outwards. An outside pixel with an inside pixel among its four
 *   neighbours is at the boundary: its time is 0, and it holds -1e-10, so that a test for values below 0 selects
 * it. Every other outside pixel whose time is at most `radius + 1e-5` holds the time negated, and the rest hold 0.
 *
 * Without an outside pixel there is no boundary. The first pixel then holds 999999, the first row goes on with
 * 1000000, 1000001, ..., and the other pixels have times accordingly. Without an inside pixel all is 0.
 *
 * **Accuracy.** Against the exact Euclidean distance to the centre of the nearest outside pixel, on an image of
 * 1920 x 1080 pixels:
 *
 * | inside                                         | mean relative error | maximum | maximum 10 pixels away or more |
 * | ---------------------------------------------- | ------------------- | ------- | ------------------------------ |
 * | a disc of radius 405                           | 0.34 %              | 29.3 %  | 2.6 %                          |
 * | one side of a line 30 degrees off the rows     | 0.25 %              | 29.3 %  | 6.5 %                          |
 * | all but the pixel in the middle                | 0.26 %              | 20.7 %  | 7.0 %                          |
 *
 * The large relative errors belong to pixels next to the boundary: the inner side of a corner is at 0.71, where the
 * nearest pixel is 1 away. A straight boundary along an axis gives exact distances.
 *
 * **Memory.** The caller gives scratch memory at any address; ::rvpiFastMarchingGetBufferSize_8u32f_C1R tells how
 * much. Images for which that passes 31 bits are beyond this operation. Nothing is allocated.
 *
 * **Threads.** From a height of 6 on, two threads share the rows if ::rvpGetNumThreads allows.
 *
 * **Sources.** The update: J. A. Sethian, "A fast marching level set method for monotonically advancing fronts",
 * Proceedings of the National Academy of Sciences 93 (1996). Sweeping instead of a heap: H. Zhao, "A fast sweeping
 * method for Eikonal equations", Mathematics of Computation 74 (2005).
 * @{
 */

/**
 * Tells how much scratch memory ::rvpiFastMarching_8u32f_C1R needs: with the width rounded up to a multiple of 32,
 * `(height + 34) * (width + 5) + 40` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiFastMarchingGetBufferSize_8u32f_C1R(RvpiSize roiSize, int* pBufferSize);

/**
 * Computes signed distances from the boundary of a mask. See @ref fastmarching.
 *
 * Source, destination and scratch memory must not overlap.
 *
 * @param pSrc First pixel of the mask; pixels other than 0 are inside.
 * @param srcStep Row step of the mask, in bytes; at least `width`.
 * @param pDst First pixel of the distances.
 * @param dstStep Row step of the distances, in bytes; at least `4 * width`, and a multiple of 4.
 * @param roiSize Size of the region, in pixels.
 * @param radius How far outside the mask distances are computed, in pixels; 0 leaves outside pixels at 0.
 * @param pBuffer Scratch memory, of any content before and after.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple `dstStep` is no multiple of 4.
 * @retval rvpStatusBadArgument `radius` is below 0.
 */
RVP_API RvpStatus rvpiFastMarching_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                             RvpiSize roiSize, float radius, uint8_t* pBuffer);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
