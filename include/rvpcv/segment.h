/**
 * @file
 * Regions grown by gradient, and boundaries between regions.
 */
#ifndef RVPCV_SEGMENT_H
#define RVPCV_SEGMENT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** How regions are grown, and whether boundaries are drawn between them: a sum of ::RvpiSegmentFlag. */
typedef int32_t RvpiSegmentFlags;

/** The parts of ::RvpiSegmentFlags. */
enum RvpiSegmentFlag {
  rvpSegmentQueue = 1,        /**< Watershed: pixels are flooded in the order of a queue. */
  rvpSegmentDistance = 2,     /**< Watershed: pixels get the label of the nearest marker. */
  rvpSegmentBoundaries4 = 64, /**< Boundaries are drawn between regions that share a side. */
  rvpSegmentBoundaries8 = 128 /**< Boundaries are drawn between regions that share a side or a corner. */
};

/**
 * @addtogroup segmentgradient Gradient segmentation
 * @details
 * Grows labelled markers over an image in the order of the difference between neighbours, so that regions meet
 * where the image changes most.
 *
 * Markers are 1 to 253. 0 is to be labelled, and every 0 that a marker can reach is labelled in the end. 254 is a
 * boundary; where the markers hold it, it grows as a region does but loses at equal differences. 255 is a wall: it
 * stays, does not grow, and nothing passes it.
 *
 * With `|p - n|` the absolute difference of two pixels, of three channels the largest one, and with the neighbours
 * in the order left, right, up, down, up-left, up-right, down-left, down-right (the first four under
 * ::rvpConnect4):
 *
 * 1. Each unlabelled pixel that has labelled neighbours (1 to 254) enters a queue, in raster order, at the least of
 *    its differences to them.
 * 2. As long as there is one, the first pixel `p` of the lowest queue leaves it. It gets the label of the labelled
 *    neighbour with the least `|p - n|`: of equal ones the last, or the first if all others are 254.
 * 3. Unlabelled neighbours that were in no queue yet enter one, each at `|p - n|`, and the search for the lowest
 *    queue begins again at 0.
 * 4. With ::rvpSegmentBoundaries4 `p` becomes 254 if one of its 4 neighbours holds another label of 1 to 253, with
 *    ::rvpSegmentBoundaries8 if one of 8 does. With both flags 4 neighbours count.
 *
 * With markers `1 0 0 0 2` on a row `10 11 40 41 42`, the result is `1 1 2 2 2`, and with boundaries `1 1 254 2 2`.
 *
 * **Memory.** The caller gives scratch memory at any address; a size function tells how much. Images for which that
 * passes 31 bits are beyond this operation. Nothing is allocated.
 *
 * **Threads.** It runs on the caller's thread. Calls at the same time need separate markers and scratch.
 *
 * **Source.** F. Meyer, "Color image segmentation", International Conference on Image Processing and its
 * Applications (1992).
 * @{
 */

/**
 * Tells how much scratch memory the segmentation needs: `17 * width * height + 115` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiSegmentGradientGetBufferSize_8u_C1R(RvpiSize roiSize, int* pBufferSize);
/** @copydoc rvpiSegmentGradientGetBufferSize_8u_C1R */
RVP_API RvpStatus rvpiSegmentGradientGetBufferSize_8u_C3R(RvpiSize roiSize, int* pBufferSize);

/**
 * Grows markers over an image. See @ref segmentgradient.
 *
 * Image, markers and scratch memory must not overlap.
 *
 * @param pSrc First pixel of the image.
 * @param srcStep Row step of the image, in bytes; at least a row.
 * @param pMarker First pixel of the markers, which the result replaces.
 * @param markerStep Row step of the markers, in bytes; at least `width`.
 * @param roiSize Size of the region, in pixels.
 * @param norm ::rvpConnect4 or ::rvpConnect8.
 * @param segmentFlags 0, ::rvpSegmentBoundaries4 or ::rvpSegmentBoundaries8; other bits are ignored.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusBadArgument `norm` is none of ::RvpiNeighbours.
 */
RVP_API RvpStatus rvpiSegmentGradient_8u_C1IR(const uint8_t* pSrc, int srcStep, uint8_t* pMarker, int markerStep,
                                              RvpiSize roiSize, RvpiConnectivity norm,
                                              RvpiSegmentFlags segmentFlags, uint8_t* pBuffer);
/** @copydoc rvpiSegmentGradient_8u_C1IR */
RVP_API RvpStatus rvpiSegmentGradient_8u_C3IR(const uint8_t* pSrc, int srcStep, uint8_t* pMarker, int markerStep,
                                              RvpiSize roiSize, RvpiConnectivity norm,
                                              RvpiSegmentFlags segmentFlags, uint8_t* pBuffer);

/** @} */

/**
 * @addtogroup boundsegments Boundaries
 * @details
 * Draws a boundary one pixel wide between regions of different labels, in place, on the right and lower side of
 * each edge. In raster order,
 *
 *     p[y][x] = val    where one of p[y][x-1], p[y-1][x] and, under ::rvpConnect8, p[y-1][x-1], p[y-1][x+1]
 *                      is neither val by then nor equal to p[y][x]
 *
 * with neighbours outside the region left out. 0 is a label like any other. With `val` 255, the rows
 *
 *     1 1 2 2 3      1 1 255 2 255
 *     1 1 2 2 3  ->  1 1 255 2 255
 *     4 4 4 4 4      255 255 4 255 4
 *
 * **Memory and threads.** Nothing is allocated. It runs on the caller's thread.
 * @{
 */

/**
 * Draws boundaries between regions. See @ref boundsegments.
 *
 * @param pMarker First pixel of the labels.
 * @param markerStep Row step of the labels, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the region, in pixels.
 * @param val Value of a boundary.
 * @param norm ::rvpConnect4 or ::rvpConnect8.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pMarker` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `markerStep` is shorter than the row.
 * @retval rvpStatusStepNotMultiple `markerStep` is no multiple of the element size.
 * @retval rvpStatusBadArgument `norm` is none of ::RvpiNeighbours.
 */
RVP_API RvpStatus rvpiBoundSegments_8u_C1IR(uint8_t* pMarker, int markerStep, RvpiSize roiSize, uint8_t val,
                                            RvpiConnectivity norm);
/** @copydoc rvpiBoundSegments_8u_C1IR */
RVP_API RvpStatus rvpiBoundSegments_16u_C1IR(uint16_t* pMarker, int markerStep, RvpiSize roiSize, uint16_t val,
                                             RvpiConnectivity norm);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
