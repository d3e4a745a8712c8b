/* A program that uses the installed library from C. */
#include <rvpcore.h>
#include <rvpcv.h>
#include <stdio.h>

int main(void) {
  const uint8_t frame[2][4] = {{1, 2, 3, 4}, {5, 6, 7, 255}};
  float sum[2][4] = {{0}};
  const RvpiSize size = {4, 2};
  const RvpStatus status = rvpiAddSquare_8u32f_C1IR(frame[0], sizeof frame[0], sum[0], sizeof sum[0], size);
  printf("rvpCV %s: %s\n", rvpcvGetLibVersion()->Version, rvpGetStatusString(status));
  return status == rvpStatusOk && sum[0][0] == 1.0f && sum[1][3] == 65025.0f ? 0 : 1;
}
