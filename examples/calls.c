/* A call of every family, as short as it gets. The families' pages of the reference show these functions; images
 * lie without gaps between rows here, so that the step of a byte image is its width.
 *
 *   cc -std=c99 calls.c -o calls $(pkg-config --cflags --libs rvpcv)
 *   ./calls
 */
#include <rvpcv.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define WIDTH 96
#define HEIGHT 64
#define PIXELS (WIDTH * HEIGHT)

/* [helpers] */
static void check(RvpStatus status, const char* operation) {
  if (status == rvpStatusOk) return;
  fprintf(stderr, "%s: %s\n", operation, rvpGetStatusString(status));
  if (status < rvpStatusOk) exit(EXIT_FAILURE);
}

/* Memory from anywhere serves; give it back with rvpFree. */
static void* memory(int bytes) {
  void* block = rvpMalloc((size_t)bytes);
  if (block == NULL) exit(EXIT_FAILURE);
  return block;
}
/* [helpers] */

/* ---- Accumulators and statistics */

/* [accumulators] */
static void accumulate(const uint8_t* frame, float* sum, float* sumOfSquares, RvpiSize size) {
  const int floatStep = size.width * (int)sizeof(float);
  check(rvpiAdd_8u32f_C1IR(frame, size.width, sum, floatStep, size), "Add");
  check(rvpiAddSquare_8u32f_C1IR(frame, size.width, sumOfSquares, floatStep, size), "AddSquare");
}
/* [accumulators] */

/* [norms] */
static double largestDifference(const uint8_t* a, const uint8_t* b, const uint8_t* mask, RvpiSize size) {
  double difference = 0;
  check(rvpiNormDiff_Inf_8u_C1MR(a, size.width, b, size.width, mask, size.width, size, &difference), "NormDiff");
  return difference;
}
/* [norms] */

/* ---- Linear filters */

/* [pipelines] */
static void smooth(const float* image, float* smoothed, RvpiSize size) {
  const float kernel[5] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
  const int anchor = 2;
  const int step = size.width * (int)sizeof(float);
  int rowBytes = 0;
  int columnBytes = 0;
  check(rvpiFilterRowBorderPipelineGetBufferSize_32f_C1R(size, 5, &rowBytes), "row size");
  check(rvpiFilterColumnPipelineGetBufferSize_32f_C1R(size, 5, &columnBytes), "column size");
  uint8_t* buffer = memory(rowBytes > columnBytes ? rowBytes : columnBytes);
  float* between = memory(step * size.height);
  float** rows = memory((size.height + 4) * (int)sizeof(float*));

  /* Rows of the image are filtered into rows of our own; then the rows beyond the image repeat the outermost. */
  for (int y = 0; y < size.height; ++y) rows[y + anchor] = between + (ptrdiff_t)y * size.width;
  check(rvpiFilterRowBorderPipeline_32f_C1R(image, step, rows + anchor, size, kernel, 5, anchor, rvpBorderRepl, 0,
                                            buffer),
        "row stage");
  for (int i = 0; i < anchor; ++i) {
    rows[i] = rows[anchor];
    rows[size.height + anchor + i] = rows[size.height + anchor - 1];
  }
  check(rvpiFilterColumnPipeline_32f_C1R((const float* const*)rows, smoothed, step, size, kernel, 5, buffer),
        "column stage");
  rvpFree(rows);
  rvpFree(between);
  rvpFree(buffer);
}
/* [pipelines] */

