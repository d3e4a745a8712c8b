// Every family's check of drawn bytes as a test of its own, on the seeds in fuzz/corpus/FAMILY and then, as long as
// the environment variable RVP_FUZZ_SECONDS says, on bytes at random.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/test.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

class DrawnTest : public testing::Test {
 public:
  DrawnTest(const char* family, test::Drawn::Check check) : family_(family), check_(check) {}

 private:
  void TestBody() override {
    trySeeds();
    const char* seconds = std::getenv("RVP_FUZZ_SECONDS");
    if (seconds != nullptr) tryRandomBytes(std::chrono::seconds(std::atoi(seconds)));
  }

  void trySeeds() {
    const std::filesystem::path folder = std::filesystem::path(RVP_CORPUS) / family_;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry.path());
    ASSERT_FALSE(files.empty());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
      std::ifstream stream(file, std::ios::binary);
      tryBytes(Bytes(std::istreambuf_iterator<char>(stream), {}), file.filename().string());
    }
  }

  void tryRandomBytes(std::chrono::seconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    const unsigned first = std::random_device()();
    // Told before, as a crash tells nothing.
    std::printf("drawing with the seeds from %u on\n", first);
    for (unsigned seed = first; !HasFailure() && std::chrono::steady_clock::now() < end; ++seed) {
      std::mt19937 random(seed);
      Bytes bytes(random() % 400);
      for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
      tryBytes(bytes, "seed " + std::to_string(seed));
    }
  }

  void tryBytes(const Bytes& bytes, const std::string& name) {
    if (HasFailure()) return;
    SCOPED_TRACE(name);
    test::Input input(bytes);
    check_(input);
  }

  const char* family_;
  test::Drawn::Check check_;
};

}  // namespace

test::Drawn::Drawn(const char* family, Check check) {
  testing::RegisterTest("Drawn", family, nullptr, nullptr, __FILE__, __LINE__,
                        [=]() -> testing::Test* { return new DrawnTest(family, check); });
}
