// A program that uses the installed library from C++.
#include <rvpcore.h>
#include <rvpcv.h>

#include <array>
#include <cstdint>
#include <cstdio>

int main() {
  const std::array<std::array<std::uint8_t, 4>, 2> frame = {{{1, 2, 3, 4}, {5, 6, 7, 255}}};
  std::array<std::array<float, 4>, 2> sum = {};
  const RvpStatus status =
      rvpiAddSquare_8u32f_C1IR(frame[0].data(), sizeof frame[0], sum[0].data(), sizeof sum[0], {4, 2});
  std::printf("rvpCV %s: %s\n", rvpcvGetLibVersion()->Version, rvpGetStatusString(status));
  return status == rvpStatusOk && sum[0][0] == 1.0f && sum[1][3] == 65025.0f ? 0 : 1;
}
