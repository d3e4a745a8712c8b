/**
 * @file
 * Watershed.
 */
#ifndef RVPCV_WATERSHED_H
#define RVPCV_WATERSHED_H

#include "segment.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup watershed Watershed
 * @details
 * Grows labelled markers over an image that is taken as a height map, as water rises from them, until every pixel
 * that water reaches has a label; and draws a boundary between regions, if asked for. Markers other than 0 are
 * kept, unless the boundary falls on them, and the zeros are labelled in place. The largest marker value, 255 or
 * 65535, is the wall: it floods as other labels do, but means boundary and is no region.
 *
 * **Queue road** (::rvpSegmentQueue), for byte images. Neighbours are taken in the order left, right, up, down,
 * up-left, up-right, down-left, down-right, the first four under ::rvpWatershed4.
 * 1. In raster order, each pixel that is not 0 and has a 0 among its neighbours enters a queue at the level of its
 *    own height. With boundaries asked for, it becomes a wall if it is none and one of its neighbours holds another
 *    label that is neither 0 nor the wall.
 * 2. As long as there is one, the first pixel of the lowest queue leaves it, at level `l`. Each neighbour `q` that
 * is 0 is labelled, and enters the queue of level `max(src[q], l)`.
 * 3. Its label is that of the pixel that left. With boundaries asked for, the neighbours of `q` are looked at then:
 *    the first one whose label is neither 0, nor the wall, nor the label that `q` is to get makes `q` a wall, or,
 * if `q` was to become a wall, gives `q` its label, and the search goes on.
 *
 * ::rvpSegmentBoundaries4 looks at 4 neighbours in both places and ::rvpSegmentBoundaries8 at 8, whatever the kind.
 * With both flags it is 4.
 *
 * **Distance road** (::rvpSegmentDistance). A pixel gets the label of the marker from which water reaches it first:
 * at the lowest height, and of equal heights on the cheapest way since the height was climbed. A step costs
 *
 * | kind                   | neighbours | along an axis | along a diagonal |
 * | ---------------------- | ---------- | ------------- | ---------------- |
 * | ::rvpWatershed8        | 8          | 1             | 1                |
 * | ::rvpWatershed4        | 4          | 1             |                  |
 * | ::rvpWatershedChamfer  | 8          | 11            | 15               |
 * | ::rvpWatershedFront    | 4          | 45 to 64      |                  |
 *
 * A byte image's level is `src * 2^23` at a marker, and `max(level[n] + cost, src * 2^23)` at a pixel that is
 * reached from `n`. So a way that costs more than 2^23 counts as climbing one height, and a way that costs 2^22 or
 * more at height 255 is not gone: what lies behind it keeps 0. A float image's level is a pair, height and cost,
 * compared in this order: `(src, 0)` at a marker, and `(src, 0)` where `src > height[n]`, else
 * `(height[n], cost[n] + cost)`. Pixels of infinite height are not reached; a NaN is above nothing, and as a marker
 * labels nothing.
 *
 * ::rvpWatershedFront is a front as that of fast marching: with `a <= b` the lesser level of the neighbours to the
 * left and right and that of the neighbours above and below, in one order or the other, the first term of the byte
 * image's level is `a + 64 - s(b - a)`, with `s(d) = 64 - (d + sqrt(2 * 64^2 - d^2)) / 2` rounded to nearest below
 * 64, and 0 from there on. The pixel belongs to the neighbour from which its level came, as with the other kinds;
 * of two neighbours that give it together, to the lower one. In a float image it is the same as
 * ::rvpWatershed4. A width of 1 makes every kind ::rvpWatershed4.
 *
 * Where neighbours offer a pixel the same level, it belongs to the one met first. Rows are swept downwards, each to
 * the right and then to the left, then upwards, and so on. In one sweep the neighbour before comes first, so that
 * the left one wins against the upper one and both against all others, if they have their final levels by then.
 *
 * The boundary is drawn afterwards: in raster order, each pixel is compared with its left and upper, and with 8
 * neighbours its upper left and upper right neighbour. Of two different labels of which none is the wall, the one
 * with the higher level becomes wall, and the later one at equal levels. With both flags, byte images take 4
 * neighbours and float images take 8.
 *
 * **Memory.** The caller gives scratch memory at any address; a size function tells how much. Images for which that
 * passes 31 bits are beyond this operation. Nothing is allocated.
 *
 * **Threads.** The distance road of byte images shares the rows out to at most as many threads as
 * ::rvpGetNumThreads tells, 32, one for 8 rows and one for 256 pixels. All pixels get the same levels, and so the
 * same labels except where several labels reach a pixel at the same level; there the result depends on the number
 * of threads, and on nothing else. All else runs on the caller's thread. Calls at the same time need separate
 * markers and scratch.
 *
 * **Sources.** Flooding by queues: F. Meyer, S. Beucher, "Morphological segmentation", Journal of Visual
 * Communication and Image Representation 1 (1990); L. Vincent, P. Soille, "Watersheds in digital spaces", IEEE
 * Transactions on Pattern Analysis and Machine Intelligence 13 (1991). Distance: F. Meyer, "Topographic distance
 * and watershed lines", Signal Processing 38 (1994).
 * @{
 */

/** Neighbours and costs of a watershed. One of ::RvpiWatershedKind. */
typedef int32_t RvpiWatershedNeighbours;

/** The kinds of neighbours. */
enum RvpiWatershedKind {
  rvpWatershed8 = 0,       /**< The eight pixels around, all steps cost the same. */
  rvpWatershed4 = 1,       /**< The pixels above, below, left and right. */
  rvpWatershedChamfer = 2, /**< The eight pixels around; diagonal steps cost more. Distance road only. */
  rvpWatershedFront = 3    /**< A front that moves at even speed in all directions. Distance road only. */
};

/** @name Scratch memory
 *  @{ */
/**
 * Tells how much scratch memory ::rvpiSegmentWatershed_8u_C1IR needs: with `W` the width rounded up to a multiple
 * of 32, the greater of `2 W (height + 1) + 4 W height + height + 66` and `16 width height + (width + 2) (height +
 * 2) + 48` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiSegmentWatershedGetBufferSize_8u_C1R(RvpiSize roiSize, int* pBufferSize);
/**
 * Tells how much scratch memory ::rvpiSegmentWatershed_8u16u_C1IR needs: with `W` twice the width rounded up to a
 * multiple of 32, the greater of `2 W (height + 1) + 4 W height + height + 66` and
 * `16 width height + 2 (width + 2) (height + 2) + 48` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiSegmentWatershedGetBufferSize_8u16u_C1R(RvpiSize roiSize, int* pBufferSize);
/**
 * Tells how much scratch memory ::rvpiSegmentWatershed_32f16u_C1IR needs: with `W` the width rounded up to a
 * multiple of 4, `9 W height + height + 66` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiSegmentWatershedGetBufferSize_32f16u_C1R(RvpiSize roiSize, int* pBufferSize);
/** @} */

/** @name Flooding
 *  @{ */
/**
 * Grows markers over a byte image. See @ref watershed.
 *
 * Image, markers and scratch memory must not overlap.
 *
 * @param pSrc First pixel of the heights.
 * @param srcStep Row step of the heights, in bytes; at least `width`.
 * @param pMarker First pixel of the markers, which the result replaces.
 * @param markerStep Row step of the markers, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the region, in pixels.
 * @param neighbourKind One of ::RvpiWatershedKind; with ::rvpSegmentQueue one of the first two.
 * @param segmentFlags ::rvpSegmentQueue or ::rvpSegmentDistance, of which the queue wins, and none or one of
 * ::rvpSegmentBoundaries4 and ::rvpSegmentBoundaries8. Other bits are ignored.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple `markerStep` is no multiple of the element size.
 * @retval rvpStatusBadArgument Neither road is asked for, or it does not take `neighbourKind`.
 */
RVP_API RvpStatus rvpiSegmentWatershed_8u_C1IR(const uint8_t* pSrc, int srcStep, uint8_t* pMarker, int markerStep,
                                               RvpiSize roiSize, RvpiWatershedNeighbours neighbourKind,
                                               RvpiSegmentFlags segmentFlags, uint8_t* pBuffer);
/** @copydoc rvpiSegmentWatershed_8u_C1IR */
RVP_API RvpStatus rvpiSegmentWatershed_8u16u_C1IR(const uint8_t* pSrc, int srcStep, uint16_t* pMarker,
                                                  int markerStep, RvpiSize roiSize,
                                                  RvpiWatershedNeighbours neighbourKind,
                                                  RvpiSegmentFlags segmentFlags, uint8_t* pBuffer);
/**
 * Grows markers over a float image. See @ref watershed.
 *
 * Image, markers and scratch memory must not overlap.
 *
 * @param pSrc First pixel of the heights.
 * @param srcStep Row step of the heights, in bytes; at least `4 * width`, and a multiple of 4.
 * @param pMarker First pixel of the markers, which the result replaces.
 * @param markerStep Row step of the markers, in bytes; at least `2 * width`, and a multiple of 2.
 * @param roiSize Size of the region, in pixels.
 * @param neighbourKind One of ::RvpiWatershedKind.
 * @param segmentFlags ::rvpSegmentDistance, and none or one of ::rvpSegmentBoundaries4 and ::rvpSegmentBoundaries8.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple `markerStep` is odd; or, after all other checks, `srcStep` is no multiple of 4.
 * @retval rvpStatusNotSupported `segmentFlags` has ::rvpSegmentQueue, which float images lack.
 * @retval rvpStatusBadArgument `segmentFlags` lacks ::rvpSegmentDistance, or `neighbourKind` is none of
 * ::RvpiWatershedKind.
 */
RVP_API RvpStatus rvpiSegmentWatershed_32f16u_C1IR(const float* pSrc, int srcStep, uint16_t* pMarker,
                                                   int markerStep, RvpiSize roiSize,
                                                   RvpiWatershedNeighbours neighbourKind,
                                                   RvpiSegmentFlags segmentFlags, uint8_t* pBuffer);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
