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
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

// Pixels are taken by groups: one vector of 16 bits, and two of 32.
using GroupTag = hn::ScalableTag<std::uint16_t>;
using SumTag = hn::ScalableTag<std::int32_t>;
using Group = hn::Vec<GroupTag>;
using Sums = hn::Vec<SumTag>;
constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(SumTag()));
constexpr std::ptrdiff_t kGroup = 2 * kLanes;
constexpr bool kOneBlock = kLanes == 4;

// The sums of a group from its first pixel to each of its pixels; with kApart those of the upper half begin anew.
template <bool kApart>
struct GroupSums {
  Sums lower;
  Sums upper;
};

// The last lane in all lanes.
Sums last(Sums v) {
  const SumTag d;
  if constexpr (kOneBlock) {
    return hn::Broadcast<3>(v);
  } else {
    return hn::TableLookupLanes(v, hn::IndicesFromVec(d, hn::Set(d, static_cast<std::int32_t>(kLanes - 1))));
  }
}

Sums lowerSums(Group group) { return hn::PromoteTo(SumTag(), hn::LowerHalf(group)); }
Sums upperSums(Group group) { return hn::PromoteTo(SumTag(), hn::UpperHalf(hn::Half<GroupTag>(), group)); }

Group loadGroup(const std::uint8_t* src) {
  return hn::PromoteTo(GroupTag(), hn::LoadU(hn::Rebind<std::uint8_t, GroupTag>(), src));
}

// Each lane plus the lane kBits bits below it, in each half of a block of 128 bits. A shift of bits does it, as the
// processor has few ways of moving lanes.
template <int kBits, class V>
V plusLaneBelow(V v) {
  const hn::DFromV<V> d;
  const hn::Repartition<std::uint64_t, decltype(d)> d64;
  return hn::Add(v, hn::BitCast(d, hn::ShiftLeft<kBits>(hn::BitCast(d64, v))));
}

// The lanes of the upper half of each block plus the last lane of its lower half.
template <class V>
V plusLowerHalf(V v) {
  using T = hn::TFromV<V>;
  alignas(16) static constexpr auto kLastOfLower = [] {
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < 16; ++i)
      bytes[i] = i < 8 ? std::uint8_t{0x80} : static_cast<std::uint8_t>(8 - sizeof(T) + i % sizeof(T));
    return bytes;
  }();
  const hn::DFromV<V> d;
  const hn::Repartition<std::uint8_t, decltype(d)> d8;
  const auto lower = hn::TableLookupBytesOr0(hn::BitCast(d8, v), hn::LoadDup128(d8, kLastOfLower.data()));
  return hn::Add(v, hn::BitCast(d, lower));
}

// Eight bytes, which make a block of 128 bits, have a sum of at most 2040.
GroupSums<!kOneBlock> groupSums(Value, const std::uint8_t* src) {
  const Group v = plusLowerHalf(plusLaneBelow<32>(plusLaneBelow<16>(loadGroup(src))));
  return {lowerSums(v), upperSums(v)};
}

// Four sums in each block of 128 bits, and the sum of the block before where there is one.
Sums blockSums(Sums v) {
  const SumTag d;
  v = plusLowerHalf(plusLaneBelow<32>(v));
  return kOneBlock ? v : hn::Add(v, hn::ConcatLowerLower(d, hn::Broadcast<3>(v), hn::Zero(d)));
}

// A square fits in 16 bits, a sum of two does not.
GroupSums<true> groupSums(Square, const std::uint8_t* src) {
  const Group pixels = loadGroup(src);
  const Group squares = hn::Mul(pixels, pixels);
  return {blockSums(lowerSums(squares)), blockSums(upperSums(squares))};
}

// The running sum of a row, and the row of cells that it makes with the row above.
template <class Cell>
class RunningSum {
 public:
  template <bool kApart>
  void addGroup(const GroupSums<kApart>& sums, const Cell* above, Cell* cells) {
    store(sums.lower, above, cells);
    if constexpr (kApart) before_ = hn::Add(before_, last(sums.lower));
    store(sums.upper, above + kLanes, cells + kLanes);
    before_ = hn::Add(before_, last(sums.upper));
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
  void store(Sums sums, const Cell* above, Cell* cells) const {
    const hn::Rebind<Cell, SumTag> d;
    const Sums running = hn::Add(sums, before_);
    if constexpr (std::is_same_v<Cell, float>) {
      hn::StoreU(hn::Add(hn::LoadU(d, above), hn::ConvertTo(d, running)), d, cells);
    } else {
      hn::StoreU(hn::Add(hn::LoadU(d, above), running), d, cells);
    }
  }

  Sums before_ = hn::Zero(SumTag());
};

// A row of 2^31 squares stays below 2^47, where double holds every integer.
template <>
class RunningSum<double> {
 public:
  void addGroup(const GroupSums<true>& sums, const double* above, double* cells) {
    addHalf(sums.lower, above, cells);
    addHalf(sums.upper, above + kLanes, cells + kLanes);
  }
  void addPixel(int value, const double* above, double* cell) {
    before_ = hn::Add(before_, hn::Set(d_, value));
    *cell = *above + hn::GetLane(before_);
  }

 private:
  void addHalf(Sums sums, const double* above, double* cells) {
    const auto add = [&](auto quarter, std::ptrdiff_t at) {
      const auto running = hn::Add(hn::PromoteTo(d_, quarter), before_);
      hn::StoreU(hn::Add(hn::LoadU(d_, above + at), running), d_, cells + at);
    };
    add(hn::LowerHalf(sums), 0);
    add(hn::UpperHalf(hn::Half<SumTag>(), sums), kLanes / 2);
    before_ = hn::Add(before_, hn::PromoteTo(d_, hn::LowerHalf(last(sums))));
  }

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
  for (; x + kGroup <= width; x += kGroup) sum.addGroup(groupSums(of, src + x), above + x, cells + x);
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
