// The per-item paths of a scheme's log buffers and error list, for n = 1,000 to 8,000 items,
// every size measured in the same run (the best of several runs, each started with cold
// caches): adding n log entries to one buffer (each add recalculates the record size),
// removing the entries of n instruments one instrument at a time as the instrument set does,
// first to last and last to first, and filling an error list. Prints the time for each size
// and the growth exponent from the first to the last size (goal: at most 1.1); and, for
// comparison, one merge of an error list and one EnableChannel, which walks every entry.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/cold_caches.h"
#include "corvale/scheme/errors.h"
#include "corvale/scheme/log.h"
#include "corvale/scheme/log_buffers.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRuns = 15;
constexpr int kPerInstrument = 4;
const std::vector<int> kSizes = {1000, 2000, 4000, 8000};

double Since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

corvale::LogPtr Entry(int i) {
  auto entry = std::make_shared<corvale::clsLog>();
  entry->Channel("INST_" + std::to_string(i / kPerInstrument) + "|CHAN_" +
                 std::to_string(i % kPerInstrument));
  entry->Bytes(static_cast<int16_t>(1 + i % 2));
  entry->Enabled(i % 3 != 0);
  return entry;
}

// A buffer holding `count` entries, in a set of mode 1.
std::shared_ptr<corvale::clsLogBuffers> Filled(int count) {
  auto set = std::make_shared<corvale::clsLogBuffers>();
  set->Mode(1);
  set->SetBufferCount(1);
  auto entries = set->Item(1)->LogEntries();
  for (int i = 0; i < count; ++i) entries->Add(Entry(i));
  return set;
}

// The seconds `run(size)` takes for each size, the best of several runs; every size is
// measured in each run, one after the other.
void Report(const char* what, const std::function<double(int)>& run) {
  std::vector<double> best(kSizes.size(), 1e30);
  for (int r = 0; r < kRuns; ++r)
    for (size_t s = 0; s < kSizes.size(); ++s) best[s] = std::min(best[s], run(kSizes[s]));
  std::printf("%s:\n", what);
  for (size_t s = 0; s < kSizes.size(); ++s)
    std::printf("  %5d: %8.2f ms (%.2f us each)\n", kSizes[s], best[s] * 1e3,
                best[s] * 1e6 / kSizes[s]);
  std::printf("  growth exponent from %d to %d: %.2f (goal: at most 1.1)\n", kSizes.front(),
              kSizes.back(),
              std::log(best.back() / best.front()) /
                  std::log(static_cast<double>(kSizes.back()) / kSizes.front()));
}

}  // namespace

int main() {
  Report("clsLogEntries.Add of n entries to one buffer, record size recalculated each time",
         [](int n) {
           auto set = std::make_shared<corvale::clsLogBuffers>();
           set->SetBufferCount(1);
           auto entries = set->Item(1)->LogEntries();
           std::vector<corvale::LogPtr> made;
           for (int i = 0; i < n; ++i) made.push_back(Entry(i));
           corvale::bench::EvictCaches();
           const auto start = Clock::now();
           for (const auto& entry : made) entries->Add(entry);
           return Since(start);
         });

  for (const bool lastFirst : {false, true}) {
    Report(lastFirst ? "RemoveEntriesOf every one of n instruments (4 entries each), last first"
                     : "RemoveEntriesOf every one of n instruments (4 entries each), first first",
           [lastFirst](int n) {
             auto set = Filled(n * kPerInstrument);
             auto entries = set->Item(1)->LogEntries();
             corvale::bench::EvictCaches();
             const auto start = Clock::now();
             for (int i = 0; i < n; ++i)
               entries->RemoveEntriesOf("INST_" + std::to_string(lastFirst ? n - 1 - i : i));
             if (entries->Count() != 0) std::fprintf(stderr, "entries left\n");
             return Since(start);
           });
  }

  Report("clsErrors.Report of n entries", [](int n) {
    corvale::clsErrors errors;
    const auto start = Clock::now();
    for (int i = 0; i < n; ++i)
      errors.Report(i, "There are no more available channels", "clsSchemeInstruments:Add", false);
    return Since(start);
  });
  {
    corvale::clsErrors errors, merged;
    for (int i = 0; i < kSizes.back(); ++i) errors.Report(i, "text", "a:b", false);
    const auto start = Clock::now();
    merged.Merge(errors);
    merged.Merge(merged);
    std::printf("Merge of %d entries, then of the list into itself: %.2f ms\n", kSizes.back(),
                Since(start) * 1e3);
  }

  auto set = Filled(kSizes.back());
  const auto start = Clock::now();
  for (int i = 0; i < 20; ++i) set->EnableChannel("INST_7|CHAN_1", i % 2 == 0);
  std::printf("one EnableChannel over %d entries: %.2f ms\n", kSizes.back(),
              Since(start) / 20 * 1e3);
  return 0;
}
