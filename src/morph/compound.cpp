// Opening, closing, top-hat, black-hat and gradient: erosions and dilations by a mask and by the same mask turned
// round, with an image in the caller's buffer between them.
//
// On a side in memory the first stage goes on beside the region, as far as the second one reads. On the other sides
// either stage extends its own input.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "frame/checks.h"
#include "morph/stage.h"
#include "rvpcv/compound_morph.h"

// Behind the header stand two structuring elements, each with its mask: the mask as given and the mask turned
// round.
struct RvpiMorphAdvState {
  std::int32_t secondOffset;    // Bytes from the first to the second.
  std::int32_t bufferSize;      // Bytes that the caller's buffer has.
  std::int64_t tempBytes;       // The most that the image between the stages may take,
  std::int64_t constTempBytes;  // and the same where the border is the constant.

  const RvpiMorphState& first() const { return *reinterpret_cast<const RvpiMorphState*>(this + 1); }
  const RvpiMorphState& second() const {
    return *reinterpret_cast<const RvpiMorphState*>(reinterpret_cast<const std::uint8_t*>(&first()) + secondOffset);
  }
};

namespace rvp::n8 {
namespace {

// Rows of the image between the stages begin a multiple of so many bytes apart.
constexpr std::uint64_t kTempAlignment = 32;

std::uint64_t tempStep(std::uint64_t width, std::uint64_t pixelBytes) {
  return (width * pixelBytes + kTempAlignment - 1) & ~(kTempAlignment - 1);
}

std::uint64_t tempBytes(const PixelForm& form, RvpiSize roiSize, RvpiSize maskSize) {
  const auto grown = [](int size, int mask) {
    return static_cast<std::uint64_t>(size) + static_cast<std::uint64_t>(mask) - 1;
  };
  return tempStep(grown(roiSize.width, maskSize.width), form.pixelBytes()) * grown(roiSize.height, maskSize.height);
}

RvpiSize oddSize(RvpiSize size) { return {size.width | 1, size.height | 1}; }

// Two structuring elements of the mask's size with the image between the stages, and the same for the next odd size
// unless pixels are bits.
MorphSizes advSizes(const PixelForm& form, RvpiSize roiSize, RvpiSize maskSize) {
  const auto block = [&](RvpiSize size) {
    const MorphSizes one = morphSizes(form, roiSize, size);
    return MorphSizes{2 * one.spec + 64, 2 * one.buffer + tempBytes(form, roiSize, size)};
  };
  MorphSizes sizes = block(maskSize);
  if (form.isBits()) return sizes;
  const MorphSizes odd = block(oddSize(maskSize));
  return {sizes.spec + odd.spec, sizes.buffer + odd.buffer};
}

RvpStatus advGetSize(const PixelForm& form, RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSpecSize, pBufferSize), badSize(roiSize), badSize(maskSize)))
    return fault;
  const MorphSizes sizes = advSizes(form, roiSize, maskSize);
  *pSpecSize = static_cast<int>(sizes.spec);
  *pBufferSize = static_cast<int>(sizes.buffer);
  return rvpStatusOk;
}

