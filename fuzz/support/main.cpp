// What a fuzz target shares with the test program: a failed check ends the process, and nothing takes digests.
#include <gtest/gtest.h>

#include "support/compare.h"

void test::addToDigest(const void* /*bytes*/, std::size_t /*count*/) {}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  testing::InitGoogleTest(argc, *argv);
  testing::GTEST_FLAG(break_on_failure) = true;
  return 0;
}
