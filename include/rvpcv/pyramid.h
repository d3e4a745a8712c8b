/**
 * @file
 * Image pyramids: how many levels there are, and how large they are.
 */
#ifndef RVPCV_PYRAMID_H
#define RVPCV_PYRAMID_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup pyramid Pyramid structure
 * @details
 * A pyramid is an image and ever smaller versions of it, each smaller than the one before by the same rate. The
 * rate is any number above 1 and up to 10, a whole one or not. Rows and columns follow the same rule, each by
 * itself; `n` is the number of either.
 *
 * **Up.** The levels of which one of extent `n` could be the next smaller have extents from `least(n)` to
 * `most(n)`, with the products rounded to float and then toward zero:
 *
 *     least(1) = 1
 *     least(n) = max(trunc((n - 1) * rate) + 1, n + 1)    for n above 1
 *     most(n)  = max(trunc(n * rate), n + 1)
 *
 * **Down.** The extent below `n` is the one extent `d` with `least(d) <= n <= most(d)`; at least 1. It is close to
 * `n / rate`. At rate 2 an extent of 5 has 3 below it, one of 7 has 4, and one of 8 has 4 too. Every level is
 * smaller than the one before by at least 1, except for extents that are 1 already, until it is 1 x 1.
 *
 * An extent beyond 2147483647 is given as 2147483647.
 *
 * **Memory and threads.** Nothing is allocated and no pixel is touched. All runs on the caller's thread.
 *
 * **Source.** P. J. Burt, E. H. Adelson, "The Laplacian pyramid as a compact image code", IEEE Transactions on
 * Communications 31 (1983), for rate 2.
 * @{
 */

/**
 * A pyramid: arrays with an entry for each of its levels. Level 0 is the full image.
 *
 * ::rvpiPyramidInit fills the record and the arrays, which lie behind it in the same memory, each at a multiple of
 * 8 bytes. The record may be neither moved nor copied elsewhere with its arrays.
 */
typedef struct {
  uint8_t** pImage; /**< First pixel of each level; null at first, for the caller to fill. */
  RvpiSize* pRoi;   /**< Size of each level. */
  double* pRate;    /**< Scale of each level against level 0: 1, then each time multiplied by 1 / rate. */
  int32_t* pStep;   /**< Row step of each level, in bytes; 0 at first, for the caller to fill. */
  uint8_t* pState;  /**< For the caller's use, as for the state block of a layer; null at first. */
  int32_t level;    /**< Index of the last level: there are `level + 1`. */
} RvpiPyramid;

/**
 * Tells the size of the next smaller level. See @ref pyramid.
 *
 * @param srcRoi Size of a level, in pixels.
 * @param pDstRoi Receives the size of the level below it.
 * @param rate Above 1 and at most 10.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer `pDstRoi` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `rate` is not above 1, or above 10.
 */
RVP_API RvpStatus rvpiGetPyramidDownROI(RvpiSize srcRoi, RvpiSize* pDstRoi, float rate);

/**
 * Tells the smallest and the largest size of which a size could be the next smaller level. See @ref pyramid.
 *
 * @param srcRoi Size of a level, in pixels.
 * @param pDstRoiMin Receives the smallest size of the level above it.
 * @param pDstRoiMax Receives the largest size of the level above it.
 * @param rate Above 1 and at most 10.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `rate` is not above 1, or above 10.
 */
RVP_API RvpStatus rvpiGetPyramidUpROI(RvpiSize srcRoi, RvpiSize* pDstRoiMin, RvpiSize* pDstRoiMax, float rate);

/**
 * Tells how much memory ::rvpiPyramidInit needs: with `level` cut to the levels that there are,
 * `52 * level + 152` bytes for the record and `8 * max(width, height)` bytes of scratch. A size that would pass 31
 * bits is given as 2147483647, which is more than is used.
 *
 * @param pPyrSize Receives the size of the record with its arrays, in bytes.
 * @param pBufferSize Receives the size of the scratch memory, in bytes.
 * @param level Index of the last level that is wanted; at least 1.
 * @param roiSize Size of the full image, in pixels.
 * @param rate Above 1 and at most 10.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `level` is below 1, or `rate` is not above 1, or above 10.
 */
RVP_API RvpStatus rvpiPyramidGetSize(int* pPyrSize, int* pBufferSize, int level, RvpiSize roiSize, float rate);

/**
 * Builds the record of a pyramid. See @ref pyramid.
 *
 * Only as many levels are made as there are until 1 x 1: a 1 x 1 image has `level` 0. Images, and memory for them,
 * are the caller's matter: set `pImage` and `pStep` of each level to them.
 *
 * @param ppPyramid Receives `pMem`, which begins with the record. There is nothing to be closed at the end: free
 * `pMem`.
 * @param level Index of the last level that is wanted; at least 1.
 * @param roiSize Size of the full image, in pixels.
 * @param pMem Memory for the record with its arrays, of the size that ::rvpiPyramidGetSize tells, at an address
 * that suits a pointer.
 * @param pBuffer Scratch memory of the size that ::rvpiPyramidGetSize tells, at any address; free for other use
 * after the call.
 * @param rate Above 1 and at most 10.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `rate` is not above 1, or above 10, or `level` is below 1.
 */
RVP_API RvpStatus rvpiPyramidInit(RvpiPyramid** ppPyramid, int level, RvpiSize roiSize, uint8_t* pMem,
                                  uint8_t* pBuffer, float rate);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