RvpStatus advInit(const PixelForm& form, RvpiSize roiSize, const std::uint8_t* pMask, RvpiSize maskSize,
                  RvpiMorphAdvState* pSpec, const std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pMask, pSpec, pBuffer), badSize(roiSize), badSize(maskSize)))
    return fault;
  const MorphSizes sizes = advSizes(form, roiSize, maskSize);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  if (sizes.spec > kMost) return rvpStatusBadSize;
  RvpiMorphAdvState& state = *headerOf(pSpec);
  constexpr std::int64_t kStateAlignment = alignof(RvpiMorphState);
  const std::int64_t stateBytes =
      static_cast<std::int64_t>(sizeof(RvpiMorphState)) + std::int64_t{maskSize.width} * maskSize.height;
  state.secondOffset = static_cast<std::int32_t>((stateBytes + kStateAlignment - 1) & -kStateAlignment);
  state.bufferSize = static_cast<int>(sizes.buffer);
  state.tempBytes = static_cast<std::int64_t>(tempBytes(form, roiSize, maskSize));
  state.constTempBytes =
      form.isBits() ? state.tempBytes : static_cast<std::int64_t>(tempBytes(form, roiSize, oddSize(maskSize)));
  // The first of two stages may work on more than the region.
  const auto grownWidth = static_cast<int>(std::min(std::int64_t{roiSize.width} + maskSize.width - 1, kMost));
  auto* first = reinterpret_cast<RvpiMorphState*>(&state + 1);
  auto* second = reinterpret_cast<RvpiMorphState*>(reinterpret_cast<std::uint8_t*>(first) + state.secondOffset);
  fillState(first, pMask, maskSize, false, grownWidth, state.bufferSize);
  fillState(second, pMask, maskSize, true, roiSize.width, state.bufferSize);
  return rvpStatusOk;
}

// What the operations ask of images, for pixels and for bits.
template <class Source>
struct Images;

template <class T, int kChannels>
struct Images<ExtendedImage<T, kChannels>> {
  using Source = ExtendedImage<T, kChannels>;
  using Target = PixelTarget<T>;
  static constexpr std::uint64_t kPixelBytes = sizeof(T) * kChannels;
  static std::uint64_t rowBytes(std::uint64_t width) { return width * kPixelBytes; }

  static Target temporary(std::uint8_t* block, int step) { return {reinterpret_cast<T*>(block), step}; }
  // A region `left` and `top` pixels beyond the source's, with its border.
  static Source grown(const Source& src, std::ptrdiff_t left, std::ptrdiff_t top, RvpiSize size) {
    return {row(src.src, src.step, -top) - left * kChannels, src.step, size, src.border, src.value};
  }
  static Source asSource(Target image, const Source& like) {
    return {image.first, image.step, like.size, like.border, like.value};
  }
  static Source fromRow(const Source& image, std::ptrdiff_t y) {
    Source rest = image;
    rest.src = row(image.src, image.step, y);
    return rest;
  }
  static Target fromRow(Target image, std::ptrdiff_t y) { return {row(image.first, image.step, y), image.step}; }
  static bool isRefused(const Source& src, Target dst) { return kRefusesInPlace<T> && src.src == dst.first; }

  static void subtract(const Source& a, const Source& b, Target dst) {
    for (std::ptrdiff_t y = 0; y < a.size.height; ++y) {
      const T* from = row(a.src, a.step, y);
      const T* less = row(b.src, b.step, y);
      T* to = row(dst.first, dst.step, y);
      forVectors<T>(0, rowElements(a.size.width, kChannels), [&](auto d, std::ptrdiff_t x) {
        const auto u = hn::LoadU(d, from + x), v = hn::LoadU(d, less + x);
        if constexpr (std::is_same_v<T, float>) {
          const auto difference = hn::Sub(u, v);
          hn::StoreU(hn::IfThenZeroElse(hn::Lt(difference, hn::Zero(d)), difference), d, to + x);
        } else {
          hn::StoreU(hn::SaturatedSub(u, v), d, to + x);
        }
      });
    }
  }
};

template <>
struct Images<ExtendedBits> {
  using Source = ExtendedBits;
  using Target = BitTarget;
  // The size formulas count a byte for a pixel of the image between the stages.
  static constexpr std::uint64_t kPixelBytes = 1;
  static std::uint64_t rowBytes(std::uint64_t width) { return (width + 7) / 8; }

  static Target temporary(std::uint8_t* block, int step) { return {block, step, 0}; }
  static Source grown(const Source& src, std::ptrdiff_t left, std::ptrdiff_t top, RvpiSize size) {
    return {{src.image.at(-top), src.image.step, src.image.bit - left}, size, src.border, src.value};
  }
  static Source asSource(Target image, const Source& like) {
    return {{image.first, image.step, image.bit}, like.size, like.border, like.value};
  }
  static Source fromRow(const Source& image, std::ptrdiff_t y) {
    Source rest = image;
    rest.image.first = image.image.at(y);
    return rest;
  }
  static Target fromRow(Target image, std::ptrdiff_t y) { return {image.at(y), image.step, image.bit}; }
  static bool isRefused(const Source& src, Target dst) { return src.image.first == dst.first; }

