#include "corvale/systems/code_templates.h"

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

constexpr KeyedFile::Shape kShape = {.root = "TEMPLATES",
                                     .child = "TEMPLATE",
                                     .keyPrefix = "TEMPLATE_",
                                     .className = "clsCodeTemplates",
                                     .duplicateKeyError = err::kDuplicateTemplateKey,
                                     .itemWord = "template"};

}  // namespace

clsCodeTemplates::clsCodeTemplates() : KeyedFile(kShape) {}

CodeTemplatePtr clsCodeTemplates::Item(const corvale::Index& index) const {
  const xml::Node element = Find(index);
  if (!element) return nullptr;
  return std::make_shared<clsCodeTemplate>(element);
}

void clsCodeTemplates::Add(const CodeTemplatePtr& codeTemplate) {
  if (!codeTemplate) throw Error(err::kObjectNotSet);
  if (codeTemplate->Key().empty()) codeTemplate->Key(FreeKey());
  Append(codeTemplate->XMLNode(), codeTemplate->Key());
}

Variant clsCodeTemplates::Invoke(std::string_view member, const Args& args) {
  using T = clsCodeTemplates;
  using M = MemberTable<T>;
  static const M::Member item = M::WithIndex(&T::Item);
  static const M members = {
      {"Item", item},
      {"", item},
      {"LibraryItem", M::WithIndex(&T::LibraryItem)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<CodeTemplatePtr>(a[0]));
         return {};
       }},
  };
  if (const M::Member* own = members.Find(member)) return (*own)(*this, args);
  return InvokeFileMember(member, args);
}

}  // namespace corvale
