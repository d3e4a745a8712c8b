// What a JPEG file says besides its pixels (ITU-T T.81; the Exif tags of CIPA DC-008).
#pragma once

#include <string_view>

namespace tour {

struct JpegFacts {
  // The Huffman tables fit in the room that a decoder has for them. Not every version of stb looks by itself.
  bool isSound = true;
  // The end marker is there. Without it stb fills up with gray what is missing, and says nothing.
  bool isComplete = false;
  // How the camera was held: 1 to 8, as Exif counts; 1 is upright.
  int orientation = 1;
};

bool isJpeg(std::string_view bytes);
JpegFacts inspectJpeg(std::string_view bytes);

}  // namespace tour
