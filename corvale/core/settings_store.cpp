#include "corvale/core/settings_store.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "corvale/core/atomic_file.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"

namespace corvale {
namespace fs = std::filesystem;

namespace {

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  if (const passwd* user = getpwuid(getuid()); user && user->pw_dir) return user->pw_dir;
  return fs::temp_directory_path().string();
}

std::string_view TrimSpace(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

bool NeedsQuotes(std::string_view value) {
  if (value.empty()) return false;
  if (value.front() == '"' || TrimSpace(value).size() != value.size()) return true;
  for (unsigned char c : value) {
    if (c < 0x20 || c == 0x7f) return true;
  }
  return false;
}

std::string Quote(std::string_view value) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out = "\"";
  for (unsigned char c : value) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20 || c == 0x7f) {
          out += "\\x";
          out += kHex[c >> 4];
          out += kHex[c & 0xf];
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The inverse of Quote; false for text that Quote cannot have written.
bool Unquote(std::string_view quoted, std::string& value) {
  if (quoted.size() < 2 || quoted.back() != '"') return false;
  value.clear();
  for (size_t i = 1; i + 1 < quoted.size(); ++i) {
    char c = quoted[i];
    if (c == '"') return false;
    if (c != '\\') {
      value += c;
      continue;
    }
    if (++i + 1 >= quoted.size()) return false;
    switch (quoted[i]) {
      case '"':
      case '\\':
        value += quoted[i];
        break;
      case 'n':
        value += '\n';
        break;
      case 'r':
        value += '\r';
        break;
      case 't':
        value += '\t';
        break;
      case 'x': {
        if (i + 3 >= quoted.size()) return false;
        const int high = HexDigit(quoted[i + 1]), low = HexDigit(quoted[i + 2]);
        if (high < 0 || low < 0) return false;
        value += static_cast<char>(high * 16 + low);
        i += 2;
        break;
      }
      default:
        return false;
    }
  }
  return true;
}

void CheckName(std::string_view name, std::string_view what, std::string_view forbidden) {
  bool bad = TrimSpace(name).size() != name.size() || name.find_first_of(forbidden) != name.npos;
  if (what == "key" && (name.empty() || name.front() == ';' || name.front() == '#')) bad = true;
  if (bad) {
    throw Error(err::kInvalidProcedureCall,
                "Invalid settings " + std::string(what) + " name '" + std::string(name) + "'");
  }
}

[[noreturn]] void WriteFailed(const std::string& path, int error) {
  RaiseFileError("write settings file", path, error);
}

}  // namespace

std::string SettingsStore::Folder() {
  // Relative values are to be ignored, so a stray setting cannot scatter files.
  const char* config = std::getenv("XDG_CONFIG_HOME");
  fs::path base =
      (config && *config == '/') ? fs::path(config) : fs::path(HomeFolder()) / ".config";
  return (base / "corvale").string();
}

std::string SettingsStore::FileNameFor(std::string_view app) {
  std::string name;
  for (unsigned char c : app) {
    const bool safe = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '.' || c == '-' || c == '_' || c == ' ' || c >= 0x80;
    name += safe ? static_cast<char>(c) : '_';
  }
  // No hidden files, and never "." or "..".
  if (name.empty() || name.front() == '.') name.insert(name.begin(), '_');
  return name;
}

std::string SettingsStore::PathFor(std::string_view app) {
  return Folder() + "/" + FileNameFor(app) + ".ini";
}

SettingsStore::SettingsStore(std::string path) : path_(std::move(path)) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(path_, error))) return;
  errno = 0;
  std::ifstream in(path_, std::ios::binary);
  std::ostringstream text;
  if (in) text << in.rdbuf();
  if (!in || (!in.good() && !in.eof())) {
    if (errno != ENOENT) unreadable_ = errno ? errno : EIO;  // ENOENT: a link to no file yet
    return;
  }
  if (!Parse(text.str())) {
    sections_.clear();
    broken_ = true;
  }
}

