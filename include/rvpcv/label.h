/**
 * @file
 * Labels of connected components, and removal of speckles.
 */
#ifndef RVPCV_LABEL_H
#define RVPCV_LABEL_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup labels Connected components
 * @details
 * Gives each connected component of nonzero pixels a number of its own. Zero pixels stay 0.
 *
 * Components are met in raster order, each at its first pixel: the topmost one, and the leftmost of these. With k
 * components met before, a component gets the label
 *
 *     minLabel + k mod (maxLabel - minLabel + 1)
 *
 * So labels repeat where there are more components than labels. The count goes on, and tells.
 *
 * With labels 1 to 200, the image on the left becomes the one in the middle under ::rvpConnect4, with a count of 3,
 * and the one on the right under ::rvpConnect8, with a count of 2:
 *
 *     7 0 0 9 9      1 0 0 2 2      1 0 0 2 2
 *     7 0 9 0 0      1 0 3 0 0      1 0 2 0 0
 *     7 0 9 9 0      1 0 3 3 0      1 0 2 2 0
 *
 * **Memory.** The caller gives scratch memory at any address; a size function tells how much. Images for which that
 * passes 31 bits are beyond this operation. Nothing is allocated.
 *
 * **Threads.** It runs on the caller's thread.
 *
 * **Sources.** Runs joined by union and find: A. Rosenfeld, J. L. Pfaltz, "Sequential operations in digital picture
 * processing", Journal of the ACM 13 (1966); L. He, Y. Chao, K. Suzuki, "A run-based two-scan labeling algorithm",
 * IEEE Transactions on Image Processing 17 (2008).
 * @{
 */

/**
 * Tells how much scratch memory the labelling needs: `6 * width * height + 32` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiLabelMarkersGetBufferSize_8u_C1R(RvpiSize roiSize, int* pBufferSize);
/** @copydoc rvpiLabelMarkersGetBufferSize_8u_C1R */
RVP_API RvpStatus rvpiLabelMarkersGetBufferSize_16u_C1R(RvpiSize roiSize, int* pBufferSize);
/** @copydoc rvpiLabelMarkersGetBufferSize_8u_C1R */
RVP_API RvpStatus rvpiLabelMarkersGetBufferSize_8u32s_C1R(RvpiSize roiSize, int* pBufferSize);

/**
 * Labels connected components in place. See @ref labels.
 *
 * @param pMarker First pixel of the image; pixels other than 0 belong to components.
 * @param markerStep Row step of the image, in bytes; at least a row, and a multiple of the element size.
 * @param roiSize Size of the region, in pixels.
 * @param minLabel First label; at least 1.
 * @param maxLabel Last label; at least `minLabel`, and below the largest value of the element type: at most 254, or
 * 65534 in 16 bits.
 * @param norm ::rvpConnect4 or ::rvpConnect8.
 * @param pNumber Receives the number of components.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep `markerStep` is shorter than the row.
 * @retval rvpStatusStepNotMultiple `markerStep` is no multiple of the element size.
 * @retval rvpStatusBadArgument `minLabel` or `maxLabel` is not as above, or `norm` is none of ::RvpiNeighbours.
 */
RVP_API RvpStatus rvpiLabelMarkers_8u_C1IR(uint8_t* pMarker, int markerStep, RvpiSize roiSize, int minLabel,
                                           int maxLabel, RvpiConnectivity norm, int* pNumber, uint8_t* pBuffer);
/** @copydoc rvpiLabelMarkers_8u_C1IR */
RVP_API RvpStatus rvpiLabelMarkers_16u_C1IR(uint16_t* pMarker, int markerStep, RvpiSize roiSize, int minLabel,
                                            int maxLabel, RvpiConnectivity norm, int* pNumber, uint8_t* pBuffer);

/**
 * Labels connected components of an 8-bit image with 32-bit labels. See @ref labels.
 *
 * Source, destination and scratch memory must not overlap.
 *
 * @param pSrc First pixel of the source; pixels other than 0 belong to components.
 * @param srcStep Row step of the source, in bytes; at least `width`.
 * @param pDst First pixel of the labels.
 * @param dstStep Row step of the labels, in bytes; at least `4 * width`, and a multiple of 4.
 * @param roiSize Size of the region, in pixels.
 * @param minLabel First label; at least 1.
 * @param maxLabel Last label; at least `minLabel`, and at most 2147483646.
 * @param norm ::rvpConnect4 or ::rvpConnect8.
 * @param pNumber Receives the number of components.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple `dstStep` is no multiple of 4.
 * @retval rvpStatusBadArgument `minLabel` or `maxLabel` is not as above, or `norm` is none of ::RvpiNeighbours.
 */
RVP_API RvpStatus rvpiLabelMarkers_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                             RvpiSize roiSize, int minLabel, int maxLabel, RvpiConnectivity norm,
                                             int* pNumber, uint8_t* pBuffer);

