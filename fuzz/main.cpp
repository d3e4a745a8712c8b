// What the fuzzer calls: the check of the one family that the program is built with. A failed check ends the
// process, so that the fuzzer keeps the input, and nothing takes digests.
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/compare.h"
#include "support/fuzz.h"

namespace {

test::Drawn::Check drawnCheck;

class Ender : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) std::abort();
  }
};

}  // namespace

test::Drawn::Drawn(const char* /*family*/, Check check) { drawnCheck = check; }

void test::addToDigest(const void* /*bytes*/, std::size_t /*count*/) {}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  testing::InitGoogleTest(argc, *argv);
  testing::UnitTest::GetInstance()->listeners().Append(new Ender);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  test::Input input({bytes, count});
  drawnCheck(input);
  return 0;
}
