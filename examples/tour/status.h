// What to do with a status: nothing on success, a line on a warning, a line and the end on an error.
#pragma once

#include <string>

#include "rvpcv/types.h"

namespace tour {

// Ends the program with one line on stderr and exit status 1.
[[noreturn]] void fail(const std::string& message);

// Looks at what an operation returned. An error ends the program, a warning is told.
void check(RvpStatus status, const char* operation);

}  // namespace tour
