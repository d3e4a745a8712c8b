// Runs the tests of one variant. With the environment variable RVP_DIGESTS naming a folder, each test leaves a file
// there with the digest of all results that it compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/compare.h"

namespace {

// FNV-1a.
constexpr std::uint64_t kOffsetBasis = 14695981039346656037ULL;
constexpr std::uint64_t kPrime = 1099511628211ULL;
std::uint64_t digest = kOffsetBasis;

class DigestWriter : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { digest = kOffsetBasis; }
  void OnTestEnd(const testing::TestInfo& info) override {
    const char* folder = std::getenv("RVP_DIGESTS");
    if (folder == nullptr) return;
    std::filesystem::create_directories(folder);
    std::string name = std::string(info.test_suite_name()) + "." + info.name();
    std::replace(name.begin(), name.end(), '/', '-');
    std::ofstream file(std::filesystem::path(folder) / name);
    file << std::hex << digest << '\n';
    if (!file.flush()) ADD_FAILURE() << "cannot write the digest " << name;
  }
};

// What CTest takes for a skipped test.
constexpr int kSkipped = 77;

}  // namespace

void test::addToDigest(const void* bytes, std::size_t count) {
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  for (std::size_t i = 0; i < count; ++i) digest = (digest ^ at[i]) * kPrime;
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (RVP_NEEDS_AVX2 && !testing::GTEST_FLAG(list_tests) && !__builtin_cpu_supports("avx2")) {
    std::puts("skipped: this processor cannot run the x86-64-v3 variant");
    return kSkipped;
  }
  testing::UnitTest::GetInstance()->listeners().Append(new DigestWriter);
  return RUN_ALL_TESTS();
}
