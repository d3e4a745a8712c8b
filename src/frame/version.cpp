// The version record.
#include "rvpcv/frame.h"

extern "C" const RvpLibraryVersion* rvpcvGetLibVersion() {
  static constexpr RvpLibraryVersion kVersion = {
      9, 0, 2, 49912, {'n', '8', 0, 0}, "rvpCV Nivo (n8 threaded)", "9.0.2 (r49912)", "Dec 29 2015"};
  return &kVersion;
}