  static void subtract(const Source& a, const Source& b, Target dst) {
    constexpr std::ptrdiff_t kWords = 32;  // A piece of a row.
    std::uint64_t from[kWords];
    std::uint64_t less[kWords];
    for (std::ptrdiff_t y = 0; y < a.size.height; ++y) {
      for (std::ptrdiff_t x = 0; x < a.size.width; x += kWords * kWordBits) {
        const std::ptrdiff_t bits = std::min(kWords * kWordBits, a.size.width - x);
        readBits(a.image.at(y), a.image.bit + x, bits, from);
        readBits(b.image.at(y), b.image.bit + x, bits, less);
        for (std::ptrdiff_t i = 0; i < wordsOf(bits); ++i) from[i] &= ~less[i];
        writeBits(from, bits, dst.at(y), dst.bit + x);
      }
    }
  }
};

// An image between two stages. It fits if the size formulas' image of that size does; bits then need less.
template <class Source>
struct Temporary {
  typename Images<Source>::Target image;
  bool fits;

  // `padding` counts the columns and rows that the formulas have beyond that.
  Temporary(std::int64_t width, std::int64_t height, RvpiSize padding, std::int64_t most, Workspace& work) {
    const auto columns = static_cast<std::uint64_t>(width);
    fits = tempStep(columns + static_cast<std::uint64_t>(padding.width), Images<Source>::kPixelBytes) <=
           static_cast<std::uint64_t>(most / (height + padding.height));
    if (!fits) return;
    const auto step = static_cast<std::int64_t>(tempStep(Images<Source>::rowBytes(columns), 1));
    std::uint8_t* block = work.take<std::uint8_t>(step * height);
    fits = block != nullptr && step <= std::numeric_limits<std::int32_t>::max();
    image = Images<Source>::temporary(block, static_cast<int>(step));
  }
};

// Rows first to last - 1 of a stage; the others are in memory for them, at least as many as the mask reaches.
template <class Op, class Source, class Target>
void filterBand(const Source& src, Target dst, Slice rows, const RvpiMorphState& state, Workspace work) {
  Source band = Images<Source>::fromRow(src, rows.first);
  band.size.height = static_cast<int>(rows.count());
  band.border.top |= rows.first > 0;
  band.border.bottom |= rows.last < src.size.height;
  filterStage<Op>(band, Images<Source>::fromRow(dst, rows.first), state, work);
}

// Rows of a band: at least as many as the mask has, and several times as many as those with cells in them, since
// each band begins anew; a multiple of these, which are worked on together. Source, destination and what lies
// between them should fit into the cache.
std::ptrdiff_t bandRows(std::uint64_t rowBytes, const RvpiMorphState& state) {
  constexpr std::uint64_t kBandBytes = std::uint64_t{1} << 19;
  constexpr std::ptrdiff_t kMasks = 8;
  const std::ptrdiff_t unit = std::max(state.boxHeight, 1);
  const auto rows = static_cast<std::ptrdiff_t>(kBandBytes / (3 * rowBytes));
  const std::ptrdiff_t least = std::max(rows, std::ptrdiff_t{state.maskHeight});
  return std::max((least + unit - 1) / unit, kMasks) * unit;
}

// The row after a band. What remains below it is no less than what the mask reaches.
std::ptrdiff_t bandEnd(std::ptrdiff_t first, std::ptrdiff_t band, std::ptrdiff_t height,
                       const RvpiMorphState& state) {
  return height - first - band < state.maskHeight ? height : first + band;
}

