/* Operations with a state block: ask for sizes, give memory, Init once, run as often as you like. Dilates a small
 * image by a cross, first in one call, then in two tiles whose common border is read from memory.
 *
 *   cc -std=c99 state_block.c -o state_block $(pkg-config --cflags --libs rvpcv)
 *   ./state_block
 */
#include <rvpcv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define WIDTH 24
#define HEIGHT 8

static void check(RvpStatus status, const char* operation) {
  if (status == rvpStatusOk) return;
  fprintf(stderr, "%s: %s\n", operation, rvpGetStatusString(status));
  if (status < rvpStatusOk) exit(EXIT_FAILURE);
}

int main(void) {
  static uint8_t image[HEIGHT][WIDTH];
  static uint8_t whole[HEIGHT][WIDTH];
  static uint8_t tiled[HEIGHT][WIDTH];
  const RvpiSize size = {WIDTH, HEIGHT};
  const uint8_t cross[9] = {0, 1, 0, 1, 1, 1, 0, 1, 0};
  const RvpiSize crossSize = {3, 3};
  image[1][2] = 1;
  image[3][12] = 2;
  image[4][12] = 1;
  image[6][23] = 3;

  /* 1. How much memory? The sizes depend on the largest region and on the mask. */
  int specSize = 0;
  int bufferSize = 0;
  check(rvpiMorphologyBorderGetSize_8u_C1R(size, crossSize, &specSize, &bufferSize), "GetSize");
  RvpiMorphState* spec = rvpMalloc((size_t)specSize);
  uint8_t* buffer = rvpMalloc((size_t)bufferSize);
  if (spec == NULL || buffer == NULL) {
    fprintf(stderr, "no memory\n");
    return EXIT_FAILURE;
  }

  /* 2. Init notes the mask. From here on the blocks must not be moved. */
  check(rvpiMorphologyBorderInit_8u_C1R(size, cross, crossSize, spec, buffer), "Init");

  /* 3. Run: the whole image, with its edge repeated outwards. */
  check(rvpiDilateBorder_8u_C1R(image[0], WIDTH, whole[0], WIDTH, size, rvpBorderRepl, 0, spec, buffer), "Dilate");

  /* 4. The same state serves smaller regions. The upper tile finds the rows below it in memory, the lower tile
   * those above; on the other sides the edge is repeated as before. */
  const RvpiSize tile = {WIDTH, HEIGHT / 2};
  check(rvpiDilateBorder_8u_C1R(image[0], WIDTH, tiled[0], WIDTH, tile, rvpBorderRepl | rvpBorderInMemBottom, 0,
                                spec, buffer),
        "Dilate, upper tile");
  check(rvpiDilateBorder_8u_C1R(image[HEIGHT / 2], WIDTH, tiled[HEIGHT / 2], WIDTH, tile,
                                rvpBorderRepl | rvpBorderInMemTop, 0, spec, buffer),
        "Dilate, lower tile");

  for (int y = 0; y < HEIGHT; ++y) {
    for (int x = 0; x < WIDTH; ++x) putchar(whole[y][x] == 0 ? '.' : '0' + whole[y][x]);
    putchar('\n');
  }
  const int same = memcmp(whole, tiled, sizeof whole) == 0;
  printf("two tiles give %s\n", same ? "the same" : "something else");

  rvpFree(buffer);
  rvpFree(spec);
  return same ? EXIT_SUCCESS : EXIT_FAILURE;
}
