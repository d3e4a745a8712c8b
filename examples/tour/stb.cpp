// stb's code, compiled once. Its memory is bounded, because a small file can claim to hold a vast picture.
#include <cstddef>
#include <cstdlib>

namespace {

// More than the largest picture that is read takes in 16 bits and four channels.
constexpr std::size_t kLargestBlock = std::size_t{1} << 29;

void* boundedRealloc(void* block, std::size_t size) {
  return size > kLargestBlock ? nullptr : std::realloc(block, size);
}

}  // namespace

#define STBI_MALLOC(size) boundedRealloc(nullptr, size)
#define STBI_REALLOC(block, size) boundedRealloc(block, size)
#define STBI_FREE(block) std::free(block)
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb.h"
