// What the original platform supplied through the operating system, as one replaceable set
// of services. The defaults suit a command-line program; hosts and tests replace them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace corvale {

class SettingsStore;

enum class MsgIcon { None, Critical, Question, Exclamation, Information };
enum class MsgButtons { OK, OKCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };
enum class MsgAnswer { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

// A loaded icon: where it came from and its bytes (empty for a named resource).
struct Picture {
  std::string source;
  std::string bytes;
};
using PicturePtr = std::shared_ptr<Picture>;

class HostServices {
 public:
  virtual ~HostServices() = default;

  // Default: writes title and text to standard error and answers OK.
  virtual MsgAnswer MessageBox(std::string_view text, std::string_view title, MsgIcon icon,
                               MsgButtons buttons);
  // Processes pending user-interface events. Default: nothing.
  virtual void DoEvents() {}

  // Per-user settings store. Default: one INI file per application name under
  // $XDG_CONFIG_HOME (or ~/.config)/corvale/ (SettingsStore), written atomically under its
  // lock (ReplaceFile, FileLock); a missing, unreadable or broken file reads as empty, and an
  // unreadable one is not written over. Sections and keys compare without regard to
  // case. SaveSetting raises corvale::Error 70 or 75 when the file cannot be written, 5 for a
  // key or section name that the file cannot hold; deleting a missing section does nothing.
  virtual std::string GetSetting(std::string_view app, std::string_view section,
                                 std::string_view key, std::string_view defaultValue);
  virtual void SaveSetting(std::string_view app, std::string_view section, std::string_view key,
                           std::string_view value);
  virtual void DeleteSetting(std::string_view app, std::string_view section);
  // Groups the settings calls for one application that follow into one change of its store:
  // from the first of them the store is locked against other processes, reads see the changes
  // made so far, and EndSettingsUpdate(app, true) writes them all in one atomic replace
  // (raising when it cannot); false drops them. Updates of one application nest, the outermost
  // writing. Hosts that keep their settings elsewhere can leave these two as they are.
  virtual void BeginSettingsUpdate(std::string_view app);
  virtual void EndSettingsUpdate(std::string_view app, bool commit);

  // The library's own folder, without a trailing separator: $CORVALE_HOME, else the folder
  // of the running program.
  virtual std::string LibraryFolder();
  // A writable folder for the diagnostic log: LibraryFolder() when writable, else
  // $XDG_STATE_HOME/corvale (or ~/.local/state/corvale), created on demand.
  virtual std::string LogFolder();

  // Icon service: icon source text (a path or a resource name) and a resource group name
  // to a picture, or null. Default: reads the file when it exists and is a regular file; the
  // group is not used.
  virtual PicturePtr LoadIcon(std::string_view source, std::string_view group);

  // Windows and system folder names for path macros: $CORVALE_WINDIR / $CORVALE_WINSYSDIR.
  virtual std::string WindowsFolderName();
  virtual std::string SystemFolderName();

  // Seconds since midnight, local time.
  virtual double Clock();

 private:
  struct PendingSettings;
  // The open update of app, with its store read and locked on first use; null when none.
  SettingsStore* OpenUpdate(std::string_view app);
  // One change of app's store, inside the open update or as an update of its own; the
  // change says whether it changed anything.
  void ChangeSettings(std::string_view app, const std::function<bool(SettingsStore&)>& change);
  std::map<std::string, std::shared_ptr<PendingSettings>> pending_;  // by application
};

// One settings update of the host in force (BeginSettingsUpdate); dropped unless committed.
class SettingsUpdate {
 public:
  explicit SettingsUpdate(std::string_view app);
  ~SettingsUpdate();
  SettingsUpdate(const SettingsUpdate&) = delete;
  SettingsUpdate& operator=(const SettingsUpdate&) = delete;
  // Writes the changes; raises when they cannot be written.
  void Commit();

 private:
  std::string app_;
  bool open_ = true;
};

// The picture the editors show for an instrument, a channel or a logger: the icon service's
// picture for the source in the editors' icon library ("HALDEN"); none when it cannot be had.
PicturePtr EditorIcon(std::string_view source);

// The services in force; SetHostServices(nullptr) restores the defaults.
HostServices& Host();
void SetHostServices(std::shared_ptr<HostServices> services);

// Replaces the services for one scope (tests), restoring the previous ones after.
class ScopedHostServices {
 public:
  explicit ScopedHostServices(std::shared_ptr<HostServices> services);
  ~ScopedHostServices();
  ScopedHostServices(const ScopedHostServices&) = delete;
  ScopedHostServices& operator=(const ScopedHostServices&) = delete;

 private:
  std::shared_ptr<HostServices> previous_;
};

}  // namespace corvale
