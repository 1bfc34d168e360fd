// The process runner on large outputs: a command writes N bytes and then the start marker (the
// runner holds everything back and searches it for the marker as it grows), or N bytes with no
// marker to wait for (everything passed on). Prints the time for each size (the best of several
// runs) and the growth exponent from the smallest to the largest size (goal: at most 1.1).
// Times are the runner's own processor time, which the machine's other work disturbs far less
// than the wall clock; the command's time is not counted.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "corvale/core/host.h"
#include "corvale/process/exe.h"

namespace {

double ProcessorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}
constexpr int kRuns = 5;

class StubHost : public corvale::HostServices {
 public:
  std::string LibraryFolder() override {
    return std::filesystem::path(CORVALE_STUB_PATH).parent_path().string();
  }
};

struct Counter : corvale::ProcessListener {
  size_t bytes = 0;
  void RedirOutput(std::string_view text) override { bytes += text.size(); }
};

double RunOnce(size_t size, const std::string& marker, size_t& passed) {
  corvale::clsEXE exe;
  auto counter = std::make_shared<Counter>();
  exe.Listener(counter);
  const std::string command =
      "head -c " + std::to_string(size) + " /dev/zero | tr '\\0' x; echo MARK done";
  const double start = ProcessorSeconds();
  exe.RedirectDOSEXE(command, marker, 0);
  passed = counter->bytes;
  return ProcessorSeconds() - start;
}

}  // namespace

int main() {
  corvale::ScopedHostServices host(std::make_shared<StubHost>());
  const std::vector<size_t> sizes = {1 << 21, 1 << 22, 1 << 23, 1 << 24};
  for (const std::string marker : {"mark", ""}) {
    std::printf("RedirectDOSEXE, %s:\n",
                marker.empty() ? "no marker, all passed on" : "output held back until the marker");
    std::vector<double> best;
    for (size_t size : sizes) {
      double seconds = 1e9;
      size_t passed = 0;
      for (int run = 0; run < kRuns; ++run)
        seconds = std::min(seconds, RunOnce(size, marker, passed));
      best.push_back(seconds);
      std::printf("  %8zu bytes: %8.2f ms, %zu bytes passed on\n", size, seconds * 1e3, passed);
    }
    std::printf(
        "  growth exponent from %zu to %zu bytes: %.2f (goal: at most 1.1)\n", sizes.front(),
        sizes.back(),
        std::log(best.back() / best.front()) / std::log(double(sizes.back() / sizes.front())));
  }
  return 0;
}
