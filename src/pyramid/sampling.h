// Samples of a row at multiples of a rate, between two neighbours each:
//
//   out = fraction * next + (1 - fraction) * here
//
// in float, of integers truncated, which floats hold exactly. Where all samples stand is the same in every row, so
// tables tell it: the places of the pixels, the fraction of every element, and for samples close enough to each
// other the shuffles that pick them from vectors.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/simd.h"
#include "pyramid/layer_state.h"
#include "pyramid/pixel_pairs.h"

namespace rvp::n8 {

// A place between two samples, of which there are `extent`.
struct Sample {
  std::ptrdiff_t index;
  float fraction;
  bool between;  // Whether there is a next sample.

  Sample(std::ptrdiff_t i, float rate, std::ptrdiff_t extent) {
    const float position = static_cast<float>(i) * rate;
    const auto whole = static_cast<std::ptrdiff_t>(position);
    fraction = position - static_cast<float>(whole);
    index = std::min(whole, extent - 1);
    between = index + 1 < extent;
  }
};

// 16-bit samples are taken as the upper halves of 32-bit integers, so they come times 2^16, and fractions are kept
// times 2^-16: neither rounds. The samples of four elements are picked from 16 bytes by one shuffle, the next ones
// by the same, a pixel further on. Of 32-bit samples a vector has those of half as many pixels and their next ones.
template <class Work, int kChannels>
class RowSampler {
  static constexpr bool kShort = sizeof(Work) == 2;
  static constexpr float kUnit = kShort ? 1.0F / (1 << 16) : 1.0F;
  static constexpr std::ptrdiff_t kTurned = kShort ? 4 : hn::MaxLanes(hn::ScalableTag<float>()) / 2;
  static constexpr bool kHasTurns = kShort || kChannels == 1;
  using Turn = std::conditional_t<kShort, std::uint8_t, std::int32_t>;

 public:
  // Where the tables lie in memory. Shuffles take as much again as everything else in the way of tables, so they
  // are left out where a block has no more than `mostBytes`.
  class Tables {
   public:
    void take(WorkLayout& layout, std::int64_t pixels, std::int64_t mostBytes) {
      places_ = layout.take(pixels, sizeof(std::int32_t));
      fractions_ = layout.take(pixels * kChannels + kPairSlack, sizeof(float));
      if (!kHasTurns) return;
      WorkLayout longer = layout;
      const std::int64_t starts = longer.take(pixels * kChannels / kTurned + 1, sizeof(std::int32_t));
      const std::int64_t turns = longer.take(pixels * kChannels, kShort ? 4 : 2 * sizeof(Turn));
      if (longer.bytes() > mostBytes) return;
      layout = longer;
      starts_ = starts;
      turns_ = turns;
    }

   private:
    friend RowSampler;
    std::int64_t places_ = 0;
    std::int64_t fractions_ = 0;
    std::int64_t starts_ = 0;
    std::int64_t turns_ = 0;  // 0 where there are none.
  };

  RowSampler(const Tables& tables, std::uint8_t* memory)
      : places_(reinterpret_cast<std::int32_t*>(memory + tables.places_)),
        fractions_(reinterpret_cast<float*>(memory + tables.fractions_)),
        starts_(reinterpret_cast<std::int32_t*>(memory + tables.starts_)),
        turns_(tables.turns_ == 0 ? nullptr : reinterpret_cast<Turn*>(memory + tables.turns_)) {}

  // Makes ready for `count` pixels from rows of `extent` pixels.
  void place(std::ptrdiff_t count, float rate, std::ptrdiff_t extent) {
    count_ = count * kChannels;
    for (std::ptrdiff_t x = 0; x < count; ++x) {
      const Sample sample(x, rate, extent);
      places_[x] = static_cast<std::int32_t>(sample.index);
      std::fill_n(fractions_ + x * kChannels, kChannels, sample.fraction * kUnit);
      if (sample.between) between_ = (x + 1) * kChannels;
    }
    if constexpr (kHasTurns) {
      if (turns_ != nullptr) placeTurns();
    }
  }

