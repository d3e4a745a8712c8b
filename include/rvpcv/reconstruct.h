/**
 * @file
 * Morphological reconstruction.
 */
#ifndef RVPCV_RECONSTRUCT_H
#define RVPCV_RECONSTRUCT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup reconstruct Morphological reconstruction
 * @details
 * Grows a marker image under a mask image until nothing changes. With N(p) the neighbours of a pixel p inside the
 * region, reconstruction by dilation starts from `v = min(marker, mask)` and repeats
 *
 *     v[p] = min(max(v[p], max over q in N(p) of v[q]), mask[p])
 *
 * until no pixel rises. So a pixel gets the highest value that reaches it from a marker along a path on which the
 * mask is nowhere below that value. Reconstruction by erosion is its mirror image: with min and max exchanged, the
 * marker falls, and never below the mask. A marker on the wrong side of the mask counts as equal to it.
 *
 * With the marker 0 5 0 0 0 0 and the mask 3 4 4 0 4 4, dilation gives 3 4 4 0 0 0.
 *
 * Common uses:
 * - Holes of a binary image: erode a marker that is 255 inside and the image on the frame, with the image as the
 *   mask. What is left set and was not set before is a hole.
 * - Domes: dilate the image minus h under the image; the difference to the image keeps peaks that rise by h or
 * less.
 * - Opening by reconstruction: dilate an eroded image under the image.
 *
 * **Floats** are compared in total order: -0 lies below +0, a NaN of positive sign above infinity and a NaN of
 * negative sign below minus infinity. No value is ever rounded: each result stood in the marker or in the mask.
 *
 * The result does not depend on the order in which pixels are looked at. It is the same on every processor.
 *
 * **Borders.** Nothing outside the region is read. Marker and mask must not overlap.
 *
 * **Memory.** The caller gives scratch memory at any address; ::rvpiMorphReconstructGetBufferSize tells how much.
 * Nothing is allocated.
 *
 * **Threads.** It runs on the caller's thread.
 *
 * **Sources.** L. Vincent, "Morphological grayscale reconstruction in image analysis: applications and efficient
 * algorithms", IEEE Transactions on Image Processing 2 (1993).
 * @{
 */

/**
 * Tells how much scratch memory reconstruction needs: with the width W and the height H
 *
 * | `dataType` | bytes              |
 * | ---------- | ------------------ |
 * | ::rvp8u    | 4W + H + 161       |
 * | ::rvp16u   | 2 (4W + H) + 322   |
 * | ::rvp32f   | 16W + H + 164      |
 * | ::rvp64f   | 32W + H + 168      |
 *
 * @param roiSize Size of the region, in pixels.
 * @param dataType Element type of the images: one of the above.
 * @param channels 1.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadDataType `dataType` is none of the above.
 * @retval rvpStatusBadNumChannels `channels` is not 1.
 */
RVP_API RvpStatus rvpiMorphReconstructGetBufferSize(RvpiSize roiSize, RvpDataType dataType, int channels,
                                                    int* pBufferSize);

/** @name Dilation
 *  @{ */
/**
 * Reconstructs by dilation. See @ref reconstruct.
 *
 * @param pSrc First pixel of the mask, which the marker stays below.
 * @param srcStep Row step of the mask, in bytes; at least a row, and a multiple of the element size.
 * @param pSrcDst First pixel of the marker, which becomes the result.
 * @param srcDstStep Row step of the marker, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the region, in pixels.
 * @param pBuffer Scratch memory, of any content before and after.
 * @param norm ::rvpConnect4 or ::rvpConnect8.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple A step is no multiple of the element size.
 * @retval rvpStatusBadArgument `norm` is none of ::RvpiNeighbours.
 */
RVP_API RvpStatus rvpiMorphReconstructDilate_8u_C1IR(const uint8_t* pSrc, int srcStep, uint8_t* pSrcDst,
                                                     int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                     RvpiConnectivity norm);
/** @copydoc rvpiMorphReconstructDilate_8u_C1IR */
RVP_API RvpStatus rvpiMorphReconstructDilate_16u_C1IR(const uint16_t* pSrc, int srcStep, uint16_t* pSrcDst,
                                                      int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                      RvpiConnectivity norm);
/** @copydoc rvpiMorphReconstructDilate_8u_C1IR */
RVP_API RvpStatus rvpiMorphReconstructDilate_32f_C1IR(const float* pSrc, int srcStep, float* pSrcDst,
                                                      int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                      RvpiConnectivity norm);
/** @copydoc rvpiMorphReconstructDilate_8u_C1IR */
RVP_API RvpStatus rvpiMorphReconstructDilate_64f_C1IR(const double* pSrc, int srcStep, double* pSrcDst,
                                                      int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                      RvpiConnectivity norm);
/** @} */

/** @name Erosion
 *  @{ */
/**
 * Reconstructs by erosion. See @ref reconstruct.
 *
 * @param pSrc First pixel of the mask, which the marker stays above.
 * @param srcStep Row step of the mask, in bytes; at least a row, and a multiple of the element size.
 * @param pSrcDst First pixel of the marker, which becomes the result.
 * @param srcDstStep Row step of the marker, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the region, in pixels.
 * @param pBuffer Scratch memory, of any content before and after.
 * @param norm ::rvpConnect4 or ::rvpConnect8.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple A step is no multiple of the element size.
 * @retval rvpStatusBadArgument `norm` is none of ::RvpiNeighbours.
 */
RVP_API RvpStatus rvpiMorphReconstructErode_8u_C1IR(const uint8_t* pSrc, int srcStep, uint8_t* pSrcDst,
                                                    int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                    RvpiConnectivity norm);
/** @copydoc rvpiMorphReconstructErode_8u_C1IR */
RVP_API RvpStatus rvpiMorphReconstructErode_16u_C1IR(const uint16_t* pSrc, int srcStep, uint16_t* pSrcDst,
                                                     int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                     RvpiConnectivity norm);
/** @copydoc rvpiMorphReconstructErode_8u_C1IR */
RVP_API RvpStatus rvpiMorphReconstructErode_32f_C1IR(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                                     RvpiSize roiSize, uint8_t* pBuffer, RvpiConnectivity norm);
/** @copydoc rvpiMorphReconstructErode_8u_C1IR */
RVP_API RvpStatus rvpiMorphReconstructErode_64f_C1IR(const double* pSrc, int srcStep, double* pSrcDst,
                                                     int srcDstStep, RvpiSize roiSize, uint8_t* pBuffer,
                                                     RvpiConnectivity norm);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
