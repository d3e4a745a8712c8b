// Calls with images and blocks of memory as arguments.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <type_traits>

#include "support/images.h"

namespace test {

// Memory of exactly so many bytes for a state or for scratch.
class Block : public Guarded<std::uint8_t> {
 public:
  explicit Block(int bytes, Placing placing = {}) : Guarded(Plane<std::uint8_t>(bytes, 1, 0xA5), placing) {}

  template <class State>
  State* as() {
    return reinterpret_cast<State*>(data());
  }
};

// What stands for an argument in a call: for an image its first pixel, or that of its region, and its step; for a
// block its first byte.
struct AnyPointer {
  std::uint8_t* at;
  template <class T>
  operator T*() const {  // NOLINT(google-explicit-constructor): it stands for a pointer
    return reinterpret_cast<T*>(at);
  }
};
template <class A>
auto spread(A& argument) {
  if constexpr (std::is_same_v<A, Block>) {
    return std::tuple(AnyPointer{argument.data()});
  } else if constexpr (requires { argument.region(); }) {
    return std::tuple(argument.region(), argument.step());
  } else if constexpr (requires { argument.data(), argument.step(); }) {
    return std::tuple(argument.data(), argument.step());
  } else {
    return std::tuple<A&>(argument);
  }
}

template <class Function, class... A>
auto call(const Function& function, A&&... arguments) {
  return std::apply(function, std::tuple_cat(spread(arguments)...));
}

// A function of more arguments, of which those with these numbers go to `function`.
template <std::size_t... I, class Function>
auto handing(Function function) {
  return [=](auto... all) { return function(std::get<I>(std::tuple(all...))...); };
}

// Among functions that differ in the type of their first image, the one of that type.
template <class T, class First, class... More>
constexpr auto ofType(First first, More... more) {
  if constexpr (std::is_invocable_v<decltype([]<class E, class... P>(RvpStatus (*)(E*, P...))
                                                 -> std::enable_if_t<std::is_same_v<const E, const T>> {}),
                                    First>) {
    return first;
  } else {
    return ofType<T>(more...);
  }
}

template <class T>
constexpr RvpDataType kTypeOf = std::is_same_v<T, std::uint8_t>    ? rvp8u
                                : std::is_same_v<T, std::uint16_t> ? rvp16u
                                : std::is_same_v<T, std::int16_t>  ? rvp16s
                                : std::is_same_v<T, float>         ? rvp32f
                                                                   : rvp64f;

// The number of bytes that a query tells.
template <class Query, class... A>
int bytesOf(const Query& query, const A&... arguments) {
  int bytes = 0;
  EXPECT_EQ(query(arguments..., &bytes), rvpStatusOk);
  return bytes;
}

}  // namespace test
