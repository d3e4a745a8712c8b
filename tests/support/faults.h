// Faults in a call's arguments, and the order in which they count.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>
#include <vector>

#include "rvpcv/types.h"

namespace test {

template <class Arguments>
struct Fault {
  RvpStatus status;
  std::function<void(Arguments&)> plant;
  bool applies = true;
};

// In the order in which they are checked.
template <class Arguments>
using Faults = std::vector<Fault<Arguments>>;

// Every fault alone, and every pair of faults in one call: the one that comes first in the order of checking is
// reported. Where two faults are in one field, the first one stands.
template <class Arguments, class Run>
void expectFirstOfTwo(const Faults<std::type_identity_t<Arguments>>& faults, const Arguments& good,
                      const Run& run) {
  for (std::size_t i = 0; i < faults.size(); ++i) {
    for (std::size_t j = i; j < faults.size(); ++j) {
      if (!faults[i].applies || !faults[j].applies) continue;
      Arguments arguments = good;
      faults[j].plant(arguments);
      faults[i].plant(arguments);
      EXPECT_EQ(run(arguments), faults[i].status) << "faults " << i << " and " << j;
    }
  }
}

}  // namespace test