bool SettingsStore::Parse(std::string_view text) {
  // A file holding NUL bytes is no settings file at all; anything else is read line by line.
  if (text.find('\0') != text.npos) return false;
  Section* current = nullptr;
  auto section = [&]() -> Section& {
    if (!current) {
      current = Find("");
      if (!current) current = &*sections_.insert(sections_.begin(), Section{"", {}});
    }
    return *current;
  };
  while (!text.empty()) {
    size_t end = text.find('\n');
    std::string_view raw = text.substr(0, end);
    text = end == text.npos ? std::string_view{} : text.substr(end + 1);
    if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
    std::string_view line = TrimSpace(raw);
    if (line.empty() || line.front() == ';' || line.front() == '#') continue;

    if (line.front() == '[' && line.back() == ']') {
      std::string_view name = TrimSpace(line.substr(1, line.size() - 2));
      current = Find(name);
      if (!current) current = &sections_.emplace_back(Section{std::string(name), {}});
      continue;
    }
    const size_t equals = line.find('=');
    std::string_view key = TrimSpace(line.substr(0, equals));
    std::string_view rawValue = equals == line.npos ? "" : TrimSpace(line.substr(equals + 1));
    std::string value(rawValue);
    // A line that is no setting is kept as it stands (under an empty key, which no setting
    // can have) and written back, so that a hand edit gone wrong loses nothing else.
    if (equals == line.npos || key.empty() || line.front() == '[' ||
        (!rawValue.empty() && rawValue.front() == '"' && !Unquote(rawValue, value))) {
      section().entries.emplace_back(std::string(), std::string(raw));
      continue;
    }
    Section& into = section();
    bool seen = false;
    for (const auto& entry : into.entries) seen = seen || EqualsNoCase(entry.first, key);
    if (!seen) into.entries.emplace_back(std::string(key), std::move(value));  // first wins
  }
  return true;
}

const SettingsStore::Section* SettingsStore::Find(std::string_view section) const {
  for (const Section& candidate : sections_) {
    if (EqualsNoCase(candidate.name, section)) return &candidate;
  }
  return nullptr;
}

SettingsStore::Section* SettingsStore::Find(std::string_view section) {
  return const_cast<Section*>(std::as_const(*this).Find(section));
}

std::string SettingsStore::Get(std::string_view section, std::string_view key,
                               std::string_view defaultValue) const {
  if (const Section* found = Find(section)) {
    for (const auto& [name, value] : found->entries) {
      if (!name.empty() && EqualsNoCase(name, key)) return value;
    }
  }
  return std::string(defaultValue);
}

void SettingsStore::Set(std::string_view section, std::string_view key, std::string_view value) {
  CheckName(section, "section", "[]\r\n");
  CheckName(key, "key", "=[\r\n");
  Section* target = Find(section);
  if (!target) {
    // Keys outside any section can only be written before the first header.
    target = section.empty() ? &*sections_.insert(sections_.begin(), Section{"", {}})
                             : &sections_.emplace_back(Section{std::string(section), {}});
  }
  for (auto& entry : target->entries) {
    if (!entry.first.empty() && EqualsNoCase(entry.first, key)) {
      entry.second = std::string(value);
      return;
    }
  }
  target->entries.emplace_back(std::string(key), std::string(value));
}

bool SettingsStore::DeleteSection(std::string_view section) {
  for (auto it = sections_.begin(); it != sections_.end(); ++it) {
    if (EqualsNoCase(it->name, section)) {
      // Lines kept as they stood are no settings, so deleting the settings leaves them.
      std::erase_if(it->entries, [](const auto& entry) { return !entry.first.empty(); });
      if (it->entries.empty()) sections_.erase(it);
      return true;
    }
  }
  return false;
}

std::string SettingsStore::Text() const {
  std::string text;
  for (const Section& section : sections_) {
    if (!section.name.empty()) {
      if (!text.empty()) text += "\n";
      text += "[" + section.name + "]\n";
    }
    for (const auto& [key, value] : section.entries) {
      if (key.empty()) {
        text += value + "\n";
        continue;
      }
      text += key + "=" + (NeedsQuotes(value) ? Quote(value) : value) + "\n";
    }
  }
  return text;
}

void SettingsStore::Commit() {
  // A file that exists but could not be read would be lost by writing what little we know.
  if (unreadable_) WriteFailed(path_, unreadable_);
  CreateFolder(path_);
  // A file we could not understand is kept beside the new one under the first free number;
  // a hard link leaves the old name in place until the replace below.
  if (broken_) {
    for (int number = 1;; ++number) {
      const std::string backup = path_ + ".broken." + std::to_string(number);
      if (::link(path_.c_str(), backup.c_str()) == 0) break;
      if (errno != EEXIST) WriteFailed(path_, errno);
    }
  }
  ReplaceFile(path_, Text());
  broken_ = false;
}

void SettingsStore::CreateFolder(const std::string& path) {
  const fs::path target(path);
  std::error_code error;
  if (target.has_parent_path()) {
    fs::create_directories(target.parent_path(), error);
    if (error) WriteFailed(path, error.value());
  }
}

}  // namespace corvale
