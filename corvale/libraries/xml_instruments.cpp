#include "corvale/libraries/xml_instruments.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/libraries/library_support.h"

namespace corvale {

namespace {

constexpr std::string_view kRootName = "PennardInstrumentLibrary";
constexpr std::string_view kInstrumentName = "INSTRUMENT";
constexpr std::string_view kCatCode = "CATCODE";

Error MissingInstrument(std::string_view procedure) {
  return Error(err::kObjectNotSet, "No instrument at this index",
               "XMLInstruments:" + std::string(procedure));
}

}  // namespace

XMLInstruments::XMLInstruments() : FileDocument(kRootName) {}

std::string XMLInstruments::ClassName() const { return "Corvale2.XMLInstruments"; }

int16_t XMLInstruments::Count() const { return static_cast<int16_t>(instruments_.size()); }

std::string XMLInstruments::Description() const { return GetNodeText(root_, "DESCRIPTION", ""); }
void XMLInstruments::Description(std::string value) { SetNodeText(root_, "DESCRIPTION", value); }

PicturePtr XMLInstruments::Icon() const { return icon_; }

std::string XMLInstruments::IconSource() const { return GetNodeText(root_, "ICONSOURCE", ""); }
void XMLInstruments::IconSource(std::string value) {
  SetNodeText(root_, "ICONSOURCE", value);
  icon_ = LibraryIcon(value, file_);
}

std::string XMLInstruments::Provider() const { return GetNodeText(root_, "PROVIDER", ""); }
void XMLInstruments::Provider(std::string value) { SetNodeText(root_, "PROVIDER", value); }

std::string XMLInstruments::Source() const { return source_; }
void XMLInstruments::Source(std::string value) { source_ = std::move(value); }

float XMLInstruments::Version() const { return TextToSingle(GetNodeText(root_, "VERSION", "0")); }
void XMLInstruments::Version(float value) { SetNodeText(root_, "VERSION", SingleText(value)); }

int32_t XMLInstruments::Visibility() const {
  return TextToInt32(GetNodeText(root_, "VISIBILITY", "-1"));
}
void XMLInstruments::Visibility(int32_t value) {
  SetNodeText(root_, "VISIBILITY", IntegerText(value));
}

std::string XMLInstruments::Name() const { return GetNodeText(root_, "NAME", ""); }
void XMLInstruments::Name(std::string value) {
  SetNodeText(root_, "NAME", value);
  root_.setAttribute("NAME", value);
}

int32_t XMLInstruments::EditMode() const {
  return TextToInt32(GetNodeText(root_, "EDITMODE", "-1"));
}
void XMLInstruments::EditMode(int32_t value) { SetNodeText(root_, "EDITMODE", IntegerText(value)); }

xml::Node XMLInstruments::XMLNode() const { return root_; }
void XMLInstruments::XMLNode(xml::Node value) {
  root_ = std::move(value);
  Reselect();
}

InstrumentPtr XMLInstruments::Item(const Index& index) {
  const int32_t position = Position(index);
  if (position < 0 || instruments_.empty()) return nullptr;  // an empty library has no list
  xml::Node element = ElementAt(position);
  if (!element) throw MissingInstrument("Item");

  CreatedInstrument created = CreateInstrumentFromBaseClass(GetNodeText(element, "BASECLASS", ""));
  InstrumentPtr instrument = std::move(created.instrument);
  instrument->XMLNode(element.cloneNode(true));
  instrument->Source(source_ + "|" + instrument->CatCode());
  instrument->BaseClass(created.classText);
  instrument->LoadFromScheme(true);
  return instrument;
}

InstrumentPtr XMLInstruments::LibraryItem(const Index& index) {
  xml::Node element = ElementAt(Position(index));
  if (!element) throw MissingInstrument("LibraryItem");

  InstrumentPtr instrument =
      CreateInstrumentFromBaseClass(GetNodeText(element, "BASECLASS", "")).instrument;
  instrument->XMLNode(element);
  instrument->Icon(LibraryIcon(instrument->IconSource(), file_));
  instrument->Source(source_ + "|" + instrument->CatCode());
  // Deliberately the standard class whatever BASECLASS says, unlike Item. This writes into
  // the library's own element: a library saved after LibraryItem names the standard class for
  // that instrument, as libraries edited this way always have.
  instrument->BaseClass(std::string(kStdInstrumentClass));
  return instrument;
}

InstrumentPtr XMLInstruments::Add(InstrumentPtr instrument) {
  xml::Node element = instrument ? instrument->XMLNode() : xml::Node();
  if (!element) throw Error(err::kObjectNotSet, "No instrument to add", "XMLInstruments:Add");
  const bool wasHere = element.parentNode() == root_;
  root_.appendChild(element);
  // Only INSTRUMENT children are instruments: an element of another name is appended but
  // not counted.
  if (wasHere || !root_ || element.nodeName() != kInstrumentName) {
    Reselect();
  } else {
    // Appending changes nothing before the new element: the list and index stay valid.
    instruments_.push_back(element);
    if (!codeIndexStale_) {
      codeIndex_.emplace(UpperCase(GetNodeText(element, kCatCode, "")),
                         static_cast<int32_t>(instruments_.size() - 1));
    }
  }
  instrument->Index(Count());
  return instrument;
}

void XMLInstruments::Remove(const Index& index) {
  const int32_t position = Position(index);
  xml::Node element = ElementAt(position);
  if (!element) throw MissingInstrument("Remove");
  root_.removeChild(element);
  instruments_.erase(instruments_.begin() + position);
  codeIndexStale_ = true;
}

void XMLInstruments::Clear() {
  for (const xml::Node& element : instruments_) root_.removeChild(element);
  instruments_.clear();
  codeIndex_.clear();
  codeIndexStale_ = true;
}

bool XMLInstruments::Load(const std::string& fileName) {
  Clear();
  if (!LoadFile(fileName)) return false;
  file_ = fileName;
  source_ = fileName;

  root_ = document_.selectSingleNode(kRootName);
  icon_ = nullptr;
  if (root_) icon_ = LibraryIcon(GetNodeText(root_, "ICONSOURCE", ""), file_);
  Reselect();
  return static_cast<bool>(root_);
}

bool XMLInstruments::Save(const std::string& fileName) {
  if (!fileName.empty()) {
    file_ = fileName;
    source_ = fileName;
  }
  SaveTo(file_);
  // Callers have always been told not to read this as success (a failure raises instead);
  // it stays false so that hosts testing it keep behaving as they did.
  return false;
}

int32_t XMLInstruments::Position(const Index& index) {
  if (index.IsPosition()) return RoundToInt16(index.Position()) - 1;
  return PositionOfCode(index.Key());
}

int32_t XMLInstruments::PositionOfCode(const std::string& code) {
  if (codeIndexStale_ || xml::ChangeCount(kCatCode) != codeChanges_) RebuildCodeIndex();
  auto hit = codeIndex_.find(UpperCase(code));
  return hit == codeIndex_.end() ? -1 : hit->second;
}

void XMLInstruments::RebuildCodeIndex() {
  codeIndex_.clear();
  codeIndex_.reserve(instruments_.size());
  for (size_t i = 0; i < instruments_.size(); ++i) {
    codeIndex_.emplace(UpperCase(GetNodeText(instruments_[i], kCatCode, "")),
                       static_cast<int32_t>(i));
  }
  codeChanges_ = xml::ChangeCount(kCatCode);
  codeIndexStale_ = false;
}

void XMLInstruments::Reselect() {
  instruments_ = root_ ? root_.selectNodes(kInstrumentName) : std::vector<xml::Node>{};
  codeIndexStale_ = true;
}

xml::Node XMLInstruments::ElementAt(int32_t position) const {
  if (position < 0 || position >= static_cast<int32_t>(instruments_.size())) return {};
  return instruments_[position];
}

}  // namespace corvale
