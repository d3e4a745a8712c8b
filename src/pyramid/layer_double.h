// Up layers at rate 2. There the weights of every second destination sample are the same: sample 2j + p takes the
// weights k[c + p - 2d] of the source samples j + d, from
//
//   p = 0: d = -h to h          h = m / 2, where m is the distance that the kernel reaches
//   p = 1: d = 1 - g to g       g = (m + 1) / 2
//
// so that whole lines of samples are added up: source rows moved on by d pixels, then expanded rows. Each source
// row is expanded once, and kept as long as destination rows take from it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/border.h"
#include "filter/separable.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "pyramid/layer_state.h"

namespace rvp::n8 {

// The source samples that go to destination samples of one parity: d = first to first + count - 1.
struct Phase {
  int first;
  int count;
};

// Floats, added up in ascending order: with kernels of 5 taps, or where kTaps is 0 with any.
template <int kTaps>
class FloatDoubling {
 public:
  using Lane = float;
  // Lines for one sample where the compiler should know their number, else 0.
  template <int kParity>
  static constexpr int kLines = kTaps == 0 ? 0 : kTaps / 2 + 1 - kParity;
  static_assert(kTaps == 0 || kTaps == 5);

  static bool fits(const LayerState& state) {
    return kTaps == 0 || (state.kerSize == kTaps && static_cast<const float*>(state.pKernel)[0] != 0);
  }
  static std::int64_t weightCount(const LayerState& state) { return std::int64_t{state.kerSize} + 1; }

  FloatDoubling(const LayerState& state, float* memory) {
    const auto* kernel = static_cast<const float*>(state.pKernel);
    const int centre = state.kerSize / 2;
    const int reach = kernel[0] == 0 ? centre - 1 : centre;
    phases_[0] = {-(reach / 2), reach / 2 * 2 + 1};
    phases_[1] = {1 - (reach + 1) / 2, (reach + 1) / 2 * 2};
    for (const int p : {0, 1}) {
      if constexpr (kTaps == 0) weights_[p] = memory + std::ptrdiff_t{p} * phases_[0].count;
      float sum = 0;
      for (int i = 0; i < phases_[p].count; ++i)
        sum += weights_[p][static_cast<std::size_t>(i)] = kernel[centre + p - 2 * (phases_[p].first + i)];
      inverses_[p] = inverse<float>(sum);
    }
  }

  Phase phase(int p) const { return phases_[p]; }

  // A sample of parity kParity, expanded or finished; load(i) gives the lanes of line i.
  template <int kParity, class D, class Load>
  hn::Vec<D> expanded(D d, const Load& load) const {
    const int count = kTaps == 0 ? phases_[kParity].count : kLines<kParity>;
    auto sum = hn::Zero(d);
    for (int i = 0; i < count; ++i)
      sum = hn::Add(sum, hn::Mul(hn::Set(d, weights_[kParity][static_cast<std::size_t>(i)]), load(i)));
    return hn::Mul(sum, hn::Set(d, inverses_[kParity]));
  }
  template <int kParity, class D, class Load>
  void finish(D d, const Load& load, float* dst) const {
    hn::StoreU(expanded<kParity>(d, load), d, dst);
  }

 private:
  Phase phases_[2];
  std::conditional_t<kTaps == 0, float*, std::array<float, 3>> weights_[2];
  float inverses_[2];
};

// Integers with the kernel 1 4 6 4 1, whose coefficients are 512, 2048 and 3072. Both parities have weights that
// sum to 4096 and so the inverse 8. With R = p0 + 6 p1 + p2 or 4 p0 + 4 p1, at most 8 * 65535 < 2^19, a sum along
// the row is 512 R; 4096 R + 128 = 128 * (32 R + 1) still has no more than 24 bits, so floats hold it, and the
// sample that goes on is 4096 R + 128 >> 8 = 16 R. Down the columns T, made of R as R of p, is at most 2^22; the
// pixel is 65536 T + 2^21 >> 22 = (T + 32) >> 6, where floats hold 65536 * (T + 32) too. So these integers are what
// the formula in float gives.
template <class T>
class BinomialDoubling {
 public:
  using Lane = std::conditional_t<std::is_same_v<T, std::uint8_t>, std::int16_t, std::int32_t>;
  template <int kParity>
  static constexpr int kLines = 3 - kParity;

