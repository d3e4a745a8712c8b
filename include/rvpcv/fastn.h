/**
 * @file
 * Corners by tests on a circle of pixels.
 */
#ifndef RVPCV_FASTN_H
#define RVPCV_FASTN_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup fastn FastN corners
 * @details
 * A pixel is a corner if a long enough arc of the circle around it is all brighter, or all darker, than the pixel
 * itself. After E. Rosten, T. Drummond, "Machine learning for high-speed corner detection", European Conference on
 * Computer Vision (2006), for circles of six sizes.
 *
 * **Test.** With `c` the pixel, `p(0) .. p(L-1)` the pixels of the circle in order, `t` the threshold cut to an
 * integer, and indices modulo `L`,
 *
 *     bright arc:  p(i) - c > t   for arcLength indices i that follow one another
 *     dark arc:    c - p(i) > t   likewise
 *
 * An arc is longer than half of the circle, so a pixel has one of the two at most. A pixel nearer to the image's
 * edge than the radius has no full circle and is no corner. The circles have
 *
 * | circleRadius | 1 | 2  | 3  | 5  | 7  | 9  |
 * | ------------ | - | -- | -- | -- | -- | -- |
 * | L            | 8 | 12 | 16 | 28 | 40 | 52 |
 *
 * pixels. They begin below the centre at (0, radius) and go on to the left, (-1, radius). Each is the outline of a
 * disc, but for one pixel: at radius 9 index 12 is (-9, -1), as index 14 is, and (-9, 1) belongs to no circle.
 *
 * **Corner image.** A byte is 0 where there is no corner. Else its bit 7 (128) tells a dark arc, bit 6 (64) a
 * bright one, and with ::rvpFastNOrientation its low six bits are the orientation.
 *
 * **Orientation.** With the option ::rvpFastNOrientation,
 *
 *     s = sum over all i of (p(i) - c) * sin(2 * pi * i / L)
 *     k = sum over all i of (p(i) - c) * cos(2 * pi * i / L)
 *     angle = atan2(s, k), from 0 to 2 * pi
 *     bin = trunc(angle * orientationBins / (2 * pi)) & 63
 *
 * 2 * pi / L, the sines and the cosines are floats. A product is formed in double and added in double, and the sum
 * is rounded to float after every addition; the angle is computed in double and rounded to float. An angle that
 * rounds up to the full circle falls into bin `orientationBins & 63`.
 *
 * **Score.** With the option ::rvpFastNScore, the score image holds for a corner the least `|p(i) - c|` on its best
 * arc of `arcLength` pixels, from 1 to 255: one more than the greatest threshold at which it is still a corner.
 * Elsewhere it holds 0.
 *
 * **Suppression.** With the option ::rvpFastNSuppression, a corner stays only if its score is greater than those of
 * the neighbours above left, above, above right and left, and not less than those of the neighbours right, below
 * left, below and below right. A suppressed pixel is 0 in both images and is not counted. Neighbours outside the
 * destination count as well, so that an image may be cut into tiles anywhere.
 *
 * **Memory and threads.** The caller provides the state block and the scratch memory, at any address. Nothing is
 * allocated; everything happens on the caller's thread. A block is only read after its Init and may serve several
 * calls at once. It holds pointers and must not be moved or copied.
 * @{
 */

/** The state block of a detector. */
typedef struct RvpiFastNSpec RvpiFastNSpec;

/** Options of the detector: a sum of ::RvpiFastNOption that contains ::rvpFastNDetect. */
enum RvpiFastNOption {
  rvpFastNOrientation = 1, /**< The corner image tells orientations. */
  rvpFastNSuppression = 2, /**< Only the strongest of neighbouring corners stay; needs ::rvpFastNScore. */
  rvpFastNDetect = 4,      /**< Corners are detected; must be there. */
  rvpFastNScore = 32       /**< The score image is written. */
};

/** A corner. */
typedef struct {
  int32_t x;              /**< Column in the corner image. */
  int32_t y;              /**< Row in the corner image. */
  int32_t cornerType;     /**< 1 for a dark arc, 0 for a bright one. */
  int32_t orientationBin; /**< Low six bits of the corner image; -1 without ::rvpFastNOrientation. */
  float angle; /**< `bin * 360 / orientationBins`, in degrees, as float; -1 without ::rvpFastNOrientation. */
  float score; /**< The score; -1 without ::rvpFastNScore. */
} RvpiCornerFastN;

/**
 * Tells the size of a state block: `8 * L + 68` bytes.
 *
 * @param roiSize Size of the image, in pixels.
 * @param circleRadius 1, 2, 3, 5, 7 or 9.
 * @param arcLength Pixels that an arc must have: more than `L / 2`, up to `L`.
 * @param orientationBins Orientations to tell apart: 1 to 64 with ::rvpFastNOrientation; else it does not matter.
 * @param options A sum of ::RvpiFastNOption.
 * @param dataType ::rvp8u.
 * @param numChannels 1.
 * @param pSpecSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer `pSpecSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadDataType `dataType` is not ::rvp8u.
 * @retval rvpStatusBadNumChannels `numChannels` is not 1.
 * @retval rvpStatusBadArgument `options` lacks ::rvpFastNDetect, has other bits than those named, or has
 * ::rvpFastNSuppression without ::rvpFastNScore; or, checked after the number of orientations, `circleRadius` is
 * none of those named.
 * @retval rvpStatusOutOfRange With ::rvpFastNOrientation, `orientationBins` is below 1 or above 64; or, checked
 * last, `arcLength` is `L / 2` or less, or above `L`.
 */
RVP_API RvpStatus rvpiFastNGetSize(RvpiSize roiSize, int circleRadius, int arcLength, int orientationBins,
                                   int options, RvpDataType dataType, int numChannels, int* pSpecSize);

/**
 * Tells how much scratch memory ::rvpiFastN_8u_C1R needs: `6 * (width + 2) + 624` bytes, a sum that wraps at 32
 * bits.
 *
 * @param pSpec The state block; it is not looked into.
 * @param roiSize Size of the destination, or the largest of several, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiFastNGetBufferSize(const RvpiFastNSpec* pSpec, RvpiSize roiSize, int* pBufferSize);

/**
 * Fills a state block.
 *
 * @param roiSize Size of the whole image, in pixels; where its edge is, corners end.
 * @param circleRadius As in ::rvpiFastNGetSize, and so are the next five.
 * @param arcLength Pixels that an arc must have.
 * @param orientationBins Orientations to tell apart.
 * @param options A sum of ::RvpiFastNOption.
 * @param dataType ::rvp8u.
 * @param numChannels 1.
 * @param pSpec Memory of the size that ::rvpiFastNGetSize tells.
 * @param threshold Least difference between a corner and its arc; differences must be greater than its integer
 * part.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer `pSpec` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadThreshold `threshold` is below 0 or not a number.
 * @retval rvpStatusBadDataType As in ::rvpiFastNGetSize, and so are the next three.
 * @retval rvpStatusBadNumChannels See there.
 * @retval rvpStatusBadArgument See there.
 * @retval rvpStatusOutOfRange See there.
 */
RVP_API RvpStatus rvpiFastNInit(RvpiSize roiSize, int circleRadius, int arcLength, int orientationBins, int options,
                                RvpDataType dataType, int numChannels, RvpiFastNSpec* pSpec, float threshold);

/**
 * Detects corners. See @ref fastn.
 *
 * The destination is a part of the image, or all of it: its pixel (x, y) tells about the image's pixel
 * (x + srcOffset.x, y + srcOffset.y). Pixels of it that lie right of the image or below it become 0; those left of
 * it or above it, where the offset is negative, are left alone. The images must not overlap. Steps are not checked.
 *
 * @param pSrc First pixel of the whole image, whose size ::rvpiFastNInit was told.
 * @param srcStep Row step of the image, in bytes.
 * @param pDstCorner First pixel of the corner image.
 * @param dstCornerStep Row step of the corner image, in bytes.
 * @param pDstScore First pixel of the score image; not used without ::rvpFastNScore.
 * @param dstScoreStep Row step of the score image, in bytes.
 * @param pNumCorner Receives the number of corners in the destination.
 * @param srcOffset Position of the destination within the image.
 * @param dstRoiSize Size of the destination, in pixels.
 * @param pSpec A block that ::rvpiFastNInit has filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer other than `pDstScore` is null; or, checked last, `pDstScore` is null and
 * the block has ::rvpFastNScore.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadSpec The block has not been filled by ::rvpiFastNInit where it stands.
 * @retval rvpStatusBadDataType The block has been spoilt; the same tests as in ::rvpiFastNGetSize.
 * @retval rvpStatusBadNumChannels See there.
 * @retval rvpStatusBadArgument See there.
 * @retval rvpStatusOutOfRange See there.
 */
RVP_API RvpStatus rvpiFastN_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDstCorner, int dstCornerStep,
                                   uint8_t* pDstScore, int dstScoreStep, int* pNumCorner, RvpiPoint srcOffset,
                                   RvpiSize dstRoiSize, const RvpiFastNSpec* pSpec, uint8_t* pBuffer);

