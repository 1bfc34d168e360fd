// clsCodeTemplate: a prepared piece of logger program source (a template element), with the
// resources, files, events and instruments it needs and the memory and virtual-channel ranges
// it occupies.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/object.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/systems/system_instruments.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsCodeTemplate : public BoundElement {
 public:
  // Bound to a new CODETEMPLATE element holding empty RESOURCES, FILES, EVENTS and
  // INSTRUMENTS elements.
  clsCodeTemplate();
  // Bound to an element, as XMLNode(element) binds it.
  explicit clsCodeTemplate(xml::Node element);

  using BoundElement::XMLNode;
  // Binds the four lists to the element's RESOURCES, FILES, EVENTS and INSTRUMENTS children,
  // appending an empty one for each that is missing.
  void XMLNode(xml::Node value) override;

  std::string Description() const;
  void Description(std::string value);
  int16_t Index() const;
  void Index(int16_t value);
  std::string Key() const;
  // Also writes the element's KEY attribute, created when missing.
  void Key(std::string value);
  // Bit mask of the logger types the template suits.
  int32_t LoggerTypes() const;
  void LoggerTypes(int32_t value);
  // The next four are always written, and reading one that is missing writes its default:
  // 512, 0, 0 and False.
  int32_t ProgramMemoryDataStart() const;
  void ProgramMemoryDataStart(int32_t value);
  std::string Source() const;
  void Source(std::string value);
  // The name of the template's source file.
  std::string SrcFile() const;
  void SrcFile(std::string value);
  int16_t VirtualChannelStart() const;
  void VirtualChannelStart(int16_t value);
  int16_t VirtualChannelEnd() const;
  void VirtualChannelEnd(int16_t value);
  bool WriteBuffersToSRC() const;
  void WriteBuffersToSRC(bool value);
  LoggerResourceListPtr ResourceRequest() const { return resources_; }
  std::shared_ptr<clsFiles> Files() const { return files_; }
  EventsPtr Events() const { return events_; }
  SystemInstrumentsPtr Instruments() const { return instruments_; }

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void BindLists();

  LoggerResourceListPtr resources_;
  std::shared_ptr<clsFiles> files_;
  EventsPtr events_;
  SystemInstrumentsPtr instruments_;
};

using CodeTemplatePtr = std::shared_ptr<clsCodeTemplate>;

}  // namespace corvale
