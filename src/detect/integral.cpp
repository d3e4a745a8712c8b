// Summed-area tables: cell (r, c) is the start value plus the sum of the pixels, or of their squares, in rows 0 to
// r - 1 and columns 0 to c - 1. Each cell is made from the cell above and the running sum of its row,
//   T(r + 1, c + 1) = T(r, c + 1) + (s(r, 0) + ... + s(r, c)),
// and the one addition there is the only one that rounds in a table of floats: running sums of bytes are integers,
// which wrap at 32 bits, or doubles, which hold every sum of a row's squares exactly.
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "detect/tables.h"
#include "frame/checks.h"
#include "frame/placed_bytes.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

// Pixels are taken four to a block of 128 bits, which holds their sums.
using SumTag = hn::ScalableTag<std::int32_t>;
using ByteTag = hn::Repartition<std::uint8_t, SumTag>;
using WordTag = hn::Repartition<std::int16_t, SumTag>;
using Sums = hn::Vec<SumTag>;
constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(SumTag()));
constexpr bool kOneBlock = kLanes == 4;

// The last lane in all lanes.
Sums last(Sums v) {
  const SumTag d;
  if constexpr (kOneBlock) {
    return hn::Broadcast<3>(v);
  } else {
    return hn::TableLookupLanes(v, hn::IndicesFromVec(d, hn::Set(d, static_cast<std::int32_t>(kLanes - 1))));
  }
}

Sums pairSums(hn::Vec<WordTag> v, hn::Vec<WordTag> factors) {
  auto unused = hn::Zero(SumTag());
  return hn::ReorderWidenMulAccumulate(SumTag(), v, factors, hn::Zero(SumTag()), unused);
}

// The sums in each block, and the sum of the block before where there is one.
Sums acrossBlocks(Sums v) {
  return kOneBlock ? v : hn::Add(v, hn::ConcatLowerLower(SumTag(), hn::Broadcast<3>(v), hn::Zero(SumTag())));
}

// The sums from the first pixel to each pixel: pixel i has those up to i of its block beside each other.
Sums sumsUpTo(Value, const std::uint8_t* src) {
  alignas(32) static constexpr BytePlaces kTriangle = [] {
    BytePlaces places{};
    for (std::size_t i = 0; i < places.size(); ++i) {
      const std::size_t block = i / 16, pixel = i % 16 / 4, term = i % 4;
      places[i] = term <= pixel ? static_cast<std::uint8_t>(4 * block + term) : kNoByte;
    }
    return places;
  }();
  const auto ones = hn::Set(hn::RebindToSigned<ByteTag>(), 1);
  const auto pairs = multipliedBytePairs(WordTag(), placedBytes(src, kTriangle), ones);
  return acrossBlocks(pairSums(pairs, hn::Set(WordTag(), 1)));
}

// The squares: pixel i with the one before if i is odd, and then the sum of the first two for the last two.
Sums sumsUpTo(Square, const std::uint8_t* src) {
  alignas(32) static constexpr BytePlaces kPairs = [] {
    BytePlaces places{};
    for (std::size_t i = 0; i < places.size(); ++i) {
      const std::size_t block = i / 16, pixel = i % 16 / 4, term = i % 4 / 2, byte = i % 2;
      const bool any = byte == 0 && (term == 0 || pixel % 2 == 1);
      places[i] = any ? static_cast<std::uint8_t>(4 * block + pixel / 2 * 2 + term) : kNoByte;
    }
    return places;
  }();
  alignas(32) static constexpr BytePlaces kSecondForUpperTwo = [] {
    BytePlaces places{};
    for (std::size_t i = 0; i < places.size(); ++i)
      places[i] = i % 16 >= 8 ? static_cast<std::uint8_t>(4 + i % 4) : kNoByte;
    return places;
  }();
  const auto pixels = hn::BitCast(WordTag(), placedBytes(src, kPairs));
  const Sums pairs = pairSums(pixels, pixels);
  const auto firstTwo =
      hn::TableLookupBytesOr0(hn::BitCast(ByteTag(), pairs), hn::Load(ByteTag(), kSecondForUpperTwo.data()));
  return acrossBlocks(hn::Add(pairs, hn::BitCast(SumTag(), firstTwo)));
}