// First by the mask, then by the mask turned round, in bands from top to bottom: the second stage follows the first
// as closely as its mask lets it. What it has written is not read any more, also where source and destination are
// one image: the turned mask reaches as far down as the mask reaches up. Calls finish(rows) for each band.
template <class First, class Second, class Source, class Target, class Finish>
RvpStatus twoStages(const Source& src, Target dst, RvpiBorderType borderType, const RvpiMorphAdvState& state,
                    std::uint8_t* pBuffer, const Finish& finish) {
  const RvpiMorphState& second = state.second();
  if (second.maxRoiWidth < src.size.width) return rvpStatusBadSize;
  const std::int64_t left = src.border.left ? second.anchorX : 0;
  const std::int64_t top = src.border.top ? second.anchorY : 0;
  const std::int64_t width = src.size.width + left + (src.border.right ? second.maskWidth - second.anchorX - 1 : 0);
  const std::int64_t height =
      src.size.height + top + (src.border.bottom ? second.maskHeight - second.anchorY - 1 : 0);
  const bool isConstant = (borderType & kBorderModeBits) == rvpBorderConst;
  Workspace work(pBuffer, state.bufferSize);
  // With a constant, pixels are measured as with a mask of odd size.
  RvpiSize padding = {};
  if (isConstant && !std::is_same_v<Source, ExtendedBits>) {
    padding = {src.border.right ? 1 - second.maskWidth % 2 : 0, src.border.bottom ? 1 - second.maskHeight % 2 : 0};
  }
  const Temporary<Source> between(width, height, padding, isConstant ? state.constTempBytes : state.tempBytes,
                                  work);
  if (!between.fits) return rvpStatusBadSize;
  const Source wide = Images<Source>::grown(src, left, top, {static_cast<int>(width), static_cast<int>(height)});
  const Source filtered =
      Images<Source>::grown(Images<Source>::asSource(between.image, src), -left, -top, src.size);
  const std::ptrdiff_t band = bandRows(Images<Source>::rowBytes(static_cast<std::uint64_t>(width)), state.first());
  const std::ptrdiff_t reach = top + second.maskHeight - second.anchorY - 1;
  std::ptrdiff_t done = 0;
  for (std::ptrdiff_t ready = 0; ready < height;) {
    const Slice next = {ready, bandEnd(ready, band, height, state.first())};
    filterBand<First>(wide, between.image, next, state.first(), work);
    ready = next.last;
    const Slice rest = {done, ready == height ? src.size.height : ready - reach};
    // The first rows wait until there are enough of them for the mask to reach up from those that follow.
    if (rest.last < second.maskHeight && ready < height) continue;
    filterBand<Second>(filtered, dst, rest, second, work);
    finish(rest);
    done = rest.last;
  }
  return rvpStatusOk;
}

// dst = a - b in these rows.
template <class Source, class Target>
void subtractBand(const Source& a, const Source& b, Target dst, Slice rows) {
  using I = Images<Source>;
  Source from = I::fromRow(a, rows.first);
  from.size.height = static_cast<int>(rows.count());
  I::subtract(from, I::fromRow(b, rows.first), I::fromRow(dst, rows.first));
}

template <class First, class Second>
struct TwoStages {
  template <class Source, class Target>
  static RvpStatus run(const Source& src, Target dst, RvpiBorderType borderType, const RvpiMorphAdvState& state,
                       std::uint8_t* pBuffer) {
    return twoStages<First, Second>(src, dst, borderType, state, pBuffer, [](Slice) {});
  }
};
using Opening = TwoStages<Erosion, Dilation>;
using Closing = TwoStages<Dilation, Erosion>;

struct TopHat {
  template <class Source, class Target>
  static RvpStatus run(const Source& src, Target dst, RvpiBorderType borderType, const RvpiMorphAdvState& state,
                       std::uint8_t* pBuffer) {
    const Source opened = Images<Source>::asSource(dst, src);
    return twoStages<Erosion, Dilation>(src, dst, borderType, state, pBuffer,
                                        [&](Slice rows) { subtractBand(src, opened, dst, rows); });
  }
};

