// The division of work, and what the library says of itself.
#include <omp.h>
#include <mutex>

#include "frame/checks.h"
#include "frame/team.h"
#include "support/test.h"

namespace {

using namespace rvp::n8;

TEST(Slices, GiveTheRemainderToTheLastThread) {
  for (int thread = 0; thread < 3; ++thread) EXPECT_EQ(sliceOf(10, thread, 4).count(), 2);
  EXPECT_EQ(sliceOf(10, 3, 4).first, 6);
  EXPECT_EQ(sliceOf(10, 3, 4).last, 10);
  for (int thread = 0; thread < 7; ++thread) EXPECT_TRUE(sliceOf(3, thread, 8).empty());
  EXPECT_EQ(sliceOf(3, 7, 8).count(), 3);
  EXPECT_EQ(sliceOf(5, 0, 1).count(), 5);
}

// How many slices the rows come in tells the road: one row's worth a thread, or all in one.
std::size_t slicesOf(RvpiSize size, int threshold, std::vector<int>* visits = nullptr) {
  std::mutex mutex;
  std::size_t slices = 0;
  forRowSlices(size, threshold, [&](Slice slice) {
    const std::lock_guard lock(mutex);
    ++slices;
    if (visits != nullptr) {
      for (std::ptrdiff_t y : slice) ++(*visits)[static_cast<std::size_t>(y)];
    }
  });
  return slices;
}

TEST(Teams, OpenAtTheThresholdAndVisitEachRowOnce) {
  ASSERT_EQ(rvpSetNumThreads(4), rvpStatusOk);
  EXPECT_EQ(slicesOf({511, 512}, 1 << 18), 1U);
  EXPECT_EQ(slicesOf({512, 512}, 1 << 18), 4U);
  EXPECT_EQ(slicesOf({1 << 17, 3}, 1 << 18), 1U);
  // 65536 * 32768 wraps to the least integer, 65536 * 65536 to 0: both stay on the caller's thread.
  EXPECT_EQ(slicesOf({65536, 32768}, 1 << 18), 1U);
  EXPECT_EQ(slicesOf({65536, 65536}, 1), 1U);
  for (const int threads : {1, 2, 3, 8}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    std::vector<int> visits(1021);
    slicesOf({1024, 1021}, 1 << 18, &visits);
    EXPECT_EQ(visits, std::vector<int>(1021, 1)) << threads;
  }
}

// Inside a caller's own region the runtime grants a team of one.
TEST(Teams, WorkInsideACallersRegion) {
  ASSERT_EQ(rvpSetNumThreads(4), rvpStatusOk);
  std::vector<std::vector<int>> visits(2, std::vector<int>(600));
#pragma omp parallel for num_threads(2)
  for (int caller = 0; caller < 2; ++caller)
    slicesOf({600, 600}, 1 << 18, &visits[static_cast<std::size_t>(caller)]);
  EXPECT_EQ(visits[0], std::vector<int>(600, 1));
  EXPECT_EQ(visits[1], visits[0]);
}

TEST(Checks, WrapAtThirtyTwoBits) {
  EXPECT_EQ(shortStep<float>(5, 19), rvpStatusBadStep);
  EXPECT_EQ(shortStep<float>(5, 20), rvpStatusOk);
  EXPECT_EQ((shortStep<float, 3>(5, 60, 59)), rvpStatusBadStep);
  EXPECT_EQ(shortStep<float>(1 << 30, 0), rvpStatusOk);
  EXPECT_EQ(shortStep<float>(1 << 30, -1), rvpStatusBadStep);
  EXPECT_EQ(oddStep<std::uint16_t>(2, 4, 7), rvpStatusStepNotMultiple);
  EXPECT_EQ(oddStep<std::uint8_t>(1, 3), rvpStatusOk);
  EXPECT_EQ(firstFault(rvpStatusOk, rvpStatusBadSize, rvpStatusBadStep), rvpStatusBadSize);
}

TEST(Version, IsTheRecord) {
  const RvpLibraryVersion* version = rvpcvGetLibVersion();
  EXPECT_EQ(version, rvpcvGetLibVersion());
  EXPECT_EQ(version->major, 9);
  EXPECT_EQ(version->minor, 0);
  EXPECT_EQ(version->majorBuild, 2);
  EXPECT_EQ(version->build, 49912);
  EXPECT_EQ(std::memcmp(version->targetCpu, "n8\0\0", 4), 0);
  EXPECT_STREQ(version->Name, "rvpCV Nivo (n8 threaded)");
  EXPECT_STREQ(version->Version, "9.0.2 (r49912)");
  EXPECT_STREQ(version->BuildDate, "Dec 29 2015");
}

}  // namespace
