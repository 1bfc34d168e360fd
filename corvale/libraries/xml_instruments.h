// XMLInstruments: an instrument library kept in one XML file with the root element
// PennardInstrumentLibrary. Its instruments are the root's INSTRUMENT children; Item hands
// out instruments bound to copies of them, LibraryItem instruments bound to the elements
// themselves.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "corvale/binding/file_document.h"
#include "corvale/core/host.h"
#include "corvale/core/index.h"
#include "corvale/libraries/instruments.h"
#include "corvale/xml/xml.h"

namespace corvale {

class XMLInstruments : public IInstruments, public FileDocument {
 public:
  // A new document holding the declaration and an empty PennardInstrumentLibrary root.
  XMLInstruments();

  std::string ClassName() const override;
  int16_t Count() const override;
  std::string Description() const override;
  void Description(std::string value) override;
  PicturePtr Icon() const override;
  std::string IconSource() const;
  // Also reloads Icon; a failed load leaves no icon and is not reported.
  void IconSource(std::string value);
  std::string Provider() const override;
  void Provider(std::string value) override;
  // In memory only: never written into the file.
  std::string Source() const override;
  void Source(std::string value) override;
  float Version() const override;
  void Version(float value) override;
  // Absent reads -1 and writes "-1" back; 0 removes the element, so it reads -1 again.
  int32_t Visibility() const override;
  void Visibility(int32_t value) override;
  // A position (1-based) or a catalogue code (without regard to case). Null for a code that
  // no instrument has, a position below 1, or an empty library; error 91 for a position
  // beyond Count.
  InstrumentPtr Item(const Index& index) override;
  // Error 91 when there is no instrument at the index.
  InstrumentPtr LibraryItem(const Index& index) override;
  // Moves the instrument's element into this library and sets its Index to the new Count.
  InstrumentPtr Add(InstrumentPtr instrument) override;
  std::string Name() const override;
  // Also writes the root's attribute NAME.
  void Name(std::string value) override;
  // File(): the file last loaded or saved.
  // Absent reads -1 and writes "-1" back; 0 removes the element, so it reads -1 again.
  int32_t EditMode() const override;
  void EditMode(int32_t value) override;
  xml::Node XMLNode() const override;
  // Makes the element the root; the document, Source and File stay as they are.
  void XMLNode(xml::Node value);
  // True only when the file parsed and holds a PennardInstrumentLibrary root. A file that
  // does not parse changes nothing but the instruments (they are cleared first); a wrong
  // root still sets Source and File.
  bool Load(const std::string& fileName) override;
  // Raises a failed save; the result is always false.
  bool Save(const std::string& fileName) override;
  // Error 91 when there is no instrument at the index.
  void Remove(const Index& index) override;
  void Clear() override;

 private:
  int32_t Position(const Index& index);
  int32_t PositionOfCode(const std::string& code);
  void RebuildCodeIndex();
  void Reselect();
  xml::Node ElementAt(int32_t position) const;

  std::vector<xml::Node> instruments_;  // the root's INSTRUMENT children, in order
  PicturePtr icon_;
  std::string source_;
  // Upper-cased catalogue code to the 0-based position of the first instrument holding it.
  // CATCODE may be edited behind the library's back (through LibraryItem or the elements), and
  // then an earlier instrument may hold a code: the index is rebuilt whenever the tree's change
  // count for CATCODE elements has moved since it was built, and is exact otherwise, misses
  // included.
  std::unordered_map<std::string, int32_t> codeIndex_;
  bool codeIndexStale_ = true;
  uint64_t codeChanges_ = 0;  // xml::ChangeCount("CATCODE") when the index was built
};

}  // namespace corvale
