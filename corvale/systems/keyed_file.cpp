#include "corvale/systems/keyed_file.h"

#include <memory>
#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

KeyedFile::KeyedFile(const Shape& shape)
    : FileDocument(""),
      BoundCollection({.container = shape.root,
                       .child = shape.child,
                       .keyPrefix = shape.keyPrefix,
                       .firstNumber = 1,
                       .keyOnBind = false,
                       .repeatedKeys = true}),
      file_shape_(shape) {
  document_.appendChild(node_);
}

std::string KeyedFile::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void KeyedFile::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

bool KeyedFile::Load(const std::string& fileName) {
  xml::Document previous = document_;
  document_ = NewDocument();
  const bool parsed = LoadFile(fileName);
  xml::Node root = document_.selectSingleNode(file_shape_.root);
  if (!root) {
    if (const xml::Node other = document_.documentElement()) {
      const std::string name = other.nodeName();
      document_ = previous;
      throw Error(err::kInvalidProcedureCall,
                  fileName + " holds " + name + ", not " + std::string(file_shape_.root),
                  std::string(file_shape_.className) + ":Load");
    }
    root = CreateElement(file_shape_.root);
    document_.appendChild(root);
  }
  Bind(root);
  // After a failed load the set is empty: forgetting the file keeps a later Save() from
  // writing that empty set over the file loaded before.
  file_ = parsed ? fileName : std::string();
  return parsed;
}

void KeyedFile::Save(const std::string& fileName) {
  const std::string& path = fileName.empty() ? file_ : fileName;
  if (path.empty()) {
    throw Error(err::kPathFileAccess, "No file to save to",
                std::string(file_shape_.className) + ":Save");
  }
  SaveTo(path);
  file_ = path;
}

xml::Node KeyedFile::Find(const corvale::Index& index) const {
  if (index.IsPosition() ? index.Position() < 1 || index.Position() > Count()
                         : !items_.Exists(index.Key()))
    return {};
  return BoundCollection::Item(index)->XMLNode();
}

void KeyedFile::Append(const xml::Node& element, const std::string& key) {
  if (!element) throw Error(err::kObjectNotSet);
  if (items_.Exists(key)) {
    throw Error(
        file_shape_.duplicateKeyError,
        "A " + std::string(file_shape_.itemWord) + " with the key " + key + " exists already",
        std::string(file_shape_.className) + ":Add");
  }
  const bool listed = element.nodeName() == file_shape_.child;
  const bool moves = element.parentNode() == node_;
  node_.appendChild(element);
  if (listed && moves) {
    Bind(node_);  // a listed child moved to the end: list the children again
  } else if (listed) {
    AddEntry(std::make_shared<KeyedElement>(element), key);
  }
}

Variant KeyedFile::InvokeFileMember(std::string_view member, const Args& args) {
  using T = KeyedFile;
  using M = MemberTable<T>;
  // Count, Remove and Clear come from the protected collection base, reached from here.
  static const M::Member item = [](T& self, const Args& a) -> Variant {
    ExpectArgs(a, 1);
    return self.ItemObject(IndexArg(a[0]));
  };
  static const M members = {
      {"Source", M::Property(&T::Source, &T::Source)},
      {"Item", item},
      {"", item},
      {"LibraryItem",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return self.LibraryItemObject(IndexArg(a[0]));
       }},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.AddObject(a[0]);
         return {};
       }},
      {"Count",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 0);
         return Variant(self.Count());
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
         if (a.size() > 1) ExpectArgs(a, 1);
         self.Save(a.empty() ? std::string() : a[0].ToString());
         return {};
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
