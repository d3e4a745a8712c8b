// Erosion, dilation and what is made of them: against the formula cell by cell, stage after stage.
#include "morph/masks.h"
#include "support/test.h"

namespace {

using namespace test;

enum Operation : std::size_t { erode, dilate, open, close, topHat, blackHat, gradient };
constexpr std::size_t kOperations = gradient + 1;

bool isCompound(Operation operation) { return operation >= open; }

// Pixels are arrays, so that borders and cells are the same for all numbers of channels.
template <class E, int kC>
struct PixelsOf {
  using Element = E;
  static constexpr int kChannels = kC;
  using P = std::array<E, static_cast<std::size_t>(kC)>;

  static P random(std::uint64_t bits, int x) {
    P p;
    for (std::size_t c = 0; c < p.size(); ++c) {
      if constexpr (std::is_same_v<E, float>) {
        p[c] = static_cast<E>(static_cast<int>(bits >> (8 * c) & 0xFFF) - 2048) / 16;
        const int lot = (x + static_cast<int>(c)) % 37;
        if (lot < 2) p[c] = std::numeric_limits<E>::infinity() * static_cast<E>(lot == 0 ? 1 : -1);
      } else {
        p[c] = static_cast<E>(bits >> (8 * c));
      }
    }
    return p;
  }
  static P choose(bool least, P a, const P& b) {
    for (std::size_t c = 0; c < a.size(); ++c) a[c] = least ? std::min(a[c], b[c]) : std::max(a[c], b[c]);
    return a;
  }
  static P minus(P a, const P& b) {
    for (std::size_t c = 0; c < a.size(); ++c) {
      if constexpr (std::is_same_v<E, float>) {
        a[c] = a[c] - b[c] < 0 ? 0 : a[c] - b[c];
      } else {
        using Limits = std::numeric_limits<E>;
        a[c] = static_cast<E>(std::clamp<int>(int{a[c]} - int{b[c]}, Limits::min(), Limits::max()));
      }
    }
    return a;
  }
};

struct OneBit {
  using P = std::uint8_t;
  static P random(std::uint64_t bits, int) { return static_cast<P>(bits % 2); }
  static P choose(bool least, P a, P b) { return least ? std::min(a, b) : std::max(a, b); }
  static P minus(P a, P b) { return a > b ? 1 : 0; }
};

// ---- The reference

template <class Pixels>
using ImageOf = Bordered<typename Pixels::P>;

template <class Pixels>
ImageOf<Pixels> randomImage(RvpiSize size, int margin, RvpiBorderType border, unsigned seed) {
  ImageOf<Pixels> image = {{size.width + 2 * margin, size.height + 2 * margin}, margin, border, {}};
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(image.memory.width, image.memory.height, seed);
  forElements(noise, [&](int y, int x) {
    image.memory.at(y, x) = Pixels::random(noise.at(y, x) * std::uint64_t{0x9E3779B97F4A7C15} >> 16, x + y);
  });
  image.value = Pixels::random(seed, 0);
  return image;
}

// A stage's result on the region, with what lies beside it on sides in memory as far as `next` reads there.
template <class Pixels>
ImageOf<Pixels> stage(const ImageOf<Pixels>& image, const Mask& mask, const Mask& next, bool erodes) {
  const auto beyond = [&](int flag, int pixels) { return image.inMemory(flag) ? pixels : 0; };
  const int left = beyond(rvpBorderInMemLeft, next.anchorX());
  const int right = beyond(rvpBorderInMemRight, next.width - next.anchorX() - 1);
  const int top = beyond(rvpBorderInMemTop, next.anchorY());
  const int bottom = beyond(rvpBorderInMemBottom, next.height - next.anchorY() - 1);
  ImageOf<Pixels> result = image;
  for (int y = -top; y < image.height() + bottom; ++y) {
    for (int x = -left; x < image.width() + right; ++x)
      result.memory.at(y + image.margin, x + image.margin) =
          extremumAt(image, mask, x, y, [=](const auto& a, const auto& b) { return Pixels::choose(erodes, a, b); });
  }
  return result;
}

template <class Pixels>
Plane<typename Pixels::P> expectedOf(Operation operation, const ImageOf<Pixels>& image, const Mask& mask) {
  const Mask none = rectangle(1, 1), turned = mask.reflected();
  const auto one = [&](bool erodes) { return stage<Pixels>(image, mask, none, erodes); };
  const auto two = [&](bool erodesFirst) {
    return stage<Pixels>(stage<Pixels>(image, mask, turned, erodesFirst), turned, none, !erodesFirst);
  };
  const bool isTwo = isCompound(operation) && operation != gradient;
  const ImageOf<Pixels> first = isTwo ? two(operation == open || operation == topHat) : one(operation == erode);
  const ImageOf<Pixels> eroded = operation == gradient ? one(true) : first;
  return planeOf<typename Pixels::P>(image.width(), image.height(), [&](int y, int x) {
    const auto a = first.at(x, y), s = image.at(x, y);
    return operation == topHat     ? Pixels::minus(s, a)
           : operation == blackHat ? Pixels::minus(a, s)
           : operation == gradient ? Pixels::minus(a, eroded.at(x, y))
                                   : a;
  });
}

// ---- The functions

template <auto kGetSizeOf, auto kInitOf, auto... kCalls>
struct Functions {
  static constexpr auto kGetSize = kGetSizeOf;
  static constexpr auto kInit = kInitOf;
  static constexpr std::array kRun = {kCalls...};
};
template <class PixelsT, class PlainT, class AdvancedT>
struct Form : PixelsT {
  using Pixels = PixelsT;
  using Plain = PlainT;
  using Advanced = AdvancedT;
  static constexpr bool kIsBits = std::is_same_v<Pixels, OneBit>;
};
#define FORM(NAME, ...)                                                                                          \
  Form<__VA_ARGS__,                                                                                              \
       Functions<&rvpiMorphologyBorderGetSize_##NAME, &rvpiMorphologyBorderInit_##NAME, &rvpiErodeBorder_##NAME, \
                 &rvpiDilateBorder_##NAME>,                                                                      \
       Functions<&rvpiMorphAdvGetSize_##NAME, &rvpiMorphAdvInit_##NAME, &rvpiMorphOpenBorder_##NAME,             \
                 &rvpiMorphCloseBorder_##NAME, &rvpiMorphTophatBorder_##NAME, &rvpiMorphBlackhatBorder_##NAME,   \
                 &rvpiMorphGradientBorder_##NAME>>
using Bits = FORM(1u_C1R, OneBit);
using Gray = FORM(8u_C1R, PixelsOf<std::uint8_t, 1>);

template <class State>
State stateOf(RvpStatus (*init)(RvpiSize, const std::uint8_t*, RvpiSize, State*, std::uint8_t*));

// Calls go(function, state).
template <class Form, class Go>
void withState(Operation operation, RvpiSize largest, const Mask& mask, Cliff cliff, const Go& go) {
  const auto goWith = [&]<class Kind>(Kind, std::size_t number) {
    Element<decltype(stateOf(Kind::kInit))> state(Kind::kGetSize, Kind::kInit, largest, mask, cliff);
    go(Kind::kRun[number], state);
  };
  if (isCompound(operation)) {
    goWith(typename Form::Advanced(), operation - open);
  } else {
    goWith(typename Form::Plain(), operation);
  }
}

// The value of a border is given itself for one channel, and by a pointer for several.
template <class Form>
auto valueOf(const typename Form::P& value) {
  if constexpr (Form::kChannels == 1) {
    return value[0];
  } else {
    return value.data();
  }
}

// The source's unflagged sides, state and buffer lie at unreadable pages, the destination among sentinels.
template <class Form>
void check(Operation operation, const Shape& shape, const Mask& mask, RvpiBorderType border, RvpiSize largest,
           Cliff cliff) {
  SCOPED_TRACE(words("operation", operation, "mask", mask.width, "x", mask.height, "border", border));
  const RvpiSize size = shape.size();
  // Two stages read as far as the mask reaches on each side, once for either.
  auto image =
      randomImage<typename Form::Pixels>(size, (isCompound(operation) ? 2 : 1) * mask.reach(), border, shape.seed);
  if ((border & 15) == rvpBorderMirror) {
    image.turn = {mask.anchorX(), mask.anchorY(), mask.width - 1 - mask.anchorX(),
                  mask.height - 1 - mask.anchorY()};
  }
  const auto expected = expectedOf<typename Form::Pixels>(operation, image, mask);
  withState<Form>(operation, largest, mask, cliff, [&](auto run, auto& state) {
    if constexpr (Form::kIsBits) {
      const int srcBit = static_cast<int>(shape.seed % 8), dstBit = static_cast<int>((shape.seed + 3) % 11);
      FlaggedBits src(image, srcBit, cliff);
      Guarded<std::uint8_t> dst(packed(Plane<std::uint8_t>(size.width, size.height), dstBit), shape.placing);
      ASSERT_EQ(run(src.first(), src.step(), src.bitOffset(), dst.data(), dst.step(), dstBit, size, border,
                    image.value != 0 ? 200 : 0, state.spec(), state.buffer()),
                rvpStatusOk);
      // Bits beside the region are in the same bytes, so that they are compared too.
      ASSERT_TRUE(same(packed(expected, dstBit), dst));
    } else {
      using T = typename Form::Element;
      OnlyFlaggedSides<typename Form::P> src(image, cliff);
      Guarded<typename Form::P> dst({size.width, size.height}, shape.placing);
      ASSERT_EQ(run(src.region()->data(), src.step(), reinterpret_cast<T*>(dst.data()), dst.step(), size, border,
                    valueOf<Form>(image.value), state.spec(), state.buffer()),
                rvpStatusOk);
      ASSERT_TRUE(same(expected, dst));
    }
  });
}

// The mirror is for plain operations on pixels.
template <class Form>
RvpiBorderType taken(RvpiBorderType border, Operation operation) {
  const bool isTaken = (border & 15) != rvpBorderMirror || !(Form::kIsBits || isCompound(operation));
  return isTaken ? border : border - rvpBorderMirror + rvpBorderRepl;
}

template <class Form>
class Extrema : public testing::Test {};
using Forms = testing::Types<Bits, Gray, FORM(8u_C3R, PixelsOf<std::uint8_t, 3>),
                             FORM(8u_C4R, PixelsOf<std::uint8_t, 4>), FORM(16u_C1R, PixelsOf<std::uint16_t, 1>),
                             FORM(16s_C1R, PixelsOf<std::int16_t, 1>), FORM(32f_C1R, PixelsOf<float, 1>),
                             FORM(32f_C3R, PixelsOf<float, 3>), FORM(32f_C4R, PixelsOf<float, 4>)>;
TYPED_TEST_SUITE(Extrema, Forms);

// Each mask meets each border at some widths; states are made for the region itself or for a larger one. Lines of
// bits are three times as wide.
TYPED_TEST(Extrema, FollowTheFormulasForEveryWidth) {
  const std::vector<Mask> masks = someMasks();
  const std::vector<RvpiBorderType> borders = someBorders();
  std::size_t turn = 0;
  sweepSmall([&](Shape shape) {
    if (TypeParam::kIsBits) shape.width = 3 * shape.width - static_cast<int>(shape.seed / 100) % 3;
    for (int k = 0; k < 9; ++k, ++turn) {
      const int spare = turn % 3 == 0 ? 40 : 0;
      const Mask& mask = masks[turn % masks.size()];
      // Large masks for single stages only, for the time of the reference.
      const bool isLarge = mask.width * mask.height > 300;
      const auto operation = static_cast<Operation>(turn % (isLarge || k < 4 ? 2 : kOperations));
      check<TypeParam>(operation, shape, mask, taken<TypeParam>(borders[turn / 3 % borders.size()], operation),
                       {shape.width + spare, shape.height + spare},
                       turn / 2 % 2 == 0 ? Cliff::behind : Cliff::before);
    }
  });
}

TYPED_TEST(Extrema, FollowTheFormulasForEveryMaskAndBorder) {
  unsigned turn = 0;
  for (const Mask& mask : someMasks()) {
    for (const RvpiBorderType border : someBorders()) {
      for (const RvpiSize size : {RvpiSize{1, 1}, {2, 37}, {37, 19}, {140, 2}, {75, 11}}) {
        ++turn;
        tryShape({size.width, size.height, {static_cast<int>(turn % 4), 1}, 1, turn}, [&](const Shape& shape) {
          const int spare = turn % 4 == 0 ? 9 : 0;
          for (const unsigned number : {turn % 2, 2 + (turn + turn / 5) % 5}) {
            const auto operation = static_cast<Operation>(number);
            if (isCompound(operation) && mask.width * mask.height > 300) continue;
            check<TypeParam>(operation, shape, mask, taken<TypeParam>(border, operation),
                             {size.width + spare, size.height + spare},
                             turn / 2 % 2 == 0 ? Cliff::behind : Cliff::before);
          }
        });
      }
    }
  }
}

// The image between strips, and regions beyond the one of init: more rows, and for bits wider too.
TYPED_TEST(Extrema, FollowTheFormulasInWideAndTallImages) {
  for (const Mask& mask : {ellipse(21, 9), randomMask(9, 9, 5), rectangle(13, 12), rectangleIn(3, 2, {})}) {
    for (const RvpiBorderType border : {rvpBorderRepl + 0, rvpBorderConst | 64}) {
      for (const Operation operation : {erode, dilate}) {
        tryShape({1203, 14, {3, 1}, 1, 7}, [&](const Shape& shape) {
          check<TypeParam>(operation, shape, mask, border, {TypeParam::kIsBits ? 70 : 1203, 14}, Cliff::behind);
        });
        tryShape({31, 90, {}, 1, 8}, [&](const Shape& shape) {
          check<TypeParam>(operation, shape, mask, border, {TypeParam::kIsBits ? 1 : 31, 1}, Cliff::behind);
        });
      }
    }
  }
}

// Images that are worked on in bands, also in place.
TEST(ExtremaBands, FollowTheStages) {
  for (const RvpiBorderType border : {rvpBorderRepl + 0, rvpBorderConst | 64}) {
    for (const Operation operation : {close, topHat, gradient}) {
      tryShape({3000, 130, {3, 1}, 1, 5}, [&](const Shape& shape) {
        check<Gray>(operation, shape, randomMask(3, 5, 3), border, {3000, 130}, Cliff::behind);
      });
    }
    tryShape({60000, 50, {}, 1, 6}, [&](const Shape& shape) {
      check<Bits>(open, shape, rectangle(2, 3), border, {60000, 50}, Cliff::before);
    });
  }
  constexpr RvpiSize kSize = {3000, 150};
  for (const Mask& mask : {ellipse(7, 7), randomMask(6, 5, 4), rectangle(4, 9)}) {
    for (const Operation operation : {open, close}) {
      withState<Gray>(operation, kSize, mask, Cliff::behind, [&](auto run, auto& state) {
        const auto image = randomPlane<std::uint8_t>(kSize.width, kSize.height, 9);
        Guarded<std::uint8_t> src(image), dst(image);
        for (Guarded<std::uint8_t>* to : {&dst, &src})
          ASSERT_EQ(call(run, src, *to, kSize, rvpBorderRepl, 0, state.spec(), state.buffer()), rvpStatusOk);
        ASSERT_TRUE(same(dst.content(), src));
      });
    }
  }
}

void checkFaultsOfBits(bool refusesInPlace, auto run, auto& state) {
  std::uint8_t src[16] = {}, dst[16] = {77};
  const auto inPlace = planted(rvpStatusInPlaceNotSupported, [&](auto& a) {
    if (std::get<0>(a) != nullptr && std::get<3>(a) != nullptr) std::get<0>(a) = std::get<3>(a);
  });
  expectFirstOfTwo(
      run,
      {nulls<>, at<2>(rvpStatusBadSize, -1), at<5>(rvpStatusBadSize, -8), badSizes, at<1>(rvpStatusBadStep, 0, -3),
       at<4>(rvpStatusBadStep, 0), at<7>(rvpStatusBadBorder, 3), inPlace.when(refusesInPlace)},
      src, 3, 0, dst, 3, 0, {4, 1}, rvpBorderRepl, 0, state.spec(), state.buffer());
}

template <class Form>
void checkFaultsOfPixels(bool isPlain, bool refusesInPlace, auto run, auto& state) {
  using T = typename Form::Element;
  static constexpr int kRow = 4 * Form::kChannels * static_cast<int>(sizeof(T));
  static constexpr bool kByPointer = Form::kChannels > 1;
  std::vector<T> src(600), dst(600, T{5});
  const typename Form::P value = {};
  const auto noValue = planted(rvpStatusNullPointer, [](auto& a) {
    std::get<5>(a) = rvpBorderConst | 0x70;
    if constexpr (kByPointer) std::get<6>(a) = nullptr;
  });
  const auto badBorder = at<5>(rvpStatusBadBorder, 2, 4, 5, 7, -1, 256);
  const auto mirror = at<5>(rvpStatusBadBorder, int{rvpBorderMirror}).when(!isPlain);
  const auto inPlace = planted(rvpStatusInPlaceNotSupported, [](auto& a) { std::get<0>(a) = std::get<2>(a); });
  expectFirstOfTwo(
      run,
      {nulls<0, 2, 7, 8>, noValue.when(kByPointer), badSizes, shortSteps<0, 2>, oddSteps<0, 2>, badBorder, mirror},
      src.data(), kRow, dst.data(), kRow, {4, 2}, rvpBorderRepl, valueOf<Form>(value), state.spec(),
      state.buffer());
  // Rows that have room for a region too wide.
  expectFirstOfTwo(
      run,
      {badBorder, mirror, at<4>(rvpStatusBadSize, RvpiSize{33, 1}), inPlace.when(refusesInPlace && sizeof(T) == 2)},
      src.data(), 9 * kRow, dst.data(), 9 * kRow, {4, 1}, rvpBorderRepl, valueOf<Form>(value), state.spec(),
      state.buffer());
  // From the middle of the memory, as all sides may be read.
  const auto go = [&](int step, RvpiSize size, auto border) {
    return run(src.data() + 300, step, dst.data(), step, size, border, {}, state.spec(), state.buffer());
  };
  // One row too many for the image between the stages.
  EXPECT_TRUE(isPlain || go(0x40000000, {4, 100}, rvpBorderRepl) == rvpStatusBadSize);
  EXPECT_EQ(dst, std::vector<T>(600, T{5}));
  EXPECT_EQ(go(kRow, {1, 1}, rvpBorderConst | 0xF0), rvpStatusOk);
}

TYPED_TEST(Extrema, ReportTheFirstOfTwoFaults) {
  using Form = TypeParam;
  int bytes[2] = {-7, -7};
  std::uint8_t block[2000];
  const std::uint8_t cell = 1;
  const auto ofState = [&]<class Kind>(Kind) {
    expectFirstOfTwo(Kind::kGetSize, {nulls<>, badSizes}, {1, 1}, {1, 1}, &bytes[0], &bytes[1]);
    using State = decltype(stateOf(Kind::kInit));
    expectFirstOfTwo(Kind::kInit, {nulls<>, badSizes}, {1, 1}, &cell, {1, 1}, reinterpret_cast<State*>(block),
                     block);
  };
  ofState(typename Form::Plain());
  ofState(typename Form::Advanced());
  for (std::size_t number = 0; number < kOperations; ++number) {
    const auto operation = static_cast<Operation>(number);
    SCOPED_TRACE(number);
    const bool isPlain = !isCompound(operation), refusesInPlace = isPlain || operation == gradient;
    withState<Form>(operation, {4, 3}, rectangle(3, 4), Cliff::before, [&](auto run, auto& state) {
      if constexpr (Form::kIsBits) {
        checkFaultsOfBits(refusesInPlace, run, state);
      } else {
        checkFaultsOfPixels<Form>(isPlain, refusesInPlace, run, state);
      }
    });
  }
}

Mask drawnMask(Input& input) {
  const int width = input.between(1, 40), height = input.between(1, 20);
  switch (input.between(0, 3)) {
    case 0:
      return rectangle(width, height);
    case 1:
      return ellipse(width, height);
    case 2:
      return randomMask(width, height, input.any<std::uint8_t>());
    default:
      return rectangleIn(width, height,
                         {input.between(0, width - 1), input.between(0, height - 1), input.between(0, width),
                          input.between(0, height)});
  }
}

FUZZ(extrema, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = drawnMask(input);
    const auto operation = static_cast<Operation>(input.between(0, kOperations - 1));
    const RvpiBorderType border = input.border();
    const RvpiSize largest = {shape.width + input.between(0, 20), shape.height + input.between(0, 20)};
    const Cliff cliff = input.cliff();
    input.withOneOf(
        Forms(), [&]<class T>() { check<T>(operation, shape, mask, taken<T>(border, operation), largest, cliff); });
  });
}

}  // namespace
