// Growth measurements compare sizes that fit the processor's caches with sizes that do not.
// A timed run that follows its own set-up starts with that set-up's data in the caches, which
// favours the small sizes: the exponent then measures the cache size instead of the code.
// Calling EvictCaches() between the set-up and the timing starts every size cold.
#pragma once

namespace corvale::bench {

// Writes a buffer larger than any last-level cache.
void EvictCaches();

}  // namespace corvale::bench
