/**
 * @file
 * Morphology: structuring elements, erosion and dilation.
 */
#ifndef RVPCV_MORPH_H
#define RVPCV_MORPH_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup morph Erosion and dilation
 * @details
 * A structuring element is a mask of `W` x `H` bytes, packed without gaps, in which every byte that is not 0
 * selects a cell. Its anchor is its centre, `ax = (W - 1) / 2` and `ay = (H - 1) / 2` rounded down. For each pixel
 * of the region
 *
 *     erosion:   d[y][x] = min of ext[y + i - ay][x + j - ax] over the selected cells (i, j)
 *     dilation:  d[y][x] = max of the same pixels
 *
 * for each channel, where `ext` is the source extended by its border. The mask is not turned round for dilation.
 * With the mask `1 1 0` and replicated borders, the row `5 2 7 4` is eroded to `5 2 2 4` and dilated to `5 5 7 7`.
 * A mask that selects no cell copies the region, whatever the border.
 *
 * **Borders.** `borderType` is ::rvpBorderConst, ::rvpBorderRepl, ::rvpBorderMirror or ::rvpBorderInMem, and the
 * first three take side flags. In a corner beside a flagged and an unflagged side, the constant mode gives the
 * constant; in the other modes the flagged column is read in the row that the mode chooses. `borderValue` is the
 * constant: one value, or a pointer to one a channel. It is used by ::rvpBorderConst alone; the pointer may be null
 * elsewhere, and where all four sides are flagged. Pixels in memory are read as far as the mask's selected cells
 * reach. Where the mask reaches from one side beyond the other, a mirror goes on into the memory beside a flagged
 * other side, as far as the mask itself reaches there, so that tiles fit together however narrow they are.
 *
 * **Bits.** `1u` images hold eight pixels a byte, the least significant bit first. The bit offsets tell the first
 * pixel's bit, counted from the byte at the pointer on; steps are in bytes. Bits outside the region stay as they
 * are, also in bytes that are shared. `borderValue` other than 0 stands for a border of ones. There is no mirror.
 *
 * **Floats.** Infinities are numbers like others. Where a window holds NaN, or where zeros of both signs tie for
 * the extremum, the result is one of the window's values, and the same one on every processor.
 *
 * **Steps of use.** GetSize tells how much memory a structuring element needs, Init notes the mask in the block
 * `pSpec`, and then any number of erosions and dilations can run with it. Both blocks may begin at any address and
 * must not be moved after Init. A state serves regions of at most the width given to Init, and of at most its
 * height. Sizes that pass 31 bits wrap; Init refuses those of the block.
 *
 * **In place.** The region must not overlap its source in other ways than being the same; equal pointers are
 * refused for `1u`, `16u` and `16s`. For the other types they are not an error, but the values of the region are
 * then undefined; as ever, nothing outside of it is written.
 *
 * **Statuses** of erosion and dilation, in the order of checking:
 * 1. ::rvpStatusNullPointer: `pSrc`, `pDst`, `pSpec` or `pBuffer` is null, or `borderValue` where it is needed.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1, or a bit offset is negative.
 * 3. ::rvpStatusBadStep: a step is shorter than the row.
 * 4. ::rvpStatusStepNotMultiple: a step is no multiple of the element size.
 * 5. ::rvpStatusBadBorder: `borderType` is none of those above. For `1u`, only its low four bits are looked at.
 * 6. ::rvpStatusBadSize: the region is wider than the one given to Init. Not for `1u`, where any width will do.
 * 7. ::rvpStatusInPlaceNotSupported: `pSrc` and `pDst` are equal, for `1u`, `16u` and `16s`.
 *
 * **Threads.** Everything runs on the caller's thread. A state and its buffer serve one call at a time.
 *
 * **Sources.** J. Serra, "Image analysis and mathematical morphology", Academic Press (1982). Rectangles of any
 * size at the same cost: M. van Herk, "A fast algorithm for local minimum and maximum filters on rectangular and
 * octagonal kernels", Pattern Recognition Letters 13 (1992).
 * @{
 */

/** A structuring element, noted by an Init function. What it holds is the library's own business. */
typedef struct RvpiMorphState RvpiMorphState;

/** @name Memory for a structuring element
 *  @{ */
/**
 * Tells how much memory a structuring element needs.
 *
 * @param roiSize Size of the largest region, in pixels.
 * @param maskSize Size of the mask, in cells.
 * @param pSpecSize Receives the bytes of the block that Init fills.
 * @param pBufferSize Receives the bytes of the scratch buffer for Init, erosion and dilation.
 * @return ::rvpStatusNullPointer if `pSpecSize` or `pBufferSize` is null; ::rvpStatusBadSize if a width or height
 * is below 1.
 */
RVP_API RvpStatus rvpiMorphologyBorderGetSize_1u_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                     int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_8u_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                     int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_8u_C3R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                     int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_8u_C4R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                     int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_16u_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                      int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_16s_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                      int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_32f_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                      int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_32f_C3R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                      int* pBufferSize);
RVP_API RvpStatus rvpiMorphologyBorderGetSize_32f_C4R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                                      int* pBufferSize);
/** @} */

