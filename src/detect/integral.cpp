// Summed-area tables: cell (r, c) is the start value plus the sum of the pixels, or of their squares, in rows 0 to
// r - 1 and columns 0 to c - 1. Each cell is made from the cell above and the running sum of its row,
//   T(r + 1, c + 1) = T(r, c + 1) + (s(r, 0) + ... + s(r, c)),
// and the one addition there is the only one that rounds in a table of floats: running sums of bytes are integers,
// which wrap at 32 bits, or doubles, which hold every sum of a row's squares exactly.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "detect/tables.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

// Pixels are taken by eight, in as many vectors of 32 bits as that makes.
constexpr std::ptrdiff_t kGroup = 8;
using GroupTag = hn::FixedTag<std::uint16_t, kGroup>;
using SumTag = hn::CappedTag<std::int32_t, kGroup>;
using Sums = hn::Vec<SumTag>;
constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(SumTag()));
constexpr std::ptrdiff_t kParts = kGroup / kLanes;

// The sums of a group from its first pixel to each of its pixels.
struct GroupSums {
  Sums parts[kParts];
};

// The last lane in all lanes.
Sums last(Sums v) {
  const SumTag d;
  const auto lastOfBlocks = hn::Broadcast<3>(v);
  if constexpr (hn::MaxLanes(d) == 4) {
    return lastOfBlocks;
  } else {
    return hn::ConcatUpperUpper(d, lastOfBlocks, lastOfBlocks);
  }
}

template <class Group>
GroupSums widened(Group group) {
  const SumTag d;
  if constexpr (hn::MaxLanes(d) == kGroup) {
    return {{hn::PromoteTo(d, group)}};
  } else {
    return {{hn::PromoteTo(d, hn::LowerHalf(group)), hn::PromoteTo(d, hn::UpperHalf(hn::Half<GroupTag>(), group))}};
  }
}

hn::Vec<GroupTag> loadGroup(const std::uint8_t* src) {
  return hn::PromoteTo(GroupTag(), hn::LoadU(hn::Rebind<std::uint8_t, GroupTag>(), src));
}

// Eight bytes have a sum of at most 2040.
GroupSums groupSums(Value, const std::uint8_t* src) {
  const GroupTag d;
  auto v = loadGroup(src);
  v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
  v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
  v = hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
  return widened(v);
}

// A square fits in 16 bits, a sum of two does not.
GroupSums groupSums(Square, const std::uint8_t* src) {
  const SumTag d;
  const auto pixels = loadGroup(src);
  GroupSums sums = widened(hn::Mul(pixels, pixels));
  for (Sums& v : sums.parts) {
    v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
    v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
  }
  // What a block of four lanes lacks is the sum of the block before it.
  if constexpr (kParts == 1) {
    const auto before = hn::ConcatLowerLower(d, hn::Broadcast<3>(sums.parts[0]), hn::Zero(d));
    sums.parts[0] = hn::Add(sums.parts[0], before);
  } else {
    sums.parts[1] = hn::Add(sums.parts[1], last(sums.parts[0]));
  }
  return sums;
}

// The running sum of a row, and the row of cells that it makes with the row above.
template <class Cell>
class RunningSum {
 public:
  void addGroup(const GroupSums& sums, const Cell* above, Cell* cells) {
    const hn::Rebind<Cell, SumTag> d;
    for (std::ptrdiff_t i = 0; i < kParts; ++i) {
      const Sums running = hn::Add(sums.parts[i], before_);
      const auto over = hn::LoadU(d, above + i * kLanes);
      if constexpr (std::is_same_v<Cell, float>) {
        hn::StoreU(hn::Add(over, hn::ConvertTo(d, running)), d, cells + i * kLanes);
      } else {
        hn::StoreU(hn::Add(over, running), d, cells + i * kLanes);
      }
    }
    before_ = hn::Add(before_, last(sums.parts[kParts - 1]));
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
  void addGroup(const GroupSums& sums, const double* above, double* cells) {
    for (const Sums part : sums.parts) {
      const auto lower = hn::PromoteTo(d_, hn::LowerHalf(part));
      const auto upper = hn::PromoteTo(d_, hn::UpperHalf(hn::Half<SumTag>(), part));
      hn::StoreU(hn::Add(hn::LoadU(d_, above), hn::Add(lower, before_)), d_, cells);
      above += kWide;
      cells += kWide;
      hn::StoreU(hn::Add(hn::LoadU(d_, above), hn::Add(upper, before_)), d_, cells);
      above += kWide;
      cells += kWide;
    }
    before_ = hn::Add(before_, hn::PromoteTo(d_, hn::LowerHalf(last(sums.parts[kParts - 1]))));
  }
  void addPixel(int value, const double* above, double* cell) {
    before_ = hn::Add(before_, hn::Set(d_, value));
    *cell = *above + hn::GetLane(before_);
  }

 private:
  hn::Repartition<double, SumTag> d_;
  static constexpr std::ptrdiff_t kWide = kLanes / 2;
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
