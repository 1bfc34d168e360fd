// Speed (CPU time, median of three runs: the machine is shared) and memory of the XML tree on a
// generated instrument library of about 20 MB, with libxml2, pugixml and expat alone (no tree)
// loading the same bytes for comparison, from memory and from a file.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <pugixml.hpp>
#include <string>

#include "bench/library_generator.h"
#include "corvale/xml/internal/node.h"
#include "corvale/xml/xml.h"

namespace {

using corvale::xml::Document;
using corvale::xml::Node;

constexpr int kInstruments = 10000;

const std::string& Library() {
  static const std::string bytes = corvale::bench::GenerateLibraryXml(kInstruments);
  return bytes;
}

// The library written to a file, for the loads that read one.
const std::string& LibraryPath() {
  static const std::string path = [] {
    std::string p = "/tmp/corvale_xml_bench_" + std::to_string(getpid()) + ".xml";
    std::FILE* f = std::fopen(p.c_str(), "wb");
    if (!f || std::fwrite(Library().data(), 1, Library().size(), f) != Library().size() ||
        std::fclose(f) != 0) {
      std::fprintf(stderr, "cannot write %s\n", p.c_str());
      std::abort();
    }
    return p;
  }();
  return path;
}

void SetBytes(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

// The same library declared and encoded as UTF-8.
const std::string& LibraryUtf8() {
  static const std::string bytes = [] {
    Document doc = Document::create();
    doc.loadXML(Library());
    doc.firstChild().nodeValue("version=\"1.0\" encoding=\"UTF-8\"");
    return doc.saveToString();
  }();
  return bytes;
}

Document LoadedLibrary() {
  Document doc = Document::create();
  if (!doc.loadXML(Library())) {
    std::fprintf(stderr, "load failed: %s\n", doc.parseError().reason.c_str());
    std::abort();
  }
  return doc;
}

void BM_LoadCorvale(benchmark::State& state) {
  for (auto _ : state) {
    Document doc = Document::create();
    if (!doc.loadXML(Library())) state.SkipWithError("load failed");
    state.PauseTiming();
    doc = Document();
    state.ResumeTiming();
  }
  SetBytes(state, Library().size());
}

void BM_LoadCorvaleFile(benchmark::State& state) {
  for (auto _ : state) {
    Document doc = Document::create();
    if (!doc.load(LibraryPath())) state.SkipWithError("load failed");
    state.PauseTiming();
    doc = Document();
    state.ResumeTiming();
  }
  SetBytes(state, Library().size());
}

void BM_LoadLibxml2File(benchmark::State& state) {
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadFile(LibraryPath().c_str(), nullptr, XML_PARSE_NONET);
    if (!doc) state.SkipWithError("libxml2 load failed");
    state.PauseTiming();
    xmlFreeDoc(doc);
    state.ResumeTiming();
  }
  SetBytes(state, Library().size());
}

void BM_LoadLibxml2(benchmark::State& state) {
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadMemory(Library().data(), static_cast<int>(Library().size()),
                                  "library.xml", nullptr, XML_PARSE_NONET);
    if (!doc) state.SkipWithError("libxml2 load failed");
    state.PauseTiming();
    xmlFreeDoc(doc);
    state.ResumeTiming();
  }
  SetBytes(state, Library().size());
}

void BM_LoadPugixml(benchmark::State& state) {
  for (auto _ : state) {
    pugi::xml_document doc;
    // pugixml has no windows-1252; ISO-8859-1 is the nearest it converts.
    auto result =
        doc.load_buffer(Library().data(), Library().size(),
                        pugi::parse_default | pugi::parse_declaration, pugi::encoding_latin1);
    if (!result) state.SkipWithError("pugixml load failed");
    state.PauseTiming();
    doc.reset();
    state.ResumeTiming();
  }
  SetBytes(state, Library().size());
}

int XMLCALL AnyEncoding(void*, const XML_Char*, XML_Encoding* info) {
  for (int b = 0; b < 256; ++b) info->map[b] = b;
  info->data = nullptr;
  info->convert = nullptr;
  info->release = nullptr;
  return XML_STATUS_OK;
}
void XMLCALL NoStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL NoEnd(void*, const XML_Char*) {}
void XMLCALL NoText(void*, const XML_Char*, int) {}

