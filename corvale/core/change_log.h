// Change logs: how a cache built over model objects (the free-channel index of a logger) learns
// what changed since it last looked. The objects it depends on are watched: each of their
// edits records a token that names what changed, and the cache replays the tokens recorded
// after the ones it has seen, or rebuilds when they are no longer all kept.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace corvale {

class ChangeLog {
 public:
  // Records a change of what token stands for; a null token: anything may have changed.
  void Changed(const void* token) {
    if (!token) {
      tokens_.clear();
      first_ = count_ + 1;
    } else {
      if (tokens_.size() >= kKept) {
        // The older half goes; a cache that looked lately still finds all it missed.
        tokens_.erase(tokens_.begin(), tokens_.begin() + kKept / 2);
        first_ += kKept / 2;
      }
      tokens_.push_back(token);
    }
    ++count_;
  }
  // The number of changes recorded so far.
  uint64_t Count() const { return count_; }
  // Calls visit(token) for each change after the first `seen` ones, in order. False, with
  // nothing visited, when those changes are no longer all kept or one of them had no token.
  template <class Visit>
  bool Replay(uint64_t seen, const Visit& visit) const {
    if (seen < first_) return false;
    for (size_t i = static_cast<size_t>(seen - first_); i < tokens_.size(); ++i) visit(tokens_[i]);
    return true;
  }

 private:
  // A cache that falls further behind rebuilds, which costs no more than replaying as many.
  static constexpr size_t kKept = 4096;
  std::vector<const void*> tokens_;  // the changes first_ .. count_ - 1
  uint64_t first_ = 0;
  uint64_t count_ = 0;
};

using ChangeLogPtr = std::shared_ptr<ChangeLog>;

// An object whose edits a cache may follow. Unwatched objects record nothing.
class Watched {
 public:
  // Every later edit of this object, and of the parts it hands the log on to, is recorded in
  // log under token.
  virtual void Watch(ChangeLogPtr log, const void* token) {
    log_ = std::move(log);
    token_ = token;
  }

 protected:
  Watched() = default;
  ~Watched() = default;
  Watched(const Watched&) = default;
  Watched& operator=(const Watched&) = default;

  void Touch() const {
    if (log_) log_->Changed(token_);
  }

  ChangeLogPtr log_;
  const void* token_ = nullptr;
};

}  // namespace corvale