/* [lowpass] */
static void sumOfNeighbours(const float* image, float* sums, RvpiSize size) {
  const int step = size.width * (int)sizeof(float);
  int bytes = 0;
  check(rvpiFilterLowpassGetBufferSize_32f_C1R(size, 33, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiFilterLowpassBorder_32f_C1R(image, step, sums, step, size, 33, rvpBorderMirror, 0, buffer), "lowpass");
  rvpFree(buffer);
}
/* [lowpass] */

/* ---- Morphology */

/* [morph] */
static void dilate(const uint8_t* image, uint8_t* dilated, RvpiSize size) {
  const uint8_t cross[9] = {0, 1, 0, 1, 1, 1, 0, 1, 0};
  const RvpiSize crossSize = {3, 3};
  int specBytes = 0;
  int bufferBytes = 0;
  check(rvpiMorphologyBorderGetSize_8u_C1R(size, crossSize, &specBytes, &bufferBytes), "size");
  RvpiMorphState* spec = memory(specBytes);
  uint8_t* buffer = memory(bufferBytes);
  check(rvpiMorphologyBorderInit_8u_C1R(size, cross, crossSize, spec, buffer), "init");
  check(rvpiDilateBorder_8u_C1R(image, size.width, dilated, size.width, size, rvpBorderRepl, 0, spec, buffer),
        "dilate");
  rvpFree(buffer);
  rvpFree(spec);
}
/* [morph] */

/* [compound_morph] */
static void keepSmallBrightThings(const uint8_t* image, uint8_t* things, RvpiSize size) {
  const uint8_t square[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
  const RvpiSize squareSize = {3, 3};
  int specBytes = 0;
  int bufferBytes = 0;
  check(rvpiMorphAdvGetSize_8u_C1R(size, squareSize, &specBytes, &bufferBytes), "size");
  RvpiMorphAdvState* spec = memory(specBytes);
  uint8_t* buffer = memory(bufferBytes);
  check(rvpiMorphAdvInit_8u_C1R(size, square, squareSize, spec, buffer), "init");
  check(rvpiMorphTophatBorder_8u_C1R(image, size.width, things, size.width, size, rvpBorderRepl, 0, spec, buffer),
        "top-hat");
  rvpFree(buffer);
  rvpFree(spec);
}
/* [compound_morph] */

/* [reconstruct] */
static void cutDomes(const uint8_t* image, uint8_t* cut, uint8_t height, RvpiSize size) {
  for (int i = 0; i < size.width * size.height; ++i) cut[i] = image[i] > height ? (uint8_t)(image[i] - height) : 0;
  int bytes = 0;
  check(rvpiMorphReconstructGetBufferSize(size, rvp8u, 1, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiMorphReconstructDilate_8u_C1IR(image, size.width, cut, size.width, size, buffer, rvpConnect8),
        "reconstruct");
  rvpFree(buffer);
}
/* [reconstruct] */

/* ---- Edges, corners and lines */

/* [canny] */
static void findEdges(const uint8_t* image, uint8_t* edges, RvpiSize size) {
  int bytes = 0;
  check(rvpiCannyBorderGetSize(size, rvpFilterSobel, 33, rvpNormL2, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiCannyBorder_8u_C1R(image, size.width, edges, size.width, size, rvpFilterSobel, 33, rvpBorderRepl, 0,
                               rvpNormL2, buffer, 60, 150),
        "Canny");
  rvpFree(buffer);
}
/* [canny] */

/* [eigenvalues] */
static void measureCorners(const uint8_t* image, float* measure, RvpiSize size) {
  int bytes = 0;
  check(rvpiMinEigenValGetBufferSize_8u32f_C1R(size, 3, 5, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiMinEigenVal_8u32f_C1R(image, size.width, measure, size.width * (int)sizeof(float), size, rvpKernelSobel,
                                  3, 5, buffer),
        "eigenvalues");
  rvpFree(buffer);
}
/* [eigenvalues] */

/* [harris] */
static void respondToCorners(const uint8_t* image, float* response, RvpiSize size) {
  int bytes = 0;
  check(rvpiHarrisCornerGetBufferSize(size, 33, 5, rvp8u, 1, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiHarrisCorner_8u32f_C1R(image, size.width, response, size.width * (int)sizeof(float), size,
                                   rvpFilterSobel, 33, 5, 0.04f, 1e-6f, rvpBorderRepl, 0, buffer),
        "Harris");
  rvpFree(buffer);
}
/* [harris] */

/* [suppression] */
static void dropLines(const uint8_t* image, const uint8_t* edges, uint8_t* kept, RvpiSize size) {
  int bytes = 0;
  check(rvpiLineSuppressionGetBufferSize(size, 33, 5, rvp8u, 1, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiLineSuppression_8u_C1R(image, size.width, edges, size.width, kept, size.width, size, rvpFilterSobel, 33,
                                   5, 10, rvpBorderRepl, 0, buffer),
        "line suppression");
  rvpFree(buffer);
}
/* [suppression] */

/* [peaks] */
static int listPeaks(const float* response, RvpiSize size, float threshold, RvpiPoint* peaks, int most) {
  int bytes = 0;
  int count = 0;
  check(rvpiFindPeaks3x3GetBufferSize_32f_C1R(size.width, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiFindPeaks3x3_32f_C1R(response, size.width * (int)sizeof(float), size, peaks, most, &count,
                                 rvpPeakSquare, 2, buffer, threshold),
        "peaks");
  rvpFree(buffer);
  return count;
}
/* [peaks] */

/* [fastn] */
static int listCorners(const uint8_t* image, RvpiSize size, RvpiCornerFastN* corners, int most) {
  const int options = rvpFastNDetect | rvpFastNScore | rvpFastNSuppression;
  const RvpiPoint wholeImage = {0, 0};
  int specBytes = 0;
  int bufferBytes = 0;
  int count = 0;
  check(rvpiFastNGetSize(size, 3, 9, 0, options, rvp8u, 1, &specBytes), "size");
  RvpiFastNSpec* spec = memory(specBytes);
  check(rvpiFastNInit(size, 3, 9, 0, options, rvp8u, 1, spec, 20), "init");
  check(rvpiFastNGetBufferSize(spec, size, &bufferBytes), "buffer size");
  uint8_t* buffer = memory(bufferBytes);
  uint8_t* marks = memory(size.width * size.height);
  uint8_t* scores = memory(size.width * size.height);
  check(rvpiFastN_8u_C1R(image, size.width, marks, size.width, scores, size.width, &count, wholeImage, size, spec,
                         buffer),
        "FastN");
  check(rvpiFastN2DToVec_8u(marks, size.width, scores, size.width, corners, size, most, &count, spec), "list");
  rvpFree(scores);
  rvpFree(marks);
  rvpFree(buffer);
  rvpFree(spec);
  return count;
}
/* [fastn] */

/* [hough] */
static int findLines(const uint8_t* edges, RvpiSize size, RvpiPointPolar* lines, int most) {
  const RvpiPointPolar grid = {1.0f, 3.14159f / 180};
  int bytes = 0;
  int count = 0;
  check(rvpiHoughLineGetSize_8u_C1R(size, grid, most, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiHoughLine_8u32f_C1R(edges, size.width, size, grid, 15, lines, most, &count, buffer), "Hough");
  rvpFree(buffer);
  return count;
}
/* [hough] */

/* ---- Distances */

/* [chamfer] */
static void chamferDistances(const uint8_t* mask, float* distance, RvpiSize size) {
  float metrics[3];
  check(rvpiGetDistanceTransformMask_32f(5, rvpiChamferNormL2, metrics), "metrics");
  check(rvpiDistanceTransform_5x5_8u32f_C1R(mask, size.width, distance, size.width * (int)sizeof(float), size,
                                            metrics),
        "distances");
}
/* [chamfer] */

/* [fastmarching] */
static void signedDistances(const uint8_t* mask, float* distance, RvpiSize size) {
  int bytes = 0;
  check(rvpiFastMarchingGetBufferSize_8u32f_C1R(size, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiFastMarching_8u32f_C1R(mask, size.width, distance, size.width * (int)sizeof(float), size, 10, buffer),
        "fast marching");
  rvpFree(buffer);
}
/* [fastmarching] */

/* ---- Segmentation */

/* [flood] */
static double fill(uint8_t* image, RvpiSize size, RvpiPoint seed) {
  RvpiFilledRegion region;
  int bytes = 0;
  memset(&region, 0, sizeof region);
  check(rvpiFloodFillGetSize(size, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiFloodFill_Range4Con_8u_C1IR(image, size.width, size, seed, 255, 8, 8, &region, buffer), "fill");
  rvpFree(buffer);
  return region.area;
}
/* [flood] */

/* [labels] */
static int labelComponents(const uint8_t* mask, int32_t* labels, RvpiSize size) {
  int bytes = 0;
  int count = 0;
  check(rvpiLabelMarkersGetBufferSize_8u32s_C1R(size, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiLabelMarkers_8u32s_C1R(mask, size.width, labels, size.width * (int)sizeof(int32_t), size, 1, 2147483646,
                                   rvpConnect8, &count, buffer),
        "labels");
  rvpFree(buffer);
  return count;
}
/* [labels] */

/* [speckles] */
static void clearSpeckles(uint8_t* disparity, RvpiSize size) {
  int bytes = 0;
  check(rvpiMarkSpecklesGetBufferSize(size, rvp8u, 1, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiMarkSpeckles_8u_C1IR(disparity, size.width, size, 0, 20, 2, rvpConnect4, buffer), "speckles");
  rvpFree(buffer);
}
/* [speckles] */

/* [watershed] */
static void growMarkers(const uint8_t* heights, uint8_t* markers, RvpiSize size) {
  int bytes = 0;
  check(rvpiSegmentWatershedGetBufferSize_8u_C1R(size, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiSegmentWatershed_8u_C1IR(heights, size.width, markers, size.width, size, rvpWatershed8,
                                     rvpSegmentQueue | rvpSegmentBoundaries8, buffer),
        "watershed");
  rvpFree(buffer);
}
/* [watershed] */

/* [segmentgradient] */
static void growMarkersInColour(const uint8_t* colour, uint8_t* markers, RvpiSize size) {
  int bytes = 0;
  check(rvpiSegmentGradientGetBufferSize_8u_C3R(size, &bytes), "size");
  uint8_t* buffer = memory(bytes);
  check(rvpiSegmentGradient_8u_C3IR(colour, 3 * size.width, markers, size.width, size, rvpConnect4, 0, buffer),
        "segmentation");
  rvpFree(buffer);
}
/* [segmentgradient] */

/* [boundsegments] */
static void drawBoundaries(uint8_t* labels, RvpiSize size) {
  check(rvpiBoundSegments_8u_C1IR(labels, size.width, size, 255, rvpConnect4), "boundaries");
}
/* [boundsegments] */

/* ---- Pyramids and motion */

/* [pyramid] */
static RvpiPyramid* buildPyramid(uint8_t* image, RvpiSize size, int levels) {
  const int16_t kernel[5] = {1, 4, 6, 4, 1};
  RvpiPyramid* pyramid = NULL;
  RvpiPyramidDownState* layer = NULL;
  int recordBytes = 0;
  int stateBytes = 0;
  int scratchBytes = 0;
  check(rvpiPyramidGetSize(&recordBytes, &scratchBytes, levels - 1, size, 2), "record size");
  uint8_t* scratch = memory(scratchBytes);
  check(rvpiPyramidInit(&pyramid, levels - 1, size, memory(recordBytes), scratch, 2), "record");
  rvpFree(scratch);

  check(rvpiPyramidLayerDownGetSize_8u_C1R(size, 5, &stateBytes, &scratchBytes, 2), "layer size");
  scratch = memory(scratchBytes);
  check(rvpiPyramidLayerDownInit_8u_C1R(&layer, size, 2, kernel, 5, rvpiPyramidLinear, memory(stateBytes), scratch),
        "layer");
  rvpFree(scratch);

  pyramid->pImage[0] = image;
  pyramid->pStep[0] = size.width;
  for (int i = 1; i <= pyramid->level; ++i) {
    const RvpiSize larger = pyramid->pRoi[i - 1];
    const RvpiSize smaller = pyramid->pRoi[i];
    pyramid->pImage[i] = memory(smaller.width * smaller.height);
    pyramid->pStep[i] = smaller.width;
    check(rvpiPyramidLayerDown_8u_C1R(pyramid->pImage[i - 1], pyramid->pStep[i - 1], larger, pyramid->pImage[i],
                                      pyramid->pStep[i], smaller, layer),
          "down");
  }
  rvpFree(layer);
  return pyramid;
}

static void freePyramid(RvpiPyramid* pyramid) {
  for (int i = 1; i <= pyramid->level; ++i) rvpFree(pyramid->pImage[i]);
  rvpFree(pyramid);
}
/* [pyramid] */

/* [flow] */
static void track(const RvpiPyramid* first, const RvpiPyramid* second, const RvpiPoint32f* from, RvpiPoint32f* to,
                  int8_t* lost, float* error, int count) {
  const int window = 9;
  const RvpiSize largest = first->pRoi[0];
  RvpiOptFlowPyrLK* tracker = NULL;
  int bytes = 0;
  check(rvpiOpticalFlowPyrLKGetSize(window, largest, rvp8u, 0, &bytes), "size");
  uint8_t* block = memory(bytes);
  check(rvpiOpticalFlowPyrLKInit_8u_C1R(&tracker, largest, window, 0, block), "init");
  /* The search begins where the points were. */
  memcpy(to, from, (size_t)count * sizeof *to);
  check(rvpiOpticalFlowPyrLK_8u_C1R(first, second, from, to, lost, error, count, window, first->level, 20, 0.01f,
                                    tracker),
        "track");
  rvpFree(block);
}
/* [flow] */

/* [background] */
static void separateForeground(const uint8_t* const* frames, int count, uint8_t* mask, RvpiSize size) {
  const RvpFGMMModel model = {.historyLength = 500,
                              .modeCount = 5,
                              .initialVariance = 15,
                              .minVariance = 4,
                              .maxVariance = 75,
                              .backgroundMatch = 16,
                              .backgroundWeight = 0.9f,
                              .updateMatch = 9,
                              .weightDecay = 0.05f,
                              .shadowLabel = 127,
                              .shadowEnabled = 1,
                              .shadowRatio = 0.5f};
  int bytes = 0;
  check(rvpiFGMMGetBufferSize_8u_C3R(size, 5, &bytes), "size");
  RvpFGMMState* state = memory(bytes);
  check(rvpiFGMMInit_8u_C3R(size, 5, &model, state), "init");
  for (int i = 0; i < count; ++i) {
    check(rvpiFGMMForeground_8u_C3R(frames[i], 3 * size.width, mask, size.width, size, state, &model, -1),
          "foreground");
  }
  rvpFree(state);
}
/* [background] */

/* ---- Detection */

/* [rectstddev] */
/* Mean and deviation of every window of 8 x 8 pixels come from tables of one row and one column more. */
static void deviate(const uint8_t* image, float* deviation, RvpiSize size) {
  const RvpiSize places = {size.width - 7, size.height - 7};
  const RvpiRect window = {0, 0, 8, 8};
  const int columns = size.width + 1;
  const int sumStep = columns * (int)sizeof(int32_t);
  const int squareStep = columns * (int)sizeof(double);
  int32_t* sums = memory(sumStep * (size.height + 1));
  double* squares = memory(squareStep * (size.height + 1));
  check(rvpiSqrIntegral_8u32s64f_C1R(image, size.width, sums, sumStep, squares, squareStep, size, 0, 0), "tables");
  check(rvpiRectStdDev_32s32f_C1R(sums, sumStep, squares, squareStep, deviation, places.width * (int)sizeof(float),
                                  places, window),
        "deviation");
  rvpFree(squares);
  rvpFree(sums);
}
/* [rectstddev] */

/* [integral] */
static int32_t sumOfRectangle(const uint8_t* image, RvpiSize size, RvpiRect area) {
  const int columns = size.width + 1;
  int32_t* table = memory(columns * (size.height + 1) * (int)sizeof(int32_t));
  check(rvpiIntegral_8u32s_C1R(image, size.width, table, columns * (int)sizeof(int32_t), size, 0), "table");
  const int32_t* top = table + (ptrdiff_t)area.y * columns + area.x;
  const int32_t* bottom = top + (ptrdiff_t)area.height * columns;
  const int32_t sum = bottom[area.width] - top[area.width] - bottom[0] + top[0];
  rvpFree(table);
  return sum;
}
/* [integral] */

/* [haar] */
/* One stage of one classifier: a rectangle of 8 x 8, weight -1, and its left half, weight 2. */
static int testStage(const int32_t* sums, int sumStep, const float* deviation, uint8_t* mask, RvpiSize places) {
  const RvpiRect rectangles[2] = {{0, 0, 8, 8}, {0, 0, 4, 8}};
  const float weights[2] = {-1, 2};
  const float threshold = 0;
  const float below = 0;
  const float otherwise = 1;
  const int count = 2;
  int bytes = 0;
  int passed = 0;
  check(rvpiHaarClassifierGetSize(rvp32f, places, &count, 1, &bytes), "size");
  RvpiHaarClassifier* stage = memory(bytes);
  check(rvpiHaarClassifierInit_32f(stage, rectangles, weights, &threshold, &below, &otherwise, &count, 1), "init");
  memset(mask, 255, (size_t)places.width * (size_t)places.height);
  check(rvpiApplyHaarClassifier_32s32f_C1R(sums, sumStep, deviation, places.width * (int)sizeof(float), mask,
                                           places.width, places, &passed, 0.5f, stage),
        "apply");
  rvpFree(stage);
  return passed;
}
/* [haar] */

/* A bright square on a gradient, moved by a few pixels, in `channels` channels. */
static void draw(uint8_t* image, int channels, int moved) {
  for (int y = 0; y < HEIGHT; ++y) {
    for (int x = 0; x < WIDTH; ++x) {
      const int isInside = x >= 30 + moved && x < 50 + moved && y >= 20 && y < 40;
      for (int c = 0; c < channels; ++c) image[(y * WIDTH + x) * channels + c] = (uint8_t)(isInside ? 200 : x / 2);
    }
  }
}

int main(void) {
  static uint8_t image[PIXELS];
  static uint8_t next[PIXELS];
  static uint8_t colour[3 * PIXELS];
  static uint8_t mask[PIXELS];
  static uint8_t edges[PIXELS];
  static uint8_t result[PIXELS];
  static uint8_t markers[PIXELS];
  static float plane[PIXELS];
  static float other[PIXELS];
  static float third[PIXELS];
  static int32_t numbers[(WIDTH + 1) * (HEIGHT + 1)];
  const RvpiSize size = {WIDTH, HEIGHT};
  draw(image, 1, 0);
  draw(next, 1, 2);
  draw(colour, 3, 0);
  for (int i = 0; i < PIXELS; ++i) mask[i] = image[i] == 200 ? 255 : 0;

  accumulate(image, plane, other, size);
  printf("largest difference after the move: %.0f\n", largestDifference(image, next, mask, size));
  smooth(plane, other, size);
  sumOfNeighbours(plane, third, size);
  dilate(image, result, size);
  keepSmallBrightThings(image, result, size);
  cutDomes(image, result, 40, size);

  RvpiPoint peaks[16];
  RvpiPointPolar lines[16];
  RvpiCornerFastN corners[16];
  findEdges(image, edges, size);
  dropLines(image, edges, result, size);
  measureCorners(image, plane, size);
  printf("peaks of the smaller eigenvalue: %d\n", listPeaks(plane, size, 0.1f, peaks, 16));
  respondToCorners(image, plane, size);
  printf("corners on circles: %d\n", listCorners(image, size, corners, 16));
  printf("lines: %d\n", findLines(edges, size, lines, 16));

  chamferDistances(mask, plane, size);
  signedDistances(mask, other, size);
  printf("distance from the middle to the edge: %.2f and %.2f\n", (double)plane[30 * WIDTH + 40],
         (double)other[30 * WIDTH + 40]);

  const RvpiPoint seed = {40, 30};
  memcpy(result, image, sizeof image);
  printf("pixels filled: %.0f\n", fill(result, size, seed));
  printf("components: %d\n", labelComponents(mask, numbers, size));
  clearSpeckles(result, size);
  markers[0] = 1;
  markers[30 * WIDTH + 40] = 2;
  memcpy(result, markers, sizeof markers);
  growMarkers(edges, result, size);
  memcpy(result, markers, sizeof markers);
  growMarkersInColour(colour, result, size);
  drawBoundaries(result, size);

  const RvpiPoint32f from = {30, 20};
  RvpiPoint32f to;
  int8_t lost = 0;
  float error = 0;
  RvpiPyramid* first = buildPyramid(image, size, 3);
  RvpiPyramid* second = buildPyramid(next, size, 3);
  track(first, second, &from, &to, &lost, &error, 1);
  freePyramid(second);
  freePyramid(first);
  printf("the corner moved by %.2f\n", (double)(to.x - from.x));
  const uint8_t* const frames[2] = {colour, colour};
  separateForeground(frames, 2, result, size);

  const RvpiRect square = {30, 20, 20, 20};
  const RvpiSize places = {WIDTH - 7, HEIGHT - 7};
  printf("sum of the square: %d\n", sumOfRectangle(image, size, square));
  deviate(image, plane, size);
  check(rvpiIntegral_8u32s_C1R(image, WIDTH, numbers, (WIDTH + 1) * (int)sizeof(int32_t), size, 0), "table");
  printf("windows brighter on the left: %d\n",
         testStage(numbers, (WIDTH + 1) * (int)sizeof(int32_t), plane, result, places));
  return EXIT_SUCCESS;
}