void BM_LoadExpatOnly(benchmark::State& state) {
  for (auto _ : state) {
    XML_Parser p = XML_ParserCreate(nullptr);
    XML_SetUnknownEncodingHandler(p, AnyEncoding, nullptr);
    XML_SetElementHandler(p, NoStart, NoEnd);
    XML_SetCharacterDataHandler(p, NoText);
    if (XML_Parse(p, Library().data(), static_cast<int>(Library().size()), 1) != XML_STATUS_OK) {
      state.SkipWithError("expat failed");
    }
    XML_ParserFree(p);
  }
  SetBytes(state, Library().size());
}

void BM_LoadCorvaleUtf8(benchmark::State& state) {
  for (auto _ : state) {
    Document doc = Document::create();
    if (!doc.loadXML(LibraryUtf8())) state.SkipWithError("load failed");
    state.PauseTiming();
    doc = Document();
    state.ResumeTiming();
  }
  SetBytes(state, LibraryUtf8().size());
}

void BM_LoadExpatOnlyUtf8(benchmark::State& state) {
  for (auto _ : state) {
    XML_Parser p = XML_ParserCreate(nullptr);
    XML_SetElementHandler(p, NoStart, NoEnd);
    XML_SetCharacterDataHandler(p, NoText);
    if (XML_Parse(p, LibraryUtf8().data(), static_cast<int>(LibraryUtf8().size()), 1) !=
        XML_STATUS_OK) {
      state.SkipWithError("expat failed");
    }
    XML_ParserFree(p);
  }
  SetBytes(state, LibraryUtf8().size());
}

void BM_SaveCorvale(benchmark::State& state) {
  Document doc = LoadedLibrary();
  size_t size = 0;
  for (auto _ : state) {
    std::string out = doc.saveToString();
    size = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  SetBytes(state, size);
}

void BM_SaveCorvaleFile(benchmark::State& state) {
  Document doc = LoadedLibrary();
  std::string path = "/tmp/corvale_xml_bench.xml";
  for (auto _ : state) doc.save(path);
  std::remove(path.c_str());
  SetBytes(state, Library().size());
}

void BM_CloneCorvale(benchmark::State& state) {
  Document doc = LoadedLibrary();
  Node root = doc.documentElement();
  for (auto _ : state) {
    Node copy = root.cloneNode(true);
    state.PauseTiming();
    copy = Node();
    state.ResumeTiming();
  }
  SetBytes(state, Library().size());
}

void BM_DestroyCorvale(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Document doc = LoadedLibrary();
    state.ResumeTiming();
    doc = Document();
  }
  SetBytes(state, Library().size());
}

BENCHMARK(BM_LoadCorvale)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadLibxml2)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadCorvaleFile)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadLibxml2File)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadPugixml)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadExpatOnly)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadCorvaleUtf8)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_LoadExpatOnlyUtf8)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_SaveCorvale)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_SaveCorvaleFile)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_CloneCorvale)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_DestroyCorvale)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

// Bytes in use: the heap's small-block arena and mmap'ed blocks, and the slabs that the XML
// tree's pools map from the system themselves.
size_t HeapInUse() {
  struct mallinfo2 m = mallinfo2();
  return m.uordblks + m.hblkhd + corvale::xml::GetPoolStats().slabBytes;
}

// Runs measure() in a child process and returns its result: the tree's pools keep freed blocks
// for reuse, so that only a fresh process shows what one load takes.
template <typename F>
size_t InChild(F&& measure) {
  std::fflush(nullptr);
  int fds[2];
  if (pipe(fds) != 0) return 0;
  pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    size_t result = measure();
    ssize_t written = write(fds[1], &result, sizeof result);
    _exit(written == static_cast<ssize_t>(sizeof result) ? 0 : 1);
  }
  close(fds[1]);
  size_t result = 0;
  if (pid < 0 || read(fds[0], &result, sizeof result) != static_cast<ssize_t>(sizeof result)) {
    result = 0;
  }
  close(fds[0]);
  if (pid > 0) waitpid(pid, nullptr, 0);
  return result;
}

