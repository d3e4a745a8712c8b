// What GetSize reports is what callers have allocated: no version of the library may ask for another number of
// bytes.
#include "support/test.h"

namespace {

using GetSize = RvpStatus (*)(RvpiSize, RvpiSize, int*, int*);
using Four = std::array<int, 4>;

// Regions and masks: small, one row, general, and a mask wider than the region.
struct Case {
  RvpiSize region;
  RvpiSize mask;
};
constexpr std::array<Case, 4> kCases = {
    {{{100, 80}, {3, 3}}, {{33, 7}, {8, 1}}, {{640, 480}, {6, 31}}, {{5, 90}, {40, 4}}}};

// Block and buffer of plain operations, then of compound ones, for each case.
struct Sizes {
  const char* name;
  GetSize plain;
  GetSize compound;
  std::array<Four, 4> bytes;
};
#define SIZES(NAME, ...) \
  { #NAME, &rvpiMorphologyBorderGetSize_##NAME, &rvpiMorphAdvGetSize_##NAME, __VA_ARGS__ }

TEST(MorphSizes, AreThoseThatCallersHaveAllocated) {
  const Sizes all[] = {
      SIZES(1u_C1R, {Four{128, 2512, 320, 15520}, Four{128, 368, 320, 1184}, Four{304, 649248, 672, 1641216},
                     Four{272, 1552, 608, 9056}}),
      SIZES(8u_C1R, {Four{2561, 2504, 10372, 31008}, Four{1179, 610, 4844, 3336},
                     Four{656585, 698288, 2628644, 3478656}, Four{7050, 5773, 32466, 35998}}),
      SIZES(8u_C3R, {Four{4449, 5688, 17924, 75232}, Four{1231, 966, 5052, 5656},
                     Four{1887385, 2027472, 7551844, 10100992}, Four{7092, 14624, 32782, 89196}}),
      SIZES(8u_C4R, {Four{5449, 7296, 21924, 97408}, Four{1297, 1192, 5316, 7232},
                     Four{2503065, 2692048, 10014564, 13412096}, Four{7177, 18912, 33212, 112592}}),
      SIZES(16u_C1R, {Four{361, 4688, 1572, 55488}, Four{329, 1064, 1444, 5600}, Four{1193, 1362880, 4964, 6789824},
                      Four{717, 10208, 3124, 59656}}),
      SIZES(16s_C1R, {Four{361, 4688, 1572, 55488}, Four{329, 1064, 1444, 5600}, Four{1193, 1362880, 4964, 6789824},
                      Four{717, 10208, 3124, 59656}}),
      SIZES(32f_C1R, {Four{5561, 7344, 22372, 97600}, Four{1377, 1240, 5636, 7424},
                      Four{2503625, 2692096, 10016804, 13412288}, Four{7305, 18876, 33756, 112616}}),
      SIZES(32f_C3R, {Four{13449, 20208, 53924, 285504}, Four{1825, 2760, 7428, 17984},
                      Four{7428505, 8008896, 29716324, 39950848}, Four{7857, 56112, 36652, 328672}}),
      SIZES(32f_C4R, {Four{17449, 26576, 69924, 373952}, Four{2089, 3504, 8484, 23264},
                      Four{9891225, 10667264, 39567204, 53211840}, Four{8197, 74736, 38372, 436800}}),
  };
  for (const Sizes& sizes : all) {
    for (std::size_t i = 0; i < kCases.size(); ++i) {
      SCOPED_TRACE(std::string(sizes.name) + ", case " + std::to_string(i));
      Four bytes = {};
      EXPECT_EQ(sizes.plain(kCases[i].region, kCases[i].mask, &bytes[0], &bytes[1]), rvpStatusOk);
      EXPECT_EQ(sizes.compound(kCases[i].region, kCases[i].mask, &bytes[2], &bytes[3]), rvpStatusOk);
      EXPECT_EQ(bytes, sizes.bytes[i]);
    }
  }
}

}  // namespace
