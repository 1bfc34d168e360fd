#include "corvale/loggers/logger_defs.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

std::string LoggerElement::Key() const { return GetNodeText(node_, "KEY", ""); }

clsLoggerDefs::clsLoggerDefs()
    : FileDocument(""),
      BoundCollection({.container = "LOGGERS",
                       .child = "LOGGER",
                       .keyOnBind = false,
                       .rebindEmptiesOld = true,
                       .rebindSameIsNoop = true,
                       .emptyKeyIsKey = true}) {}

void clsLoggerDefs::OnBind(LoggerElement& logger) {
  const xml::Node element = logger.XMLNode();
  if (GetNodeText(element, "KEY", "").empty())
    SetNodeText(element, "KEY", GetNodeText(element, "CATCODE", ""));
}

LoggerDefPtr clsLoggerDefs::Item(const corvale::Index& index) const {
  const xml::Node element = BoundCollection::Item(index)->XMLNode();
  const std::string source = Source();
  auto definition = std::make_shared<clsLoggerDef>(element.cloneNode(true));
  definition->Source(source + "|" + definition->Key());
  return definition;
}

LoggerDefPtr clsLoggerDefs::LibraryItem(const corvale::Index& index) const {
  auto definition = std::make_shared<clsLoggerDef>(BoundCollection::Item(index)->XMLNode());
  definition->Source(Source() + "|" + definition->Key());
  return definition;
}

std::string clsLoggerDefs::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void clsLoggerDefs::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

void clsLoggerDefs::XMLNode(xml::Node value) { Bind(std::move(value)); }

void clsLoggerDefs::Add(const LoggerDefPtr& definition, const std::optional<corvale::Index>& before,
                        const std::optional<corvale::Index>& after) {
  if (!definition) throw Error(err::kObjectNotSet);
  const xml::Node element = definition->XMLNode();
  // The element moves in before its key is checked: a refused definition stays in the file.
  node_.appendChild(element);
  if (definition->Key().empty()) definition->Key(definition->CatCode());
  AddEntry(std::make_shared<LoggerElement>(element), definition->Key(), before, after);
}

bool clsLoggerDefs::Load(const std::string& fileName) {
  if (!LoadFile(fileName)) return false;
  file_ = fileName;
  // Written into the LOGGERS element in force before the load, which the load leaves behind:
  // a loaded set reports the SOURCE of its file (normally none), so the Source of its items
  // is "|" and the key, as schemes and hosts that look definitions up by it expect.
  Source(fileName);
  XMLNode(document_.selectSingleNode("LOGGERS"));
  return true;
}

void clsLoggerDefs::Save(const std::string& fileName) { SaveTo(fileName); }

Variant clsLoggerDefs::Invoke(std::string_view member, const Args& args) {
  using T = clsLoggerDefs;
  using M = MemberTable<T>;
  static const M::Member item = M::WithIndex(&T::Item);
  static const M members = {
      // Count, Remove and Clear come from the protected collection base, reached from here.
      {"Count",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 0);
         return Variant(self.Count());
       }},
      {"Item", item},
      {"", item},
      {"LibraryItem", M::WithIndex(&T::LibraryItem)},
      {"Source", M::Property(&T::Source, &T::Source)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         const auto [before, after] = PlacementArgs(a);
         self.Add(VariantAs<LoggerDefPtr>(a[0]), before, after);
         return {};
       }},
      {"Remove",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Remove(IndexArg(a[0]));
         return {};
       }},
      {"Clear",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 0);
         self.Clear();
         return {};
       }},
      {"Load",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return self.Load(a[0].ToString());
       }},
      {"Save",
       [](T& self, const Args& a) -> Variant {
         if (a.size() > 1) throw Error(err::kInvalidProcedureCall);
         self.Save(a.empty() ? std::string() : a[0].ToString());
         return {};
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
