/* First steps with rvpCV: learns the mean of a few frames, but only where a mask selects.
 *
 *   cc -std=c99 first_steps.c -o first_steps $(pkg-config --cflags --libs rvpcv)
 *   ./first_steps
 */
#include <rvpcv.h>
#include <stdio.h>
#include <stdlib.h>

#define WIDTH 8
#define HEIGHT 4
#define FRAMES 3

/* Every operation returns a status: 0 for success, below 0 for an error, above 0 for a warning. */
static void check(RvpStatus status, const char* operation) {
  if (status == rvpStatusOk) return;
  fprintf(stderr, "%s: %s\n", operation, rvpGetStatusString(status));
  if (status < rvpStatusOk) exit(EXIT_FAILURE);
}

int main(void) {
  /* An image is a pointer to its first pixel, a step from row to row in bytes, and a size in pixels. */
  static uint8_t frame[HEIGHT][WIDTH];
  static uint8_t mask[HEIGHT][WIDTH];
  static float sum[HEIGHT][WIDTH];
  const RvpiSize size = {WIDTH, HEIGHT};
  const RvpLibraryVersion* version = rvpcvGetLibVersion();

  printf("%s %s, %d thread(s)\n", version->Name, version->Version, rvpGetNumThreads());

  /* The mask selects all but the outermost pixels; any value but zero does. */
  for (int y = 1; y < HEIGHT - 1; ++y)
    for (int x = 1; x < WIDTH - 1; ++x) mask[y][x] = 255;

  /* A gradient that grows brighter from frame to frame. */
  for (int k = 0; k < FRAMES; ++k) {
    for (int y = 0; y < HEIGHT; ++y)
      for (int x = 0; x < WIDTH; ++x) frame[y][x] = (uint8_t)(10 * x + y + 3 * k);
    check(rvpiAdd_8u32f_C1IMR(&frame[0][0], sizeof frame[0], &mask[0][0], sizeof mask[0], &sum[0][0], sizeof sum[0],
                              size),
          "rvpiAdd_8u32f_C1IMR");
  }

  printf("mean of %d frames where the mask selects, 0 elsewhere:\n", FRAMES);
  for (int y = 0; y < HEIGHT; ++y) {
    for (int x = 0; x < WIDTH; ++x) printf("%6.1f", (double)sum[y][x] / FRAMES);
    printf("\n");
  }

  /* A call that cannot be right changes nothing and says why: this step is shorter than the row. */
  RvpStatus refused =
      rvpiAdd_8u32f_C1IMR(&frame[0][0], WIDTH - 1, &mask[0][0], sizeof mask[0], &sum[0][0], sizeof sum[0], size);
  printf("a step that is too short: status %d, \"%s\"\n", (int)refused, rvpGetStatusString(refused));
  return EXIT_SUCCESS;
}
