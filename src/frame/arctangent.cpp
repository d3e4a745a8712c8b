// The arc tangent of two arguments, in float.
//
// The quotient q of the lesser by the greater magnitude is at most 1; above tan(pi / 8) it is turned by pi / 4,
// which leaves |q| <= tan(pi / 8), where an odd polynomial of degree 9 is good to 2^-24. Octant, half plane and
// sign follow. It stays a plain loop: the compiler makes vectors of it, and no fused operation can creep in.
#include <cmath>
#include <cstddef>
#include <limits>

#include "frame/vector.h"

namespace rvp::n8 {
namespace {

constexpr float kPi = 3.14159265358979f;
constexpr float kTanEighth = 0.414213562373095f;

// The coefficients are a minimax fit of (atan(q) - q) / q^3 over q^2 up to tan(pi / 8)^2.
float arctangentNearZero(float q) {
  const float z = q * q;
  return (((8.05374449538e-2f * z - 1.38776856032e-1f) * z + 1.99777106478e-1f) * z - 3.33329491539e-1f) * z * q +
         q;
}

float arctangent(float y, float x) {
  // Sums of two magnitudes must not overflow, so large ones are brought down together.
  const float ay = std::fabs(y);
  const float ax = std::fabs(x);
  const bool steep = ay > ax;
  float greater = steep ? ay : ax;
  float lesser = steep ? ax : ay;
  const float unit = greater > 0x1p126f ? 0x1p-2f : 1.0f;
  greater *= unit;
  lesser *= unit;
  const bool bothInfinite = lesser == std::numeric_limits<float>::infinity();
  const bool turned = lesser > greater * kTanEighth || bothInfinite;
  const float numerator = turned ? lesser - greater : lesser;
  const float denominator = turned ? lesser + greater : greater;
  float q = numerator / denominator;
  // 0 over 0 points along an axis and a pair of infinities along a diagonal, as in the C library.
  if (greater == 0.0f || bothInfinite) q = 0.0f;
  float angle = arctangentNearZero(q) + (turned ? kPi / 4 : 0.0f);
  if (steep) angle = kPi / 2 - angle;
  if (std::signbit(x)) angle = kPi - angle;
  const float result = std::copysign(angle, y);
  return x != x || y != y ? x + y : result;  // A comparison may have hidden a NaN from the quotient.
}

}  // namespace

RvpStatus rvpsAtan2_32f_A21(const float* pSrc1, const float* pSrc2, float* pDst, int len) {
  for (std::ptrdiff_t i = 0; i < len; ++i) pDst[i] = arctangent(pSrc1[i], pSrc2[i]);
  return rvpStatusOk;
}

}  // namespace rvp::n8
