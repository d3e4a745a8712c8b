// What the panels draw: false colours, lines, outlines, masks and a moving ball.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "picture.h"

namespace tour {

struct Rgb {
  std::uint8_t red, green, blue;
};

// Colours at even distances from the least to the greatest value, straight lines between them.
using ColourMap = std::span<const Rgb>;

// From dark to light, also for readers who do not see colours: for amounts.
inline constexpr std::array<Rgb, 6> kHeat = {
    {{10, 10, 36}, {62, 26, 98}, {142, 40, 104}, {214, 74, 74}, {246, 150, 62}, {252, 240, 188}}};
// From blue over near-white to red: for values with a sign.
inline constexpr std::array<Rgb, 5> kBalance = {
    {{24, 70, 140}, {120, 172, 214}, {244, 243, 239}, {226, 142, 104}, {158, 36, 50}}};

// For what is drawn on photographs, in which this colour is rare.
inline constexpr Rgb kMark = {0, 220, 255};

// The colour at `position` of 0..1; positions outside count as the nearer end.
Rgb colourAt(ColourMap map, float position);

// Each value in the colour at its place between `least` and `greatest`.
Picture falseColour(const Plane& values, float least, float greatest, ColourMap map);

// Draws the outline of a rectangle, `thickness` pixels wide and outside of it, with a thin dark rim that sets it
// off from any picture. What lies outside the picture is left out.
void drawOutline(Picture& picture, RvpiRect rectangle, int thickness, Rgb colour);

// A line of one pixel's width, both ends included. What lies outside the picture is left out.
void drawLine(Picture& picture, RvpiPoint from, RvpiPoint to, Rgb colour);

// A picture in colour that is `share` as bright: a ground for what is drawn on it.
Picture dimmed(const Picture& picture, float share);

// 255 inside an ellipse that touches the sides of the rectangle, 0 outside.
Picture ellipseMask(RvpiSize size, RvpiRect rectangle);

// A shaded ball. Draws into a picture of one or three channels.
struct Ball {
  float x, y, radius;
};
void drawBall(Picture& picture, const Ball& ball);
// 0 where drawBall changes a pixel, 255 elsewhere.
Picture maskAround(RvpiSize size, const Ball& ball);

}  // namespace tour
