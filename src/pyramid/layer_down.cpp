// Down layers: an image filtered with a symmetric kernel and sampled at multiples of the rate.
//
// Rows are streamed. Each thread works on a range of destination rows; it keeps a ring of source rows filtered
// along the row, one for each tap, and from these makes the filtered rows that it needs: at rate 2 those of even
// number, and of these even columns only, from the beginning on; else all columns of the two rows around each
// destination row, of which it keeps the resampled ones.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "filter/border.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "pyramid/layer_state.h"
#include "pyramid/layer_sums.h"
#include "pyramid/levels.h"
#include "pyramid/pixel_pairs.h"
#include "pyramid/sampling.h"
#include "rvpcv/pyramid_layer.h"

namespace rvp::n8 {
namespace {

// From this many source pixels on the rows are worth a team.
constexpr int kTeamPixels = 1 << 17;

// Rows of fewer bytes are copied as a whole, which costs less than it does to filter their ends apart.
constexpr std::ptrdiff_t kShortRow = 2048;

// Rates that take every second sample.
bool halves(float rate) { return rate >= 1.99998F && rate <= 2.00002F; }

// What a call is about.
template <class T>
struct Job {
  const T* src;
  int srcStep;
  RvpiSize srcRoi;
  T* dst;
  int dstStep;
  RvpiSize dstRoi;
  const LayerState* state;
};

// Where the parts of one thread's group lie in its memory.
template <class T, int kChannels>
struct Group {
  using Row = std::conditional_t<std::is_same_v<T, std::uint8_t>, std::int16_t,
                                 std::conditional_t<std::is_same_v<T, float>, float, std::int32_t>>;
  using Sampler = RowSampler<Row, kChannels>;

  explicit Group(const Job<T>& job)
      : centre(job.state->kerSize / 2),
        slots(std::min(job.state->kerSize, job.srcRoi.height)),
        srcElements(rowElements(job.srcRoi.width, kChannels)),
        dstElements(rowElements(job.dstRoi.width, kChannels)),
        halving(halves(job.state->rate)) {
    const std::int64_t extended = job.srcRoi.width + 2 * centre;
    layout.take(halving ? dstElements + kPairSlack : srcElements, sizeof(Row));
    ringStep = layout.bytes();  // The ring begins the group; this was its first row.
    layout.take(slots - 1, ringStep);
    lines = layout.take(job.state->kerSize, sizeof(void*));
    source = layout.take(extended * kChannels + kPairSlack, sizeof(T));
    if (halving) {
      if (sizeof(T) == 1 && kChannels > 1) pairs = layout.take(extended * kChannels + kPairSlack, sizeof(T));
    } else {
      filtered = layout.take(srcElements + kPairSlack, sizeof(Row));
      for (std::int64_t& at : sampled) at = layout.take(dstElements + kPairSlack, sizeof(float));
      tables.take(layout, job.dstRoi.width, job.state->workBytes);
    }
  }

  std::int64_t bytes() const { return layout.bytes(); }

  std::int64_t centre;
  std::int64_t slots;
  std::int64_t srcElements;
  std::int64_t dstElements;
  bool halving;
  WorkLayout layout;
  std::int64_t ringStep = 0;
  std::int64_t lines = 0;
  std::int64_t source = 0;
  std::int64_t pairs = 0;
  std::int64_t filtered = 0;
  std::int64_t sampled[2] = {};
  typename Sampler::Tables tables;
};

template <int kChannels, class Sums>
class Worker {
  using T = typename Sums::Src;
  using Row = typename Sums::Row;

 public:
  Worker(const Job<T>& job, const Group<T, kChannels>& group, const Sums& sums, std::uint8_t* memory)
      : job_(job),
        group_(group),
        sums_(sums),
        memory_(memory),
        image_{job.src, job.srcStep, job.srcRoi, borderOf(rvpBorderMirror), nullptr},
        sampler_(group.tables, memory) {}

