// What every test of an operation is written with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <compare>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "rvpcv.h"
#include "support/bordered.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/derivatives.h"
#include "support/faults.h"
#include "support/fuzz.h"
#include "support/images.h"
#include "support/regions.h"
#include "support/sweep.h"
