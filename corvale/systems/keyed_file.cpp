#include "corvale/systems/keyed_file.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

KeyedFile::KeyedFile(const Shape& shape)
    : FileDocument(shape.root),
      shape_(shape),
      list_(std::make_shared<KeyedElementList>(shape.child, "KEY")) {
  list_->Select(root_);
}

std::string KeyedFile::Source() const { return GetNodeText(root_, "SOURCE", ""); }
void KeyedFile::Source(std::string value) { SetNodeText(root_, "SOURCE", value); }

void KeyedFile::XMLNode(xml::Node value) {
  root_ = std::move(value);
  list_->Select(root_);
}

bool KeyedFile::Load(const std::string& fileName) {
  xml::Document previous = document_;
  document_ = NewDocument();
  const bool parsed = LoadFile(fileName);
  xml::Node root = document_.selectSingleNode(shape_.root);
  if (!root) {
    if (const xml::Node other = document_.documentElement()) {
      const std::string name = other.nodeName();
      document_ = previous;
      throw Error(err::kInvalidProcedureCall,
                  fileName + " holds " + name + ", not " + std::string(shape_.root),
                  std::string(shape_.className) + ":Load");
    }
    root = CreateElement(shape_.root);
    document_.appendChild(root);
  }
  root_ = root;
  list_->Select(root_);
  if (parsed) file_ = fileName;
  return parsed;
}

void KeyedFile::Save(const std::string& fileName) {
  const std::string& path = fileName.empty() ? file_ : fileName;
  if (path.empty()) {
    throw Error(err::kPathFileAccess, "No file to save to",
                std::string(shape_.className) + ":Save");
  }
  SaveTo(path);
  file_ = path;
}

xml::Node KeyedFile::Find(const corvale::Index& index) const {
  if (index.IsPosition()) return list_->At(index.Position());
  const int16_t position = list_->PositionOf(index.Key());
  return position ? list_->At(position) : xml::Node();
}

void KeyedFile::Remove(const corvale::Index& index) {
  const int32_t position = index.IsPosition() ? index.Position() : list_->PositionOf(index.Key());
  if (position < 1 || position > list_->Count()) throw Error(err::kSubscriptOutOfRange);
  list_->Remove(position);
}

void KeyedFile::Clear() { list_->Clear(); }

std::string KeyedFile::FreeKey() const { return list_->FirstFreeKey(shape_.keyPrefix, 1); }

void KeyedFile::Append(const xml::Node& element, std::string_view key) {
  if (!element) throw Error(err::kObjectNotSet);
  if (list_->PositionOf(key)) {
    throw Error(shape_.duplicateKeyError,
                "A " + std::string(shape_.itemWord) + " with the key " + std::string(key) +
                    " exists already",
                std::string(shape_.className) + ":Add");
  }
  list_->Append(element);
}

Variant KeyedFile::InvokeFileMember(std::string_view member, const Args& args) {
  using T = KeyedFile;
  using M = MemberTable<T>;
  static const M members = {
      {"Source", M::Property(&T::Source, &T::Source)},
      {"Count", M::Getter(&T::Count)},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
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
