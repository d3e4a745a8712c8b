#include "status.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "rvpcore.h"

namespace tour {
namespace {

// A line that begins with the program's name.
void tell(const std::string& message) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, message.c_str());
}

}  // namespace

void fail(const std::string& message) {
  tell(message);
  std::exit(EXIT_FAILURE);
}

void check(RvpStatus status, const char* operation) {
  if (status == rvpStatusOk) return;
  const std::string words = std::string(operation) + ": " + rvpGetStatusString(status);
  if (status < rvpStatusOk) fail(words);
  tell(words);
}

}  // namespace tour
