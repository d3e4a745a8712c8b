// Patterns of 255 on 2 that ask much of what follows connected pixels.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "support/images.h"

namespace rvp::bench {

// A way of two pixels' width with walls of two that turns inwards for ever.
inline cv::Mat spiral(cv::Size size) {
  cv::Mat image(size, CV_8U, cv::Scalar(2));
  cv::Rect room({0, 0}, size);
  while (room.width > 8 && room.height > 8) {
    const int right = room.x + room.width;
    const int bottom = room.y + room.height;
    image(cv::Rect(room.x, room.y, room.width, 2)) = 255;
    image(cv::Rect(right - 2, room.y, 2, room.height)) = 255;
    image(cv::Rect(room.x, bottom - 2, room.width, 2)) = 255;
    image(cv::Rect(room.x, room.y + 4, 2, room.height - 4)) = 255;
    // From the left side to the next turn.
    image(cv::Rect(room.x, room.y + 4, 6, 2)) = 255;
    room = cv::Rect(room.x + 4, room.y + 4, room.width - 8, room.height - 8);
  }
  return image;
}

inline cv::Mat checkerboard(cv::Size size) {
  cv::Mat image(size, CV_8U);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      pixels<std::uint8_t>(image.row(y))[x] = (x + y) % 2 == 0 ? std::uint8_t{255} : std::uint8_t{2};
  return image;
}

// A back along the first row, a tooth in every other column.
inline cv::Mat comb(cv::Size size) {
  cv::Mat image(size, CV_8U, cv::Scalar(2));
  image.row(0) = 255;
  for (int x = 0; x < size.width; x += 2) image.col(x) = 255;
  return image;
}

}  // namespace rvp::bench
