// What a host hears from the model. A host implements these interfaces and hands them to the
// objects that raise the notifications; every notification has an empty default, so a host
// overrides only what it shows. Core knows none of the model's classes: instruments, outputs
// and events arrive as the objects they are (dynamic_pointer_cast to the class you expect).
#pragma once

#include <memory>
#include <string_view>

#include "corvale/core/object.h"

namespace corvale {

// Notifications of a scheme's instrument set, in the order the set raises them.
class SchemeListener {
 public:
  virtual ~SchemeListener() = default;
  virtual void InstrumentAdded(const ObjectPtr& /*instrument*/) {}
  virtual void InstrumentRemoved(const ObjectPtr& /*instrument*/) {}
  // The set changed (NotifyChange), with the value the caller gave.
  virtual void SchemeChanged(const Variant& /*change*/) {}
  // An instrument is about to be removed; setting cancel keeps it.
  virtual void BeforeRemove(const ObjectPtr& /*instrument*/, bool& /*cancel*/) {}
  virtual void OutputAdded(const ObjectPtr& /*output*/) {}
  virtual void EventAdded(const ObjectPtr& /*event*/) {}
};

// Output of a program run by the process runner, piece by piece as it arrives (or a failure
// text such as a time-out).
class ProcessListener {
 public:
  virtual ~ProcessListener() = default;
  virtual void RedirOutput(std::string_view /*text*/) {}
  // Part of the interface hosts know; the runner never raises it (a call returns when the
  // program has finished).
  virtual void ProcessFinished() {}
};

using SchemeListenerPtr = std::shared_ptr<SchemeListener>;
using ProcessListenerPtr = std::shared_ptr<ProcessListener>;

}  // namespace corvale
