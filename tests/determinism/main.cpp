// determinism [--brief] LIBRARY...: runs every family with each of these builds of the library, with 1, 2, 3 and 8
// threads, on images and on views into larger ones, at aligned and at shifted addresses, beside pages that cannot
// be read, and compares all results byte for byte. Then 8 threads run all families at the same time, each with
// state blocks of its own. --brief leaves out all layouts but one.
//
// Where the contract lets the number of threads count, a case says so by keepForTeam: the last bits of float norms,
// and the watershed's labels where several reach a pixel at the same level.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <thread>

#include "lab.h"
#include "rvpcore.h"

namespace {

using namespace determinism;

struct Kept {
  std::vector<std::uint8_t> all;
  std::map<int, std::vector<std::uint8_t>> forTeam;
};

std::size_t differing(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
  std::size_t count = std::max(a.size(), b.size()) - std::min(a.size(), b.size());
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) count += a[i] != b[i] ? 1 : 0;
  return count;
}

// Differing bytes of a run from those of the first run.
std::size_t compare(Kept& first, const Lab& lab) {
  if (first.all.empty()) first.all = lab.kept();
  auto& forTeam = first.forTeam.try_emplace(lab.setting().threads, lab.keptForTeam()).first->second;
  return differing(first.all, lab.kept()) + differing(forTeam, lab.keptForTeam());
}

std::string firstOrigin(const std::vector<std::uint8_t>& first, const Lab& lab) {
  const auto& kept = lab.kept();
  const auto [here, there] = std::mismatch(kept.begin(), kept.end(), first.begin(), first.end());
  return here == kept.end() ? "all" : lab.origin(static_cast<std::size_t>(here - kept.begin()));
}

std::vector<Setting> settings(const std::vector<std::pair<void*, const char*>>& libraries, bool isBrief) {
  std::vector<Setting> all;
  for (const auto& [library, name] : libraries)
    for (const int threads : {1, 2, 3, 8})
      for (const Layout& layout : kLayouts) {
        // Pages take the system's time; one uneven team is enough between them.
        const bool isOnCliff = layout.placing.cliff != test::Cliff::none;
        if (isBrief ? &layout == &kShifted : !isOnCliff || threads == 3)
          all.push_back({library, name, threads, &layout});
      }
  return all;
}

std::size_t runAlone(const Case& family, const std::vector<Setting>& settings, Kept& first) {
  std::size_t faults = 0;
  int calls = 0;
  for (const Setting& setting : settings) {
    rvpSetNumThreads(setting.threads);
    Lab lab(setting);
    family.run(lab);
    calls += lab.calls();
    const std::size_t bytes = compare(first, lab);
    faults += bytes;
    if (bytes != 0)
      std::printf("%s: %zu bytes differ: %s, %d threads, %s, first after %s\n", family.name, bytes, setting.variant,
                  setting.threads, setting.layout->name, firstOrigin(first.all, lab).c_str());
  }
  std::printf("%-22s %5d calls, %9zu bytes in each of %zu settings, %zu differ\n", family.name, calls,
              first.all.size(), settings.size(), faults);
  return faults;
}

// Every caller begins with another family.
std::size_t runTogether(const std::vector<Case>& cases, const Setting& setting,
                        std::map<std::string, Kept>& first) {
  constexpr std::size_t kCallers = 8;
  rvpSetNumThreads(setting.threads);
  std::vector<std::size_t> faults(kCallers);
  std::vector<std::thread> callers;
  for (std::size_t caller = 0; caller < kCallers; ++caller) {
    callers.emplace_back([&, caller] {
      for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& family = cases[(i + caller * 3) % cases.size()];
        Lab lab(setting);
        family.run(lab);
        const Kept& kept = first.at(family.name);
        faults[caller] += differing(kept.all, lab.kept());
        faults[caller] += differing(kept.forTeam.at(setting.threads), lab.keptForTeam());
      }
    });
  }
  std::size_t sum = 0;
  for (std::size_t caller = 0; caller < kCallers; ++caller) {
    callers[caller].join();
    sum += faults[caller];
  }
  std::printf("%zu callers at the same time, teams of %d: %zu bytes differ\n", kCallers, setting.threads, sum);
  return sum;
}

}  // namespace

int main(int argc, char** argv) try {
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  std::vector<std::pair<void*, const char*>> libraries;
  const bool isBrief = argc > 1 && std::string(argv[1]) == "--brief";
  for (int i = isBrief ? 2 : 1; i < argc; ++i) {
    const bool needsAvx2 = std::string(argv[i]).find("x86-64-v3") != std::string::npos;
    if (needsAvx2 && !__builtin_cpu_supports("avx2")) continue;
    void* const library = dlopen(argv[i], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    libraries.emplace_back(library, needsAvx2 ? "v3" : "SSSE3");
  }
  if (libraries.empty()) throw std::runtime_error("no library to run");
  std::vector<Case> cases = kImageCases;
  cases.insert(cases.end(), kFindingCases.begin(), kFindingCases.end());
  const std::vector<Setting> all = settings(libraries, isBrief);
  std::map<std::string, Kept> first;
  std::size_t faults = 0;
  for (const Case& family : cases) faults += runAlone(family, all, first[family.name]);
  for (const Setting& setting : all)
    if (setting.threads == 2 && setting.layout == &kShifted) faults += runTogether(cases, setting, first);
  // What lies around an image and must not change is watched by the images themselves.
  const bool isIntact = !testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed();
  std::printf("%zu bytes differ in all%s\n", faults, isIntact ? "" : ", and bytes beside images were written");
  return faults == 0 && isIntact ? 0 : 1;
} catch (const std::exception& fault) {
  std::fprintf(stderr, "determinism: %s\n", fault.what());
  return 2;
}