// The running sum of a row, and the row of cells that it makes with the row above.
template <class Cell>
class RunningSum {
 public:
  void addPixels(Sums sums, const Cell* above, Cell* cells) {
    const hn::Rebind<Cell, SumTag> d;
    const Sums running = hn::Add(sums, before_);
    if constexpr (std::is_same_v<Cell, float>) {
      hn::StoreU(hn::Add(hn::LoadU(d, above), hn::ConvertTo(d, running)), d, cells);
    } else {
      hn::StoreU(hn::Add(hn::LoadU(d, above), running), d, cells);
    }
    before_ = hn::Add(before_, last(sums));
  }
  void addPixel(int value, const Cell* above, Cell* cell) {
    before_ = hn::Add(before_, hn::Set(SumTag(), value));
    const std::int32_t running = hn::GetLane(before_);
    if constexpr (std::is_same_v<Cell, float>) {
      *cell = *above + static_cast<float>(running);
    } else {
      *cell = wrappedSum(*above, running);
    }
  }

 private:
  Sums before_ = hn::Zero(SumTag());
};

// A row of 2^31 squares stays below 2^47, where double holds every integer.
template <>
class RunningSum<double> {
 public:
  void addPixels(Sums sums, const double* above, double* cells) {
    const auto add = [&](auto half, std::ptrdiff_t at) {
      const auto running = hn::Add(hn::PromoteTo(d_, half), before_);
      hn::StoreU(hn::Add(hn::LoadU(d_, above + at), running), d_, cells + at);
    };
    add(hn::LowerHalf(sums), 0);
    add(hn::UpperHalf(hn::Half<SumTag>(), sums), kLanes / 2);
    before_ = hn::Add(before_, hn::PromoteTo(d_, hn::LowerHalf(last(sums))));
  }
  void addPixel(int value, const double* above, double* cell) {
    before_ = hn::Add(before_, hn::Set(d_, value));
    *cell = *above + hn::GetLane(before_);
  }

 private:
  hn::ScalableTag<double> d_;
  hn::Vec<decltype(d_)> before_ = hn::Zero(d_);
};

template <class Cell>
using Upright = Table<Cell, 1>;

// Column 0 holds the start value.
constexpr auto kUprightRow = []<class Of, class Cell>(Of of, const std::uint8_t* src, const Upright<Cell>& table,
                                                      std::ptrdiff_t width, std::ptrdiff_t y) {
  const Cell* above = table.at(y) + 1;
  Cell* cells = table.at(y + 1) + 1;
  cells[-1] = table.start;
  RunningSum<Cell> sum;
  std::ptrdiff_t x = 0;
  const auto add = [&](std::ptrdiff_t at) { sum.addPixels(sumsUpTo(of, src + at), above + at, cells + at); };
  for (; x + 2 * kLanes <= width; x += 2 * kLanes) {
    prefetchLines(cells + x, 2 * kLanes, kAheadBytes);
    add(x);
    add(x + kLanes);
  }
  for (; x + kLanes <= width; x += kLanes) add(x);
  for (; x < width; ++x) sum.addPixel(Of::of(src[x]), above + x, cells + x);
};

// Float pixels are added from left to right, each addition waiting for the one before: several rows side by side
// fill the wait.
template <int kRows>
void integrateFloatRows(const float* src, int srcStep, const Upright<float>& table, int width, std::ptrdiff_t y) {
  const float* above = table.at(y);
  const float* pixels[kRows];
  float* cells[kRows];
  float sums[kRows] = {};
  for (int i = 0; i < kRows; ++i) {
    pixels[i] = row(src, srcStep, y + i);
    cells[i] = table.at(y + i + 1);
    cells[i][0] = table.start;
  }
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    float cell = above[x + 1];
    for (int i = 0; i < kRows; ++i) {
      sums[i] += pixels[i][x];
      cell += sums[i];
      cells[i][x + 1] = cell;
    }
  }
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RVP_INTEGRAL(rvpiIntegral_8u32s_C1R, Upright, int32_t)
RVP_INTEGRAL(rvpiIntegral_8u32f_C1R, Upright, float)

RvpStatus rvpiIntegral_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize) {
  using namespace rvp::n8;
  const Upright<float> table = {pDst, dstStep, 0};
  if (RvpStatus fault = tableFault(pSrc, srcStep, roiSize, table)) return fault;
  table.fillStart(roiSize.width);
  constexpr int kRows = 4;
  std::ptrdiff_t y = 0;
  for (; y + kRows <= roiSize.height; y += kRows) {
    integrateFloatRows<kRows>(pSrc, srcStep, table, roiSize.width, y);
  }
  for (; y < roiSize.height; ++y) integrateFloatRows<1>(pSrc, srcStep, table, roiSize.width, y);
  return rvpStatusOk;
}

RVP_SQR_INTEGRAL(rvpiSqrIntegral_8u32s_C1R, Upright, int32_t, int32_t)
RVP_SQR_INTEGRAL(rvpiSqrIntegral_8u32s64f_C1R, Upright, int32_t, double)
RVP_SQR_INTEGRAL(rvpiSqrIntegral_8u32f64f_C1R, Upright, float, double)

}  // extern "C"
