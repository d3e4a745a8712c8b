// Structuring elements: how much memory an operation with one needs, and what is noted of it beforehand.
//
// The sizes are a contract of their own: they are what callers have allocated, and every road has to do with them.
#include "morph/state.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "rvpcv/morph.h"

namespace rvp::n8 {
namespace {

std::uint64_t roundedUp(std::uint64_t value, std::uint64_t unit) { return (value + unit - 1) & ~(unit - 1); }

// Scratch of the row filters, and of the masks whose rows are runs through the anchor, with `c * e` bytes a pixel.
std::uint64_t rowFilterBytes(std::uint64_t rowBytes, std::uint64_t h) {
  return 32 * h + 2 * h * (rowBytes + 32) + 32;
}
std::uint64_t runFilterBytes(std::uint64_t rowBytes, std::uint64_t h) {
  return 40 * h + (h * h + 1) * (rowBytes + 32) + 40;
}

// The pixels of an image extended by the mask's reach, or of strips along its sides where the mask is smaller.
std::uint64_t extendedPixels(std::uint64_t width, std::uint64_t height, std::uint64_t w, std::uint64_t h) {
  if (w >= width || h >= height) return (w + width - 1) * (h + height - 1);
  const std::uint64_t below = h - (h >> 1U) - 1;
  const std::uint64_t right = w - (w >> 1U) - 1;
  const std::uint64_t rows = below > 0 ? (width + w - 1) * (h + below - 1) : 0;
  return right > 0 ? std::max((height + h - 1) * (w + right - 1), rows) : rows;
}

}  // namespace

MorphSizes morphSizes(const PixelForm& form, RvpiSize roiSize, RvpiSize maskSize) {
  const auto width = static_cast<std::uint64_t>(roiSize.width);
  const auto height = static_cast<std::uint64_t>(roiSize.height);
  const auto w = static_cast<std::uint64_t>(maskSize.width);
  const auto h = static_cast<std::uint64_t>(maskSize.height);
  const std::uint64_t mask = roundedUp(w * h, 16);
  const std::uint64_t rowBytes = width * form.pixelBytes();
  const std::uint64_t rowFilter = rowFilterBytes(rowBytes, h) * (form.elementBytes == 2 ? 2 : 1);
  const std::uint64_t lists = (16 * h + 79) & ~std::uint64_t{15};
  const std::uint64_t work =
      std::max(rowFilter, runFilterBytes(rowBytes, h)) + ((24 * h + 15) & ~std::uint64_t{15}) + mask;
  // Two rows of words for each row of the mask.
  const std::uint64_t wordBytes = form.isFloat ? 4 * form.channels : 4;
  const std::uint64_t wordRows = 2 * h * roundedUp((width + w) * wordBytes, 16) + 16;
  if (form.isBits()) return {mask + 112, std::max(wordRows, work + lists)};

  MorphSizes sizes = {16 * h + 176 + mask, work + lists};
  if (form.elementBytes != 2) sizes.spec += 32 * mask + work + (form.channels == 1 ? lists : 0);
  if (form.channels > 1) sizes.buffer = std::max(wordRows, sizes.buffer);

  // The same mask with odd sides, for the borders that extend the image.
  const std::uint64_t oddW = w | 1U, oddH = h | 1U;
  const std::uint64_t slack = form.isFloat ? 64 : form.elementBytes == 2 ? 32 : 16;
  const std::uint64_t pixelBytes = form.pixelBytes();
  const std::uint64_t ring = roundedUp(rowBytes, 32) * oddH + roundedUp(oddW * pixelBytes, 32) + slack;
  sizes.spec += oddW * oddH + 112;
  sizes.buffer += roundedUp(extendedPixels(width, height, oddW, oddH) * pixelBytes, 32) + ring + 64;
  return sizes;
}

void fillState(RvpiMorphState* state, const std::uint8_t* pMask, RvpiSize maskSize, bool reflected, int maxRoiWidth,
               int bufferSize) {
  const int w = maskSize.width, h = maskSize.height;
  const int anchorX = (w - 1) >> 1, anchorY = (h - 1) >> 1;
  const std::ptrdiff_t cells = std::ptrdiff_t{w} * h;
  std::uint8_t* mask = state->mask();
  std::copy_n(pMask, cells, mask);
  if (reflected) std::reverse(mask, mask + cells);
  int left = w, right = -1, top = h, bottom = -1;
  std::ptrdiff_t selected = 0;
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      if (mask[std::ptrdiff_t{y} * w + x] == 0) continue;
      ++selected;
      left = std::min(left, x);
      right = std::max(right, x);
      top = std::min(top, y);
      bottom = y;
    }
  }
  state->maskWidth = w;
  state->maskHeight = h;
  state->anchorX = reflected ? w - 1 - anchorX : anchorX;
  state->anchorY = reflected ? h - 1 - anchorY : anchorY;
  state->maxRoiWidth = maxRoiWidth;
  state->bufferSize = bufferSize;
  state->boxLeft = left;
  state->boxTop = top;
  state->boxWidth = right - left + 1;
  state->boxHeight = bottom - top + 1;
  state->maskKind = selected == 0                                                    ? rvpMaskEmpty
                    : selected == std::ptrdiff_t{state->boxWidth} * state->boxHeight ? rvpMaskRectangle
                                                                                     : rvpMaskGeneral;
}

