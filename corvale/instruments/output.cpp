#include "corvale/instruments/output.h"

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_users.h"

namespace corvale {

clsOutput::clsOutput() : BoundElement("OUTPUT") { BindLists(); }

clsOutput::clsOutput(xml::Node element) : BoundElement(std::move(element)) { BindLists(); }

void clsOutput::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  BindLists();
}

// Binding a list empties the list it was: fresh lists leave other outputs' elements alone.
void clsOutput::BindLists() {
  resources_ = BindChildList<clsLoggerResourceList>(node_, "RESOURCES");
  users_ = BindChildList<clsLoggerResourceUsers>(node_, "USERS");
}

std::string clsOutput::Description() const { return GetNodeText(node_, "DESCRIPTION", ""); }
void clsOutput::Description(std::string value) { SetNodeText(node_, "DESCRIPTION", value); }

std::string clsOutput::FalseCode() const {
  return UnescapeText(GetNodeText(node_, "FALSECODE", ""));
}
void clsOutput::FalseCode(std::string value) { SetNodeText(node_, "FALSECODE", EscapeText(value)); }

int16_t clsOutput::Index() const { return GetTextInteger(node_, "INDEX", ""); }
void clsOutput::Index(int16_t value) { SetTextLong(node_, "INDEX", value); }

std::string clsOutput::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsOutput::Key(std::string value) { SetNodeText(node_, "KEY", value); }

bool clsOutput::KeyUnique() const { return GetTextBoolean(node_, "KEYUNIQUE", ""); }
void clsOutput::KeyUnique(bool value) { SetTextBoolean(node_, "KEYUNIQUE", value); }

bool clsOutput::LoadToScheme() const { return GetTextBoolean(node_, "LOADTOSCHEME", ""); }
void clsOutput::LoadToScheme(bool value) { SetTextBoolean(node_, "LOADTOSCHEME", value); }

std::string clsOutput::LoggerChannel() const { return GetNodeText(node_, "LOGGERCHANNEL", ""); }
void clsOutput::LoggerChannel(std::string value) { SetNodeText(node_, "LOGGERCHANNEL", value); }

std::string clsOutput::Name() const { return GetNodeText(node_, "NAME", ""); }
void clsOutput::Name(std::string value) { SetNodeText(node_, "NAME", value); }

std::string clsOutput::Parent() const { return GetNodeText(node_, "PARENT", ""); }
void clsOutput::Parent(std::string value) { SetNodeText(node_, "PARENT", value); }

std::shared_ptr<clsLoggerResourceList> clsOutput::Resources() const { return resources_; }

std::string clsOutput::TrueCode() const { return UnescapeText(GetNodeText(node_, "TRUECODE", "")); }
void clsOutput::TrueCode(std::string value) { SetNodeText(node_, "TRUECODE", EscapeText(value)); }

std::shared_ptr<clsLoggerResourceUsers> clsOutput::Users() const { return users_; }

bool clsOutput::QueryUninstall() { return true; }

Variant clsOutput::Invoke(std::string_view member, const Args& args) {
  using T = clsOutput;
  using M = MemberTable<T>;
  static const M members = {
      {"Description", M::Property(&T::Description, &T::Description)},
      {"FalseCode", M::Property(&T::FalseCode, &T::FalseCode)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"KeyUnique", M::Property(&T::KeyUnique, &T::KeyUnique)},
      {"LoadToScheme", M::Property(&T::LoadToScheme, &T::LoadToScheme)},
      {"LoggerChannel", M::Property(&T::LoggerChannel, &T::LoggerChannel)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"Resources", M::Getter(&T::Resources)},
      {"TrueCode", M::Property(&T::TrueCode, &T::TrueCode)},
      {"Users", M::Getter(&T::Users)},
      {"QueryUninstall", M::Method(&T::QueryUninstall)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
