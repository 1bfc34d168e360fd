// The default per-user settings store: one INI file per application name, with sections and
// keys. Section and key names compare without regard to case, as the original registry did.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvale {

class SettingsStore {
 public:
  // $XDG_CONFIG_HOME/corvale (or ~/.config/corvale).
  static std::string Folder();
  // Folder() + "/" + the application name made safe as a file name + ".ini".
  static std::string PathFor(std::string_view app);
  // The application name with every character that a file name should not hold replaced.
  static std::string FileNameFor(std::string_view app);

  // Reads the file; a missing, unreadable or broken file gives an empty store. A line that
  // is no section header, comment or KEY=VALUE is skipped and kept for the next Commit.
  explicit SettingsStore(std::string path);

  const std::string& Path() const { return path_; }
  // True when the file existed but was no settings file (it holds NUL bytes); Commit keeps it
  // aside as PATH.broken.N, under the first number not yet taken.
  bool Broken() const { return broken_; }

  std::string Get(std::string_view section, std::string_view key,
                  std::string_view defaultValue) const;
  void Set(std::string_view section, std::string_view key, std::string_view value);
  // Removes the section and all its keys (lines kept as they stood stay); true when there
  // was one.
  bool DeleteSection(std::string_view section);

  // Replaces the file with the store in one atomic step (ReplaceFile), so that a failed
  // write leaves the old file whole. Raises corvale::Error 70 or 75 when the file cannot be
  // written, and without writing when it existed but could not be read.
  void Commit();
  // Creates the folders above path; raises as Commit does.
  static void CreateFolder(const std::string& path);

  // The text Commit writes.
  std::string Text() const;

 private:
  struct Section {
    std::string name;
    std::vector<std::pair<std::string, std::string>> entries;
  };
  bool Parse(std::string_view text);
  const Section* Find(std::string_view section) const;
  Section* Find(std::string_view section);

  std::string path_;
  std::vector<Section> sections_;
  bool broken_ = false;
  int unreadable_ = 0;  // errno of a failed read
};

}  // namespace corvale
