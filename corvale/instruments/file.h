// clsFile: one code or library file that an instrument needs (FILE element).
#pragma once

#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsFile : public BoundElement {
 public:
  clsFile();                            // bound to a new, detached FILE element
  explicit clsFile(xml::Node element);  // bound to an existing FILE element

  std::string Family() const;
  void Family(std::string value);
  // The file's path (PATH element); the key of the file in clsFiles.
  std::string File() const;
  void File(std::string value);
  float Version() const;
  void Version(float value);
  // Day number: days since 1899-12-30, the fraction is the time of day; 0 is no date.
  double FileDate() const;
  void FileDate(double value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using FilePtr = std::shared_ptr<clsFile>;

}  // namespace corvale
