#include "corvale/core/host.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

#include "corvale/core/atomic_file.h"
#include "corvale/core/settings_store.h"

namespace corvale {
namespace fs = std::filesystem;

namespace {

std::string WithoutTrailingSeparator(std::string folder) {
  while (!folder.empty() && folder.back() == '/') folder.pop_back();
  return folder;
}

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string HomeFolder() {
  if (std::string home = Environment("HOME"); !home.empty()) return home;
  if (const passwd* user = getpwuid(getuid()); user && user->pw_dir) return user->pw_dir;
  return fs::temp_directory_path().string();
}

bool IsWritableFolder(const std::string& folder) {
  std::error_code error;
  return !folder.empty() && fs::is_directory(folder, error) && access(folder.c_str(), W_OK) == 0;
}

std::shared_ptr<HostServices>& DefaultServices() {
  static auto services = std::make_shared<HostServices>();
  return services;
}

std::shared_ptr<HostServices>& CurrentServices() {
  static std::shared_ptr<HostServices> services = DefaultServices();
  return services;
}

}  // namespace

MsgAnswer HostServices::MessageBox(std::string_view text, std::string_view title, MsgIcon,
                                   MsgButtons) {
  std::cerr << title << ": " << text << std::endl;
  return MsgAnswer::OK;
}

struct HostServices::PendingSettings {
  int depth = 0;
  bool dropped = false;  // an inner update ended without committing
  bool dirty = false;
  std::optional<FileLock> lock;
  std::optional<SettingsStore> store;
};

SettingsStore* HostServices::OpenUpdate(std::string_view app) {
  auto found = pending_.find(std::string(app));
  if (found == pending_.end()) return nullptr;
  PendingSettings& pending = *found->second;
  if (!pending.store) {
    const std::string path = SettingsStore::PathFor(app);
    SettingsStore::CreateFolder(path);
    pending.lock.emplace(path);
    pending.store.emplace(path);
  }
  return &*pending.store;
}

void HostServices::BeginSettingsUpdate(std::string_view app) {
  auto& pending = pending_[std::string(app)];
  if (!pending) pending = std::make_shared<PendingSettings>();
  ++pending->depth;
}

void HostServices::EndSettingsUpdate(std::string_view app, bool commit) {
  auto found = pending_.find(std::string(app));
  if (found == pending_.end()) return;
  std::shared_ptr<PendingSettings> pending = found->second;
  if (!commit) pending->dropped = true;
  if (--pending->depth > 0) return;
  pending_.erase(found);  // the lock goes with the last reference, after the write
  if (pending->dirty && !pending->dropped) pending->store->Commit();
}

std::string HostServices::GetSetting(std::string_view app, std::string_view section,
                                     std::string_view key, std::string_view defaultValue) {
  if (SettingsStore* store = OpenUpdate(app)) return store->Get(section, key, defaultValue);
  return SettingsStore(SettingsStore::PathFor(app)).Get(section, key, defaultValue);
}

void HostServices::SaveSetting(std::string_view app, std::string_view section, std::string_view key,
                               std::string_view value) {
  ChangeSettings(app, [&](SettingsStore& store) {
    store.Set(section, key, value);
    return true;
  });
}

void HostServices::DeleteSetting(std::string_view app, std::string_view section) {
  ChangeSettings(app, [&](SettingsStore& store) { return store.DeleteSection(section); });
}

// Qualified calls: a host that replaces the update calls still gets this store's own.
void HostServices::ChangeSettings(std::string_view app,
                                  const std::function<bool(SettingsStore&)>& change) {
  HostServices::BeginSettingsUpdate(app);
  try {
    if (change(*OpenUpdate(app))) pending_.at(std::string(app))->dirty = true;
  } catch (...) {
    HostServices::EndSettingsUpdate(app, false);
    throw;
  }
  HostServices::EndSettingsUpdate(app, true);
}

SettingsUpdate::SettingsUpdate(std::string_view app) : app_(app) {
  Host().BeginSettingsUpdate(app_);
}

SettingsUpdate::~SettingsUpdate() {
  if (!open_) return;
  try {
    Host().EndSettingsUpdate(app_, false);
  } catch (...) {  // dropping writes nothing, so this cannot fail in the default host
  }
}

void SettingsUpdate::Commit() {
  open_ = false;
  Host().EndSettingsUpdate(app_, true);
}

std::string HostServices::LibraryFolder() {
  if (std::string home = Environment("CORVALE_HOME"); !home.empty()) {
    return WithoutTrailingSeparator(home);
  }
  std::error_code error;
  fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (error || program.empty()) return WithoutTrailingSeparator(fs::current_path(error).string());
  return WithoutTrailingSeparator(program.parent_path().string());
}

std::string HostServices::LogFolder() {
  std::string folder = LibraryFolder();
  // An installed program usually lives in a folder the user cannot write to.
  if (IsWritableFolder(folder.empty() ? "/" : folder)) return folder;
  std::string state = Environment("XDG_STATE_HOME");
  fs::path base =
      state.starts_with("/") ? fs::path(state) : fs::path(HomeFolder()) / ".local/state";
  folder = (base / "corvale").string();
  std::error_code ignored;
  fs::create_directories(folder, ignored);
  return folder;
}

PicturePtr HostServices::LoadIcon(std::string_view source, std::string_view) {
  std::error_code error;
  const fs::path path(source);
  if (source.empty() || !fs::is_regular_file(path, error)) return nullptr;
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  std::ostringstream bytes;
  bytes << in.rdbuf();
  if (in.bad()) return nullptr;
  return std::make_shared<Picture>(Picture{std::string(source), bytes.str()});
}

PicturePtr EditorIcon(std::string_view source) {
  try {
    return Host().LoadIcon(source, "HALDEN");
  } catch (...) {
    return nullptr;  // a missing picture never fails its owner
  }
}

std::string HostServices::WindowsFolderName() { return Environment("CORVALE_WINDIR"); }

std::string HostServices::SystemFolderName() { return Environment("CORVALE_WINSYSDIR"); }

double HostServices::Clock() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + now.tv_nsec / 1e9;
}

HostServices& Host() { return *CurrentServices(); }

void SetHostServices(std::shared_ptr<HostServices> services) {
  CurrentServices() = services ? std::move(services) : DefaultServices();
}

ScopedHostServices::ScopedHostServices(std::shared_ptr<HostServices> services)
    : previous_(CurrentServices()) {
  SetHostServices(std::move(services));
}

ScopedHostServices::~ScopedHostServices() { SetHostServices(std::move(previous_)); }

}  // namespace corvale