  void run(Slice slice) {
    if (!group_.halving) sampler_.place(job_.dstRoi.width, job_.state->rate, job_.srcRoi.width);
    for (const std::ptrdiff_t y : slice) {
      if (group_.halving) {
        halveRow(y);
      } else {
        resampleRow(y);
      }
    }
  }

 private:
  template <class E>
  E* part(std::int64_t offset) const {
    return reinterpret_cast<E*>(memory_ + offset);
  }
  T* dstRow(std::ptrdiff_t y) const { return row(job_.dst, job_.dstStep, y); }
  // A row's place in the ring. Both numbers are below 2^31, and a short division takes less time.
  std::ptrdiff_t slotOf(std::ptrdiff_t y) const {
    return static_cast<std::uint32_t>(y) % static_cast<std::uint32_t>(group_.slots);
  }
  Row* ringRow(std::ptrdiff_t slot) const { return part<Row>(slot * group_.ringStep); }

  void halveRow(std::ptrdiff_t y) {
    filterColumns(std::min<std::ptrdiff_t>(2 * y, job_.srcRoi.height - 1),
                  [&](const auto& lines) { storeColumns(sums_, group_.dstElements, lines, dstRow(y)); });
  }

  // What does not lie between two rows is the first one; of integers, what lies on it is too.
  void resampleRow(std::ptrdiff_t y) {
    const Sample sample(y, job_.state->rate, job_.srcRoi.height);
    const float* first = sampledRow(sample.index);
    const bool between = sample.between && (std::is_same_v<T, float> || sample.fraction != 0);
    blendRows(first, between ? sampledRow(sample.index + 1) : first, sample.fraction, dstRow(y));
  }

  // Filters source row y along the row: what takes outside pixels from a copy with its border, and of long rows the
  // rest where it stands.
  void filterRow(std::ptrdiff_t y) const {
    const std::ptrdiff_t width = job_.srcRoi.width;
    const std::ptrdiff_t c = group_.centre;
    const std::ptrdiff_t pace = group_.halving ? 2 : 1;
    Row* const filtered = ringRow(slotOf(y));
    const T* const source = row(job_.src, job_.srcStep, y);
    const T* const next = row(job_.src, job_.srcStep, std::min<std::ptrdiff_t>(y + 1, job_.srcRoi.height - 1));
    const std::ptrdiff_t count =
        group_.halving ? std::min<std::ptrdiff_t>((width + 1) / 2, job_.dstRoi.width) : width;
    const auto filterCopied = [&](std::ptrdiff_t first, std::ptrdiff_t last) {
      T* const copy = part<T>(group_.source);
      copyRow(y, pace * first - c, std::min(pace * last + c, width + c), copy);
      filterPixels(copy, next + pace * first * kChannels, first, last - first, filtered);
    };
    const std::ptrdiff_t first = (c + pace - 1) / pace;
    const std::ptrdiff_t last = (width - c - kPairSlack) / pace;
    if (width * kChannels * std::ptrdiff_t{sizeof(T)} < kShortRow || first >= last) {
      filterCopied(0, count);
    } else {
      filterCopied(0, first);
      filterPixels(source + (pace * first - c) * kChannels, next + (pace * first - c) * kChannels, first,
                   last - first, filtered);
      filterCopied(last, count);
    }
    // Rates just below 2 go one pixel beyond the row, where the last one counts.
    if (count < job_.dstRoi.width && group_.halving) {
      T* const copy = part<T>(group_.source);
      copyRow(y, width - 1 - c, width + c, copy);
      for (std::ptrdiff_t x = count; x < job_.dstRoi.width; ++x)
        sums_.template rows<kChannels>(copy, next, kChannels, filtered + x * kChannels);
    }
  }

