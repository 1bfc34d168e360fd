// Instrument library speed on a generated library of 10,000 instruments: loading, taking every
// instrument by position and by catalogue code, saving. Taking them by code must cost at most
// twice taking them by position; the ratio is printed after the runs.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bench/library_generator.h"
#include "corvale/libraries/xml_instruments.h"

namespace {

constexpr int kInstruments = 10000;

const std::string& LibraryFile() {
  static const std::string path = [] {
    const std::string file =
        (std::filesystem::temp_directory_path() / "corvale-library-bench.xml").string();
    std::ofstream(file, std::ios::binary) << corvale::bench::GenerateLibraryXml(kInstruments);
    return file;
  }();
  return path;
}

corvale::XMLInstruments& LoadedLibrary() {
  static corvale::XMLInstruments library;
  static const bool loaded = library.Load(LibraryFile());
  if (!loaded) std::fprintf(stderr, "the generated library did not load\n");
  return library;
}

const std::vector<std::string>& Codes() {
  static const std::vector<std::string> codes = [] {
    std::vector<std::string> all;
    corvale::XMLInstruments& library = LoadedLibrary();
    for (int16_t i = 1; i <= library.Count(); ++i) all.push_back(library.Item(i)->CatCode());
    return all;
  }();
  return codes;
}

void BM_Load(benchmark::State& state) {
  const std::string& path = LibraryFile();
  const auto bytes = static_cast<int64_t>(std::filesystem::file_size(path));
  for (auto _ : state) {
    corvale::XMLInstruments library;
    benchmark::DoNotOptimize(library.Load(path));
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}
BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond);

void BM_ItemByPosition(benchmark::State& state) {
  corvale::XMLInstruments& library = LoadedLibrary();
  for (auto _ : state) {
    for (int16_t i = 1; i <= library.Count(); ++i) benchmark::DoNotOptimize(library.Item(i));
  }
  state.SetItemsProcessed(state.iterations() * library.Count());
}
BENCHMARK(BM_ItemByPosition)->Unit(benchmark::kMillisecond);

void BM_ItemByCode(benchmark::State& state) {
  corvale::XMLInstruments& library = LoadedLibrary();
  const std::vector<std::string>& codes = Codes();
  for (auto _ : state) {
    for (const std::string& code : codes) benchmark::DoNotOptimize(library.Item(code));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(codes.size()));
}
BENCHMARK(BM_ItemByCode)->Unit(benchmark::kMillisecond);

void BM_Save(benchmark::State& state) {
  corvale::XMLInstruments& library = LoadedLibrary();
  const std::string path = LibraryFile() + ".saved";
  for (auto _ : state) library.Save(path);
  state.SetBytesProcessed(state.iterations() *
                          static_cast<int64_t>(std::filesystem::file_size(path)));
  std::filesystem::remove(path);
  library.Source(LibraryFile());
}
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond);

// The console output, and the CPU time of each run kept for the ratio (CPU time, as the
// machines it runs on are often shared).
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) times[run.benchmark_name()] = run.GetAdjustedCPUTime();
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  const auto position = reporter.times.find("BM_ItemByPosition");
  const auto code = reporter.times.find("BM_ItemByCode");
  if (position != reporter.times.end() && code != reporter.times.end() && position->second > 0) {
    const double ratio = code->second / position->second;
    std::printf("Item by catalogue code / Item by position: %.2f (target: at most 2.00%s)\n", ratio,
                ratio > 2.0 ? ", MISSED" : "");
  }
  std::remove(LibraryFile().c_str());
  return 0;
}
