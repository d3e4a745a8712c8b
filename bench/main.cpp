// Times one variant of the library against its peers. The output is one line a row, its fields separated by tabs,
// for bench/run to lay out; Google Benchmark's own options (filter, list, JSON output) work as everywhere.
//
// --rounds=N       rounds per row
// --milliseconds=N length of a round, for each side
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include "support/contest.h"

namespace {

class LineReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override {
#ifdef __clang__
    const char* compiler = __VERSION__;
#else
    const char* compiler = "GCC " __VERSION__;
#endif
    std::printf("#compiler\t%s\n#opencv\t%s (%s)\n", compiler, cv::getVersionString().c_str(),
                cv::getCPUFeaturesLine().c_str());
    std::fflush(stdout);
    return true;
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred && run.error_message == rvp::bench::kBusy) {
        std::printf("#busy\t%s\n", run.benchmark_name().c_str());
      } else if (run.error_occurred) {
        failed = true;
        std::fprintf(stderr, "FAILED %s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      } else {
        std::printf("%s\n", run.report_label.c_str());
      }
      std::fflush(stdout);
    }
  }

  bool failed = false;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  rvp::bench::Effort effort;
  for (int i = 1; i < argc; ++i) {
    int value = 0;
    if (std::sscanf(argv[i], "--rounds=%d", &value) == 1 && value > 0) {
      effort.rounds = value;
    } else if (std::sscanf(argv[i], "--milliseconds=%d", &value) == 1 && value > 0) {
      effort.secondsPerRound = value * 1e-3;
    } else {
      std::fprintf(stderr, "unknown option %s\n", argv[i]);
      return EXIT_FAILURE;
    }
  }
  rvp::bench::registerRows(effort);
  LineReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return reporter.failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
