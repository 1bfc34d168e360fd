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

void clsCodeTemplates::Add(const CodeTemplatePtr& codeTemplate) { AddItem(codeTemplate); }

void clsCodeTemplates::AddObject(const Variant& item) { Add(VariantAs<CodeTemplatePtr>(item)); }

}  // namespace corvale
