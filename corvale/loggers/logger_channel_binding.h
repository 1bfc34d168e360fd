// LoggerChannelBinding: what the logger's input and output channels share: one CHANNEL
// element with its CDT settings and the resource requests that the channel occupies.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "corvale/binding/bound_element.h"
#include "corvale/core/change_log.h"
#include "corvale/core/object.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/xml/xml.h"

namespace corvale {

// Not an Object itself: the input channel is one through the interface it implements.
class LoggerChannelBinding : protected ElementBinding, public Watched {
 public:
  using ElementBinding::XMLNode;
  // Binds the CDT settings and then the requests to the element's CDTSETTINGS and RESOURCES
  // children, appending an empty one of each that the element lacks.
  void XMLNode(xml::Node value);
  std::shared_ptr<clsCDTSettings> CDT() const;
  int32_t ChannelType() const;
  void ChannelType(int32_t value);
  std::string Description() const;
  void Description(std::string value);
  std::string Key() const;
  void Key(std::string value);
  std::string Name() const;
  void Name(std::string value);
  // The resource requests this channel occupies when it is given to an instrument.
  LoggerResourceListPtr ResourceList() const;
  // Also hands the log to the requests.
  void Watch(ChangeLogPtr log, const void* token) override;

 protected:
  LoggerChannelBinding();  // a new CHANNEL with empty CDTSETTINGS and RESOURCES children
  explicit LoggerChannelBinding(xml::Node element);
  ~LoggerChannelBinding() = default;

  // The shared members by name for the channel classes' Invoke; nothing for another name.
  std::optional<Variant> InvokeShared(std::string_view member, const Args& args);

 private:
  void BindLists();

  std::shared_ptr<clsCDTSettings> cdt_;
  LoggerResourceListPtr requests_;
};

}  // namespace corvale