struct BlackHat {
  template <class Source, class Target>
  static RvpStatus run(const Source& src, Target dst, RvpiBorderType borderType, const RvpiMorphAdvState& state,
                       std::uint8_t* pBuffer) {
    const Source closed = Images<Source>::asSource(dst, src);
    return twoStages<Dilation, Erosion>(src, dst, borderType, state, pBuffer,
                                        [&](Slice rows) { subtractBand(closed, src, dst, rows); });
  }
};

struct Gradient {
  template <class Source, class Target>
  static RvpStatus run(const Source& src, Target dst, RvpiBorderType, const RvpiMorphAdvState& state,
                       std::uint8_t* pBuffer) {
    if (state.first().maxRoiWidth < src.size.width) return rvpStatusBadSize;
    if (Images<Source>::isRefused(src, dst)) return rvpStatusInPlaceNotSupported;
    Workspace work(pBuffer, state.bufferSize);
    const Temporary<Source> eroded(src.size.width, src.size.height, {}, state.tempBytes, work);
    if (!eroded.fits) return rvpStatusBadSize;
    const Source less = Images<Source>::asSource(eroded.image, src);
    const Source dilated = Images<Source>::asSource(dst, src);
    const std::ptrdiff_t band =
        bandRows(Images<Source>::rowBytes(static_cast<std::uint64_t>(src.size.width)), state.first());
    for (std::ptrdiff_t y = 0; y < src.size.height;) {
      const Slice rows = {y, bandEnd(y, band, src.size.height, state.first())};
      y = rows.last;
      filterBand<Dilation>(src, dst, rows, state.first(), work);
      filterBand<Erosion>(src, eroded.image, rows, state.first(), work);
      subtractBand(dilated, less, dst, rows);
    }
    return rvpStatusOk;
  }
};

template <class Operation, class T, int kChannels>
RvpStatus compoundPixels(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize,
                         RvpiBorderType borderType, const T* pValue, const RvpiMorphAdvState* pSpec,
                         std::uint8_t* pBuffer) {
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pDst, pSpec, pBuffer),
                     faultIf(needsValue(borderType) && pValue == nullptr, rvpStatusNullPointer), badSize(roiSize),
                     shortStep<T, kChannels>(roiSize.width, srcStep, dstStep), oddStep<T>(srcStep, dstStep),
                     faultIf(!isPlainBorder(borderType) || !isBorder(borderType), rvpStatusBadBorder)))
    return fault;
  const ExtendedImage<T, kChannels> src = {pSrc, srcStep, roiSize, borderOf(borderType), pValue};
  return Operation::run(src, PixelTarget<T>{pDst, dstStep}, borderType, *headerOf(pSpec), pBuffer);
}

template <class Operation>
RvpStatus compoundBits(const std::uint8_t* pSrc, int srcStep, int srcBitOffset, std::uint8_t* pDst, int dstStep,
                       int dstBitOffset, RvpiSize roiSize, RvpiBorderType borderType, std::uint8_t borderValue,
                       const RvpiMorphAdvState* pSpec, std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst, pSpec, pBuffer),
                                   faultIf(srcBitOffset < 0 || dstBitOffset < 0, rvpStatusBadSize),
                                   badSize(roiSize), shortBitStep(roiSize.width, srcStep, dstStep),
                                   faultIf(!isPlainBorder(borderType), rvpStatusBadBorder)))
    return fault;
  const ExtendedBits src = {{pSrc, srcStep, srcBitOffset}, roiSize, borderOf(borderType), borderValue != 0};
  return Operation::run(src, BitTarget{pDst, dstStep, dstBitOffset}, borderType, *headerOf(pSpec), pBuffer);
}

}  // namespace
}  // namespace rvp::n8

