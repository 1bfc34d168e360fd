// clsSystem: a prepared configuration offered as a starting point (a SYSTEM element): a named
// set of instruments with the logger channels each logs, the logger type, intervals, scan
// rates, a message, an icon, the key of a code template and an embedded scheme element.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/host.h"
#include "corvale/core/object.h"
#include "corvale/systems/system_instruments.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsSystem : public BoundElement {
 public:
  clsSystem();  // bound to a new SYSTEM element holding an empty INSTRUMENTS element
  // Bound to an element, as XMLNode(element) binds it.
  explicit clsSystem(xml::Node element);

  using BoundElement::XMLNode;
  // Reloads Icon and binds Instruments to the element's INSTRUMENTS child, appending an empty
  // one when it has none.
  void XMLNode(xml::Node value) override;

  // The key of a code template.
  std::string CodeTemplate() const;
  void CodeTemplate(std::string value);
  std::string Description() const;
  void Description(std::string value);
  // The icon service's picture for IconSource in the editors' icon library; null when there is
  // none.
  PicturePtr Icon() const { return icon_; }
  std::string IconSource() const;
  // Also reloads Icon.
  void IconSource(std::string value);
  int16_t Index() const;
  void Index(int16_t value);
  SystemInstrumentsPtr Instruments() const { return instruments_; }
  std::string Key() const;
  void Key(std::string value);
  int32_t LogInterval() const;
  void LogInterval(int32_t value);
  // Always written, also when 0.
  int32_t SubInterval() const;
  void SubInterval(int32_t value);
  // The logger type's key.
  std::string Logger() const;
  void Logger(std::string value);
  // Always written, also when empty.
  std::string Message() const;
  void Message(std::string value);
  std::string ScanRates() const;
  void ScanRates(std::string value);
  std::string Name() const;
  // Also writes the element's NAME attribute, created when missing.
  void Name(std::string value);
  std::string Source() const;
  void Source(std::string value);
  // The embedded SCHEME element; null when there is none.
  xml::Node SchemeNode() const;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void Bind();

  SystemInstrumentsPtr instruments_;
  PicturePtr icon_;
};

using SystemPtr = std::shared_ptr<clsSystem>;

}  // namespace corvale