  void sample(const Work* row, float* dst) const {
    std::ptrdiff_t done = 0;
    if constexpr (kShort) {
      done = sampleTurned(row, dst);
    } else if constexpr (kChannels == 1) {
      done = sampleLanes(row, dst);
    }
    if constexpr (kChannels > 1) {
      samplePixels(row, dst, done / kChannels);
    } else if constexpr (kShort) {
      samplePairs(row, dst, done);
    } else {
      forVectors<float>(done, between_, [=, this](auto d, std::ptrdiff_t x) {
        const auto samples = neighboursAt(hn::Rebind<Work, decltype(d)>(), row, places_ + x);
        hn::StoreU(blend(d, hn::LoadU(d, fractions_ + x), asFloat(d, samples.here), asFloat(d, samples.next)), d,
                   dst + x);
      });
    }
    for (std::ptrdiff_t x = between_; x < count_; ++x) dst[x] = static_cast<float>(row[elementAt(x)]);
  }

 private:
  std::ptrdiff_t elementAt(std::ptrdiff_t x) const {
    return std::ptrdiff_t{places_[x / kChannels]} * kChannels + x % kChannels;
  }

  // For every kTurned elements, where from the first one's sample on the others stand, up to the first that lie too
  // far apart, as they do from a rate of 2 on.
  void placeTurns() {
    constexpr std::ptrdiff_t kReach = kShort ? 2 * kTurned : 2 * kTurned - 1;
    Turn* turns = turns_;
    for (std::ptrdiff_t x = 0; x + kTurned <= between_; x += kTurned) {
      const std::ptrdiff_t start = elementAt(x);
      for (std::ptrdiff_t i = 0; i < kTurned; ++i) {
        const std::ptrdiff_t place = elementAt(x + i) - start;
        if (place < 0 || place >= kReach) return;
        if constexpr (kShort) {
          constexpr Turn kNothing = 0x80;  // Gives zero.
          *turns++ = kNothing;
          *turns++ = kNothing;
          *turns++ = static_cast<Turn>(2 * place);
          *turns++ = static_cast<Turn>(2 * place + 1);
        } else {
          turns_[2 * x + i] = static_cast<Turn>(place);
          turns_[2 * x + kTurned + i] = static_cast<Turn>(place + 1);
        }
      }
      starts_[x / kTurned] = static_cast<std::int32_t>(start);
      turned_ = x + kTurned;
    }
  }

  template <class D>
  static hn::Vec<D> blend(D d, hn::Vec<D> fraction, hn::Vec<D> here, hn::Vec<D> next) {
    const auto value = hn::Add(hn::Mul(fraction, next), hn::Mul(hn::Sub(hn::Set(d, kUnit), fraction), here));
    return std::is_same_v<Work, float> ? value : hn::ConvertTo(d, truncatedInt(value));
  }
  template <class D, class V>
  static hn::Vec<D> asFloat(D d, V v) {
    if constexpr (std::is_same_v<Work, float>) {
      return v;
    } else if constexpr (kShort) {
      const hn::Rebind<std::int32_t, D> d32;
      return hn::ConvertTo(d, hn::ShiftLeft<16>(hn::PromoteTo(d32, v)));
    } else {
      return hn::ConvertTo(d, v);
    }
  }

  std::ptrdiff_t sampleTurned(const Work* row, float* dst) const {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> d32;
    const hn::Repartition<Work, decltype(d)> dWork;
    const hn::Repartition<Turn, decltype(d)> dTurn;
    const hn::FixedTag<Work, 8> dPart;
    constexpr std::ptrdiff_t kParts = kPartsOf<decltype(d)>;
    const std::int32_t* starts = starts_;
    const Turn* const turns = turns_;
    const float* const fractions = fractions_;
    const std::ptrdiff_t last = turned_ - kParts * kTurned;
    std::ptrdiff_t x = 0;
    for (; x <= last; x += kParts * kTurned, starts += kParts) {
      const auto shuffle = hn::LoadU(dTurn, turns + 4 * x);
      const auto samplesAt = [&](std::ptrdiff_t further) {
        const auto samples =
            joined(dWork, [&](std::ptrdiff_t i) { return hn::LoadU(dPart, row + starts[i] + further); });
        return hn::ConvertTo(d, hn::BitCast(d32, hn::TableLookupBytesOr0(hn::BitCast(dTurn, samples), shuffle)));
      };
      hn::StoreU(blend(d, hn::LoadU(d, fractions + x), samplesAt(0), samplesAt(kChannels)), d, dst + x);
    }
    return x;
  }