  // Copies pixels `from` to `to` - 1 of row y, of which at least one lies inside. This takes a third of the time of
  // a narrow image, so the usual case, where no end is mirrored twice, has its own code.
  void copyRow(std::ptrdiff_t y, std::ptrdiff_t from, std::ptrdiff_t to, T* copy) const {
    const std::ptrdiff_t width = job_.srcRoi.width;
    if (width <= group_.centre) return image_.readRow(y, from, to, copy);
    const T* const source = row(job_.src, job_.srcStep, y);
    const std::ptrdiff_t first = std::max<std::ptrdiff_t>(from, 0);
    const std::ptrdiff_t last = std::min(to, width);
    const auto copyPixels = [=](std::ptrdiff_t at, std::ptrdiff_t x, std::ptrdiff_t count) {
      std::memcpy(copy + (at - from) * kChannels, source + x * kChannels,
                  static_cast<std::size_t>(count * kChannels) * sizeof(T));
    };
    copyPixels(first, first, last - first);
    for (std::ptrdiff_t x = from; x < first; ++x) copyPixels(x, -x, 1);
    for (std::ptrdiff_t x = last; x < to; ++x) copyPixels(x, 2 * (width - 1) - x, 1);
  }

  // Filters `count` pixels, from pixel `first` of the ring's row on; the source begins with that one's first tap,
  // and `next` is about as far in the next row.
  void filterPixels(const T* source, const T* next, std::ptrdiff_t first, std::ptrdiff_t count, Row* dst) const {
    if (group_.halving) {
      sums_.template halvedRow<kChannels>(source, next, count, memory_ + group_.pairs, dst + first * kChannels);
    } else {
      sums_.template rows<kChannels>(source, next, count * kChannels, dst + first * kChannels);
    }
  }

  // Filters row y down the columns, by what filter(lines) does. Rows are asked for in ascending order. All rows
  // that it takes, mirrored ones too, are among the last ones filtered: no mirrored row lies farther from y than
  // the kernel reaches.
  template <class Filter>
  void filterColumns(std::ptrdiff_t y, const Filter& filter) {
    const std::ptrdiff_t first = std::max<std::ptrdiff_t>(y - group_.centre, 0);
    const std::ptrdiff_t last = std::min<std::ptrdiff_t>(y + group_.centre, job_.srcRoi.height - 1);
    for (nextRow_ = std::max(nextRow_, first); nextRow_ <= last; ++nextRow_) filterRow(nextRow_);
    const auto** const lines = part<const Row*>(group_.lines);
    const std::ptrdiff_t above = y - group_.centre;
    if (above >= 0 && y + group_.centre < job_.srcRoi.height) {
      std::ptrdiff_t slot = slotOf(above);
      for (std::ptrdiff_t i = 0; i <= 2 * group_.centre; ++i) {
        lines[i] = ringRow(slot);
        slot = slot + 1 == group_.slots ? 0 : slot + 1;
      }
    } else {
      for (std::ptrdiff_t i = 0; i <= 2 * group_.centre; ++i)
        lines[i] = ringRow(slotOf(borderIndex(rvpBorderMirror, above + i, job_.srcRoi.height)));
    }
    // Stores could change what lies in memory, for all that the compiler knows, but not a copy.
    if constexpr (Sums::kLines == 0) {
      filter([=](int i) { return lines[i]; });
    } else {
      std::array<const Row*, Sums::kLines> copies;
      std::copy_n(lines, Sums::kLines, copies.begin());
      filter([=](int i) { return copies[static_cast<std::size_t>(i)]; });
    }
  }

  // Filtered row y, resampled along the row.
  const float* sampledRow(std::ptrdiff_t y) {
    float* const dst = part<float>(group_.sampled[y % 2]);
    if (sampledNumber_[y % 2] == y) return dst;
    sampledNumber_[y % 2] = y;
    Row* const filtered = part<Row>(group_.filtered);
    filterColumns(y, [&](const auto& lines) {
      sums_.columns(group_.srcElements, lines,
                    [=](auto d, auto value, std::ptrdiff_t x) { hn::StoreU(value, d, filtered + x); });
    });
    sampler_.sample(filtered, dst);
    return dst;
  }

