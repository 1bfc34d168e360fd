// clsError: one entry of a scheme operation's error list. Entries are shared, not copied: a
// list that merges another holds the same entries, so a change through either list shows in
// both.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "corvale/core/object.h"

namespace corvale {

class clsError : public Object {
 public:
  clsError() = default;
  clsError(int32_t number, std::string description, std::string source, bool fatal);

  // The failure stops the operation that reported it.
  bool Fatal() const { return fatal_; }
  void Fatal(bool value) { fatal_ = value; }
  int32_t Number() const { return number_; }
  void Number(int32_t value) { number_ = value; }
  std::string Description() const { return description_; }
  void Description(std::string value) { description_ = std::move(value); }
  // "class:procedure", or for a parse error the position in the line followed by the line.
  std::string Source() const { return source_; }
  void Source(std::string value) { source_ = std::move(value); }

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  bool fatal_ = false;
  int32_t number_ = 0;
  std::string description_;
  std::string source_;
};

using ErrorPtr = std::shared_ptr<clsError>;

}  // namespace corvale
