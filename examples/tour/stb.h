// The decoders that are wanted of stb: PNG and JPEG from memory, with failures in plain words.
#pragma once

#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_FAILURE_USERMSG
#define STBI_WRITE_NO_STDIO

#include <stb/stb_image.h>
#include <stb/stb_image_write.h>
