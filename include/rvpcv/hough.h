/**
 * @file
 * Straight lines in binary images.
 */
#ifndef RVPCV_HOUGH_H
#define RVPCV_HOUGH_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup hough Hough lines
 * @details
 * Straight lines through the nonzero pixels of an image. A line is told by the direction `theta` of its normal, in
 * radians, and its distance `rho` from the first pixel along that normal, in pixels: it goes through all (x, y)
 * with `x * cos(theta) + y * sin(theta) = rho`. Every pixel votes, once for each angle, for the line through it.
 *
 * **Grid.** With the steps `delta.rho` and `delta.theta`,
 *
 *     numAngles = trunc(3.14159 / delta.theta) + 1              in double
 *     numRho = trunc((2 * (width + height) + 1) / delta.rho)    in float
 *     o = (numRho - 1) / 2                                      cut to an integer
 *
 * Angle i is `theta[i] = theta[i-1] + delta.theta` in float, `theta[0] = 0`. Votes whose place on the grid lies
 * outside 0 to `numRho - 1` are dropped.
 *
 * **Limits.** A detection whose scratch memory would pass 2^31 - 1 bytes is refused with ::rvpStatusBadArgument.
 *
 * **Memory and threads.** Nothing is allocated; scratch memory and state blocks may stand at any address.
 * Everything happens on the caller's thread.
 *
 * **Sources.** R. O. Duda, P. E. Hart, "Use of the Hough transformation to detect lines and curves in pictures",
 * Communications of the ACM 15 (1972). The probabilistic form: J. Matas, C. Galambos, J. Kittler, "Robust detection
 * of lines using the progressive probabilistic Hough transform", Computer Vision and Image Understanding 78 (2000).
 * @{
 */

/** A line, or the steps of a grid of lines. */
typedef struct {
  float rho;   /**< Distance from the first pixel, in pixels. */
  float theta; /**< Direction of the normal, in radians. */
} RvpiPointPolar;

/** A segment: its ends, both part of it. */
typedef struct {
  int32_t x0; /**< Column of one end. */
  int32_t y0; /**< Row of one end. */
  int32_t x1; /**< Column of the other end. */
  int32_t y1; /**< Row of the other end. */
} RvpiSegment;

/** The state block of the probabilistic form. */
typedef struct RvpiHoughProbSpec RvpiHoughProbSpec;

/** @name Lines
 *  @{ */
/**
 * Tells how much scratch memory ::rvpiHoughLine_8u32f_C1R and ::rvpiHoughLine_Region_8u32f_C1R need, in 32 bits:
 * `height * (4 * width + 64) + 16 * maxLineCount + 8 * numAngles + 16 * numRho + 288` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param delta Steps of the grid.
 * @param maxLineCount Lines to find at most.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument A step is not above 0.
 * @retval rvpStatusBufferSizeOverflow The size, less 48, does not fit in 31 bits. It was written all the same.
 */
RVP_API RvpStatus rvpiHoughLineGetSize_8u_C1R(RvpiSize roiSize, RvpiPointPolar delta, int maxLineCount,
                                              int* pBufferSize);

/**
 * Finds lines by the standard transform. See @ref hough for the grid.
 *
 * The pixel (x, y) votes at angle i for
 *
 *     r = ((cosFix * x + sinFix * y + 512) >> 10) + o
 *     cosFix = trunc(cos(theta[i]) * 1024 * (1 / delta.rho))    in double, the reciprocal in float
 *     sinFix = trunc(sin(theta[i]) * 1024 * (1 / delta.rho))
 *
 * A line is a cell (i, r) with more votes than `threshold`, more than the cells (i, r - 1) and (i - 1, r), and no
 * fewer than (i, r + 1) and (i + 1, r), where cells outside the grid have 0. Lines are listed by falling number of
 * votes, equal ones by rising angle and then by rising r. Only the first `maxLineCount` of them are kept. A line is
 * reported as `rho = (r - o) * delta.rho` and `theta = i * delta.theta`, in float.
 *
 * @param pSrc First pixel of the source; nonzero pixels vote.
 * @param srcStep Row step of the source, in bytes; at least 1.
 * @param roiSize Size of the region, in pixels.
 * @param delta Steps of the grid; at most `width + height`, and at most 3.14159.
 * @param threshold Votes that a line must exceed; at least 1.
 * @param pLine Receives the lines.
 * @param maxLineCount Lines that `pLine` has room for.
 * @param pLineCount Receives the number of lines.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, also where there were more lines, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadStep `srcStep` is below 1.
 * @retval rvpStatusBadSize `width`, `height` or `maxLineCount` is below 1.
 * @retval rvpStatusBadArgument A step of the grid is out of its limits, `threshold` is below 1, or the scratch
 * memory would pass 2^31 - 1 bytes.
 */
RVP_API RvpStatus rvpiHoughLine_8u32f_C1R(const uint8_t* pSrc, int srcStep, RvpiSize roiSize, RvpiPointPolar delta,
                                          int threshold, RvpiPointPolar* pLine, int maxLineCount, int* pLineCount,
                                          uint8_t* pBuffer);

/**
 * Finds lines within limits of rho and theta, as ::rvpiHoughLine_8u32f_C1R does.
 *
 * Pixels vote only at angles with `dstRoi[0].theta <= i * delta.theta <= dstRoi[1].theta`, and only for
 * `trunc(dstRoi[0].rho / delta.rho + o) <= r <= trunc(dstRoi[1].rho / delta.rho + o)`, both in float. Cells outside
 * these limits have 0 votes.
 *
 * @param pSrc First pixel of the source; nonzero pixels vote.
 * @param srcStep Row step of the source, in bytes; at least 1.
 * @param roiSize Size of the region, in pixels.
 * @param pLine Receives the lines.
 * @param dstRoi Two entries: the lower and the upper limits. The limits of theta come back clamped to 0 to 3.14159.
 * @param maxLineCount Lines that `pLine` has room for.
 * @param pLineCount Receives the number of lines.
 * @param delta Steps of the grid; at most `width + height`, and at most 3.14159.
 * @param threshold Votes that a line must exceed; at least 1.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, also where there were more lines, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadStep `srcStep` is below 1.
 * @retval rvpStatusBadSize `width`, `height` or `maxLineCount` is below 1.
 * @retval rvpStatusBadArgument A step of the grid is out of its limits, `threshold` is below 1, or the scratch
 * memory would pass 2^31 - 1 bytes.
 * @retval rvpStatusBadRange An upper limit is below its lower limit; 0 has been written to `pLineCount`.
 */
RVP_API RvpStatus rvpiHoughLine_Region_8u32f_C1R(const uint8_t* pSrc, int srcStep, RvpiSize roiSize,
                                                 RvpiPointPolar* pLine, RvpiPointPolar* dstRoi, int maxLineCount,
                                                 int* pLineCount, RvpiPointPolar delta, int threshold,
                                                 uint8_t* pBuffer);
/** @} */

/** @name Segments
 *  @{ */
/**
 * Tells the sizes of the state block, `8 * numAngles + 16` bytes, and of the scratch memory, `9 * width * height +
 * 4 * numRho * numAngles` bytes, both in 32 bits.
 *
 * @param roiSize Size of the region, in pixels.
 * @param delta Steps of the grid.
 * @param pSpecSize Receives the size of the state block in bytes.
 * @param pBufferSize Receives the size of the scratch memory in bytes.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument A step is not above 0.
 */
RVP_API RvpStatus rvpiHoughProbLineGetSize_8u_C1R(RvpiSize roiSize, RvpiPointPolar delta, int* pSpecSize,
                                                  int* pBufferSize);

/**
 * Fills a state block. It serves regions of any size, and several calls at once.
 *
 * @param roiSize Size of the region, in pixels.
 * @param delta Steps of the grid.
 * @param hint Stored, and without effect.
 * @param pSpec Memory of the size that ::rvpiHoughProbLineGetSize_8u_C1R tells.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument A step is not above 0, or the block would pass 2^31 - 1 bytes.
 * @retval rvpStatusNullPointer `pSpec` is null.
 */
RVP_API RvpStatus rvpiHoughProbLineInit_8u32f_C1R(RvpiSize roiSize, RvpiPointPolar delta, int hint,
                                                  RvpiHoughProbSpec* pSpec);

/**
 * Finds segments. See @ref hough for the grid.
 *
 * Pixels are drawn at random, each once, and vote at every angle for
 *
 *     r = trunc(c * x + s * y) + o
 *     c = cos(theta[i]) * (1 / delta.rho),  s = sin(theta[i]) * (1 / delta.rho)
 *
 * in float, c and s computed in double from the reciprocal as float. As soon as one of the pixel's cells has
 * `threshold` votes, the line through the pixel at that angle (at the first one, if several have most votes) is
 * followed both ways, to the image's edge or to a gap of more than `lineGap` pixels. The pixels met on it, up to
 * the last nonzero one on either side, take no part any more. If the last ones lie at least `lineLength` apart in x
 * or in y, they are the ends of a segment, and the pixels' votes are taken back.
 *
 * A line whose |s| is greater than its |c| is followed column by column, by `trunc(c * 65536 / |s|)` 65536ths of a
 * row each, from the middle of the first pixel; other lines likewise row by row.
 *
 * The random numbers are the low halves of `state = (state >> 32) + (state & 0xFFFFFFFF) * 4164903690`, in 64 bits
 * from all ones on, modulo the number of pixels left; the last pixel of the list takes the place of the drawn one.
 * They begin anew with every call, so that equal calls have equal results.
 *
 * @param pSrc First pixel of the source; nonzero pixels vote.
 * @param srcStep Row step of the source, in bytes; not checked.
 * @param roiSize Size of the region, in pixels.
 * @param threshold Votes that a line must have; at least 1.
 * @param lineLength Least length of a segment, in pixels along x or y.
 * @param lineGap Greatest number of zero pixels between two pixels of a segment.
 * @param pLine Receives the segments.
 * @param maxLineCount Segments that `pLine` has room for; below 1 none.
 * @param pLineCount Receives the number of segments.
 * @param pBuffer Scratch memory, of any content before and after.
 * @param pSpec A block that ::rvpiHoughProbLineInit_8u32f_C1R has filled.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `threshold` is below 1, `lineLength` or `lineGap` is below 0, or the scratch memory
 * would pass 2^31 - 1 bytes.
 * @retval rvpStatusTooManyLines A warning: one more segment was found when the array was full. It is valid; pixels
 * that had not been drawn were not looked at.
 */
RVP_API RvpStatus rvpiHoughProbLine_8u32f_C1R(const uint8_t* pSrc, int srcStep, RvpiSize roiSize, int threshold,
                                              int lineLength, int lineGap, RvpiSegment* pLine, int maxLineCount,
                                              int* pLineCount, uint8_t* pBuffer, const RvpiHoughProbSpec* pSpec);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