template <typename F>
size_t TreeBytes(F&& load) {
  return InChild([&] {
    malloc_trim(0);
    size_t before = HeapInUse();
    auto keep = load();
    size_t after = HeapInUse();
    return after > before ? after - before : 0;
  });
}

// Resident memory from /proc: the current size, or the peak since the last ResetPeak().
size_t ResidentKb(const char* field) {
  std::FILE* f = std::fopen("/proc/self/status", "r");
  if (!f) return 0;
  char line[256];
  size_t kb = 0;
  size_t len = std::strlen(field);
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, field, len) == 0) kb = std::strtoul(line + len, nullptr, 10);
  }
  std::fclose(f);
  return kb;
}

// Sets the peak (VmHWM) back to the current resident size; false where the system cannot.
bool ResetPeak() {
  std::FILE* f = std::fopen("/proc/self/clear_refs", "w");
  if (!f) return false;
  bool ok = std::fputs("5", f) >= 0;
  return std::fclose(f) == 0 && ok;
}

// How far resident memory rises above its level before the load while the load runs and its
// result lives, in a fresh child process. 0 where the peak cannot be reset.
template <typename F>
size_t PeakBytes(F&& load) {
  return InChild([&]() -> size_t {
    malloc_trim(0);
    size_t before = ResidentKb("VmRSS:");
    if (!ResetPeak()) return 0;
    auto keep = load();
    size_t peak = ResidentKb("VmHWM:");
    return peak > before ? (peak - before) * 1024 : 0;
  });
}

double CpuSeconds() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// The CPU time of one load; what it loaded is released after the clock stops.
template <typename F>
double LoadSeconds(F&& load) {
  double start = CpuSeconds();
  auto loaded = load();
  return CpuSeconds() - start;
}

// How many times as fast ours loads as theirs: the median over rounds that run the two one
// after the other, so that the shared machine's changing speed hits both sides of a round.
template <typename Ours, typename Theirs>
double PairedRatio(Ours&& ours, Theirs&& theirs) {
  constexpr int kRounds = 21;
  std::vector<double> ratios;
  for (int i = 0; i < kRounds; ++i) {
    double a = 0, b = 0;
    if (i % 2) {
      b = LoadSeconds(theirs);
      a = LoadSeconds(ours);
    } else {
      a = LoadSeconds(ours);
      b = LoadSeconds(theirs);
    }
    if (a > 0) ratios.push_back(b / a);
  }
  if (ratios.empty()) return 0;
  std::sort(ratios.begin(), ratios.end());
  return ratios[ratios.size() / 2];
}

class Collector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      ms[run.run_name.function_name] = run.GetAdjustedCPUTime();
    }
  }
  std::map<std::string, double> ms;
};

}  // namespace

