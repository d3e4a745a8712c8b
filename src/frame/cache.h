// The size of the largest cache, which chooses between stores that keep data in the cache and stores that pass it
// by. It never changes a result.
#pragma once

#include "rvpcore.h"

namespace rvp::n8 {

// 0 where the size cannot be had, which makes any footprint count as larger than the cache.
inline int owncvGetCacheSize() {
  int bytes = 0;
  static_cast<void>(rvpGetMaxCacheSizeB(&bytes));
  return bytes;
}

}  // namespace rvp::n8
