/**
 * @file
 * Optical flow: where the points of one image are in the next.
 */
#ifndef RVPCV_FLOW_H
#define RVPCV_FLOW_H

#include "pyramid.h"
#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup flow Pyramidal optical flow
 * @details
 * Tracks points from one image to the next by the iterative method of Lucas and Kanade over two image pyramids: the
 * result on a level is the start on the next larger one.
 *
 * **A point on a level.** `p` is its place in the first image, `q` that in the second; a window of `w` x `w` pixels
 * is centred on each, and its pixels lie at `p - (w - 1) / 2 + (x, y)`. I and J are the windows, Ix and Iy the
 * derivatives of I. Of each window only those pixels take part that lie inside the image, from the centre of its
 * first to that of its last pixel; R is the rectangle of those in both. Up to `maxIter` times, in double:
 *
 *     bx = sum over R of (I - J) * Ix              Gxx = sum of Ix * Ix
 *     by = sum over R of (I - J) * Iy              Gxy = sum of Ix * Iy,   Gyy = sum of Iy * Iy
 *     D  = Gxx * Gyy - Gxy * Gxy                   D < 2.220446049250313e-16: the point is lost
 *     dx = (Gyy * bx - Gxy * by) / D
 *     dy = (by * Gxx - bx * Gxy) / D
 *     q  = q + (dx, dy), rounded to float
 *
 * until `dx * dx + dy * dy` is below `threshold * threshold` (in float), or until both |dx + dx'| and |dy + dy'|,
 * with dx' and dy' those of the round before, are below 3.4526698e-04, the square root of 2^-23: the point swings,
 * and goes back by half a step. A window that leaves the second image altogether loses the point, and so does an
 * empty R. Not to come to an end within `maxIter` rounds is no loss.
 *
 * **Windows.** Between pixels, values are bilinear; beyond the edge the edge pixels repeat, which only derivatives
 * see. In the `8u` form a window has 7 fractional bits: `(sum of pixel * weight + 64) >> 7` with weights in units
 * of 2^-14, the last of which makes their sum 2^14. In the other forms windows are float, each operation rounded by
 * itself: `((p00 * w00 + p01 * w01) + p10 * w10) + p11 * w11`.
 *
 * **Derivatives** are `(right - left) / 2` and `(below - above) / 2`, smoothed across with 3/16, 10/16, 3/16. On
 * small levels, whose width and height are both below those that Init was given, they are computed for the whole
 * level and then interpolated; on large levels around the point, from a window with a rim of one pixel. All
 * levels from `maxLev` down to the last small one are done level by level, the others point by point.
 *
 * **Sums** of the `8u` form are exact integers, in units of 2^-14. In the other forms the columns x0, x0 + 4, ...
 * of R are added up in double, row by row, and likewise those from x0 + 1, x0 + 2 and x0 + 3 on; the four sums are
 * added as `(s0 + s1) + (s2 + s3)`.
 *
 * **Error.** The root of the mean square of I - J of the last round on level 0, over R without its last row and
 * column; 0 if there is no difference, or no such pixel.
 *
 * **Status.** 0 for a point that was tracked to level 0. Otherwise 1 + the level on which it was lost: its error is
 * 0 and `pNext` holds what the level above found, or the start, except where R became empty: then it holds the
 * place where that happened. On a small level a point whose window with a rim lies outside the first image ends the
 * pass over that level: it goes on with the next level itself, while the points after it keep `level + 1` and are
 * lost.
 *
 * **Memory.** A block of the size that ::rvpiOpticalFlowPyrLKGetSize tells, at an address that suits a pointer. It
 * may be neither moved nor copied. Nothing is allocated.
 *
 * **Threads.** All runs on the caller's thread. One block serves one call at a time.
 *
 * **Sources.** B. D. Lucas, T. Kanade, "An iterative image registration technique with an application to stereo
 * vision", IJCAI 1981. J.-Y. Bouguet, "Pyramidal implementation of the affine Lucas Kanade feature tracker", 2001.
 * @{
 */

/** The block of a tracker. What it holds is the library's matter. */
typedef struct RvpiOptFlowPyrLK RvpiOptFlowPyrLK;

/**
 * Tells the size of the block of a tracker.
 *
 * With `w` = `winSize` and `R` = `(width + 5) * (height + 5)` it is `4 * R + 40 * (w + 3)^2 + 130` bytes for
 * ::rvp8u, `12 * R + 48 * (w + 3)^2 + 124` for ::rvp16u and `8 * R + 48 * (w + 3)^2 + 124` for ::rvp32f.
 *
 * @param winSize Side of the window, in pixels; at least 1.
 * @param roiSize Levels below this size in both extents have their derivatives computed as a whole.
 * @param dataType ::rvp8u, ::rvp16u or ::rvp32f.
 * @param hint Has no effect.
 * @param pStateSize Receives the size in bytes.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusBadSize `winSize`, `width` or `height` is below 1.
 * @retval rvpStatusBadDataType `dataType` is none of the three.
 * @retval rvpStatusNullPointer `pStateSize` is null.
 * @retval rvpStatusSizeOverflow The size does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiOpticalFlowPyrLKGetSize(int winSize, RvpiSize roiSize, RvpDataType dataType, int hint,
                                              int* pStateSize);

/** @name Init
 *  @{ */
/**
 * Makes the block of a tracker.
 *
 * @param ppState Receives `pMem`.
 * @param roiSize As for ::rvpiOpticalFlowPyrLKGetSize.
 * @param winSize Likewise.
 * @param hint Has no effect.
 * @param pMem The block.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusBadSize `winSize`, `width` or `height` is below 1.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusSizeOverflow Such a block does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiOpticalFlowPyrLKInit_8u_C1R(RvpiOptFlowPyrLK** ppState, RvpiSize roiSize, int winSize,
                                                  int hint, uint8_t* pMem);
/** @copydoc rvpiOpticalFlowPyrLKInit_8u_C1R */
RVP_API RvpStatus rvpiOpticalFlowPyrLKInit_16u_C1R(RvpiOptFlowPyrLK** ppState, RvpiSize roiSize, int winSize,
                                                   int hint, uint8_t* pMem);
/** @copydoc rvpiOpticalFlowPyrLKInit_8u_C1R */
RVP_API RvpStatus rvpiOpticalFlowPyrLKInit_32f_C1R(RvpiOptFlowPyrLK** ppState, RvpiSize roiSize, int winSize,
                                                   int hint, uint8_t* pMem);
/** @} */

/** @name Tracking
 *  @{ */
/**
 * Tracks points. See @ref flow.
 *
 * @param pPyr1 Pyramid of the first image; `pImage` and `pStep` are set for the levels 0 to `maxLev`.
 * @param pPyr2 Pyramid of the second image, likewise.
 * @param pPrev Places in the first image, in pixels of level 0.
 * @param pNext Places in the second image, in pixels of level 0: the start, and the result.
 * @param pStatus Receives 0 for a point that was tracked, else 1 + the level on which it was lost.
 * @param pError Receives the difference of the windows, in gray levels.
 * @param numFeat Number of points; at least 1.
 * @param winSize Side of the window, in pixels: the one that the block was made for.
 * @param maxLev Level to begin with; 0 or more, and a level of both pyramids.
 * @param maxIter Greatest number of rounds on a level; at least 1.
 * @param threshold Length of a step, in pixels of the level, below which the search ends; 0 or more.
 * @param pState A block that the Init of the same type has made.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null; after the check for level `maxLev`, a level has no image.
 * @retval rvpStatusBadSize `numFeat` or `winSize` is below 1, or `winSize` is not the block's; after the image, a
 * level has no pixels.
 * @retval rvpStatusBadArgument `maxLev` or `threshold` is below 0, or `maxIter` below 1; after ::rvpStatusBadSpec
 * also: a pyramid has no level `maxLev`.
 * @retval rvpStatusBadSpec The block was made for another type.
 * @retval rvpStatusBadStep The step of a level is shorter than its row.
 * @retval rvpStatusStepNotMultiple The step of a level is no multiple of the pixel's size.
 */
RVP_API RvpStatus rvpiOpticalFlowPyrLK_8u_C1R(const RvpiPyramid* pPyr1, const RvpiPyramid* pPyr2,
                                              const RvpiPoint32f* pPrev, RvpiPoint32f* pNext, int8_t* pStatus,
                                              float* pError, int numFeat, int winSize, int maxLev, int maxIter,
                                              float threshold, RvpiOptFlowPyrLK* pState);
/** @copydoc rvpiOpticalFlowPyrLK_8u_C1R */
RVP_API RvpStatus rvpiOpticalFlowPyrLK_16u_C1R(const RvpiPyramid* pPyr1, const RvpiPyramid* pPyr2,
                                               const RvpiPoint32f* pPrev, RvpiPoint32f* pNext, int8_t* pStatus,
                                               float* pError, int numFeat, int winSize, int maxLev, int maxIter,
                                               float threshold, RvpiOptFlowPyrLK* pState);
/** @copydoc rvpiOpticalFlowPyrLK_8u_C1R */
RVP_API RvpStatus rvpiOpticalFlowPyrLK_32f_C1R(const RvpiPyramid* pPyr1, const RvpiPyramid* pPyr2,
                                               const RvpiPoint32f* pPrev, RvpiPoint32f* pNext, int8_t* pStatus,
                                               float* pError, int numFeat, int winSize, int maxLev, int maxIter,
                                               float threshold, RvpiOptFlowPyrLK* pState);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
