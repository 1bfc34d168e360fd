// clsLog: one log entry of a log buffer (a LOG element): which channel value is recorded in
// each record, and how many bytes it adds to the record.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/binding/bound_element.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLogEntries;

class clsLog : public BoundElement {
 public:
  clsLog();                            // bound to a new, detached LOG element
  explicit clsLog(xml::Node element);  // bound to an existing LOG element
  clsLog(const clsLog&) = delete;
  clsLog& operator=(const clsLog&) = delete;
  ~clsLog() override;

  using BoundElement::XMLNode;
  void XMLNode(xml::Node value) override;

  // Only enabled entries count in the record size.
  bool Enabled() const;
  void Enabled(bool value);
  int32_t Parameter() const;
  void Parameter(int32_t value);
  int16_t Index() const;
  void Index(int16_t value);
  std::string Buffer() const;
  void Buffer(std::string value);
  // The channel recorded: the instrument's scheme key, "|", the channel's key within the
  // instrument (RefreshLogEntries and the instrument set's Remove rely on this form).
  std::string Channel() const;
  void Channel(std::string value);
  // Bytes this entry adds to a record.
  int16_t Bytes() const;
  void Bytes(int16_t value);
  // Channel + "|" + Parameter, given by clsLogEntries.Add.
  std::string Key() const;
  void Key(std::string value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  friend class clsLogEntries;
  // The bytes the entry counts for now: Bytes when enabled, else 0.
  int32_t Counted() const;
  // Tells the list holding the entry how its count changed, so the list's running total of
  // enabled bytes stays right without a walk over every entry.
  void Recount();

  clsLogEntries* list_ = nullptr;  // the list holding the entry; it clears this when it lets go
  int32_t counted_ = 0;            // what the list's total holds for this entry
};

using LogPtr = std::shared_ptr<clsLog>;

}  // namespace corvale
