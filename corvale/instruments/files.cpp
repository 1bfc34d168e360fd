#include "corvale/instruments/files.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsFiles::clsFiles() : node_(CreateElement("FILES")) {}

int16_t clsFiles::Count() const { return items_.Count(); }

FilePtr clsFiles::Item(const corvale::Index& index) const { return items_.Item(index); }

std::string clsFiles::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsFiles::Key(std::string value) { SetNodeText(node_, "KEY", value); }

xml::Node clsFiles::XMLNode() const { return node_; }

void clsFiles::XMLNode(xml::Node value) {
  // Only the collection is emptied: the files stay in the element left behind.
  items_.Clear();
  node_ = std::move(value);
  for (const xml::Node& child : node_.selectNodes("FILE")) {
    auto file = std::make_shared<clsFile>();
    file->XMLNode(child);
    items_.Add(file, file->File());
  }
}

void clsFiles::Add(FilePtr file) {
  if (!file) throw Error(err::kObjectNotSet);
  items_.Add(file, file->File());
  node_.appendChild(file->XMLNode());
}

void clsFiles::Remove(const corvale::Index& index) {
  node_.removeChild(items_.Item(index)->XMLNode());
  items_.Remove(index);
}

void clsFiles::Clear() {
  while (!items_.Empty()) Remove(1);
}

Variant clsFiles::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsFiles>;
  static const M::Member item = MemberTable<clsFiles>::WithIndex(&clsFiles::Item);
  static const M members = {
      {"Count", M::Getter(&clsFiles::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](clsFiles& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<FilePtr>(a[0]));
         return {};
       }},
      {"Remove", MemberTable<clsFiles>::WithIndex(&clsFiles::Remove)},
      {"Clear", M::Method(&clsFiles::Clear)},
      {"Key", M::Property(&clsFiles::Key, &clsFiles::Key)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
