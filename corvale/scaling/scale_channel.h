// ScaleChannel ("Corvale2.ScaleChannel"): the loader class of instruments whose channels are
// scaled to engineering units by the logger program. Its Save turns each enabled channel's
// scaling (MULTIPLIER, OFFSET and PRESCALE in the channel's SETUP, with ENABLESCALE not 0) into
// a call of the scale macro in the channel's INPCode, run in the initialisation pass:
//
//   ; Corvale2.ScaleChannel - Scale to EU
//   .if pass==INIT_PASS
//   <tab>MorvaScaleChan Flow,500,1000,12
//   .endif
//
// The instrument reaches it by member name only, and it has exactly the members Install,
// Load, Save, QueryUninstall and UnInstall: its instrument's BeforeWrite and BeforeCompile
// find no such member and answer false.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "corvale/core/object.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/instrument.h"

namespace corvale {

class ScaleChannel : public Object {
 public:
  // Keeps the instrument it serves and the scheme (neither is owned: the scheme owns the
  // instrument, which owns its loader). The scheme is reached by member name: its Logger's
  // InputChannels' Item(key) is the logger channel whose Multiplier and Offset are folded in.
  void Install(const ObjectPtr& instrument, const ObjectPtr& scheme);
  bool Load() { return true; }
  // Writes the scaling code of every channel of the instrument; raises 11 when a logger
  // channel's Multiplier of 0 would have to be divided out.
  bool Save();
  bool QueryUninstall() { return true; }
  void UnInstall() {}

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  struct LoggerScaling {
    double multiplier;
    double offset;
  };
  // The scaling of the scheme logger's input channel with the key; none when there is no
  // scheme, logger or such channel.
  std::optional<LoggerScaling> LoggerChannelScaling(const std::string& key) const;
  void Scale(clsInstChannel& channel) const;

  std::weak_ptr<IInstrument> instrument_;
  std::weak_ptr<Object> scheme_;
};

}  // namespace corvale
