#include "drawing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace tour {
namespace {

void setPixel(Picture& picture, int x, int y, Rgb colour) {
  if (x < 0 || y < 0 || x >= picture.width() || y >= picture.height()) return;
  std::uint8_t* pixel = picture.at(x, y);
  pixel[0] = colour.red;
  pixel[1] = colour.green;
  pixel[2] = colour.blue;
}

// The outline of one pixel's width that lies `distance` pixels outside the rectangle.
void drawFrame(Picture& picture, RvpiRect rectangle, int distance, Rgb colour) {
  const int left = rectangle.x - distance;
  const int top = rectangle.y - distance;
  const int right = rectangle.x + rectangle.width - 1 + distance;
  const int bottom = rectangle.y + rectangle.height - 1 + distance;
  for (int x = left; x <= right; ++x) {
    setPixel(picture, x, top, colour);
    setPixel(picture, x, bottom, colour);
  }
  for (int y = top; y <= bottom; ++y) {
    setPixel(picture, left, y, colour);
    setPixel(picture, right, y, colour);
  }
}

// Width of the soft edge of a ball, in pixels.
constexpr float kSoftEdge = 1.0f;

float distanceFrom(const Ball& ball, int x, int y) {
  return std::hypot(static_cast<float>(x) - ball.x, static_cast<float>(y) - ball.y);
}

}  // namespace

Rgb colourAt(ColourMap map, float position) {
  const float place = std::clamp(position, 0.0f, 1.0f) * static_cast<float>(map.size() - 1);
  const std::size_t below = std::min(static_cast<std::size_t>(place), map.size() - 2);
  const float share = place - static_cast<float>(below);
  const auto mix = [share](std::uint8_t a, std::uint8_t b) {
    return toByte(static_cast<float>(a) + share * static_cast<float>(b - a));
  };
  const Rgb& a = map[below];
  const Rgb& b = map[below + 1];
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

Picture falseColour(const Plane& values, float least, float greatest, ColourMap map) {
  Picture picture(values.width(), values.height(), 3);
  const float range = greatest > least ? greatest - least : 1.0f;
  for (int y = 0; y < values.height(); ++y)
    for (int x = 0; x < values.width(); ++x)
      setPixel(picture, x, y, colourAt(map, (*values.at(x, y) - least) / range));
  return picture;
}

void drawOutline(Picture& picture, RvpiRect rectangle, int thickness, Rgb colour) {
  constexpr Rgb kRim = {20, 20, 20};
  for (int i = 1; i <= thickness; ++i) drawFrame(picture, rectangle, i, colour);
  drawFrame(picture, rectangle, thickness + 1, kRim);
}

void drawLine(Picture& picture, RvpiPoint from, RvpiPoint to, Rgb colour) {
  const int steps = std::max({std::abs(to.x - from.x), std::abs(to.y - from.y), 1});
  for (int i = 0; i <= steps; ++i) {
    const float share = static_cast<float>(i) / static_cast<float>(steps);
    const auto between = [share](int a, int b) {
      return a + static_cast<int>(std::lround(share * static_cast<float>(b - a)));
    };
    setPixel(picture, between(from.x, to.x), between(from.y, to.y), colour);
  }
}

Picture dimmed(const Picture& picture, float share) {
  Picture result = inColour(picture);
  for (std::uint8_t& value : result.elements()) value = toByte(share * static_cast<float>(value));
  return result;
}

Picture ellipseMask(RvpiSize size, RvpiRect rectangle) {
  Picture mask(size.width, size.height, 1);
  const float a = 0.5f * static_cast<float>(rectangle.width);
  const float b = 0.5f * static_cast<float>(rectangle.height);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x) {
      const float u = (static_cast<float>(x - rectangle.x) + 0.5f - a) / a;
      const float v = (static_cast<float>(y - rectangle.y) + 0.5f - b) / b;
      if (u * u + v * v <= 1.0f) *mask.at(x, y) = 255;
    }
  return mask;
}

void drawBall(Picture& picture, const Ball& ball) {
  constexpr std::array<float, 3> kColour = {20.0f, 118.0f, 190.0f};
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x) {
      const float distance = distanceFrom(ball, x, y);
      const float opacity = std::clamp((ball.radius - distance) / kSoftEdge, 0.0f, 1.0f);
      if (opacity == 0.0f) continue;
      // Light falls from the upper left: the brightest spot lies 0.4 radii up and left of the centre.
      const float fromLight =
          distanceFrom({ball.x - 0.4f * ball.radius, ball.y - 0.4f * ball.radius, 0.0f}, x, y) / ball.radius;
      const float light = 1.25f - 0.6f * fromLight;
      const float gloss = 150.0f * std::max(0.0f, 1.0f - 4.0f * fromLight);
      std::uint8_t* pixel = picture.at(x, y);
      for (int c = 0; c < picture.channels(); ++c) {
        const float colour = std::min(255.0f, kColour[static_cast<std::size_t>(c)] * light + gloss);
        pixel[c] = toByte(static_cast<float>(pixel[c]) * (1.0f - opacity) + colour * opacity);
      }
    }
}

Picture maskAround(RvpiSize size, const Ball& ball) {
  Picture mask(size.width, size.height, 1, 255);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      if (distanceFrom(ball, x, y) < ball.radius) *mask.at(x, y) = 0;
  return mask;
}

}  // namespace tour
