// Faults in a call's arguments, and the order in which they count.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <tuple>
#include <type_traits>
#include <vector>

#include "rvpcv/types.h"

namespace test {

// One or several ways to the same status. Each changes the arguments `A`, a tuple, knowing the good ones.
template <class A>
struct Fault {
  RvpStatus status;
  std::vector<std::function<void(A&, const A&)>> ways;
};

// Turns into the fault of whichever function it is listed for: add(fault) adds the ways.
template <class Add>
struct AnyFault {
  RvpStatus status;
  Add add;
  bool applies = true;

  template <class A>
  operator Fault<A>() const {  // NOLINT(google-explicit-constructor): it stands for a fault
    Fault<A> fault = {status, {}};
    if (applies) add(fault);
    return fault;
  }
  AnyFault when(bool condition) const { return {status, add, condition}; }
};
template <class Add>
AnyFault(RvpStatus, Add) -> AnyFault<Add>;

template <std::size_t I, class A, class V>
void addValue(Fault<A>& fault, V value) {
  fault.ways.push_back(
      [value](A& a, const A&) { std::get<I>(a) = static_cast<std::tuple_element_t<I, A>>(value); });
}

// Argument I has one of these values.
template <std::size_t I, class... V>
auto at(RvpStatus status, V... values) {
  return AnyFault{status, [=]<class A>(Fault<A>& fault) { (addValue<I>(fault, values), ...); }};
}

// change(arguments) does it, with arguments a tuple.
template <class Change>
auto planted(RvpStatus status, const Change& change) {
  return AnyFault{status,
                  [=]<class A>(Fault<A>& fault) { fault.ways.push_back([=](A& a, const A&) { change(a); }); }};
}

// visit(I) for each of these arguments, or for all if none is named.
template <class A, std::size_t... I, class Visit>
void forArguments(std::index_sequence<I...>, const Visit& visit) {
  if constexpr (sizeof...(I) == 0) {
    forArguments<A>(std::make_index_sequence<std::tuple_size_v<A>>(), visit);
  } else {
    (visit(std::integral_constant<std::size_t, I>()), ...);
  }
}

// These pointers are null, one at a time.
template <std::size_t... I>
const auto nulls = AnyFault{rvpStatusNullPointer, []<class A>(Fault<A>& fault) {
                              forArguments<A>(std::index_sequence<I...>(), [&](auto i) {
                                if constexpr (std::is_pointer_v<std::tuple_element_t<i, A>>)
                                  addValue<i>(fault, nullptr);
                              });
                            }};

// A size without columns or rows.
inline const auto badSizes =
    AnyFault{rvpStatusBadSize, []<class A>(Fault<A>& fault) {
               forArguments<A>(std::index_sequence<>(), [&](auto i) {
                 if constexpr (std::is_same_v<std::tuple_element_t<i, A>, RvpiSize>) {
                   fault.ways.push_back([](A& a, const A&) { std::get<decltype(i)::value>(a).width = 0; });
                   fault.ways.push_back([](A& a, const A&) { std::get<decltype(i)::value>(a).height = -1; });
                 }
               });
             }};

// visit(I, size of an element) for images: a pointer to numbers, followed by the step.
template <class A, std::size_t... I, class Visit>
void forImages(std::index_sequence<I...> named, const Visit& visit) {
  forArguments<A>(named, [&](auto i) {
    if constexpr (i + 1 < std::tuple_size_v<A>) {
      using P = std::tuple_element_t<i, A>;
      using Number = std::remove_pointer_t<P>;
      if constexpr (std::is_pointer_v<P> && std::is_arithmetic_v<Number> &&
                    std::is_same_v<std::tuple_element_t<i + 1, A>, int>)
        visit(i, std::integral_constant<std::size_t, sizeof(Number)>());
    }
  });
}

// The steps of the images that begin at these arguments, or of all: shorter than a row, where the good step has no
// byte to spare, or negative.
template <std::size_t... I>
const auto shortSteps =
    AnyFault{rvpStatusBadStep, []<class A>(Fault<A>& fault) {
               forImages<A>(std::index_sequence<I...>(), [&](auto i, auto) {
                 fault.ways.push_back([](A& a, const A& good) {
                   std::get<decltype(i)::value + 1>(a) = std::get<decltype(i)::value + 1>(good) - 1;
                 });
                 fault.ways.push_back([](A& a, const A& good) {
                   std::get<decltype(i)::value + 1>(a) = -std::get<decltype(i)::value + 1>(good);
                 });
               });
             }};

// No whole number of elements, where an element has several bytes.
template <std::size_t... I>
const auto oddSteps =
    AnyFault{rvpStatusStepNotMultiple, []<class A>(Fault<A>& fault) {
               forImages<A>(std::index_sequence<I...>(), [&](auto i, auto size) {
                 if constexpr (size > 1)
                   fault.ways.push_back([](A& a, const A& good) {
                     std::get<decltype(i)::value + 1>(a) = std::get<decltype(i)::value + 1>(good) + 1;
                   });
               });
             }};

// In the order in which they are checked.
template <class... P>
using Faults = std::vector<Fault<std::tuple<P...>>>;

// The bytes of the first element, which may be a pointer itself, that a pointer lets a function change.
template <class P>
std::vector<char> changeable([[maybe_unused]] P argument) {
  if constexpr (std::is_pointer_v<P>) {
    using Element = std::remove_pointer_t<P>;
    if constexpr (!std::is_const_v<Element> && requires { sizeof(Element); }) {  // NOLINT: of a pointer too
      const auto* const bytes = reinterpret_cast<const char*>(argument);
      if (bytes != nullptr) return {bytes, bytes + sizeof(Element)};  // NOLINT: of a pointer too
    }
  }
  return {};
}

// Every fault alone, and every pair of faults in one call: the one that comes first in the order of checking is
// reported, and nothing is changed. Where two faults are in one argument, the first one stands.
template <class... P>
void expectFirstOfTwo(const std::function<RvpStatus(P...)>& run, const std::type_identity_t<Faults<P...>>& faults,
                      std::type_identity_t<P>... good) {
  using A = std::tuple<P...>;
  const A arguments = {good...};
  const std::array before = {changeable(good)...};
  for (std::size_t i = 0; i < faults.size(); ++i) {
    for (std::size_t j = i; j < faults.size(); ++j) {
      for (std::size_t k = 0; k < faults[i].ways.size(); ++k) {
        for (std::size_t m = 0; m < faults[j].ways.size(); ++m) {
          A a = arguments;
          faults[j].ways[m](a, arguments);
          faults[i].ways[k](a, arguments);
          EXPECT_EQ(std::apply(run, a), faults[i].status)
              << "fault " << i << ", way " << k << ", and fault " << j << ", way " << m;
        }
      }
    }
  }
  EXPECT_EQ((std::array{changeable(good)...}), before) << "a refused call changed what an argument points to";
}
template <class... P>
void expectFirstOfTwo(RvpStatus (*run)(P...), const std::type_identity_t<Faults<P...>>& faults,
                      std::type_identity_t<P>... good) {
  expectFirstOfTwo(std::function<RvpStatus(P...)>(run), faults, good...);
}

}  // namespace test
