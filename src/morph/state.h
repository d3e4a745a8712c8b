// A structuring element as the operations find it in the caller's block: a header, and behind it the mask.
//
// The header is found at the first multiple of its alignment in the block, so that a block may begin at any
// address. It has offsets and no pointers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/views.h"
#include "morph/cells.h"
#include "rvpcv/types.h"

// What a mask is, as far as it matters.
enum RvpMaskKind : std::int32_t {
  rvpMaskGeneral = 0,
  rvpMaskRectangle = 1,  // The selected cells are one solid rectangle, anywhere in the mask.
  rvpMaskEmpty = 3,
};

struct RvpiMorphState {
  std::int32_t maskWidth;
  std::int32_t maskHeight;
  std::int32_t anchorX;
  std::int32_t anchorY;
  std::int32_t maxRoiWidth;
  std::int32_t bufferSize;  // Bytes that the caller's buffer has.
  RvpMaskKind maskKind;
  std::int32_t boxLeft;  // The selected cells' bounding box.
  std::int32_t boxTop;
  std::int32_t boxWidth;
  std::int32_t boxHeight;

  std::uint8_t* mask() { return reinterpret_cast<std::uint8_t*>(this + 1); }
  const std::uint8_t* mask() const { return reinterpret_cast<const std::uint8_t*>(this + 1); }
};

namespace rvp::n8 {

// The header of a block.
template <class State>
State* headerOf(State* pSpec) {
  auto* block = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(pSpec));
  return reinterpret_cast<State*>(alignedUp(block, alignof(State)));
}

// The block's and the buffer's bytes. The interface tells sizes in 32 bits; what passes them wraps.
struct MorphSizes {
  std::uint64_t spec;
  std::uint64_t buffer;
};

// Element type and channels, as far as sizes go; one bit a pixel has elementBytes 0.
struct PixelForm {
  std::uint64_t elementBytes;
  std::uint64_t channels;
  bool isFloat;

  bool isBits() const { return elementBytes == 0; }
  std::uint64_t pixelBytes() const { return isBits() ? 1 : elementBytes * channels; }
};
template <class T, int kChannels>
constexpr PixelForm kFormOf = {sizeof(T), kChannels, std::is_same_v<T, float>};
constexpr PixelForm kBitForm = {0, 1, false};

MorphSizes morphSizes(const PixelForm& form, RvpiSize roiSize, RvpiSize maskSize);

// Fills a header and the mask behind it. `reflected` turns the mask about its anchor.
void fillState(RvpiMorphState* state, const std::uint8_t* pMask, RvpiSize maskSize, bool reflected, int maxRoiWidth,
               int bufferSize);

// The selected cells, of a mask that has some.
Cells cellsOf(const RvpiMorphState& state);

}  // namespace rvp::n8
