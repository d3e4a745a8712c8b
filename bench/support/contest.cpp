#include "support/contest.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <thread>

#include "rvpcore.h"

namespace rvp::bench {
namespace {

struct Family {
  std::string name;
  std::vector<Row> rows;
};

std::vector<Family>& families() {
  static std::vector<Family> all;
  return all;
}

void setThreads(int threads) {
  cv::setNumThreads(threads);
  static_cast<void>(rvpSetNumThreads(threads));
}

// ---- Comparison

std::vector<cv::Mat> copies(const std::vector<cv::Mat>& images) {
  std::vector<cv::Mat> result;
  for (const cv::Mat& image : images) result.push_back(image.clone());
  return result;
}

void restore(const Contest& contest, const std::vector<cv::Mat>& initial) {
  for (std::size_t i = 0; i < initial.size(); ++i) initial[i].copyTo(contest.results[i]);
}

bool sameBytes(const cv::Mat& a, const cv::Mat& b) {
  for (int y = 0; y < a.rows; ++y) {
    if (std::memcmp(a.ptr(y), b.ptr(y), static_cast<std::size_t>(a.cols) * a.elemSize()) != 0) return false;
  }
  return true;
}

bool differs(double ours, double peer, double tolerance) {
  if (std::isnan(ours) || std::isnan(peer)) return std::isnan(ours) != std::isnan(peer);
  if (ours == peer) return false;
  return !(std::abs(ours - peer) <= tolerance * std::max(1.0, std::abs(peer)));
}

std::string differenceOfImages(const cv::Mat& ours, const cv::Mat& peer, double tolerance) {
  if (ours.size() != peer.size() || ours.type() != peer.type()) return "images of different form";
  cv::Mat a;
  cv::Mat b;
  for (int y = 0; y < ours.rows; ++y) {
    ours.row(y).reshape(1).convertTo(a, CV_64F);
    peer.row(y).reshape(1).convertTo(b, CV_64F);
    for (int x = 0; x < a.cols; ++x) {
      const double u = a.at<double>(x);
      const double v = b.at<double>(x);
      if (differs(u, v, tolerance)) {
        char text[120];
        std::snprintf(text, sizeof text, "row %d, element %d: ours %.9g, peer %.9g", y, x, u, v);
        return text;
      }
    }
  }
  return {};
}

std::string differenceOfResults(const Contest& contest, const std::vector<cv::Mat>& ours,
                                const std::vector<cv::Mat>& peer) {
  if (contest.difference) return contest.difference(ours, peer);
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (std::string text = differenceOfImages(ours[i], peer[i], contest.tolerance); !text.empty()) return text;
  }
  return {};
}

// What is wrong with our results, or nothing. A call that changes nothing agrees with anything that changes
// nothing, so both must have written.
std::string fault(const Contest& contest, const std::vector<cv::Mat>& initial) {
  if (contest.results.empty()) return "nothing to compare";
  if (const RvpStatus status = contest.ours(); status < 0)
    return std::string("our call: ") + rvpGetStatusString(status);
  const std::vector<cv::Mat> ours = copies(contest.results);
  restore(contest, initial);
  contest.peer();
  const std::vector<cv::Mat> peer = copies(contest.results);
  restore(contest, initial);
  const auto isUntouched = [&](const std::vector<cv::Mat>& results, std::size_t i) {
    return sameBytes(results[i], initial[i]);
  };
  // Where a row compares in its own way, each call may have results of its own.
  std::size_t untouched[2] = {};
  for (std::size_t i = 0; i < initial.size(); ++i) {
    untouched[0] += isUntouched(ours, i);
    untouched[1] += isUntouched(peer, i);
  }
  const std::size_t most = contest.difference ? initial.size() - 1 : 0;
  if (untouched[0] > most) return "our call wrote nothing";
  if (untouched[1] > most) return "the peer wrote nothing";
  return differenceOfResults(contest, ours, peer);
}

// ---- Timing

struct Contender {
  std::function<void()> call;
  int threads;
  long callsPerRound = 1;
  std::vector<double> seconds = {};  // of one call, an entry a round
};

// Alone, a call counts with the processor time of the process, averaged over the round, so that being set aside for
// another process does not count. Of teams only the wall clock tells the time, and a thread that is set aside holds
// up the whole team, so the fastest call of the round counts, for both sides and for the single thread set beside
// them.
enum class Clock { kProcessor, kWall };

double now(Clock clock) {
  timespec time{};
  clock_gettime(clock == Clock::kProcessor ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double secondsPerCall(const Contender& contender, const Contest& contest, const std::vector<cv::Mat>& initial,
                      Clock clock, long calls) {
  const long batch = contest.spoilsInput || clock == Clock::kWall ? 1 : calls;
  double total = 0;
  double fastest = std::numeric_limits<double>::max();
  for (long done = 0; done < calls; done += batch) {
    if (contest.spoilsInput) restore(contest, initial);
    const double start = now(clock);
    for (long i = 0; i < batch; ++i) contender.call();
    const double seconds = now(clock) - start;
    total += seconds;
    fastest = std::min(fastest, seconds);
  }
  return clock == Clock::kWall ? fastest : total / static_cast<double>(calls);
}

void playRound(Contender& contender, const Contest& contest, const std::vector<cv::Mat>& initial, Clock clock) {
  setThreads(contender.threads);
  // A team that has just worked spins for a while; it must not take the processor from the next one.
  if (clock == Clock::kWall) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  // Large caches take several calls to settle after others have used them.
  secondsPerCall(contender, contest, initial, clock, (contender.callsPerRound + 1) / 2);
  contender.seconds.push_back(secondsPerCall(contender, contest, initial, clock, contender.callsPerRound));
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The median of a's time as a multiple of b's in the same round.
double ratio(const Contender& a, const Contender& b) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < a.seconds.size(); ++i) ratios.push_back(a.seconds[i] / b.seconds[i]);
  return median(ratios);
}

// How many processors this many threads really get: other processes may hold them.
double freeProcessors(int threads) {
  constexpr auto kProbe = std::chrono::milliseconds(20);
  const double wall = now(Clock::kWall);
  const double processor = now(Clock::kProcessor);
  std::vector<std::thread> team;
  for (int i = 0; i < threads; ++i) {
    team.emplace_back([until = std::chrono::steady_clock::now() + kProbe] {
      while (std::chrono::steady_clock::now() < until) {
      }
    });
  }
  for (std::thread& thread : team) thread.join();
  return (now(Clock::kProcessor) - processor) / (now(Clock::kWall) - wall);
}

// A team can only be timed where each of its threads has a processor to itself. Waits a moment for that.
bool teamHasProcessors(int threads) {
  constexpr int kAttempts = 10;
  for (int i = 0; i < kAttempts; ++i) {
    if (freeProcessors(threads) > 0.9 * threads) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

std::vector<Contender> race(const Contest& contest, const std::vector<cv::Mat>& initial, int threads,
                            Effort effort) {
  const auto ours = [&contest] { benchmark::DoNotOptimize(contest.ours()); };
  std::vector<Contender> contenders{{ours, threads}, {contest.peer, threads}};
  if (threads > 1) {
    contenders.push_back({ours, 1});
  } else {
    for (const Reference& reference : contest.references) contenders.push_back({reference.call, threads});
  }
  const Clock clock = threads > 1 ? Clock::kWall : Clock::kProcessor;
  for (Contender& contender : contenders) {
    playRound(contender, contest, initial, clock);
    const double calls = effort.secondsPerRound / std::max(contender.seconds.front(), 1e-9);
    contender.callsPerRound = std::max(1L, static_cast<long>(std::ceil(calls)));
    contender.seconds.clear();
  }
  // Each round begins with another contender, so that none always follows the same one.
  for (int round = 0; round < effort.rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      playRound(contenders[(i + static_cast<std::size_t>(round)) % contenders.size()], contest, initial, clock);
    }
  }
  return contenders;
}

// ---- Report

std::string sizeName(cv::Size size) { return std::to_string(size.width) + "x" + std::to_string(size.height); }

std::string number(const char* format, double value) {
  char text[40];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

void run(benchmark::State& state, const Family& family, const Row& row, cv::Size size, int threads, Effort effort) {
  setThreads(threads);
  const Contest contest = row.make(size);
  const std::vector<cv::Mat> initial = copies(contest.results);
  if (const std::string text = fault(contest, initial); !text.empty()) {
    state.SkipWithError(text.c_str());
    return;
  }
  for (auto iteration : state) {
    static_cast<void>(iteration);
    const auto busy = [threads] { return threads > 1 && !teamHasProcessors(threads); };
    std::vector<Contender> contenders;
    if (!busy()) contenders = race(contest, initial, threads, effort);
    if (contenders.empty() || busy()) {
      state.SkipWithError(kBusy);
      return;
    }
    const double ours = median(contenders[0].seconds);
    const double peer = median(contenders[1].seconds);
    const double speed = ratio(contenders[1], contenders[0]);
    state.SetIterationTime(ours);
    state.counters["peer_us"] = peer * 1e6;
    state.counters["ratio"] = speed;

    std::string throughput = "-";
    if (contest.bytes > 0) {
      throughput = number("%.1f", contest.bytes / ours * 1e-9);
      state.counters["GB/s"] = contest.bytes / ours * 1e-9;
    }
    std::string multiples;
    for (std::size_t i = 2; i < contenders.size(); ++i) {
      if (i > 2) multiples += ", ";
      multiples += number("%.2f ", ratio(contenders[0], contenders[i]));
      multiples += threads > 1 ? "one thread" : contest.references[i - 2].name;
    }
    const std::string agreement = contest.agreement        ? contest.agreement()
                                  : contest.difference     ? "in meaning"
                                  : contest.tolerance == 0 ? "exact"
                                                           : number("%.0e", contest.tolerance);
    std::string line;
    for (const std::string& field :
         {std::string(RVPCV_VARIANT), std::to_string(threads), family.name, row.operation, sizeName(size),
          contest.peerName, number("%.1f", ours * 1e6), number("%.1f", peer * 1e6), number("%.3f", speed),
          throughput, multiples.empty() ? std::string("-") : multiples, agreement}) {
      line += (line.empty() ? "" : "\t") + field;
    }
    state.SetLabel(line);
  }
}

}  // namespace

bool addFamily(const std::string& name, const std::vector<Row>& rows) {
  families().push_back({name, rows});
  return true;
}

void registerRows(Effort effort) {
  for (const Family& family : families()) {
    for (const int threads : {1, 2}) {
      for (const Row& row : family.rows) {
        for (const cv::Size size : row.sizes) {
          // An image in the cache is too small for a team.
          if (threads > 1 && (!row.team || size == kInCache.front())) continue;
          const std::string name = family.name + "/" + row.operation + "/" + sizeName(size) + "/" +
                                   std::to_string(threads) + (threads == 1 ? " thread" : " threads");
          benchmark::RegisterBenchmark(name.c_str(),
                                       [&family, &row, size, threads, effort](benchmark::State& state) {
                                         run(state, family, row, size, threads, effort);
                                       })
              ->Iterations(1)
              ->UseManualTime()
              ->Unit(benchmark::kMicrosecond);
        }
      }
    }
  }
}

}  // namespace rvp::bench
