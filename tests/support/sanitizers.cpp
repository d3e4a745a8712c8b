// Defaults that the sanitizers ask for by these names of theirs: an allocation that cannot be had gives null as it
// does elsewhere, and the OpenMP runtime, which is built without the thread sanitizer, is not taken for a racing
// part.
#include "rvpcv/types.h"

extern "C" {
RVP_API const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "allocator_may_return_null=1";
}
RVP_API const char* __tsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "allocator_may_return_null=1:ignore_noninstrumented_modules=1";
}
}