#define RVP_MORPH_ADV(TYPE, FORM)                                                                               \
  RvpStatus rvpiMorphAdvGetSize_##TYPE(RvpiSize roiSize, RvpiSize maskSize, int* pSpecSize, int* pBufferSize) { \
    return rvp::n8::advGetSize(FORM, roiSize, maskSize, pSpecSize, pBufferSize);                                \
  }                                                                                                             \
  RvpStatus rvpiMorphAdvInit_##TYPE(RvpiSize roiSize, const uint8_t* pMask, RvpiSize maskSize,                  \
                                    RvpiMorphAdvState* pSpec, uint8_t* pBuffer) {                               \
    return rvp::n8::advInit(FORM, roiSize, pMask, maskSize, pSpec, pBuffer);                                    \
  }
// `AT` is & where the constant is given itself and not by a pointer.
#define RVP_MORPH_COMPOUND(NAME, OPERATION, TYPE, CHANNELS, T, VALUE, AT)                                        \
  RvpStatus rvpiMorph##NAME##Border_##TYPE##_C##CHANNELS##R(                                                     \
      const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, RvpiBorderType borderType,             \
      VALUE borderValue, const RvpiMorphAdvState* pSpec, uint8_t* pBuffer) {                                     \
    return rvp::n8::compoundPixels<rvp::n8::OPERATION, T, CHANNELS>(pSrc, srcStep, pDst, dstStep, roiSize,       \
                                                                    borderType, AT borderValue, pSpec, pBuffer); \
  }
#define RVP_MORPH_COMPOUNDS(NAME, OPERATION)                                                                   \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 8u, 1, uint8_t, uint8_t, &)                                              \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 8u, 3, uint8_t, const uint8_t*, )                                        \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 8u, 4, uint8_t, const uint8_t*, )                                        \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 16u, 1, uint16_t, uint16_t, &)                                           \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 16s, 1, int16_t, int16_t, &)                                             \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 32f, 1, float, float, &)                                                 \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 32f, 3, float, const float*, )                                           \
  RVP_MORPH_COMPOUND(NAME, OPERATION, 32f, 4, float, const float*, )                                           \
  RvpStatus rvpiMorph##NAME##Border_1u_C1R(const uint8_t* pSrc, int srcStep, int srcBitOffset, uint8_t* pDst,  \
                                           int dstStep, int dstBitOffset, RvpiSize roiSize,                    \
                                           RvpiBorderType borderType, uint8_t borderValue,                     \
                                           const RvpiMorphAdvState* pSpec, uint8_t* pBuffer) {                 \
    return rvp::n8::compoundBits<rvp::n8::OPERATION>(pSrc, srcStep, srcBitOffset, pDst, dstStep, dstBitOffset, \
                                                     roiSize, borderType, borderValue, pSpec, pBuffer);        \
  }

extern "C" {

RVP_MORPH_ADV(1u_C1R, rvp::n8::kBitForm)
RVP_MORPH_ADV(8u_C1R, (rvp::n8::kFormOf<uint8_t, 1>))
RVP_MORPH_ADV(8u_C3R, (rvp::n8::kFormOf<uint8_t, 3>))
RVP_MORPH_ADV(8u_C4R, (rvp::n8::kFormOf<uint8_t, 4>))
RVP_MORPH_ADV(16u_C1R, (rvp::n8::kFormOf<uint16_t, 1>))
RVP_MORPH_ADV(16s_C1R, (rvp::n8::kFormOf<int16_t, 1>))
RVP_MORPH_ADV(32f_C1R, (rvp::n8::kFormOf<float, 1>))
RVP_MORPH_ADV(32f_C3R, (rvp::n8::kFormOf<float, 3>))
RVP_MORPH_ADV(32f_C4R, (rvp::n8::kFormOf<float, 4>))

RVP_MORPH_COMPOUNDS(Open, Opening)
RVP_MORPH_COMPOUNDS(Close, Closing)
RVP_MORPH_COMPOUNDS(Tophat, TopHat)
RVP_MORPH_COMPOUNDS(Blackhat, BlackHat)
RVP_MORPH_COMPOUNDS(Gradient, Gradient)

}  // extern "C"
