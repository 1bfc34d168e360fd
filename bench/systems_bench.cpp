// Template and systems files as users grow them: Add of systems without a key (a generated
// key, then INDEX numbering) and of templates, Item by key on every one of them, and removing
// and adding back the last system, 1,000 to 16,000 times (systems with and without the file's
// SOURCE). Prints the time of each size (the best of several runs, all sizes measured in the
// same run) and the growth exponent from the smallest to the largest size (goal: at most 1.1,
// i.e. each operation O(1) or O(log n)).
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "corvale/systems/code_templates.h"
#include "corvale/systems/systems.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSizes[] = {1000, 2000, 4000, 8000, 16000};
constexpr int kRuns = 5;

double Seconds(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void RunSystems(int n, bool withSource) {
  corvale::clsSystems systems;
  // Item reads the root's SOURCE: a file without one must not make it walk the root's children.
  if (withSource) systems.Source("bench");
  for (int i = 0; i < n; ++i) systems.Add(std::make_shared<corvale::clsSystem>());
  for (int i = 1; i <= n; ++i) {
    if (!systems.Item("SYSTEM_" + std::to_string(i))) std::abort();
  }
  for (int i = 0; i < n; ++i) {
    systems.Remove(systems.Count());
    systems.Add(std::make_shared<corvale::clsSystem>());
  }
}

void RunTemplates(int n) {
  corvale::clsCodeTemplates templates;
  for (int i = 0; i < n; ++i)
    templates.Add(std::make_shared<corvale::clsCodeTemplate>(corvale::CreateElement("TEMPLATE")));
  for (int i = 1; i <= n; ++i) {
    if (!templates.Item("template_" + std::to_string(i))) std::abort();
  }
}

void RunSystemsWithSource(int n) { RunSystems(n, true); }
void RunSystemsWithoutSource(int n) { RunSystems(n, false); }

void Measure(const char* title, void (*run)(int)) {
  std::vector<double> best(std::size(kSizes), 1e300);
  for (int r = 0; r < kRuns; ++r) {
    for (size_t s = 0; s < std::size(kSizes); ++s)
      best[s] = std::min(best[s], Seconds([&] { run(kSizes[s]); }));
  }
  std::printf("%s\n", title);
  for (size_t s = 0; s < std::size(kSizes); ++s)
    std::printf("  %6d: %8.2f ms (%.2f us each)\n", kSizes[s], best[s] * 1e3,
                best[s] * 1e6 / kSizes[s]);
  const double ratio = static_cast<double>(kSizes[std::size(kSizes) - 1]) / kSizes[0];
  std::printf("  growth exponent from %d to %d: %.2f (goal: at most 1.1)\n", kSizes[0],
              kSizes[std::size(kSizes) - 1],
              std::log(best.back() / best.front()) / std::log(ratio));
}

}  // namespace

int main() {
  Measure("systems: Add without a key, Item by key, Remove the last + Add, n times each",
          RunSystemsWithSource);
  Measure("the same on a file without SOURCE", RunSystemsWithoutSource);
  Measure("templates: Add without a key, Item by key, n times each", RunTemplates);
  return 0;
}