  std::ptrdiff_t sampleLanes(const Work* row, float* dst) const {
    const hn::ScalableTag<float> d;
    const hn::Rebind<Work, decltype(d)> dWork;
    const hn::Rebind<Turn, decltype(d)> dTurn;
    const std::int32_t* const starts = starts_;
    const Turn* const turns = turns_;
    const float* const fractions = fractions_;
    const auto turnedAt = [=](std::ptrdiff_t x) {
      return hn::TableLookupLanes(hn::LoadU(dWork, row + starts[x / kTurned]),
                                  hn::IndicesFromVec(dWork, hn::LoadU(dTurn, turns + 2 * x)));
    };
    const std::ptrdiff_t last = turned_ - 2 * kTurned;
    std::ptrdiff_t x = 0;
    for (; x <= last; x += 2 * kTurned) {
      const auto low = turnedAt(x);
      const auto high = turnedAt(x + kTurned);
      const auto here = asFloat(d, hn::ConcatLowerLower(dWork, high, low));
      const auto next = asFloat(d, hn::ConcatUpperUpper(dWork, high, low));
      hn::StoreU(blend(d, hn::LoadU(d, fractions + x), here, next), d, dst + x);
    }
    return x;
  }

  // From pixel `first` on, one by one: a pixel is three lanes of four, of which the fourth is written over by the
  // next pixel.
  void samplePixels(const Work* row, float* dst, std::ptrdiff_t first) const {
    const hn::CappedTag<float, 4> d;
    const hn::Rebind<Work, decltype(d)> dWork;
    const std::int32_t* const places = places_;
    const float* const fractions = fractions_;
    const std::ptrdiff_t last = between_ / kChannels;
    for (std::ptrdiff_t x = first; x < last; ++x) {
      const Work* const at = row + std::ptrdiff_t{places[x]} * kChannels;
      hn::StoreU(blend(d, hn::LoadU(d, fractions + kChannels * x), asFloat(d, hn::LoadU(dWork, at)),
                       asFloat(d, hn::LoadU(dWork, at + kChannels))),
                 d, dst + kChannels * x);
    }
  }

  // From element `first` on: both 16-bit samples are brought together in the destination.
  void samplePairs(const Work* row, float* dst, std::ptrdiff_t first) const {
    for (std::ptrdiff_t x = first; x < between_; ++x) std::memcpy(dst + x, row + places_[x], 2 * sizeof(Work));
    const float* const fractions = fractions_;
    forVectors<float>(first, between_, [=](auto d, std::ptrdiff_t x) {
      const hn::RebindToSigned<decltype(d)> d32;
      const auto pairs = hn::BitCast(d32, hn::LoadU(d, dst + x));
      const auto here = hn::ConvertTo(d, hn::ShiftLeft<16>(pairs));
      const auto next = hn::ConvertTo(d, hn::And(pairs, hn::Set(d32, -(1 << 16))));
      hn::StoreU(blend(d, hn::LoadU(d, fractions + x), here, next), d, dst + x);
    });
  }

  std::int32_t* places_;
  float* fractions_;
  std::int32_t* starts_;
  Turn* turns_;
  std::ptrdiff_t count_ = 0;    // Elements,
  std::ptrdiff_t between_ = 0;  // those of them that have a next sample,
  std::ptrdiff_t turned_ = 0;   // and those that have shuffles.
};

}  // namespace rvp::n8
