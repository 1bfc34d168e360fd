// clsCodeTemplates: a template file (root TEMPLATES) and the templates it lists, its TEMPLATE
// children.
#pragma once

#include <memory>
#include <string>

#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/systems/code_template.h"
#include "corvale/systems/keyed_file.h"

namespace corvale {

class clsCodeTemplates : public Object, public KeyedFile {
 public:
  // A new document holding the declaration and an empty TEMPLATES root.
  clsCodeTemplates();

  // Source, Count, XMLNode, Load, Save, Remove and Clear: see KeyedFile.

  // The template at a 1-based position, or the first whose KEY equals a key without regard to
  // case, bound to the file's own element; null when there is none.
  CodeTemplatePtr Item(const corvale::Index& index) const;
  CodeTemplatePtr LibraryItem(const corvale::Index& index) const { return Item(index); }
  // A template without a key gets the first free "TEMPLATE_" + n (n from 1); one whose key a
  // listed template holds raises kDuplicateTemplateKey and is not added. Otherwise its element
  // is appended to the root.
  //
  // A template made here has a CODETEMPLATE element, while the file lists only its TEMPLATE
  // children: such a template is kept in the document and saved with it, but Count, Item and
  // the free-key search do not see it, in this set or in the file loaded again, so a second
  // new template without a key is given the same key. Template files carry TEMPLATE elements
  // and hosts rely on both names, so the names stay as they are.
  void Add(const CodeTemplatePtr& codeTemplate);

  Variant Invoke(std::string_view member, const Args& args = {}) override {
    return InvokeFileMember(member, args);
  }

 private:
  ObjectPtr ItemObject(const corvale::Index& index) const override { return Item(index); }
  ObjectPtr LibraryItemObject(const corvale::Index& index) const override {
    return LibraryItem(index);
  }
  void AddObject(const Variant& item) override;
};

}  // namespace corvale
