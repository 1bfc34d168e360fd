#include "bench/cold_caches.h"

#include <cstddef>
#include <vector>

namespace corvale::bench {

void EvictCaches() {
  static std::vector<char> junk(std::size_t{128} << 20);
  for (std::size_t i = 0; i < junk.size(); i += 64) ++junk[i];
}

}  // namespace corvale::bench