/** @} */

/**
 * @addtogroup speckles Speckles
 * @details
 * Overwrites small blobs of similar pixels with a value, as after stereo matching, where small patches of disparity
 * that differ from all around them are mostly wrong.
 *
 * Two pixels p and q, one above, below, left or right of the other, are linked if
 *
 *     p != speckleValue,  q != speckleValue  and  |p - q| <= maxDifference
 *
 * A blob is a set of pixels that such links connect. A blob of at most `maxSpeckleSize` pixels gets the value
 * `speckleValue`; all other pixels stay as they are.
 *
 * Differences of integers are exact; differences of floats are rounded to float. A pixel that is NaN has no links
 * and is a blob of one pixel; equal infinities are not linked either. Where `maxDifference` is negative or NaN,
 * every pixel is a blob of its own. Where `speckleValue` is NaN, no pixel equals it.
 *
 * With a value of 0, blobs of up to 2 pixels and a difference of 1:
 *
 *     5 5 6 0      5 5 6 0
 *     5 9 7 0  ->  5 0 7 0
 *     0 0 3 3      0 0 0 0
 *
 * **Memory.** The caller gives scratch memory at any address; ::rvpiMarkSpecklesGetBufferSize tells how much.
 * Images for which that passes 31 bits are beyond this operation. Nothing is allocated.
 *
 * **Threads.** It runs on the caller's thread.
 *
 * **Source.** The removal of peaks in H. Hirschmueller, "Stereo processing by semiglobal matching and mutual
 * information", IEEE Transactions on Pattern Analysis and Machine Intelligence 30 (2008).
 * @{
 */

/**
 * Tells how much scratch memory the marking of speckles needs: `13 * width * height + 64` bytes.
 *
 * @param roiSize Size of the region, in pixels.
 * @param dataType ::rvp8u, ::rvp16u, ::rvp16s or ::rvp32f.
 * @param numChannels 1.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadDataType `dataType` is none of the above.
 * @retval rvpStatusBadNumChannels `numChannels` is not 1.
 */
RVP_API RvpStatus rvpiMarkSpecklesGetBufferSize(RvpiSize roiSize, RvpDataType dataType, int numChannels,
                                                int* pBufferSize);

/**
 * Overwrites speckles in place. See @ref speckles.
 *
 * The step is not tested. It may be any number of bytes, also a negative one, for which rows do not overlap.
 *
 * @param pSrcDst First pixel of the image.
 * @param srcDstStep Row step of the image, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param speckleValue What speckles are overwritten with. Pixels of this value belong to no blob.
 * @param maxSpeckleSize Largest size of a speckle, in pixels; below 1 there are none.
 * @param maxDifference Largest difference of linked pixels.
 * @param norm ::rvpConnect4.
 * @param pBuffer Scratch memory, of any content before and after.
 * @return ::rvpStatusOk, or the first of:
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadNorm `norm` is not ::rvpConnect4.
 */
RVP_API RvpStatus rvpiMarkSpeckles_8u_C1IR(uint8_t* pSrcDst, int srcDstStep, RvpiSize roiSize, uint8_t speckleValue,
                                           int maxSpeckleSize, uint8_t maxDifference, RvpiConnectivity norm,
                                           uint8_t* pBuffer);
/** @copydoc rvpiMarkSpeckles_8u_C1IR */
RVP_API RvpStatus rvpiMarkSpeckles_16u_C1IR(uint16_t* pSrcDst, int srcDstStep, RvpiSize roiSize,
                                            uint16_t speckleValue, int maxSpeckleSize, uint16_t maxDifference,
                                            RvpiConnectivity norm, uint8_t* pBuffer);
/** @copydoc rvpiMarkSpeckles_8u_C1IR */
RVP_API RvpStatus rvpiMarkSpeckles_16s_C1IR(int16_t* pSrcDst, int srcDstStep, RvpiSize roiSize,
                                            int16_t speckleValue, int maxSpeckleSize, int16_t maxDifference,
                                            RvpiConnectivity norm, uint8_t* pBuffer);
/** @copydoc rvpiMarkSpeckles_8u_C1IR */
RVP_API RvpStatus rvpiMarkSpeckles_32f_C1IR(float* pSrcDst, int srcDstStep, RvpiSize roiSize, float speckleValue,
                                            int maxSpeckleSize, float maxDifference, RvpiConnectivity norm,
                                            uint8_t* pBuffer);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
