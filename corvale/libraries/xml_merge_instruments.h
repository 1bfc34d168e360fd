// XMLMergeInstruments: an extension module's merge file (root MERGEINSTRUMENTS) and the merge
// of its instruments into the target library it names.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "corvale/binding/file_document.h"
#include "corvale/core/object.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/xml/xml.h"

namespace corvale {

// What one MergeInstruments did.
struct MergeChange {
  std::string catCode;
  std::string name;
  float oldVersion = 0;  // the replaced instrument's version (additions: 0)
  float newVersion = 0;
};
struct MergeResult {
  std::vector<MergeChange> added;
  std::vector<MergeChange> replaced;  // in the order they were appended
  bool asked = false;                 // the confirmation was shown
  bool cancelled = false;             // the user cancelled: target unchanged and unsaved
};

class XMLMergeInstruments : public Object, public FileDocument {
 public:
  // A new document with the declaration and MERGEINSTRUMENTS holding an empty library root.
  XMLMergeInstruments();

  std::string Name() const;
  void Name(std::string value);
  std::string Description() const;
  void Description(std::string value);
  // Reads "1" when absent; written forced, so "" and "0" stay as text.
  std::string Version() const;
  void Version(std::string value);
  // The class name of the library to merge into.
  std::string Target() const;
  void Target(std::string value);
  std::string Provider() const;
  void Provider(std::string value);
  std::string UserName() const;
  void UserName(std::string value);
  std::string LicenseText() const;
  void LicenseText(std::string value);
  std::shared_ptr<clsLibraries> Libraries() const;
  void Libraries(std::shared_ptr<clsLibraries> value);
  std::shared_ptr<XMLInstruments> Instruments() const;
  xml::Node XMLNode() const;
  // True when the file parsed and has a MERGEINSTRUMENTS root.
  bool Load(const std::string& fileName);
  // "" keeps the file name; a failed save raises.
  void Save(const std::string& fileName);
  // Adds the instruments the target lacks and replaces those it has in a strictly lower
  // version, after one confirmation; then saves the target. Nothing to change: no question,
  // still saved. Raises 91 when there is no library set or the target cannot be created.
  MergeResult MergeInstruments();

  // The confirmation text shown before the first change.
  std::string ConfirmationText() const;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::shared_ptr<XMLInstruments> instruments_;
  std::shared_ptr<clsLibraries> libraries_;
};

}  // namespace corvale
