/**
 * @file
 * Flood fill.
 */
#ifndef RVPCV_FLOOD_H
#define RVPCV_FLOOD_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup flood Flood fill
 * @details
 * Fills the connected region around a seed pixel with a new value, in place, and tells its area and the rectangle
 * around it. Pixels are connected with the 4 pixels that share a side with them (`4Con`) or with the 8 that also
 * share a corner (`8Con`), inside the image. What belongs to the region besides the seed, with `s` the seed's
 * value:
 *
 * | kind     | a pixel `n`, connected with a pixel `c` of the region, belongs to it if in every channel       |
 * | -------- | ----------------------------------------------------------------------------------------------- |
 * | plain    | `n == s`                                                                                        |
 * | range    | `s - minDelta <= n <= s + maxDelta`, the limits clamped to the type's range in integers          |
 * | gradient | `c - minDelta <= n <= c + maxDelta`                                                              |
 *
 * All are told from the image as it was before the fill. In float the gradient is tested as
 * `|n + d - c| <= h` with `h = (minDelta + maxDelta) * 0.5` and `d = (minDelta - maxDelta) * 0.5`, each operation
 * rounded; infinite limits therefore take in nothing. A NaN equals nothing and lies in no range: it is filled only
 * as the seed, and a region around it is that pixel alone.
 *
 * With seed (0, 0), new value 9, minDelta 0 and maxDelta 1, a row of `1 1 2 3 5` becomes
 *
 *     plain       9 9 2 3 5
 *     range       9 9 9 3 5
 *     gradient    9 9 9 9 5
 *
 * **What is forgotten.** The range kinds keep at most `width * height / 4` spans, rounded down, in mind that were
 * found and not yet explored. In the moment in which there are so many, all of them are forgotten: the fill goes on
 * with what it finds afterwards, and may end early, with a part of the region filled and status 0. The area then
 * counts all pixels filled, but the rectangle leaves out the spans that were forgotten. If that number is 1, the
 * seed's own span alone is filled; if it is 0, nothing is forgotten. Photographs stay far below it. Spans are
 * explored last in, first out. Of each, first the row on the far side of the span from which it was found is looked
 * at, then the other one, each from left to right; the seed's span counts as found from below, and in the last row
 * as found from above. The plain and gradient kinds always fill the whole region.
 *
 * **Memory.** The caller gives scratch memory at any address; ::rvpiFloodFillGetSize tells how much for the plain
 * and range kinds, ::rvpiFloodFillGetSize_Grad for the gradient kinds. Images for which that passes 31 bits are
 * refused, except that the plain and range kinds fill a single row of any width. Nothing is allocated.
 *
 * **Threads.** A fill runs on the caller's thread. Calls at the same time need separate images and scratch.
 *
 * **Sources.** Spans instead of pixels: A. R. Smith, "Tint fill", Computer Graphics 13 (1979); P. S. Heckbert, "A
 * seed fill algorithm", in Graphics Gems (1990).
 * @{
 */

/** What a flood fill did. */
typedef struct {
  double area;     /**< Number of pixels filled. */
  double value[3]; /**< The new value of each channel; with one channel the other two are 0. */
  RvpiRect rect;   /**< The smallest rectangle around the spans explored, which are all but forgotten ones. */
} RvpiFilledRegion;

/** @name Scratch memory
 *  @{ */
/**
 * Tells how much scratch memory the plain and range kinds need: `6 * width * height + 32` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes: its low 32 bits.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiFloodFillGetSize(RvpiSize roiSize, int* pBufferSize);
/**
 * Tells how much scratch memory the gradient kinds need:
 * `(width + 2) * (height + 2) + 16 * width * height + 64` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes: its low 32 bits.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiFloodFillGetSize_Grad(RvpiSize roiSize, int* pBufferSize);
/** @} */

/** @name Plain kinds
 *  @{ */
/**
 * Fills the pixels that equal the seed, in an image of one channel. See @ref flood.
 *
 * If the seed already has the new value, nothing is written, `pRegion` included.
 *
 * @param pImage First pixel of the image.
 * @param imageStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the image, in pixels.
 * @param seed The pixel to begin at.
 * @param newValue The new value.
 * @param pRegion Receives what was filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `imageStep` is shorter than a row.
 * @retval rvpStatusStepNotMultiple `imageStep` is no multiple of the element size.
 * @retval rvpStatusOutOfRange The seed lies outside the image.
 * @retval rvpStatusSizeOverflow The scratch memory does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFloodFill_4Con_8u_C1IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                             uint8_t newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_4Con_16u_C1IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              uint16_t newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_4Con_32f_C1IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              float newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_4Con_32s_C1IR(int32_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              int32_t newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_8Con_8u_C1IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                             uint8_t newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_8Con_16u_C1IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              uint16_t newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_8Con_32f_C1IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              float newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_8Con_32s_C1IR(int32_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              int32_t newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/**
 * Fills the pixels that equal the seed, in an image of three channels. See @ref flood.
 *
 * If the seed already has the new value, nothing is written, `pRegion` included.
 *
 * @param pImage First pixel of the image.
 * @param imageStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the image, in pixels.
 * @param seed The pixel to begin at.
 * @param pNewValue The new value, 3 channels.
 * @param pRegion Receives what was filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `imageStep` is shorter than a row.
 * @retval rvpStatusStepNotMultiple `imageStep` is no multiple of the element size.
 * @retval rvpStatusOutOfRange The seed lies outside the image.
 * @retval rvpStatusSizeOverflow The scratch memory does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFloodFill_4Con_8u_C3IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                             const uint8_t* pNewValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_4Con_16u_C3IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              const uint16_t* pNewValue, RvpiFilledRegion* pRegion,
                                              uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_4Con_32f_C3IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              const float* pNewValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_8Con_8u_C3IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                             const uint8_t* pNewValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_8Con_16u_C3IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              const uint16_t* pNewValue, RvpiFilledRegion* pRegion,
                                              uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_8Con_32f_C3IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                              const float* pNewValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @} */

/** @name Range kinds
 *  @{ */
/**
 * Fills the pixels in a range around the seed's value, in an image of one channel. See @ref flood.
 *
 * @param pImage First pixel of the image.
 * @param imageStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the image, in pixels.
 * @param seed The pixel to begin at.
 * @param newValue The new value.
 * @param minDelta How far below the seed's a value may lie.
 * @param maxDelta How far above the seed's a value may lie.
 * @param pRegion Receives what was filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `imageStep` is shorter than a row.
 * @retval rvpStatusStepNotMultiple `imageStep` is no multiple of the element size.
 * @retval rvpStatusOutOfRange The seed lies outside the image.
 * @retval rvpStatusBadArgument The new value lies in the range, in every channel.
 * @retval rvpStatusSizeOverflow The scratch memory does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFloodFill_Range4Con_8u_C1IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  uint8_t newValue, uint8_t minDelta, uint8_t maxDelta,
                                                  RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Range4Con_16u_C1IR(uint16_t* pImage, int imageStep, RvpiSize roiSize,
                                                   RvpiPoint seed, uint16_t newValue, uint16_t minDelta,
                                                   uint16_t maxDelta, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Range4Con_32f_C1IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                   float newValue, float minDelta, float maxDelta,
                                                   RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Range8Con_8u_C1IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  uint8_t newValue, uint8_t minDelta, uint8_t maxDelta,
                                                  RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Range8Con_16u_C1IR(uint16_t* pImage, int imageStep, RvpiSize roiSize,
                                                   RvpiPoint seed, uint16_t newValue, uint16_t minDelta,
                                                   uint16_t maxDelta, RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Range8Con_32f_C1IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                   float newValue, float minDelta, float maxDelta,
                                                   RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/**
 * Fills the pixels in a range around the seed's value, in an image of three channels. See @ref flood.
 *
 * @param pImage First pixel of the image.
 * @param imageStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the image, in pixels.
 * @param seed The pixel to begin at.
 * @param pNewValue The new value, 3 channels.
 * @param pMinDelta How far below the seed's a value may lie, 3 channels.
 * @param pMaxDelta How far above the seed's a value may lie, 3 channels.
 * @param pRegion Receives what was filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `imageStep` is shorter than a row.
 * @retval rvpStatusStepNotMultiple `imageStep` is no multiple of the element size.
 * @retval rvpStatusOutOfRange The seed lies outside the image.
 * @retval rvpStatusBadArgument The new value lies in the range, in every channel.
 * @retval rvpStatusSizeOverflow The scratch memory does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFloodFill_Range4Con_8u_C3IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  const uint8_t* pNewValue, const uint8_t* pMinDelta,
                                                  const uint8_t* pMaxDelta, RvpiFilledRegion* pRegion,
                                                  uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Range4Con_16u_C3IR(uint16_t* pImage, int imageStep, RvpiSize roiSize,
                                                   RvpiPoint seed, const uint16_t* pNewValue,
                                                   const uint16_t* pMinDelta, const uint16_t* pMaxDelta,
                                                   RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Range4Con_32f_C3IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                   const float* pNewValue, const float* pMinDelta,
                                                   const float* pMaxDelta, RvpiFilledRegion* pRegion,
                                                   uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Range8Con_8u_C3IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  const uint8_t* pNewValue, const uint8_t* pMinDelta,
                                                  const uint8_t* pMaxDelta, RvpiFilledRegion* pRegion,
                                                  uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Range8Con_16u_C3IR(uint16_t* pImage, int imageStep, RvpiSize roiSize,
                                                   RvpiPoint seed, const uint16_t* pNewValue,
                                                   const uint16_t* pMinDelta, const uint16_t* pMaxDelta,
                                                   RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Range4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Range8Con_32f_C3IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                   const float* pNewValue, const float* pMinDelta,
                                                   const float* pMaxDelta, RvpiFilledRegion* pRegion,
                                                   uint8_t* pBuffer);
/** @} */

/** @name Gradient kinds
 *  @{ */
/**
 * Fills the pixels that differ little from a neighbour that is filled, in an image of one channel. See @ref flood.
 *
 * @param pImage First pixel of the image.
 * @param imageStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the image, in pixels.
 * @param seed The pixel to begin at.
 * @param newValue The new value.
 * @param minDelta How far below a neighbour's a value may lie.
 * @param maxDelta How far above a neighbour's a value may lie.
 * @param pRegion Receives what was filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `imageStep` is shorter than a row.
 * @retval rvpStatusStepNotMultiple `imageStep` is no multiple of the element size.
 * @retval rvpStatusOutOfRange The seed lies outside the image, or a delta in float is below 0.
 * @retval rvpStatusSizeOverflow The scratch memory does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFloodFill_Grad4Con_8u_C1IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                 uint8_t newValue, uint8_t minDelta, uint8_t maxDelta,
                                                 RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Grad4Con_16u_C1IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  uint16_t newValue, uint16_t minDelta, uint16_t maxDelta,
                                                  RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Grad4Con_32f_C1IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  float newValue, float minDelta, float maxDelta,
                                                  RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Grad8Con_8u_C1IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                 uint8_t newValue, uint8_t minDelta, uint8_t maxDelta,
                                                 RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Grad8Con_16u_C1IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  uint16_t newValue, uint16_t minDelta, uint16_t maxDelta,
                                                  RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C1IR */
RVP_API RvpStatus rvpiFloodFill_Grad8Con_32f_C1IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  float newValue, float minDelta, float maxDelta,
                                                  RvpiFilledRegion* pRegion, uint8_t* pBuffer);