Cells cellsOf(const RvpiMorphState& state) {
  const std::ptrdiff_t left = std::ptrdiff_t{state.boxLeft} - state.anchorX;
  const std::ptrdiff_t top = std::ptrdiff_t{state.boxTop} - state.anchorY;
  return {left,
          top,
          left + state.boxWidth - 1,
          top + state.boxHeight - 1,
          state.maskKind == rvpMaskRectangle,
          state.mask() + std::ptrdiff_t{state.boxTop} * state.maskWidth + state.boxLeft,
          state.maskWidth};
}

namespace {

RvpStatus getSize(const PixelForm& form, RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSpecSize, pBufferSize), badSize(roiSize), badSize(maskSize)))
    return fault;
  const MorphSizes sizes = morphSizes(form, roiSize, maskSize);
  *pSpecSize = static_cast<int>(sizes.spec);
  *pBufferSize = static_cast<int>(sizes.buffer);
  return rvpStatusOk;
}

RvpStatus init(const PixelForm& form, RvpiSize roiSize, const std::uint8_t* pMask, RvpiSize maskSize,
               RvpiMorphState* pSpec, const std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pMask, pSpec, pBuffer), badSize(roiSize), badSize(maskSize)))
    return fault;
  const MorphSizes sizes = morphSizes(form, roiSize, maskSize);
  // A block that the interface cannot tell the size of has not been allocated.
  if (sizes.spec > std::numeric_limits<std::int32_t>::max()) return rvpStatusBadSize;
  fillState(headerOf(pSpec), pMask, maskSize, false, roiSize.width, static_cast<int>(sizes.buffer));
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_MORPHOLOGY_BORDER(TYPE, FORM)                                                              \
  RvpStatus rvpiMorphologyBorderGetSize_##TYPE(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize,    \
                                               int* pBufferSize) {                                     \
    return rvp::n8::getSize(FORM, roiSize, maskSize, pSpecSize, pBufferSize);                          \
  }                                                                                                    \
  RvpStatus rvpiMorphologyBorderInit_##TYPE(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize, \
                                            RvpiMorphState* pSpec, uint8_t* pBuffer) {                 \
    return rvp::n8::init(FORM, roiSize, pMask, maskSize, pSpec, pBuffer);                              \
  }

extern "C" {

RVP_MORPHOLOGY_BORDER(1u_C1R, rvp::n8::kBitForm)
RVP_MORPHOLOGY_BORDER(8u_C1R, (rvp::n8::kFormOf<uint8_t, 1>))
RVP_MORPHOLOGY_BORDER(8u_C3R, (rvp::n8::kFormOf<uint8_t, 3>))
RVP_MORPHOLOGY_BORDER(8u_C4R, (rvp::n8::kFormOf<uint8_t, 4>))
RVP_MORPHOLOGY_BORDER(16u_C1R, (rvp::n8::kFormOf<uint16_t, 1>))
RVP_MORPHOLOGY_BORDER(16s_C1R, (rvp::n8::kFormOf<int16_t, 1>))
RVP_MORPHOLOGY_BORDER(32f_C1R, (rvp::n8::kFormOf<float, 1>))
RVP_MORPHOLOGY_BORDER(32f_C3R, (rvp::n8::kFormOf<float, 3>))
RVP_MORPHOLOGY_BORDER(32f_C4R, (rvp::n8::kFormOf<float, 4>))

}  // extern "C"
