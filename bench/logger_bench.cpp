// Channel placement on a generated logger of 10,000 input channels: NextChannel followed by
// Allocate, as a scheme places the channels of its instruments (four channels and one shared
// resource request per instrument), 1,000 to 8,000 times, with and without a wanted range.
// Prints the time to reach each size (the best of several runs, all sizes measured in the same
// run) and the growth exponent from 1,000 to 8,000 placements (goal: at most 1.1), and, for
// comparison, the cost of one channel-by-channel walk.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/resources/logger_resource_request.h"

namespace {

using Clock = std::chrono::steady_clock;
using corvale::InputChannelPtr;

constexpr int kChannels = 10000;
constexpr int kRuns = 7;
// The ranges of the analogue channels, (min, max); one channel in four has none.
constexpr double kRanges[][2] = {{0, 0},      {-2.5, 2.5}, {0, 2.5}, {-25, 25},
                                 {-100, 100}, {0, 10},     {0, 5},   {0, 0}};

std::string GenerateLogger() {
  std::string xml = "<LOGGER><KEY>BENCH</KEY><INPUTCHANNELS>";
  std::string resources;
  for (int i = 0; i < kChannels; ++i) {
    const std::string n = std::to_string(i);
    // Nine in ten are analogue; the rest counters and digital inputs.
    const int type = i % 10 != 9 ? 1 : i / 10 % 2 == 0 ? 2 : 5;
    const auto& range = kRanges[i % 8];
    xml += "<CHANNEL><KEY>AIN" + n + "</KEY><DESCRIPTION>Input " + n +
           "</DESCRIPTION><CHANNELTYPE>" + std::to_string(type) + "</CHANNELTYPE>";
    if (range[0] != 0) xml += "<MIN>" + corvale::DoubleText(range[0]) + "</MIN>";
    if (range[1] != 0) xml += "<MAX>" + corvale::DoubleText(range[1]) + "</MAX>";
    xml += "<CDTSETTINGS/><RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>IN" + n +
           "</RESOURCE></REQUEST></RESOURCES></CHANNEL>";
    resources += "<RESOURCE><KEY>IN" + n + "</KEY><USERS/></RESOURCE>";
  }
  resources += "<RESOURCE><KEY>EXCITATION</KEY><USERS/></RESOURCE>";
  return xml + "</INPUTCHANNELS><OUTPUTCHANNELS/><RESOURCES>" + resources + "</RESOURCES></LOGGER>";
}

std::shared_ptr<corvale::clsLoggerDef> NewLogger(const std::string& xml) {
  return std::make_shared<corvale::clsLoggerDef>(corvale::ParseNode(xml));
}

struct Want {
  std::optional<double> upper, lower;
};

Want WantFor(int placement, bool ranged) {
  if (!ranged) return {};
  // Instrument ranges that fit one range group or another, or none (then the walk's retry).
  constexpr double kWanted[][2] = {{0.4, 2}, {-40, 60}, {4, 20}, {-1, 1}, {0, 150}};
  const auto& want = kWanted[placement % 5];
  return {want[1], want[0]};
}

// Places channels on a fresh logger, up to the last of `sizes`; returns the seconds taken to
// reach each size (the index already built), so that every size is measured in the same run.
std::vector<double> Place(const std::string& xml, const std::vector<int>& sizes, bool ranged) {
  auto logger = NewLogger(xml);
  auto inputs = logger->InputChannels();
  auto pool = logger->Resources();
  auto shared = std::make_shared<corvale::clsLoggerResourceList>();
  auto excitation = std::make_shared<corvale::clsLoggerResourceRequest>();
  excitation->Resource("EXCITATION");
  shared->Add(excitation);
  inputs->NextChannel(1);  // builds the index outside the timing

  std::vector<double> reached;
  const auto start = Clock::now();
  for (int i = 0; i < sizes.back(); ++i) {
    const std::string user = "BENCH.INST_" + std::to_string(i / 4);
    const Want want = WantFor(i, ranged);
    InputChannelPtr channel = inputs->NextChannel(1, want.upper, want.lower);
    if (!channel || !inputs->Allocate(user, channel->Key())) std::fprintf(stderr, "not placed\n");
    if (i % 4 == 3) pool->Allocate(user, shared);  // the instrument's own resources
    if (i + 1 == sizes[reached.size()])
      reached.push_back(std::chrono::duration<double>(Clock::now() - start).count());
  }
  return reached;
}

// The best of several runs: on a shared machine the others only add what other work took.
double Best(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

// Discards the trace lines of the walk.
class NullBuffer : public std::streambuf {
 protected:
  int overflow(int c) override { return c; }
};

}  // namespace

int main() {
  const std::string xml = GenerateLogger();
  {
    const auto start = Clock::now();
    auto logger = NewLogger(xml);
    const double bind = std::chrono::duration<double>(Clock::now() - start).count();
    const auto built = Clock::now();
    logger->InputChannels()->NextChannel(1);
    const double index = std::chrono::duration<double>(Clock::now() - built).count();
    std::printf("logger of %d input channels: bound in %.1f ms, index built in %.1f ms\n",
                kChannels, bind * 1e3, index * 1e3);
  }

  const std::vector<int> sizes = {1000, 2000, 4000, 8000};
  for (const bool ranged : {false, true}) {
    std::printf("NextChannel + Allocate, %s:\n", ranged ? "with ranges" : "without ranges");
    std::vector<std::vector<double>> runs(sizes.size());
    for (int run = 0; run < kRuns; ++run) {
      const std::vector<double> reached = Place(xml, sizes, ranged);
      for (size_t s = 0; s < sizes.size(); ++s) runs[s].push_back(reached[s]);
    }
    for (size_t s = 0; s < sizes.size(); ++s) {
      const double seconds = Best(runs[s]);
      std::printf("  %5d placements: %8.2f ms (%.2f us each)\n", sizes[s], seconds * 1e3,
                  seconds * 1e6 / sizes[s]);
    }
    std::printf("  growth exponent from %d to %d placements: %.2f (goal: at most 1.1)\n",
                sizes.front(), sizes.back(),
                std::log(Best(runs.back()) / Best(runs.front())) / std::log(8.0));
  }

  // The walk that the trace stream asks for, on a logger with 1,000 channels placed.
  auto logger = NewLogger(xml);
  auto inputs = logger->InputChannels();
  for (int i = 0; i < 1000; ++i) inputs->Allocate("X", inputs->NextChannel(1)->Key());
  NullBuffer discard;
  std::ostream sink(&discard);
  inputs->TraceStream(&sink);
  const auto start = Clock::now();
  for (int i = 0; i < 20; ++i) inputs->NextChannel(1, 2.0, 0.4);
  const double walk = std::chrono::duration<double>(Clock::now() - start).count() / 20;
  inputs->TraceStream(nullptr);
  const auto indexed = Clock::now();
  for (int i = 0; i < 20; ++i) inputs->NextChannel(1, 2.0, 0.4);
  const double fast = std::chrono::duration<double>(Clock::now() - indexed).count() / 20;
  std::printf("one NextChannel by walking every channel: %.2f ms; by the index: %.3f us\n",
              walk * 1e3, fast * 1e6);
  return 0;
}
