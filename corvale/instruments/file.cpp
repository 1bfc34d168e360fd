#include "corvale/instruments/file.h"

#include <utility>

#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"

namespace corvale {

clsFile::clsFile() : BoundElement("FILE") {}

clsFile::clsFile(xml::Node element) : BoundElement(std::move(element)) {}

std::string clsFile::Family() const { return GetNodeText(node_, "FAMILY", ""); }
void clsFile::Family(std::string value) { SetNodeText(node_, "FAMILY", value); }

std::string clsFile::File() const { return GetNodeText(node_, "PATH", ""); }
void clsFile::File(std::string value) { SetNodeText(node_, "PATH", value); }

float clsFile::Version() const { return TextToSingle(GetNodeText(node_, "VERSION", "")); }
void clsFile::Version(float value) { SetNodeText(node_, "VERSION", SingleText(value)); }

double clsFile::FileDate() const { return TextToDouble(GetNodeText(node_, "FILEDATE", "")); }
void clsFile::FileDate(double value) { SetNodeText(node_, "FILEDATE", DoubleText(value)); }

Variant clsFile::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsFile>;
  static const M members = {
      {"Family", M::Property(&clsFile::Family, &clsFile::Family)},
      {"File", M::Property(&clsFile::File, &clsFile::File)},
      {"Version", M::Property(&clsFile::Version, &clsFile::Version)},
      {"FileDate", M::Property(&clsFile::FileDate, &clsFile::FileDate)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
