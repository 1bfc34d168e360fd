// clsLogBuffer: one log buffer of a scheme (a BUFFER element with its LOGENTRIES): an area of
// the logger's memory with a logging interval and the entries recorded in each record. It
// tells how many bytes a record takes (LogSize) and how long its memory lasts (MemoryTime).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/binding/bound_element.h"
#include "corvale/core/object.h"
#include "corvale/scheme/log_entries.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLogBuffers;

class clsLogBuffer : public BoundElement {
 public:
  clsLogBuffer();                            // a new, detached BUFFER with an empty LOGENTRIES
  explicit clsLogBuffer(xml::Node element);  // bound to an existing BUFFER element
  clsLogBuffer(const clsLogBuffer&) = delete;
  clsLogBuffer& operator=(const clsLogBuffer&) = delete;
  ~clsLogBuffer() override;

  bool AutoSize() const;
  void AutoSize(bool value);
  // Bytes of logger memory given to the buffer.
  int32_t Size() const;
  void Size(int32_t value);
  int32_t Mode() const;
  void Mode(int32_t value);
  int16_t Number() const;
  void Number(int16_t value);
  std::string Name() const;
  void Name(std::string value);
  std::string Key() const;
  void Key(std::string value);
  using BoundElement::XMLNode;
  // Also binds LogEntries to the element's LOGENTRIES child (appended when missing).
  void XMLNode(xml::Node value) override;
  int32_t LogOrder() const;
  void LogOrder(int32_t value);
  LogEntriesPtr LogEntries() const { return entries_; }
  // Puts the list's element in place of the buffer's LOGENTRIES element; raises 91 for none.
  void LogEntries(LogEntriesPtr value);
  // Bytes per record, as the last recalculation wrote it.
  int16_t LogSize() const;
  bool ForceLogTime() const;
  void ForceLogTime(bool value);
  // True when LOGTIME holds a number other than 0, or when ForceLogTime is set.
  bool LogTime() const;
  void LogTime(bool value);
  // Days the buffer's memory lasts: the whole records that fit in Size - LDRAllocation
  // (rounded, halves to even) times LogInterval; 0 while LogSize is below 1.
  double MemoryTime() const;
  // Seconds between records.
  float LogInterval() const;
  void LogInterval(float value);
  float SubInterval() const;
  void SubInterval(float value);
  // Bytes of the buffer reserved and not available for records; kept in memory only, set by
  // the scheme's owner.
  int32_t LDRAllocation() const { return ldrAllocation_; }
  void LDRAllocation(int32_t value) { ldrAllocation_ = value; }
  bool CustomBuffer() const;
  void CustomBuffer(bool value);

  // The set the buffer belongs to (given by clsLogBuffers.Add), or null.
  clsLogBuffers* Owner() const { return owner_; }
  // Writes LOGSIZE: the enabled entries' bytes, + 4 with ForceLogTime, + 3 when the owning
  // set's Mode is 1. Raises 6 when the total leaves the 16-bit range.
  void CalculateLogSize();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  friend class clsLogBuffers;
  void Adopt(const LogEntriesPtr& entries);

  LogEntriesPtr entries_;
  clsLogBuffers* owner_ = nullptr;  // the set clears this when it lets the buffer go
  int32_t ldrAllocation_ = 0;
};

using LogBufferPtr = std::shared_ptr<clsLogBuffer>;

}  // namespace corvale