  static bool fits(const LayerState& state) { return isBinomial(state); }
  static std::int64_t weightCount(const LayerState&) { return 0; }

  BinomialDoubling(const LayerState&, const float*) {}

  static Phase phase(int p) { return p == 0 ? Phase{-1, 3} : Phase{0, 2}; }

  template <int kParity, class D, class Load>
  static hn::Vec<D> expanded(D, const Load& load) {
    if constexpr (kParity == 1) {
      return hn::ShiftLeft<2>(hn::Add(load(0), load(1)));
    } else {
      const auto middle = load(1);
      return hn::Add(hn::Add(load(0), load(2)), hn::Add(hn::ShiftLeft<2>(middle), hn::Add(middle, middle)));
    }
  }
  template <int kParity, class D, class Load>
  static void finish(D d, const Load& load, T* dst) {
    const auto pixel = hn::ShiftRight<6>(hn::Add(expanded<kParity>(d, load), hn::Set(d, 32)));
    const hn::Rebind<T, D> dT;
    hn::StoreU(hn::DemoteTo(dT, pixel), dT, dst);
  }
};

template <class T, int kChannels, class Arithmetic>
class Doubler {
  using Lane = typename Arithmetic::Lane;

  // Up to here positions are exact in float.
  static constexpr std::int64_t kMostExtent = 1 << 22;
  // Pixels of three lanes are copied by four.
  static constexpr std::int64_t kSlack = 1;

 public:
  Doubler(const T* src, int srcStep, RvpiSize srcRoi, RvpiSize dstRoi, const LayerState& state)
      : image_{src, srcStep, srcRoi, borderOf(rvpBorderMirror), nullptr},
        state_(state),
        dstRoi_(dstRoi),
        beyond_((std::int64_t{state.kerSize} / 2 + 1) / 2),
        slots_(std::min<std::int64_t>(srcRoi.height, 2 * beyond_ + 1)),
        elements_(rowElements(srcRoi.width, kChannels)) {
    weights_ = layout_.take(Arithmetic::weightCount(state), sizeof(float));
    rows_ = layout_.take(state.kerSize, sizeof(void*));
    source_ = layout_.take((srcRoi.width + 2 * beyond_) * kChannels, sizeof(T));
    if (kChannels > 1) {
      for (std::int64_t& at : planes_) at = layout_.take(elements_ + kSlack, sizeof(Lane));
    }
    ring_ = layout_.bytes();
    layout_.take(2 * elements_ + kSlack, sizeof(Lane));
    ringStep_ = layout_.bytes() - ring_;
    layout_.take(slots_ - 1, ringStep_);
  }

  // Whether this is a case for it, and the state has the memory.
  bool serves() const {
    return state_.rate == 2.0F && Arithmetic::fits(state_) && layout_.bytes() <= state_.workBytes &&
           std::max<std::int64_t>({image_.size.width, image_.size.height, state_.kerSize}) <= kMostExtent;
  }

  void run(T* dst, int dstStep) const {
    const Arithmetic arithmetic(state_, part<float>(weights_));
    const std::int64_t height = image_.size.height;
    std::int64_t next = 0;
    for (std::int64_t y = 0; y < dstRoi_.height; ++y) {
      for (const std::int64_t last = std::min(y / 2 + beyond_, height - 1); next <= last; ++next)
        expandRow(arithmetic, next);
      T* const to = row(dst, dstStep, y);
      if (y % 2 == 0) {
        sumRows<0>(arithmetic, y / 2, to);
      } else {
        sumRows<1>(arithmetic, y / 2, to);
      }
    }
  }

 private:
  template <class E>
  E* part(std::int64_t offset) const {
    return reinterpret_cast<E*>(state_.pWork + offset);
  }
  Lane* ringRow(std::int64_t y) const { return part<Lane>(ring_ + y % slots_ * ringStep_); }

