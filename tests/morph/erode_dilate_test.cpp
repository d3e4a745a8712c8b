// Erosion and dilation against the formula, cell by cell.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "morph/masks.h"
#include "rvpcv.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/sweep.h"

namespace {

using namespace test;

// Pixels are arrays, so that borders and cells are the same for all numbers of channels.
template <class T, int kChannels>
using Pixel = std::array<T, static_cast<std::size_t>(kChannels)>;

template <class E, int kC, auto kSizes, auto kInitialize, auto kErodes, auto kDilates>
struct Form {
  using T = E;
  using P = Pixel<E, kC>;
  static constexpr int kChannels = kC;
  static constexpr auto kGetSize = kSizes;
  static constexpr auto kInit = kInitialize;

  static RvpStatus run(bool erodes, const T* src, int srcStep, T* dst, int dstStep, RvpiSize size,
                       RvpiBorderType border, const T* value, const RvpiMorphState* spec, std::uint8_t* buffer) {
    if constexpr (kC == 1) {
      return (erodes ? kErodes : kDilates)(src, srcStep, dst, dstStep, size, border, *value, spec, buffer);
    } else {
      return (erodes ? kErodes : kDilates)(src, srcStep, dst, dstStep, size, border, value, spec, buffer);
    }
  }
};
#define FORM(T, C, NAME)                                                                                     \
  Form<T, C, &rvpiMorphologyBorderGetSize_##NAME, &rvpiMorphologyBorderInit_##NAME, &rvpiErodeBorder_##NAME, \
       &rvpiDilateBorder_##NAME>

template <class Form>
struct ErodeDilate : testing::Test {
  using Number = typename Form::T;
  using Pixels = typename Form::P;
  using State = Element<RvpiMorphState, decltype(Form::kGetSize), decltype(Form::kInit)>;

  // Random pixels, in float among them infinities, with a border.
  static Bordered<Pixels> randomImage(int width, int height, int margin, RvpiBorderType border, unsigned seed) {
    const int columns = width + 2 * margin;
    const Plane<Number> noise = randomPlane<Number>(columns * Form::kChannels, height + 2 * margin, seed);
    Bordered<Pixels> image = {Plane<Pixels>(columns, noise.height), margin, border, {}};
    for (int y = 0; y < noise.height; ++y) {
      for (int x = 0; x < noise.width; ++x) {
        Number& element = image.memory.at(y, x / Form::kChannels)[static_cast<std::size_t>(x % Form::kChannels)];
        element = noise.at(y, x);
        if constexpr (std::numeric_limits<Number>::has_infinity) {
          const int lot = (x * 31 + y * 17) % 23;
          if (lot < 2) element = std::numeric_limits<Number>::infinity() * static_cast<Number>(lot == 0 ? 1 : -1);
        }
      }
    }
    for (Number& element : image.value) element = noise.at(0, 0) / 2;
    return image;
  }

  static Plane<Pixels> expected(const Bordered<Pixels>& image, const Mask& mask, bool erodes) {
    const auto choose = [=](Pixels a, const Pixels& b) {
      for (std::size_t c = 0; c < a.size(); ++c) a[c] = erodes ? std::min(a[c], b[c]) : std::max(a[c], b[c]);
      return a;
    };
    return planeOf<Pixels>(image.width(), image.height(),
                           [&](int y, int x) { return extremumAt(image, mask, x, y, choose); });
  }

  static RvpStatus run(bool erodes, const Pixels* src, int srcStep, Pixels* dst, int dstStep, RvpiSize size,
                       const Bordered<Pixels>& image, State& state) {
    return Form::run(erodes, reinterpret_cast<const Number*>(src), srcStep, reinterpret_cast<Number*>(dst), dstStep,
                     size, image.border, image.value.data(), state.spec(), state.buffer());
  }