  // A destination row between two resampled ones. A fraction of 0 with the same row twice copies it.
  void blendRows(const float* first, const float* second, float fraction, T* dst) const {
    if (first == second) {
      storeRow([=](auto d, std::ptrdiff_t x) { return hn::LoadU(d, first + x); }, dst);
    } else {
      storeRow(
          [=, rest = 1 - fraction](auto d, std::ptrdiff_t x) {
            return hn::Add(hn::Mul(hn::Set(d, fraction), hn::LoadU(d, second + x)),
                           hn::Mul(hn::Set(d, rest), hn::LoadU(d, first + x)));
          },
          dst);
    }
  }

  // Stores what valueAt(d, x) gives, truncated where it is to be an integer.
  template <class Value>
  void storeRow(const Value& valueAt, T* dst) const {
    coverWithVectors<Row>(group_.dstElements, [=](auto d, std::ptrdiff_t x) {
      using D = decltype(d);
      const hn::Rebind<float, D> dFloat;
      if constexpr (std::is_same_v<T, float>) {
        storePixels(d, valueAt(d, x), dst + x);
      } else if constexpr (sizeof(Row) == 4) {
        storePixels(d, truncatedInt(valueAt(dFloat, x)), dst + x);
      } else if constexpr (hn::MaxLanes(D()) >= 8) {
        const hn::Repartition<float, D> dHalf;
        const auto low = truncatedInt(valueAt(dHalf, x));
        const auto high = truncatedInt(valueAt(dHalf, x + static_cast<std::ptrdiff_t>(hn::Lanes(dHalf))));
        storePixels(d, narrowPair<Row>(low, high), dst + x);
      } else {
        storePixels(d, hn::DemoteTo(d, truncatedInt(valueAt(dFloat, x))), dst + x);
      }
    });
  }

  const Job<T>& job_;
  const Group<T, kChannels>& group_;
  const Sums& sums_;
  std::uint8_t* memory_;
  ExtendedImage<T, kChannels> image_;
  RowSampler<Row, kChannels> sampler_;
  std::ptrdiff_t nextRow_ = 0;
  std::ptrdiff_t sampledNumber_[2] = {-1, -1};
};

// Calls run(sums) with the arithmetic for a kernel.
template <class T, class Run>
void withSums(const LayerState& state, const Run& run) {
  const auto* kernel = static_cast<const KernelElement<T>*>(state.pKernel);
  const auto withTaps = [&](auto taps) {
    if constexpr (std::is_same_v<T, std::uint8_t>) {
      run(ByteSums<decltype(taps)::value>{kernel, {state.kerSize}});
    } else if constexpr (std::is_same_v<T, std::uint16_t>) {
      run(WordSums<decltype(taps)::value>{kernel, {state.kerSize}});
    } else {
      run(FloatSums<decltype(taps)::value>{kernel, {state.kerSize}});
    }
  };
  if constexpr (std::is_same_v<T, std::uint8_t>) {
    if (isBinomial(state)) return run(BinomialByteSums());
  } else if constexpr (std::is_same_v<T, std::uint16_t>) {
    if (isBinomial(state)) return run(BinomialWordSums());
  }
  switch (state.kerSize) {
    case 3:
      return withTaps(std::integral_constant<int, 3>());
    case 5:
      return withTaps(std::integral_constant<int, 5>());
    default:
      return withTaps(std::integral_constant<int, 0>());
  }
}

// The size of the level below a source; `listed` tells whether it stands in the state's list of levels.
RvpiSize expectedSize(const LayerState& state, RvpiSize srcRoi, bool& listed) {
  const RvpiSize* found = nullptr;
  const std::int32_t count = state.pLevels == nullptr ? 0 : state.levelCount;
  for (std::int32_t i = 0; i < count; ++i) {
    const RvpiSize& level = state.pLevels[i];
    if (level.height != srcRoi.height) continue;
    if (found == nullptr || level.width == srcRoi.width) found = &level;
    if (level.width == srcRoi.width) break;
  }
  listed = found != nullptr;
  return listed ? found[1] : sizeBelow(srcRoi, state.rate);
}

template <class T, int kChannels>
RvpStatus layerDown(const T* pSrc, int srcStep, RvpiSize srcRoi, T* pDst, int dstStep, RvpiSize dstRoi,
                    const RvpiPyramidDownState* pState) {
  if (RvpStatus fault = badCall<T, kChannels>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, pState)) return fault;
  const LayerState& state = headerOf(pState);
  bool listed = false;
  if (!sameSize(expectedSize(state, srcRoi, listed), dstRoi)) return rvpStatusBadSize;
  if ((!listed && state.ready != 1) || state.dataType != kDataType<T>) return rvpStatusBadArgument;

