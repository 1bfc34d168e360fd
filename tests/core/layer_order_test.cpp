// The library's folders form layers, lowest first:
//   core <- xml <- binding <- resources <- instruments <- loggers, libraries <- scheme
//        <- systems, scaling
//   core <- process <- scheme (and the layers above it)
// A file includes only from its own folder and the layers below it; loggers and libraries do
// not include each other. corvale/builtin_classes.cpp stands above every layer.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

const std::map<std::string, int> kRank = {
    {"core", 0},      {"xml", 1},         {"process", 1}, {"binding", 2},
    {"resources", 3}, {"instruments", 4}, {"loggers", 5}, {"libraries", 5},
    {"scheme", 6},    {"systems", 7},     {"scaling", 7},
};

bool MayInclude(const std::string& from, const std::string& to) {
  if (from == to) return true;
  if (to == "process") return kRank.at(from) >= kRank.at("scheme");
  if (from == "process") return to == "core";
  return kRank.at(to) < kRank.at(from);
}

TEST(LayerOrder, NoIncludePointsUpward) {
  namespace fs = std::filesystem;
  const fs::path root = fs::path(CORVALE_SOURCE_DIR) / "corvale";
  const std::regex include(R"re(#include "corvale/([a-z_]+)/)re");
  std::vector<std::string> upward;
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const fs::path relative = fs::relative(entry.path(), root);
    const std::string ext = entry.path().extension().string();
    if (!entry.is_regular_file() || (ext != ".h" && ext != ".cpp")) continue;
    if (std::distance(relative.begin(), relative.end()) < 2) continue;  // above the layers
    const std::string from = relative.begin()->string();
    ASSERT_TRUE(kRank.count(from)) << "folder outside the layer order: " << from;
    ++files;
    std::ifstream in(entry.path());
    std::string line;
    while (std::getline(in, line)) {
      std::smatch match;
      if (!std::regex_search(line, match, include)) continue;
      const std::string to = match[1];
      if (!kRank.count(to) || !MayInclude(from, to))
        upward.push_back(relative.string() + " includes corvale/" + to + "/");
    }
  }
  EXPECT_GT(files, 50);
  EXPECT_TRUE(upward.empty()) << [&] {
    std::string all;
    for (const std::string& line : upward) all += "\n  " + line;
    return all;
  }();
}

}  // namespace
