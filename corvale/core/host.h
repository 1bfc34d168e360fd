// What the original platform supplied through the operating system, as one replaceable set
// of services. The defaults suit a command-line program; hosts and tests replace them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace corvale {

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
  // $XDG_CONFIG_HOME (or ~/.config)/corvale/ (SettingsStore), written atomically; a missing,
  // unreadable or broken file reads as empty. Sections and keys compare without regard to
  // case. SaveSetting raises corvale::Error 75 when the file cannot be written, 5 for a key or
  // section name that the file cannot hold; deleting a missing section does nothing.
  virtual std::string GetSetting(std::string_view app, std::string_view section,
                                 std::string_view key, std::string_view defaultValue);
  virtual void SaveSetting(std::string_view app, std::string_view section, std::string_view key,
                           std::string_view value);
  virtual void DeleteSetting(std::string_view app, std::string_view section);

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
