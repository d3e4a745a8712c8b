/**
 * @file
 * Compound morphology: opening, closing, top-hat, black-hat and gradient.
 */
#ifndef RVPCV_COMPOUND_MORPH_H
#define RVPCV_COMPOUND_MORPH_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup compound_morph Compound morphology
 * @details
 * What erosion and dilation of one structuring element `B` make together. `B'` is the mask turned by half a circle
 * about its anchor, so that an even mask's anchor moves one column to the right, or one row down.
 *
 *     opening    = dilation of (erosion of s by B) by B'     removes what is bright and smaller than B
 *     closing    = erosion of (dilation of s by B) by B'     removes what is dark and smaller than B
 *     top-hat    = s - opening                               what is bright and smaller than B
 *     black-hat  = closing - s                               what is dark and smaller than B
 *     gradient   = dilation of s by B - erosion of s by B    edges
 *
 * Differences saturate in the integer types and become 0 in float where they are negative, which they can be near a
 * border alone; a float difference that is no number stays NaN. Bits are subtracted as sets. With three cells in a
 * row and replicated borders, the row `1 9 1 1 1` is opened to `1 1 1 1 1`, and its top-hat is `0 8 0 0 0`.
 *
 * **Borders.** `borderType` is ::rvpBorderConst, ::rvpBorderRepl or ::rvpBorderInMem, with side flags, as for
 * @ref morph; there is no mirror. On a side in memory the first of two
 * stages also computes the pixels beside the region, as far as the second reads them: opening and closing read `W -
 * 1` columns and `H - 1` rows beyond the region in all on each axis for each of its sides in memory. On the other
 * sides the border of the mode extends the input of either stage by itself.
 *
 * **Steps of use.** GetSize, Init and the operations are called like those of @ref morph; the intermediate image
 * lies in the buffer. Both blocks may begin at any address and must not be moved after Init. A state serves regions
 * of at most the width and the height given to Init.
 *
 * **In place.** Opening and closing may have equal source and destination, if no side is in memory. For the other
 * operations, and for images that overlap in another way, the region's values are then undefined.
 *
 * **Statuses** of the operations, in the order of checking:
 * 1. ::rvpStatusNullPointer: `pSrc`, `pDst`, `pSpec` or `pBuffer` is null, or `borderValue` where it is needed.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1, or a bit offset is negative.
 * 3. ::rvpStatusBadStep: a step is shorter than the row.
 * 4. ::rvpStatusStepNotMultiple: a step is no multiple of the element size.
 * 5. ::rvpStatusBadBorder: the low four bits of `borderType` are none of the modes above, or, for all types but
 *    `1u`, a bit above the side flags is set.
 * 6. ::rvpStatusBadSize: the region is wider than the one given to Init. The gradient takes `W - 1` columns more.
 * 7. ::rvpStatusInPlaceNotSupported: `pSrc` and `pDst` of a gradient are equal, for `1u`, `16u` and `16s`.
 * 8. ::rvpStatusBadSize: the intermediate image does not fit into the memory that was set aside for it, which has
 *    room for rows of `width + W - 1` pixels, rounded up to 32 bytes, times `height + H - 1`, of the region given
 * to Init; with ::rvpBorderConst `W` and `H` count as the next odd number here. A row of bits counts as a byte a
 *    pixel, and always with `W` and `H` as they are.
 *
 * **Threads.** Everything runs on the caller's thread. A state and its buffer serve one call at a time.
 *
 * **Source.** J. Serra, "Image analysis and mathematical morphology", Academic Press (1982); the top-hat: F. Meyer,
 * "Iterative image transformations for an automatic screening of cervical smears", Journal of Histochemistry and
 * Cytochemistry 27 (1979).
 * @{
 */

/** A structuring element for compound operations, noted by an Init function; the library's own business. */
typedef struct RvpiMorphAdvState RvpiMorphAdvState;

/** @name Memory for a structuring element
 *  @{ */
/**
 * Tells how much memory a structuring element needs.
 *
 * @param roiSize Size of the largest region, in pixels.
 * @param maskSize Size of the mask, in cells.
 * @param pSpecSize Receives the bytes of the block that Init fills.
 * @param pBufferSize Receives the bytes of the scratch buffer for Init and the operations.
 * @return ::rvpStatusNullPointer if `pSpecSize` or `pBufferSize` is null; ::rvpStatusBadSize if a width or height
 * is below 1.
 */
RVP_API RvpStatus rvpiMorphAdvGetSize_1u_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_8u_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_8u_C3R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_8u_C4R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_16u_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                              int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_16s_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                              int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_32f_C1R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                              int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_32f_C3R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
                                              int* pBufferSize);
