#include "tests/support/test_support.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "corvale/core/error.h"
#include "corvale/core/registry.h"

namespace corvale::test {
namespace fs = std::filesystem;

namespace {
struct TempFolder {
  fs::path path;
  TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "corvale-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
    path = pattern;
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};
}  // namespace

std::string TempDir() {
  static TempFolder folder;
  return folder.path.string();
}

std::string FreshFolder(const std::string& name) {
  const std::string folder = TempDir() + "/" + name;
  fs::remove_all(folder);
  fs::create_directories(folder);
  return folder;
}

std::string WriteFile(std::string_view name, std::string_view bytes) {
  fs::path path(name);
  if (path.is_relative()) path = fs::path(TempDir()) / path;
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path.string();
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string DataPath(std::string_view name) {
  return (fs::path(CORVALE_TEST_DATA) / fs::path(name)).string();
}

int32_t ErrorOf(const std::function<void()>& call, std::string* description) {
  try {
    call();
  } catch (const Error& error) {
    if (description) *description = error.description();
    return error.number();
  }
  return 0;
}

bool Contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

std::vector<std::string> Missing(std::string_view text,
                                 std::initializer_list<std::string_view> parts) {
  std::vector<std::string> missing;
  for (std::string_view part : parts)
    if (!Contains(text, part)) missing.emplace_back(part);
  return missing;
}

std::string ChildText(const xml::Node& element, std::string_view name) {
  const xml::Node child = element.selectSingleNode(name);
  return child ? child.text() : "(absent)";
}

std::string ChildTexts(const xml::Node& element, std::initializer_list<std::string_view> names) {
  std::string texts;
  for (std::string_view name : names) texts += "|" + ChildText(element, name);
  return texts.substr(names.size() ? 1 : 0);
}

InstrumentPtr NewInstrument(const std::string& catCode, const std::string& name) {
  auto instrument =
      std::dynamic_pointer_cast<IInstrument>(CreateObject("Corvale2.clsStdInstrument"));
  instrument->CatCode(catCode);
  if (!name.empty()) instrument->Name(name);
  return instrument;
}

CliRun RunCli(const std::vector<std::string>& args) {
  const std::string out = TempDir() + "/cli.out", err = TempDir() + "/cli.err";
  std::string command =
      "XDG_CONFIG_HOME='" + TempDir() + "/config' '" + std::string(CORVALE_CLI_PATH) + "'";
  for (const std::string& arg : args) command += " '" + arg + "'";
  command += " </dev/null >'" + out + "' 2>'" + err + "'";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(out), ReadFile(err)};
}

}  // namespace corvale::test
