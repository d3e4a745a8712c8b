// Teams of threads over the rows of an image or the elements of a vector.
//
// A family states from how much work on it wants a team. The team asked for is what the core library allows; the
// team that the runtime grants decides the division: each thread takes count / size rows in order, and the last one
// takes the remainder too. With fewer rows than threads, all but the last have none. A team of one runs the same
// code.
#pragma once

#include <omp.h>

#include <cstddef>

#include "frame/views.h"
#include "rvpcore.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// Rows, or elements, first to last - 1.
struct Slice {
  std::ptrdiff_t first;
  std::ptrdiff_t last;
  int thread = 0;  // The slice's number in its team: a team's scratch is shared out by it.

  struct Iterator {
    std::ptrdiff_t at;
    std::ptrdiff_t operator*() const { return at; }
    Iterator& operator++() {
      ++at;
      return *this;
    }
    bool operator!=(Iterator other) const { return at != other.at; }
  };
  Iterator begin() const { return {first}; }
  Iterator end() const { return {last}; }
  std::ptrdiff_t count() const { return last - first; }
  bool empty() const { return last <= first; }
};

inline int owncvGetNumThreads() { return omp_get_num_threads(); }
inline int owncvGetIdThreads() { return omp_get_thread_num(); }
inline int owncvGetMaxNumThreads() { return ownGetNumThreads(); }

// The share of one thread of a team.
constexpr Slice sliceOf(std::ptrdiff_t count, int thread, int teamSize) {
  const std::ptrdiff_t share = count / teamSize;
  const std::ptrdiff_t first = share * thread;
  return {first, thread == teamSize - 1 ? count : first + share, thread};
}

// Runs body(Slice) over the slices of `count` on a team; `threads` is for families that limit it.
template <class Body>
void forSlices(std::ptrdiff_t count, const Body& body, int threads = ownGetNumThreads()) {
#pragma omp parallel num_threads(threads)
  if (const Slice slice = sliceOf(count, owncvGetIdThreads(), owncvGetNumThreads()); !slice.empty()) body(slice);
}

// Runs body(thread, team size) on a team of two threads, or of one if the runtime grants no more. The threads wait
// for each other in meetTeam.
template <class Body>
void onPair(const Body& body) {
#pragma omp parallel num_threads(2)
  body(owncvGetIdThreads(), owncvGetNumThreads());
}

inline void meetTeam() {
#pragma omp barrier
}

// Runs body(Slice) over all rows: on the caller's thread below `threshold` pixels, on a team from there on. A count
// of pixels that wraps to a negative number stays below any threshold.
template <class Body>
void forRowSlices(RvpiSize size, int threshold, const Body& body) {
  if (wrappedProduct(size.width, size.height) < threshold) {
    body(Slice{0, size.height});
  } else {
    forSlices(size.height, body);
  }
}

}  // namespace rvp::n8
