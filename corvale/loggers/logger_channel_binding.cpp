#include "corvale/loggers/logger_channel_binding.h"

#include <utility>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/member_table.h"

namespace corvale {

LoggerChannelBinding::LoggerChannelBinding() : ElementBinding("CHANNEL") { BindLists(); }

LoggerChannelBinding::LoggerChannelBinding(xml::Node element) : ElementBinding(std::move(element)) {
  BindLists();
}

void LoggerChannelBinding::XMLNode(xml::Node value) {
  node_ = std::move(value);
  BindLists();
  Touch();
}

void LoggerChannelBinding::BindLists() {
  cdt_ = BindChildList<clsCDTSettings>(node_, "CDTSETTINGS");
  requests_ = BindChildList<clsLoggerResourceList>(node_, "RESOURCES");
  if (log_) requests_->Watch(log_, token_);
}

void LoggerChannelBinding::Watch(ChangeLogPtr log, const void* token) {
  Watched::Watch(log, token);
  requests_->Watch(std::move(log), token);
}

std::shared_ptr<clsCDTSettings> LoggerChannelBinding::CDT() const { return cdt_; }

int32_t LoggerChannelBinding::ChannelType() const { return GetTextLong(node_, "CHANNELTYPE", ""); }
void LoggerChannelBinding::ChannelType(int32_t value) {
  SetTextLong(node_, "CHANNELTYPE", value);
  Touch();
}

std::string LoggerChannelBinding::Description() const {
  return GetNodeText(node_, "DESCRIPTION", "");
}
void LoggerChannelBinding::Description(std::string value) {
  SetNodeText(node_, "DESCRIPTION", value);
}

std::string LoggerChannelBinding::Key() const { return GetNodeText(node_, "KEY", ""); }
void LoggerChannelBinding::Key(std::string value) { SetNodeText(node_, "KEY", value); }

std::string LoggerChannelBinding::Name() const { return GetNodeText(node_, "NAME", ""); }
void LoggerChannelBinding::Name(std::string value) { SetNodeText(node_, "NAME", value); }

LoggerResourceListPtr LoggerChannelBinding::ResourceList() const { return requests_; }

std::optional<Variant> LoggerChannelBinding::InvokeShared(std::string_view member,
                                                          const Args& args) {
  using T = LoggerChannelBinding;
  using M = MemberTable<T>;
  static const M members = {
      {"CDT", M::Getter(&T::CDT)},
      {"ChannelType", M::Property(&T::ChannelType, &T::ChannelType)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"ResourceList", M::Getter(&T::ResourceList)},
  };
  const M::Member* found = members.Find(member);
  if (!found) return std::nullopt;
  return (*found)(*this, args);
}

}  // namespace corvale