RVP_API RvpStatus rvpiMorphAdvGetSize_32f_C4R(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,
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
RVP_API RvpStatus rvpiMorphAdvInit_1u_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                          RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_8u_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                          RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_8u_C3R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                          RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_8u_C4R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                          RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_16u_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                           RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_16s_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                           RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_32f_C1R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                           RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_32f_C3R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                           RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphAdvInit_32f_C4R(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,
                                           RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
/** @} */

/** @name Opening
 *  @{ */
/**
 * Opens a region. See @ref compound_morph for the formula, the borders, the limits and the statuses.
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
RVP_API RvpStatus rvpiMorphOpenBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                             RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                             const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                             RvpiSize roiSize, RvpiBorderType borderType,
                                             const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                             uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                             RvpiSize roiSize, RvpiBorderType borderType,
                                             const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                             uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType, const float* borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphOpenBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType, const float* borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
/** @} */

/** @name Closing
 *  @{ */
/**
 * Closes a region. See @ref compound_morph for the formula, the borders, the limits and the statuses.
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
RVP_API RvpStatus rvpiMorphCloseBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType,
                                              const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                              uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiBorderType borderType,
                                              const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                              uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                               const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                               const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                               const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType,
                                               const float* borderValue, const RvpiMorphAdvState* pSpec,
                                               uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType,
                                               const float* borderValue, const RvpiMorphAdvState* pSpec,
                                               uint8_t* pBuffer);
/** @} */

/** @name Top-hat
 *  @{ */
/**
 * Computes the top-hat of a region. See @ref compound_morph for the formula, the borders, the limits and the
 * statuses.
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
RVP_API RvpStatus rvpiMorphTophatBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                               const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType,
                                               const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                               uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                               RvpiSize roiSize, RvpiBorderType borderType,
                                               const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                               uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                                const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                                RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                                const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                                const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                RvpiSize roiSize, RvpiBorderType borderType,
                                                const float* borderValue, const RvpiMorphAdvState* pSpec,
                                                uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                RvpiSize roiSize, RvpiBorderType borderType,
                                                const float* borderValue, const RvpiMorphAdvState* pSpec,
                                                uint8_t* pBuffer);
/** @} */

/** @name Black-hat
 *  @{ */
/**
 * Computes the black-hat of a region. See @ref compound_morph for the formula, the borders, the limits and the
 * statuses.
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
RVP_API RvpStatus rvpiMorphBlackhatBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                 RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                                 const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                 RvpiSize roiSize, RvpiBorderType borderType,
                                                 const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                                 uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                 RvpiSize roiSize, RvpiBorderType borderType,
                                                 const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                                 uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                                  const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                                  const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                                  const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType,
                                                  const float* borderValue, const RvpiMorphAdvState* pSpec,
                                                  uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType,
                                                  const float* borderValue, const RvpiMorphAdvState* pSpec,
                                                  uint8_t* pBuffer);
/** @} */

/** @name Morphological gradient
 *  @{ */
/**
 * Computes the morphological gradient of a region. See @ref compound_morph for the formula, the borders, the limits
 * and the statuses.
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
RVP_API RvpStatus rvpiMorphGradientBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                 RvpiSize roiSize, RvpiBorderType borderType, uint8_t borderValue,
                                                 const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                 RvpiSize roiSize, RvpiBorderType borderType,
                                                 const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                                 uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_8u_C4R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                 RvpiSize roiSize, RvpiBorderType borderType,
                                                 const uint8_t* borderValue, const RvpiMorphAdvState* pSpec,
                                                 uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType, uint16_t borderValue,
                                                  const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType, int16_t borderValue,
                                                  const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType, float borderValue,
                                                  const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType,
                                                  const float* borderValue, const RvpiMorphAdvState* pSpec,
                                                  uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_32f_C4R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiBorderType borderType,
                                                  const float* borderValue, const RvpiMorphAdvState* pSpec,
                                                  uint8_t* pBuffer);
/** @} */

/** @name Compound operations on bits
 *  @{ */
/**
 * A compound operation on bits. See @ref compound_morph for the formulas, the borders, the limits and the statuses,
 * and @ref morph for images of bits.
 *
 * @param pSrc Byte from which the source's bit offset counts.
 * @param srcStep Row step of the source, in bytes; at least `width` bits.
 * @param srcBitOffset Bit of the source's first pixel; at least 0.
 * @param pDst Byte from which the destination's bit offset counts.
 * @param dstStep Row step of the destination, in bytes; at least `width` bits.
 * @param dstBitOffset Bit of the destination's first pixel; at least 0.
 * @param roiSize Size of the region, in pixels.
 * @param borderType What lies outside the region.
 * @param borderValue The constant of ::rvpBorderConst: ones unless it is 0.
 * @param pSpec The structuring element.
 * @param pBuffer Scratch buffer, of any content before and after.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiMorphOpenBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                             int dstStep, int dstBitOffset, RvpiSize roiSize,
                                             RvpiBorderType borderType, uint8_t borderValue,
                                             const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphCloseBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                              int dstStep, int dstBitOffset, RvpiSize roiSize,
                                              RvpiBorderType borderType, uint8_t borderValue,
                                              const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphTophatBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                               int dstStep, int dstBitOffset, RvpiSize roiSize,
                                               RvpiBorderType borderType, uint8_t borderValue,
                                               const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphBlackhatBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                                 int dstStep, int dstBitOffset, RvpiSize roiSize,
                                                 RvpiBorderType borderType, uint8_t borderValue,
                                                 const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMorphGradientBorder_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,
                                                 int dstStep, int dstBitOffset, RvpiSize roiSize,
                                                 RvpiBorderType borderType, uint8_t borderValue,
                                                 const RvpiMorphAdvState* pSpec, uint8_t* pBuffer);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
