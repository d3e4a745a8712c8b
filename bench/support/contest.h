// A row of the performance table: our call against a peer's on the same pixels.
//
// The runner first compares what both calls write and times nothing that differs. It then times them in turn, ours,
// peer, ours, peer, in one process and on the same memory, and reports the median of the ratios of the
// rounds, so that whatever else the machine does meets both.
#pragma once

#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "rvpcv/types.h"

namespace rvp::bench {

// Something to compare our time with that is no peer: a copy of the same bytes, a simpler call of ours.
struct Reference {
  std::string name;
  std::function<void()> call;
};

struct Contest {
  std::function<RvpStatus()> ours;
  std::string peerName;
  std::function<void()> peer;
  // What both calls write, and what an in-place call starts from. Both start from the same values where they are
  // compared; where they are timed, each goes on from what the calls before it left, unless `spoilsInput`.
  std::vector<cv::Mat> results;
  // Bytes that one call must read and write; 0 where throughput says nothing.
  double bytes = 0;
  // How far results may differ, relative to the larger of 1 and the peer's value. 0 asks for equal values.
  double tolerance = 0;
  // Replaces the comparison where results are equal in meaning but not element by element: gets our results and the
  // peer's, and answers what differs, or nothing.
  std::function<std::string(const std::vector<cv::Mat>&, const std::vector<cv::Mat>&)> difference = {};
  // What the table says of such results, asked for after they were compared.
  std::function<std::string()> agreement = {};
  // Timed on one thread only; the table shows our time as a multiple of theirs.
  std::vector<Reference> references = {};
  // A call spoils what it starts from, so the results are brought back, untimed, before every single call.
  bool spoilsInput = false;
};

inline const std::vector<cv::Size> kInCache = {{320, 240}};
inline const std::vector<cv::Size> kAllSizes = {{320, 240}, {1920, 1080}, {3840, 2160}};

struct Row {
  std::string operation;
  // Builds images and calls; run only when the row's turn comes.
  std::function<Contest(cv::Size)> make;
  // The operation opens a team for large images: also measured on two threads, for both sides.
  bool team = false;
  std::vector<cv::Size> sizes = kAllSizes;
};

// Declares a family's rows: `const bool registered = addFamily("Name", rows());` at namespace level.
bool addFamily(const std::string& name, const std::vector<Row>& rows);

// What a row of a team reports instead of figures where other processes held the processors. It is no failure.
inline constexpr const char* kBusy = "other processes keep the processors busy";

struct Effort {
  int rounds = 7;
  double secondsPerRound = 0.02;  // for each side
};

// Hands all rows to Google Benchmark.
void registerRows(Effort effort);

}  // namespace rvp::bench