  // The source's unflagged sides, state and buffer lie at unreadable pages, the destination among sentinels.
  static void check(const Shape& shape, const Mask& mask, RvpiBorderType border, RvpiSize largest, Cliff cliff) {
    SCOPED_TRACE("mask " + std::to_string(mask.width) + " x " + std::to_string(mask.height) + ", border " +
                 std::to_string(border));
    Bordered<Pixels> image = randomImage(shape.width, shape.height, mask.reach(), border, shape.seed);
    if ((border & 15) == rvpBorderMirror) {
      image.turn = {mask.anchorX(), mask.anchorY(), mask.width - 1 - mask.anchorX(),
                    mask.height - 1 - mask.anchorY()};
    }
    OnlyFlaggedSides<Pixels> src(image, cliff);
    State state(Form::kGetSize, Form::kInit, largest, mask, cliff);
    for (const bool erodes : {true, false}) {
      Guarded<Pixels> dst(Plane<Pixels>(shape.width, shape.height), shape.placing);
      ASSERT_EQ(call(run, erodes, src, dst, dst.size(), image, state), rvpStatusOk);
      ASSERT_TRUE(same(expected(image, mask, erodes), dst)) << (erodes ? "erosion" : "dilation");
    }
  }
};

using Forms =
    testing::Types<FORM(std::uint8_t, 1, 8u_C1R), FORM(std::uint8_t, 3, 8u_C3R), FORM(std::uint8_t, 4, 8u_C4R),
                   FORM(std::uint16_t, 1, 16u_C1R), FORM(std::int16_t, 1, 16s_C1R), FORM(float, 1, 32f_C1R),
                   FORM(float, 3, 32f_C3R), FORM(float, 4, 32f_C4R)>;
TYPED_TEST_SUITE(ErodeDilate, Forms);

// Each mask meets each border at some widths; states are made for the region itself or for a larger one.
TYPED_TEST(ErodeDilate, FollowTheFormulaForEveryWidth) {
  const std::vector<Mask> masks = someMasks();
  const std::vector<RvpiBorderType> borders = someBorders();
  std::size_t turn = 0;
  sweepSmall([&](const Shape& shape) {
    for (int k = 0; k < 5; ++k, ++turn) {
      const int spare = turn % 3 == 0 ? 40 : 0;
      this->check(shape, masks[turn % masks.size()], borders[turn / 3 % borders.size()],
                  {shape.width + spare, shape.height + spare}, turn % 2 == 0 ? Cliff::behind : Cliff::before);
    }
  });
}

TYPED_TEST(ErodeDilate, FollowTheFormulaForEveryMaskAndBorder) {
  int turn = 0;
  for (const Mask& mask : someMasks()) {
    for (const RvpiBorderType border : someBorders()) {
      for (const RvpiSize size : {RvpiSize{1, 1}, {2, 37}, {37, 19}, {140, 2}}) {
        ++turn;
        tryShape({size.width, size.height, {turn % 4, turn % 3}, 1, static_cast<unsigned>(turn)},
                 [&](const Shape& shape) {
                   this->check(shape, mask, border, size, turn % 2 == 0 ? Cliff::behind : Cliff::before);
                 });
      }
    }
  }
}

// The image between strips, and more rows than the state was made for.
TYPED_TEST(ErodeDilate, FollowTheFormulaInWideAndTallImages) {
  for (const Mask& mask : {ellipse(21, 9), randomMask(9, 9, 5), rectangle(13, 12)}) {
    for (const RvpiBorderType border : {rvpBorderRepl + 0, rvpBorderConst | 64}) {
      tryShape({1203, 14, {3, 1}, 1, 7}, [&](const Shape& shape) {
        this->check(shape, mask, border, {1203, 14}, Cliff::behind);
      });
      tryShape({31, 90, {}, 1, 8}, [&](const Shape& shape) {
        this->check(shape, mask, border, {31, 1}, Cliff::behind);
      });
    }
  }
}

// Computing a tile with its neighbours in memory gives what computing the whole image gives.
TYPED_TEST(ErodeDilate, TilesMakeTheWhole) {
  using P = typename TypeParam::P;
  const Mask mask = ellipse(9, 7);
  const Bordered<P> image = this->randomImage(50, 30, 0, rvpBorderMirror, 3);
  Plane<P> tiled(50, 30);
  for (int y = 0; y < 30; y += 15) {
    for (int x = 0; x < 50; x += 25) {
      Bordered<P> tile = image;
      tile.border = rvpBorderMirror | (y == 0 ? rvpBorderInMemBottom : rvpBorderInMemTop) |
                    (x == 0 ? rvpBorderInMemRight : rvpBorderInMemLeft);
      typename TestFixture::State state(TypeParam::kGetSize, TypeParam::kInit, {25, 15}, mask, Cliff::before);
      ASSERT_EQ(this->run(true, image.memory.row(y) + x, 50 * int(sizeof(P)), &tiled.at(y, x), 50 * int(sizeof(P)),
                          {25, 15}, tile, state),
                rvpStatusOk);
    }
  }
  EXPECT_TRUE(same(this->expected(image, mask, true), tiled));
}

TYPED_TEST(ErodeDilate, ChecksInOrder) {
  using T = typename TypeParam::T;
  constexpr int kSize = static_cast<int>(sizeof(T));
  constexpr int kRow = 4 * TypeParam::kChannels * kSize;
  const Mask mask = rectangle(3, 3);
  typename TestFixture::State state(TypeParam::kGetSize, TypeParam::kInit, {4, 2}, mask, Cliff::before);
  const std::vector<T> src(64, T{3});
  std::vector<T> dst(64, T{5});
  const auto run = [&](const T* from, int srcStep, T* to, int dstStep, RvpiSize size, RvpiBorderType border,
                       const RvpiMorphState* spec, std::uint8_t* buffer) {
    return TypeParam::run(false, from, srcStep, to, dstStep, size, border, src.data(), spec, buffer);
  };
  RvpiMorphState* spec = state.spec();
  std::uint8_t* buffer = state.buffer();
  EXPECT_EQ(run(nullptr, kRow, dst.data(), kRow, {0, 1}, 1, spec, buffer), rvpStatusNullPointer);
  EXPECT_EQ(run(src.data(), kRow, nullptr, kRow, {0, 1}, 1, spec, buffer), rvpStatusNullPointer);
  EXPECT_EQ(run(src.data(), kRow, dst.data(), kRow, {0, 1}, 1, nullptr, buffer), rvpStatusNullPointer);
  EXPECT_EQ(run(src.data(), kRow, dst.data(), kRow, {0, 1}, 1, spec, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(run(src.data(), 0, dst.data(), kRow, {4, 0}, 1, spec, buffer), rvpStatusBadSize);
  EXPECT_EQ(run(src.data(), kRow + 1, dst.data(), kRow - 1, {4, 1}, 1, spec, buffer), rvpStatusBadStep);
  EXPECT_EQ(run(src.data(), kRow + 1, dst.data(), kRow, {4, 1}, 2, spec, buffer),
            kSize > 1 ? rvpStatusStepNotMultiple : rvpStatusBadBorder);
  for (const RvpiBorderType border : {2, 4, 5, 7, 256, -1})
    EXPECT_EQ(run(src.data(), 2 * kRow, dst.data(), 2 * kRow, {5, 1}, border, spec, buffer), rvpStatusBadBorder);
  EXPECT_EQ(run(dst.data(), 2 * kRow, dst.data(), 2 * kRow, {5, 1}, 1, spec, buffer), rvpStatusBadSize);
  if constexpr (kSize == 2) {
    EXPECT_EQ(run(dst.data(), kRow, dst.data(), kRow, {4, 1}, 1, spec, buffer), rvpStatusInPlaceNotSupported);
  }
  if constexpr (TypeParam::kChannels > 1) {
    const auto withoutValue = [&](RvpiBorderType border) {
      return TypeParam::run(true, src.data() + 24, kRow, dst.data() + 24, kRow, {1, 1}, border, nullptr, spec,
                            buffer);
    };
    EXPECT_EQ(withoutValue(rvpBorderConst), rvpStatusNullPointer);
    EXPECT_EQ(withoutValue(rvpBorderConst | 0x70), rvpStatusNullPointer);
    EXPECT_EQ(dst, std::vector<T>(64, T{5}));
    EXPECT_EQ(withoutValue(rvpBorderConst | 0xF0), rvpStatusOk);
    EXPECT_EQ(withoutValue(rvpBorderRepl), rvpStatusOk);
  } else {
    EXPECT_EQ(dst, std::vector<T>(64, T{5}));
  }
}

TYPED_TEST(ErodeDilate, SizeAndInitCheckInOrder) {
  int a = -7;
  int b = -7;
  const std::uint8_t mask[1] = {1};
  std::uint8_t block[2000];
  auto* spec = reinterpret_cast<RvpiMorphState*>(block);
  EXPECT_EQ(TypeParam::kGetSize({0, 1}, {1, 1}, nullptr, &b), rvpStatusNullPointer);
  EXPECT_EQ(TypeParam::kGetSize({0, 1}, {1, 1}, &a, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(TypeParam::kInit({1, 1}, nullptr, {1, 0}, spec, block), rvpStatusNullPointer);
  EXPECT_EQ(TypeParam::kInit({1, 1}, mask, {1, 0}, nullptr, block), rvpStatusNullPointer);
  EXPECT_EQ(TypeParam::kInit({1, 1}, mask, {1, 0}, spec, nullptr), rvpStatusNullPointer);
  for (int bad = 0; bad < 4; ++bad) {
    int size[4] = {1, 1, 1, 1};
    size[bad] = bad % 2 == 0 ? 0 : -1;
    EXPECT_EQ(TypeParam::kGetSize({size[0], size[1]}, {size[2], size[3]}, &a, &b), rvpStatusBadSize);
    EXPECT_EQ(TypeParam::kInit({size[0], size[1]}, mask, {size[2], size[3]}, spec, block), rvpStatusBadSize);
  }
  EXPECT_EQ(a, -7);
  EXPECT_EQ(b, -7);
}

// Equal source and destination, where they are not refused, leave the region's values open and nothing else.
TEST(ErodeDilateInPlace, StaysInTheRegion) {
  const Mask mask = rectangle(5, 9);
  Element<RvpiMorphState, decltype(&rvpiMorphologyBorderGetSize_8u_C1R), decltype(&rvpiMorphologyBorderInit_8u_C1R)>
      state(rvpiMorphologyBorderGetSize_8u_C1R, rvpiMorphologyBorderInit_8u_C1R, {40, 30}, mask, Cliff::behind);
  Guarded<std::uint8_t> image(randomPlane<std::uint8_t>(40, 30, 1), {5, 3});
  ASSERT_EQ(rvpiErodeBorder_8u_C1R(image.data(), image.step(), image.data(), image.step(), image.size(),
                                   rvpBorderRepl, 0, state.spec(), state.buffer()),
            rvpStatusOk);
}

}  // namespace
