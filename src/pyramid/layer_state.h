// The block that holds the state of a layer: a header, the normalised kernel, the sizes of a pyramid's levels, and
// the memory in which a call works. Pointers in it are absolute. A block may begin at any address: the pointer that
// a caller has is to its first byte, and the header lies at the first place from there on that suits it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "frame/views.h"
#include "pyramid/levels.h"
#include "rvpcv/pyramid_layer.h"

namespace rvp::n8 {

// An up layer has no levels and no groups.
struct LayerState {
  void* pKernel;              // Full length, symmetric, and one zero behind it.
  std::uint8_t* pWork;        // What a call works in.
  std::uint8_t* pThreadData;  // The same where it is shared out to a team, else null.
  RvpiSize* pLevels;          // levelCount + 1 entries, or null.
  std::int32_t levelCount;
  std::int32_t kerSize;
  std::int32_t dataType;
  std::int32_t srcWidth;
  std::int32_t srcHeight;
  std::int32_t mode;
  float rate;
  std::int32_t ready;
  std::int64_t workBytes;  // Of pWork, however large the block's size would have come to.
};

// A kernel of bytes and 16-bit words is made of 16-bit integers.
template <class T>
using KernelElement = std::conditional_t<std::is_same_v<T, float>, float, std::int16_t>;

template <class T>
constexpr std::int32_t kDataType = std::is_same_v<T, float>          ? rvp32f
                                   : std::is_same_v<T, std::uint8_t> ? rvp8u
                                                                     : rvp16u;

// What lies in a block begins at a multiple of this.
constexpr std::ptrdiff_t kWorkAlignment = 32;

// Shares out memory, in order, as offsets from where it begins. What is larger than any block counts as just that.
class WorkLayout {
 public:
  std::int64_t take(std::int64_t count, std::int64_t size) {
    constexpr std::int64_t kMost = std::int64_t{1} << 40;
    const std::int64_t at = end_;
    std::int64_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes) || bytes > kMost) bytes = kMost;
    end_ += (bytes + kWorkAlignment - 1) / kWorkAlignment * kWorkAlignment;
    return at;
  }
  std::int64_t bytes() const { return end_; }

 private:
  std::int64_t end_ = 0;
};

// A size of a formula in double, where it is exact as far as it fits in 31 bits. Beyond them it is cut: calls
// stream their rows, so that they need much less.
inline int reportedSize(double bytes) {
  constexpr int kMost = std::numeric_limits<int>::max();
  return bytes < static_cast<double>(kMost) ? static_cast<int>(bytes) : kMost;
}

inline double roundedUp(double value, double unit) { return std::ceil(value / unit) * unit; }

// Arguments that the size and the Init functions share.
inline RvpStatus badLayer(RvpiSize roiSize, float rate, int kerSize) {
  return firstFault(badSize(roiSize), badRate(rate),
                    faultIf(kerSize < 3 || kerSize % 2 == 0, rvpStatusBadArgument));
}

// Differences, sums and weights up to this, the least normal number, count as none.
constexpr float kNegligible = std::numeric_limits<float>::min();

// What a sum is multiplied by, given the sum of its weights, which are coefficients of type K.
template <class K>
float inverse(float weights) {
  constexpr float kOne = std::is_same_v<K, float> ? 1.0F : 32768.0F;
  return std::abs(weights) > kNegligible ? kOne / weights : weights;
}

// Whether a state's kernel of integers is 1 4 6 4 1; 2 8 12 8 2 is, once it is normalised.
inline bool isBinomial(const LayerState& state) {
  const auto* kernel = static_cast<const std::int16_t*>(state.pKernel);
  return state.kerSize == 5 && kernel[0] == 512 && kernel[1] == 2048 && kernel[2] == 3072;
}

// The sum of the kernel whose left half is given; exact for integers.
template <class K>
auto kernelSum(const K* kernel, int centre) {
  using Sum = std::conditional_t<std::is_same_v<K, float>, float, std::int64_t>;
  Sum half = 0;
  for (int i = 0; i < centre; ++i) half += kernel[i];
  return static_cast<Sum>(static_cast<Sum>(kernel[centre]) + 2 * half);
}

// Stores normalised(k[i]) for the left half and the centre, and the mirrored right half; tells whether the caller's
// halves differ.
template <class K, class Normalise>
RvpStatus storeKernel(const K* kernel, int kerSize, K* stored, const Normalise& normalised) {
  bool symmetric = true;
  for (int i = 0; i <= kerSize / 2; ++i) {
    const K left = kernel[i];
    const K right = kernel[kerSize - 1 - i];
    if constexpr (std::is_same_v<K, float>) {
      symmetric = symmetric && !(std::abs(left - right) > kNegligible);
    } else {
      symmetric = symmetric && left == right;
    }
    stored[i] = stored[kerSize - 1 - i] = normalised(left);
  }
  stored[kerSize] = 0;
  return symmetric ? rvpStatusOk : rvpStatusKernelNotSymmetric;
}

// The header in a caller's block.
template <class Block>
LayerState& headerOf(Block* block) {
  return *reinterpret_cast<LayerState*>(alignedUp(reinterpret_cast<std::uint8_t*>(block), alignof(LayerState)));
}
template <class Block>
const LayerState& headerOf(const Block* block) {
  return headerOf(const_cast<Block*>(block));
}

// Lays out a block of `bytes` bytes, but for the levels, which follow the kernel, and fills in all that both layers
// have; the work begins behind `levels` entries.
template <class T>
LayerState* layOutState(std::uint8_t* block, int bytes, RvpiSize roiSize, float rate, int kerSize, int levels) {
  LayerState* const state = &headerOf(block);
  const auto after = [](void* array, std::ptrdiff_t count, std::size_t size) {
    return alignedUp(static_cast<std::uint8_t*>(array) + count * static_cast<std::ptrdiff_t>(size), kWorkAlignment);
  };
  state->pKernel = after(state, 1, sizeof(LayerState));
  std::uint8_t* const behindKernel = after(state->pKernel, std::ptrdiff_t{kerSize} + 1, sizeof(KernelElement<T>));
  state->pLevels = levels == 0 ? nullptr : reinterpret_cast<RvpiSize*>(behindKernel);
  state->pWork = after(behindKernel, levels, sizeof(RvpiSize));
  state->pThreadData = nullptr;
  state->levelCount = 0;
  state->kerSize = kerSize;
  state->dataType = kDataType<T>;
  state->srcWidth = roiSize.width;
  state->srcHeight = roiSize.height;
  state->mode = rvpiPyramidLinear;
  state->rate = rate;
  state->ready = 1;
  state->workBytes = bytes - (state->pWork - block);
  return state;
}

// The checks that both calls begin with.
template <class T, int kChannels, class State>
RvpStatus badCall(const T* pSrc, int srcStep, RvpiSize srcRoi, const T* pDst, int dstStep, RvpiSize dstRoi,
                  const State* pState) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), nullPointer(pState), badSize(srcRoi),
                                   shortStep<T, kChannels>(srcRoi.width, srcStep),
                                   shortStep<T, kChannels>(dstRoi.width, dstStep)))
    return fault;
  return firstFault(oddStep<T>(srcStep, dstStep), badRate(headerOf(pState).rate));
}

inline bool sameSize(RvpiSize a, RvpiSize b) { return a.width == b.width && a.height == b.height; }

}  // namespace rvp::n8
