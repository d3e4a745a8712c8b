// What a fuzz target shares with the test program: a failed check ends the process, so that the fuzzer keeps the
// input, and nothing takes digests.
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/compare.h"
#include "support/input.h"

namespace {

class Ender : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) std::abort();
  }
};

}  // namespace

void test::addToDigest(const void* /*bytes*/, std::size_t /*count*/) {}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  testing::InitGoogleTest(argc, *argv);
  testing::UnitTest::GetInstance()->listeners().Append(new Ender);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  fuzz::run(input);
  return 0;
}