  const Job<T> job = {pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, &state};
  const Group<T, kChannels> group(job);
  const std::int64_t groups = state.workBytes / group.bytes();
  if (groups < 1) return rvpStatusBadSize;
  withSums<T>(state, [&](const auto& sums) {
    const auto work = [&](Slice slice) {
      Worker<kChannels, std::remove_cvref_t<decltype(sums)>> worker(job, group, sums,
                                                                    state.pWork + slice.thread * group.bytes());
      worker.run(slice);
    };
    const std::int64_t pixels = std::int64_t{srcRoi.width} * srcRoi.height;
    if (pixels < kTeamPixels) return work(Slice{0, dstRoi.height});
    forSlices(dstRoi.height, work, static_cast<int>(std::min<std::int64_t>(ownGetNumThreads(), groups)));
  });
  return rvpStatusOk;
}

bool isLarge(RvpiSize roiSize, int kerSize) { return roiSize.width > kerSize && roiSize.height > kerSize; }

// The contract's size of a block, with room for a whole working image of 16-bit or 32-bit samples, and for rows of
// a team of `threads`. What a call takes is less: at most the ring, with a row for each tap, seven rows of 32-bit
// elements, and what aligns them.
template <class T, int kChannels>
int downBytes(RvpiSize roiSize, int kerSize, int levels, int threads) {
  const double k = kerSize;
  const int half = kerSize / 2;
  const double h = half;
  const double width = static_cast<double>(kChannels) * roiSize.width;
  const double height = roiSize.height;
  const double sample = sizeof(T) == 1 ? 2 : 4;
  const double kernelBytes = k * sizeof(KernelElement<T>);
  if (!isLarge(roiSize, kerSize)) {
    const double a8 = roundedUp(width, 8);
    return reportedSize(k * (4 * a8 + 72) + kernelBytes + 160 +
                        4 * (sample / 2 * (k + height) * (k + a8) + std::max(a8, height)) + 2 * k * (h + k) + 104);
  }
  const double a = std::max(2 * k, width);
  const double b = height > 2 * k ? height : 2 * k;
  const double a4 = roundedUp(a, 4);
  const double p = sample * roundedUp(a, 8) * b;
  const double q = 96 * h + k * (2 * (h + k) + 4 * a4 + 126);
  const double r = 4 * std::max(a4, b);
  return reportedSize((threads - 1) * (p + q + r + 264) + q + kernelBytes + p + r + 192 + 8.0 * levels + 200 + 8);
}

template <class T, int kChannels>
RvpStatus downSize(RvpiSize roiSize, int kerSize, int* pStateSize, int* pBufferSize, float rate) {
  if (RvpStatus fault = firstFault(nullPointer(pStateSize, pBufferSize), badLayer(roiSize, rate, kerSize)))
    return fault;
  *pStateSize = downBytes<T, kChannels>(
      roiSize, kerSize, levelsBelow(roiSize, rate, std::numeric_limits<int>::max()), owncvGetNumThreads());
  *pBufferSize = reportedSize(8.0 * std::max(roiSize.width, roiSize.height));
  return rvpStatusOk;
}

template <class T, int kChannels>
RvpStatus initDown(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate, const KernelElement<T>* pKernel,
                   int kerSize, RvpiPyramidMode mode, std::uint8_t* pMem, std::uint8_t* pBuffer) {
  using K = KernelElement<T>;
  const bool large = isLarge(roiSize, kerSize);
  if (RvpStatus fault =
          firstFault(faultIf(mode != rvpiPyramidLinear, rvpStatusBadArgument), nullPointer(ppState, pKernel),
                     nullPointer(pMem), faultIf(large && pBuffer == nullptr, rvpStatusNullPointer),
                     badLayer(roiSize, rate, kerSize)))
    return fault;
  // The list of levels goes to the scratch first, as only its end tells how long it is.
  int levels = 0;
  if (large) {
    for (RvpiSize size = roiSize;; size = sizeBelow(size, rate), ++levels) {
      std::memcpy(pBuffer + std::ptrdiff_t{levels} * static_cast<std::ptrdiff_t>(sizeof(size)), &size,
                  sizeof(size));
      if (isLastLevel(size)) break;
    }
  }
  // Whatever team the size was asked for, there is room for one thread.
  const int bytes = downBytes<T, kChannels>(roiSize, kerSize, levels, 1);
  LayerState* const state = layOutState<T>(pMem, bytes, roiSize, rate, kerSize, large ? levels + 1 : 0);
  if (large) {
    std::memcpy(state->pLevels, pBuffer, (static_cast<std::size_t>(levels) + 1) * sizeof(RvpiSize));
    state->levelCount = levels;
    state->pThreadData = state->pWork;
  }
  const auto sum = kernelSum(pKernel, kerSize / 2);
  const RvpStatus status = storeKernel(pKernel, kerSize, static_cast<K*>(state->pKernel), [&](K k) {
    if constexpr (std::is_same_v<K, float>) {
      return std::abs(sum) > kNegligible ? k / sum : k;
    } else {
      return sum == 0 ? k : static_cast<K>((std::int64_t{k} * (1 << 14) / sum) >> 1);
    }
  });
  *ppState = reinterpret_cast<RvpiPyramidDownState*>(pMem);
  return status;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_LAYER_DOWN(TYPE, T, K, CHANNELS)                                                                    \
  RvpStatus rvpiPyramidLayerDownGetSize_##TYPE##_C##CHANNELS##R(RvpiSize roiSize, int kerSize, int* pStateSize, \
                                                                int* pBufferSize, float rate) {                 \
    return rvp::n8::downSize<T, CHANNELS>(roiSize, kerSize, pStateSize, pBufferSize, rate);                     \
  }                                                                                                             \
  RvpStatus rvpiPyramidLayerDownInit_##TYPE##_C##CHANNELS##R(                                                   \
      RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate, const K* pKernel, int kerSize,              \
      RvpiPyramidMode mode, uint8_t* pMem, uint8_t* pBuffer) {                                                  \
    return rvp::n8::initDown<T, CHANNELS>(ppState, roiSize, rate, pKernel, kerSize, mode, pMem, pBuffer);       \
  }                                                                                                             \
  RvpStatus rvpiPyramidLayerDown_##TYPE##_C##CHANNELS##R(const T* pSrc, int srcStep, RvpiSize srcRoi, T* pDst,  \
                                                         int dstStep, RvpiSize dstRoi,                          \
                                                         RvpiPyramidDownState* pState) {                        \
    return rvp::n8::layerDown<T, CHANNELS>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, pState);               \
  }

extern "C" {

RVP_LAYER_DOWN(8u, uint8_t, int16_t, 1)
RVP_LAYER_DOWN(8u, uint8_t, int16_t, 3)
RVP_LAYER_DOWN(16u, uint16_t, int16_t, 1)
RVP_LAYER_DOWN(16u, uint16_t, int16_t, 3)
RVP_LAYER_DOWN(32f, float, float, 1)
RVP_LAYER_DOWN(32f, float, float, 3)

}  // extern "C"
