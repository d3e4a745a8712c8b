// Rows of an image, and how long they are. Steps are bytes, signed, and need not be a multiple of the element's
// size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace rvp::n8 {

// Row y of an image. The offset is formed in 64 bits: y * step passes 31 bits in images of 2 GiB and more.
template <class T>
T* row(T* image, int step, std::ptrdiff_t y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(image) + y * step);
}

// Elements of a row, in 64 bits, so that no width with its channels overflows.
constexpr std::ptrdiff_t rowElements(int width, int channels) {
  return static_cast<std::ptrdiff_t>(width) * channels;
}

// The first address from `block` on that is a multiple of `alignment`, a power of two.
inline std::uint8_t* alignedUp(std::uint8_t* block, std::ptrdiff_t alignment) {
  const auto beyond = static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(block)) & (alignment - 1);
  return beyond == 0 ? block : block + (alignment - beyond);
}

// A product as the interface's 32-bit tests see it: it wraps. A row of 2^30 floats so counts as one of 0 bytes.
constexpr int wrappedProduct(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

}  // namespace rvp::n8