/**
 * Fills the pixels that differ little from a neighbour that is filled, in an image of three channels. See @ref
 * flood.
 *
 * @param pImage First pixel of the image.
 * @param imageStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the image, in pixels.
 * @param seed The pixel to begin at.
 * @param pNewValue The new value, 3 channels.
 * @param pMinDelta How far below a neighbour's a value may lie, 3 channels.
 * @param pMaxDelta How far above a neighbour's a value may lie, 3 channels.
 * @param pRegion Receives what was filled.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first fault.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `imageStep` is shorter than a row.
 * @retval rvpStatusStepNotMultiple `imageStep` is no multiple of the element size.
 * @retval rvpStatusOutOfRange The seed lies outside the image, or a delta in float is below 0.
 * @retval rvpStatusSizeOverflow The scratch memory does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFloodFill_Grad4Con_8u_C3IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                 const uint8_t* pNewValue, const uint8_t* pMinDelta,
                                                 const uint8_t* pMaxDelta, RvpiFilledRegion* pRegion,
                                                 uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Grad4Con_16u_C3IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  const uint16_t* pNewValue, const uint16_t* pMinDelta,
                                                  const uint16_t* pMaxDelta, RvpiFilledRegion* pRegion,
                                                  uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Grad4Con_32f_C3IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  const float* pNewValue, const float* pMinDelta,
                                                  const float* pMaxDelta, RvpiFilledRegion* pRegion,
                                                  uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Grad8Con_8u_C3IR(uint8_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                 const uint8_t* pNewValue, const uint8_t* pMinDelta,
                                                 const uint8_t* pMaxDelta, RvpiFilledRegion* pRegion,
                                                 uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Grad8Con_16u_C3IR(uint16_t* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  const uint16_t* pNewValue, const uint16_t* pMinDelta,
                                                  const uint16_t* pMaxDelta, RvpiFilledRegion* pRegion,
                                                  uint8_t* pBuffer);
/** @copydoc rvpiFloodFill_Grad4Con_8u_C3IR */
RVP_API RvpStatus rvpiFloodFill_Grad8Con_32f_C3IR(float* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed,
                                                  const float* pNewValue, const float* pMinDelta,
                                                  const float* pMaxDelta, RvpiFilledRegion* pRegion,
                                                  uint8_t* pBuffer);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
