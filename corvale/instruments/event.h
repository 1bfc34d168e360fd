// clsEvent: one event of an instrument (an EVENT element): a condition over channels,
// constants and other events, with program text for its true and false outcomes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

// What an operand of a condition is (ChanAType, ChanBType, ChanCType).
namespace operand {
inline constexpr int32_t kNotUsed = 0;
inline constexpr int32_t kConstant = 1;
inline constexpr int32_t kChannel = 2;
inline constexpr int32_t kEvent = 3;
}  // namespace operand

class clsEvent : public BoundElement {
 public:
  clsEvent();                            // bound to a new, detached EVENT element
  explicit clsEvent(xml::Node element);  // bound to an existing EVENT element

  bool Changed() const;
  void Changed(bool value);
  std::string Description() const;
  void Description(std::string value);
  bool Enabled() const;
  void Enabled(bool value);
  std::string Name() const;
  void Name(std::string value);
  // The key of the output the event drives.
  std::string OutputChannel() const;
  void OutputChannel(std::string value);
  // The condition code; setting it also writes the operand types the condition takes.
  int32_t ID() const;
  void ID(int32_t value);
  std::string ChanA() const;
  void ChanA(std::string value);
  int32_t ChanAType() const;
  std::string ChanB() const;
  void ChanB(std::string value);
  int32_t ChanBType() const;
  std::string ChanC() const;
  void ChanC(std::string value);
  int32_t ChanCType() const;
  int16_t Index() const;
  void Index(int16_t value);
  std::string Parent() const;
  void Parent(std::string value);
  std::string TrueCode() const;
  void TrueCode(std::string value);
  std::string FalseCode() const;
  void FalseCode(std::string value);
  std::string Key() const;
  void Key(std::string value);
  std::string LogToBuffer() const;
  void LogToBuffer(std::string value);
  bool LoadToScheme() const;
  void LoadToScheme(bool value);
  bool KeyUnique() const;
  void KeyUnique(bool value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using EventPtr = std::shared_ptr<clsEvent>;

}  // namespace corvale
