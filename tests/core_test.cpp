// The core library, under absurd arguments above all.
#include <gtest/gtest.h>
#include <omp.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "rvpcore.h"

namespace {

// First in its process or not, a number once set stays until the next.
TEST(Threads, AreWhatWasSetOrTheRuntimesLimit) {
  ASSERT_EQ(rvpSetNumThreads(3), rvpStatusOk);
  EXPECT_EQ(rvpSetNumThreads(0), rvpStatusBadArgument);
  EXPECT_EQ(rvpSetNumThreads(INT_MIN), rvpStatusBadArgument);
  EXPECT_EQ(rvpGetNumThreads(), 3);
  EXPECT_EQ(ownGetNumThreads(), 3);
  int elsewhere = 0;
  std::thread([&] { elsewhere = rvpGetNumThreads(); }).join();
  EXPECT_EQ(elsewhere, 3);
  ASSERT_EQ(rvpSetNumThreads(INT_MAX), rvpStatusOk);
  EXPECT_GE(rvpGetNumThreads(), 64);
  EXPECT_LE(rvpGetNumThreads(), std::max(64, omp_get_num_procs()));
}

TEST(Memory, IsAlignedOrNull) {
  for (const std::size_t length : {std::size_t{1}, std::size_t{63}, std::size_t{64}, std::size_t{1000003}}) {
    auto* block = static_cast<std::uint8_t*>(rvpMalloc(length));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
    std::memset(block, 1, length);
    rvpFree(block);
  }
  EXPECT_EQ(rvpMalloc(0), nullptr);
  for (const std::size_t absurd : {SIZE_MAX, SIZE_MAX - 62, SIZE_MAX - 63, SIZE_MAX / 2, SIZE_MAX / 2 + 1}) {
    EXPECT_EQ(rvpMalloc(absurd), nullptr) << absurd;
  }
  rvpFree(nullptr);
}

TEST(CacheSize, IsPositiveAndRefusesNull) {
  int bytes = 0;
  EXPECT_EQ(rvpGetMaxCacheSizeB(nullptr), rvpStatusNullPointer);
  if (rvpGetMaxCacheSizeB(&bytes) == rvpStatusOk) {
    EXPECT_GE(bytes, 1 << 14);
  } else {
    EXPECT_EQ(bytes, 0);
  }
}

TEST(StatusText, IsThereForEveryValueAndItsOwn) {
  std::set<std::string> texts;
  const int statuses[] = {0,   6,   12,  33,  38,  -2,  -5,  -6,   -7,   -8,   -11,  -12,  -14,   -17,
                          -18, -33, -34, -47, -52, -53, -56, -108, -225, -229, -230, -232, -9997, -9999};
  for (const int status : statuses) texts.insert(rvpGetStatusString(status));
  EXPECT_EQ(texts.size(), std::size(statuses));
  const std::string unknown = rvpGetStatusString(-3);
  EXPECT_EQ(texts.count(unknown), 0U);
  for (const int status : {-4, -9, 1, INT_MAX, INT_MIN}) EXPECT_EQ(rvpGetStatusString(status), unknown);
}

}  // namespace