  // Arithmetic and lines go by value to where they are used for vector after vector: stores could change them
  // elsewhere, for all that the compiler knows.
  template <int kParity>
  void sumRows(const Arithmetic& arithmetic, std::int64_t j, T* dst) const {
    const Phase phase = arithmetic.phase(kParity);
    const auto find = [&](auto* lines) {
      for (int i = 0; i < phase.count; ++i)
        lines[i] = ringRow(borderIndex(rvpBorderMirror, j + phase.first + i, image_.size.height));
    };
    const auto finish = [&](auto lines) {
      coverWithVectors<Lane>(rowElements(dstRoi_.width, kChannels), [=](auto d, std::ptrdiff_t x) {
        arithmetic.template finish<kParity>(
            d, [&](int i) { return hn::LoadU(d, lines[static_cast<std::size_t>(i)] + x); }, dst + x);
      });
    };
    if constexpr (Arithmetic::template kLines<kParity> == 0) {
      find(part<const Lane*>(rows_));
      finish(part<const Lane*>(rows_));
    } else {
      std::array<const Lane*, Arithmetic::template kLines<kParity>> lines;
      find(lines.data());
      finish(lines);
    }
  }

  void expandRow(const Arithmetic& arithmetic, std::int64_t y) const {
    T* const source = part<T>(source_);
    image_.readRow(y, -beyond_, image_.size.width + beyond_, source);
    const T* const even = source + (beyond_ + arithmetic.phase(0).first) * kChannels;
    const T* const odd = source + (beyond_ + arithmetic.phase(1).first) * kChannels;
    Lane* const dst = ringRow(y);
    Lane* const planes[] = {part<Lane>(planes_[0]), part<Lane>(planes_[1])};
    coverWithVectors<Lane>(elements_, [=](auto d, std::ptrdiff_t x) {
      const auto valueOf = [&](auto parity, const T* line) {
        return arithmetic.template expanded<decltype(parity)::value>(
            d, [&](int i) { return loadAs(d, line + x + std::ptrdiff_t{i} * kChannels); });
      };
      const auto first = valueOf(std::integral_constant<int, 0>(), even);
      const auto second = valueOf(std::integral_constant<int, 1>(), odd);
      if constexpr (kChannels == 1) {
        hn::StoreInterleaved2(first, second, d, dst + 2 * x);
      } else {
        hn::StoreU(first, d, planes[0] + x);
        hn::StoreU(second, d, planes[1] + x);
      }
    });
    if constexpr (kChannels == 3) {
      const hn::CappedTag<Lane, 4> d;
      for (std::ptrdiff_t x = 0; x < elements_; x += kChannels) {
        hn::StoreU(hn::LoadU(d, planes[0] + x), d, dst + 2 * x);
        hn::StoreU(hn::LoadU(d, planes[1] + x), d, dst + 2 * x + kChannels);
      }
    }
  }

  ExtendedImage<T, kChannels> image_;
  const LayerState& state_;
  RvpiSize dstRoi_;
  std::int64_t beyond_;
  std::int64_t slots_;
  std::ptrdiff_t elements_;
  WorkLayout layout_;
  std::int64_t weights_ = 0;
  std::int64_t rows_ = 0;
  std::int64_t source_ = 0;
  std::int64_t planes_[2] = {};
  std::int64_t ring_ = 0;
  std::int64_t ringStep_ = 0;
};

// Doubles an image if this is a case for it, and the state has the memory.
template <class T, int kChannels>
bool doubled(const T* src, int srcStep, RvpiSize srcRoi, T* dst, int dstStep, RvpiSize dstRoi,
             const LayerState& state) {
  const auto ran = [&](auto doubler) {
    if (!doubler.serves()) return false;
    doubler.run(dst, dstStep);
    return true;
  };
  if constexpr (std::is_same_v<T, float>) {
    return ran(Doubler<T, kChannels, FloatDoubling<5>>(src, srcStep, srcRoi, dstRoi, state)) ||
           ran(Doubler<T, kChannels, FloatDoubling<0>>(src, srcStep, srcRoi, dstRoi, state));
  } else {
    return ran(Doubler<T, kChannels, BinomialDoubling<T>>(src, srcStep, srcRoi, dstRoi, state));
  }
}

}  // namespace rvp::n8