/** @name Noting a structuring element
 *  @{ */
/**
 * Notes a structuring element in the caller's block.
 *
 * @param roiSize Size of the largest region, in pixels, as it was given to GetSize.
 * @param pMask The mask, `maskSize.width` times `maskSize.height` bytes. It is copied.
 * @param maskSize Size of the mask, in cells, as it was given to GetSize.
 * @param pSpec The block to fill, at any address.
 * @param pBuffer Scratch buffer, at any address, of any content before and after.
 * @return ::rvpStatusNullPointer if a pointer is null; ::rvpStatusBadSize if a width or height is below 1, or if
 * the block's size passes 31 bits.
 */
RVP_API RvpStatus rvpiMorphologyBorderInit_1u_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                  RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_8u_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                  RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_8u_C3R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                  RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_8u_C4R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                  RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_16u_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                   RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_16s_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                   RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_32f_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                   RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_32f_C3R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                   RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphologyBorderInit_32f_C4R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                                   RvpiMorphState* pSpec, uint8_t* pBuffer);
/** @} */

/** @name Erosion
 *  @{ */
/**
 * Erodes a region. See @ref morph for the formula, the borders, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param borderType What lies outside the region.
 * @param borderValue The constant of ::rvpBorderConst.
 * @param pSpec The structuring element.
 * @param pBuffer Scratch buffer, of any content before and after.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiErodeBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                         RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                         const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                         RvpiSize roiSize, RvpiBorderType borderType, const uint8_t* borderValue,
                                         const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                         RvpiSize roiSize, RvpiBorderType borderType, const uint8_t* borderValue,
                                         const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, const float* borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiErodeBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, const float* borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
/** @} */

/** @name Dilation
 *  @{ */
/**
 * Dilates a region. See @ref morph for the formula, the borders, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param borderType What lies outside the region.
 * @param borderValue The constant of ::rvpBorderConst.
 * @param pSpec The structuring element.
 * @param pBuffer Scratch buffer, of any content before and after.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiDilateBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, const uint8_t* borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiBorderType borderType, const uint8_t* borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                           RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                           const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                           RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                           const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                           RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                           const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                           RvpiSize roiSize, RvpiBorderType borderType, const float* borderValue,
                                           const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                           RvpiSize roiSize, RvpiBorderType borderType, const float* borderValue,
                                           const RvpiMorphState* pSpec, uint8_t* pBuffer);
/** @} */

/** @name Erosion and dilation of bits
 *  @{ */
/**
 * Erodes or dilates a region of bits. See @ref morph for the formula, the borders, the limits and the statuses.
 *
 * @param pSrc Byte from which the source's bit offset counts.
 * @param srcStep Row step of the source, in bytes; at least `width` bits.
 * @param srcBitOffset Bit of the source's first pixel; at least 0.
 * @param pDst Byte from which the destination's bit offset counts.
 * @param dstStep Row step of the destination, in bytes; at least `width` bits.
 * @param dstBitOffset Bit of the destination's first pixel; at least 0.
 * @param roiSize Size of the region, in pixels.
 * @param borderType What lies outside the region; no mirror.
 * @param borderValue The constant of ::rvpBorderConst: ones unless it is 0.
 * @param pSpec The structuring element.
 * @param pBuffer Scratch buffer, of any content before and after.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiErodeBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                         int dstStep, int dstBitOffset, RvpiSize roiSize, RvpiBorderType borderType,
                                         uint8_t borderValue, const RvpiMorphState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiDilateBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                          int dstStep, int dstBitOffset, RvpiSize roiSize,
                                          RvpiBorderType borderType, uint8_t borderValue,
                                          const RvpiMorphState* pSpec, uint8_t* pBuffer);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
