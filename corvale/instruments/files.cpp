#include "corvale/instruments/files.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsFiles::clsFiles()
    : BoundCollection({.container = "FILES", .child = "FILE", .keyOnBind = false}) {}

std::string clsFiles::EntryKey(const clsFile& file) const { return file.File(); }

std::string clsFiles::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsFiles::Key(std::string value) { SetNodeText(node_, "KEY", value); }

void clsFiles::Add(FilePtr file) {
  if (!file) throw Error(err::kObjectNotSet);
  Insert(file, file->File());
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