/**
 * Lists the corners of a corner image row by row, each row from left to right, until the list is full. Steps are
 * not checked.
 *
 * @param pSrcCorner First pixel of the corner image.
 * @param srcCornerStep Row step of the corner image, in bytes.
 * @param pSrcScore First pixel of the score image; not used without ::rvpFastNScore.
 * @param srcScoreStep Row step of the score image, in bytes.
 * @param pDst Receives the corners.
 * @param dstRoiSize Size of the images, in pixels.
 * @param maxLen Corners that `pDst` has room for; 0 is allowed.
 * @param pNumCorners Receives the number of corners written.
 * @param pSpec The block with which the images were made.
 * @return ::rvpStatusOk, also where the list was too short, or the first of the statuses below that applies.
 * @retval rvpStatusNullPointer A pointer other than `pSrcScore` is null; or, checked last, `pSrcScore` is null and
 * the block has ::rvpFastNScore.
 * @retval rvpStatusBadSize `width` or `height` is below 1, or `maxLen` is below 0.
 * @retval rvpStatusBadSpec As in ::rvpiFastN_8u_C1R, and so are the next four.
 * @retval rvpStatusBadDataType See there.
 * @retval rvpStatusBadNumChannels See there.
 * @retval rvpStatusBadArgument See there.
 * @retval rvpStatusOutOfRange See there.
 */
RVP_API RvpStatus rvpiFastN2DToVec_8u(const uint8_t* pSrcCorner, int srcCornerStep, const uint8_t* pSrcScore,
                                      int srcScoreStep, RvpiCornerFastN* pDst, RvpiSize dstRoiSize, int maxLen,
                                      int* pNumCorners, const RvpiFastNSpec* pSpec);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