int main(int argc, char** argv) {
  const std::string& bytes = Library();
  double mb = static_cast<double>(bytes.size()) / 1e6;
  std::printf("library: %d instruments, %.1f MB\n", kInstruments, mb);

  // The peaks also count what a load holds only while it runs: the file's bytes and the
  // parser's buffers. The input of the load from text is made before and not counted.
  LibraryPath();
  size_t peakFile = PeakBytes([] {
    Document doc = Document::create();
    if (!doc.load(LibraryPath())) std::abort();
    return doc;
  });
  size_t peakMemory = PeakBytes([] { return LoadedLibrary(); });
  size_t ours = TreeBytes([] { return LoadedLibrary(); });
  size_t pugi = TreeBytes([&] {
    auto doc = std::make_unique<pugi::xml_document>();
    doc->load_buffer(bytes.data(), bytes.size(), pugi::parse_default, pugi::encoding_latin1);
    return doc;
  });
  size_t libxml = TreeBytes([&] {
    auto deleter = [](xmlDoc* d) { xmlFreeDoc(d); };
    return std::unique_ptr<xmlDoc, decltype(deleter)>(
        xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "library.xml", nullptr,
                      XML_PARSE_NONET),
        deleter);
  });

  benchmark::Initialize(&argc, argv);
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();

  // Loads of ours and libxml2's in alternation, from text and from the file.
  auto libxml2Text = [&] {
    return std::unique_ptr<xmlDoc, void (*)(xmlDoc*)>(
        xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "library.xml", nullptr,
                      XML_PARSE_NONET),
        xmlFreeDoc);
  };
  auto libxml2File = [&] {
    return std::unique_ptr<xmlDoc, void (*)(xmlDoc*)>(
        xmlReadFile(LibraryPath().c_str(), nullptr, XML_PARSE_NONET), xmlFreeDoc);
  };
  auto oursFile = [] {
    Document doc = Document::create();
    doc.load(LibraryPath());
    return doc;
  };
  double pairedText = 0, pairedFile = 0;
  if (collector.ms.count("BM_LoadLibxml2")) pairedText = PairedRatio(LoadedLibrary, libxml2Text);
  if (collector.ms.count("BM_LoadLibxml2File")) pairedFile = PairedRatio(oursFile, libxml2File);

  auto rate = [&](const char* name) {
    auto it = collector.ms.find(name);
    return it == collector.ms.end() || it->second <= 0 ? 0.0 : mb / (it->second / 1000.0);
  };
  double load = rate("BM_LoadCorvale");
  std::printf("\nsummary (MB/s of the %.1f MB file)\n", mb);
  std::printf("  load      %8.1f\n", load);
  if (double r = rate("BM_LoadLibxml2"))
    std::printf("  libxml2   %8.1f  ours %.2fx as fast (target >= 1.5x)\n", r, load / r);
  double loadFile = rate("BM_LoadCorvaleFile");
  if (loadFile) std::printf("  load file %8.1f\n", loadFile);
  if (double r = rate("BM_LoadLibxml2File"))
    std::printf("  libxml2 file %5.1f  ours %.2fx as fast (target >= 1.5x)\n", r, loadFile / r);
  if (pairedText) {
    std::printf(
        "  paired    ours %.2fx as fast as libxml2 from text, %.2fx from the file (target"
        " >= 1.5x; median of alternating loads)\n",
        pairedText, pairedFile);
  }
  if (double r = rate("BM_LoadPugixml"))
    std::printf("  pugixml   %8.1f  ours %.2fx as fast (target >= 0.33x)\n", r, load / r);
  if (double r = rate("BM_LoadExpatOnly"))
    std::printf("  expat     %8.1f  ours %.2fx as fast (no tree)\n", r, load / r);
  if (double r = rate("BM_LoadCorvaleUtf8")) std::printf("  load UTF-8 %7.1f\n", r);
  if (double r = rate("BM_LoadExpatOnlyUtf8")) std::printf("  expat UTF-8 %6.1f  (no tree)\n", r);
  if (double r = rate("BM_SaveCorvale"))
    std::printf("  save      %8.1f  %.2fx the load rate (target >= 1x)\n", r, load ? r / load : 0);
  if (double r = rate("BM_SaveCorvaleFile")) std::printf("  save file %8.1f  (with fsync)\n", r);
  if (double r = rate("BM_CloneCorvale")) std::printf("  clone     %8.1f\n", r);
  if (double r = rate("BM_DestroyCorvale")) std::printf("  destroy   %8.1f\n", r);
  std::printf("memory of the loaded tree (file %.1f MB)\n", mb);
  std::printf("  ours      %8.1f MB  %.2fx the file (target <= 3x)\n", ours / 1e6,
              static_cast<double>(ours) / bytes.size());
  auto peakLine = [&](const char* what, size_t peak) {
    if (peak) {
      std::printf("  %s %6.1f MB  %.2fx at the peak of a load (resident; target <= 3x)\n", what,
                  peak / 1e6, static_cast<double>(peak) / bytes.size());
    } else {
      std::printf("  %s  not measured (the resident peak cannot be reset here)\n", what);
    }
  };
  peakLine("peak file ", peakFile);
  peakLine("peak text ", peakMemory);
  std::printf("  pugixml   %8.1f MB  %.2fx\n", pugi / 1e6,
              static_cast<double>(pugi) / bytes.size());
  std::printf("  libxml2   %8.1f MB  %.2fx\n", libxml / 1e6,
              static_cast<double>(libxml) / bytes.size());
  std::remove(LibraryPath().c_str());
  return 0;
}
