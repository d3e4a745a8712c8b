#include "status.h"

#include <cstdio>
#include <cstdlib>

#include "rvpcore.h"

namespace tour {

void fail(const std::string& message) {
  std::fprintf(stderr, "tour: %s\n", message.c_str());
  std::exit(EXIT_FAILURE);
}

void check(RvpStatus status, const char* operation) {
  if (status == rvpStatusOk) return;
  const std::string words = std::string(operation) + ": " + rvpGetStatusString(status);
  if (status < rvpStatusOk) fail(words);
  std::fprintf(stderr, "tour: %s\n", words.c_str());
}

}  // namespace tour
