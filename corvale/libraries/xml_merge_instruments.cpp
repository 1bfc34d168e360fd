#include "corvale/libraries/xml_merge_instruments.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

constexpr std::string_view kMergeName = "MERGEINSTRUMENTS";
constexpr std::string_view kSource = "XMLMergeInstruments:MergeInstruments";

// The target's instrument with a catalogue code; a failed look-up counts as none.
InstrumentPtr FindInTarget(IInstruments& target, const std::string& catCode) {
  try {
    return target.Item(catCode);
  } catch (...) {
    return nullptr;
  }
}

// Removes the instrument that FindInTarget found. Its Index is what Add wrote into the
// element when it was appended, and goes stale once instruments before it are removed, so
// it is used only while it still designates that instrument; otherwise its code does.
void RemoveFromTarget(IInstruments& target, IInstrument& existing) {
  const int16_t index = existing.Index();
  bool designates = false;
  if (index >= 1 && index <= target.Count()) {
    try {
      InstrumentPtr atIndex = target.Item(index);
      designates = atIndex && EqualsNoCase(atIndex->CatCode(), existing.CatCode());
    } catch (...) {
    }
  }
  if (designates) {
    target.Remove(index);
    return;
  }
  target.Remove(existing.CatCode());
}

}  // namespace

XMLMergeInstruments::XMLMergeInstruments()
    : FileDocument(kMergeName), instruments_(std::make_shared<XMLInstruments>()) {
  // Built from nothing, the instruments sit in a library root nested in MERGEINSTRUMENTS;
  // a loaded file has them directly under MERGEINSTRUMENTS (see Load). The two layouts are
  // kept as they are: Load reads only the direct one, so merge files are written that way.
  root_.appendChild(instruments_->XMLNode());
}

std::string XMLMergeInstruments::Name() const { return GetNodeText(root_, "NAME", ""); }
void XMLMergeInstruments::Name(std::string value) { SetNodeText(root_, "NAME", value); }

std::string XMLMergeInstruments::Description() const {
  return GetNodeText(root_, "DESCRIPTION", "");
}
void XMLMergeInstruments::Description(std::string value) {
  SetNodeText(root_, "DESCRIPTION", value);
}

std::string XMLMergeInstruments::Version() const { return GetNodeText(root_, "VERSION", "1"); }
void XMLMergeInstruments::Version(std::string value) { SetNodeText(root_, "VERSION", value, true); }

std::string XMLMergeInstruments::Target() const { return GetNodeText(root_, "TARGET", ""); }
void XMLMergeInstruments::Target(std::string value) { SetNodeText(root_, "TARGET", value); }

std::string XMLMergeInstruments::Provider() const { return GetNodeText(root_, "PROVIDER", ""); }
void XMLMergeInstruments::Provider(std::string value) { SetNodeText(root_, "PROVIDER", value); }

std::string XMLMergeInstruments::UserName() const { return GetNodeText(root_, "USERNAME", ""); }
void XMLMergeInstruments::UserName(std::string value) { SetNodeText(root_, "USERNAME", value); }

std::string XMLMergeInstruments::LicenseText() const {
  return GetNodeText(root_, "LICENSETEXT", "");
}
void XMLMergeInstruments::LicenseText(std::string value) {
  SetNodeText(root_, "LICENSETEXT", value);
}

std::shared_ptr<clsLibraries> XMLMergeInstruments::Libraries() const { return libraries_; }
void XMLMergeInstruments::Libraries(std::shared_ptr<clsLibraries> value) {
  libraries_ = std::move(value);
}

std::shared_ptr<XMLInstruments> XMLMergeInstruments::Instruments() const { return instruments_; }

xml::Node XMLMergeInstruments::XMLNode() const { return root_; }

bool XMLMergeInstruments::Load(const std::string& fileName) {
  if (!LoadFile(fileName)) return false;
  root_ = document_.selectSingleNode(kMergeName);
  if (!root_) return false;
  instruments_->XMLNode(root_);
  file_ = fileName;
  return true;
}

void XMLMergeInstruments::Save(const std::string& fileName) {
  if (!fileName.empty()) file_ = fileName;
  SaveTo(file_);
}

std::string XMLMergeInstruments::ConfirmationText() const {
  const std::string crlf = "\r\n";
  return "New library extension modules detected..." + crlf + crlf +  //
         "New module = " + Name() + ": " + Description() + crlf +     //
         "Version: " + Version() + crlf +                             //
         "Provided by: " + Provider() + crlf + crlf +                 //
         "\"" + LicenseText() + "\"" + crlf + crlf +                  //
         "Merge instruments into the library";
}

MergeResult XMLMergeInstruments::MergeInstruments() {
  const std::string target = Target();
  InstrumentsPtr library = libraries_ ? libraries_->Library(target) : nullptr;
  if (!library) {
    throw Error(err::kObjectNotSet, "The target library " + target + " cannot be created",
                std::string(kSource));
  }

  MergeResult result;
  // One question per merge, asked just before the first change, so that a cancel leaves the
  // target as it was.
  auto confirmed = [&] {
    if (!result.asked) {
      result.asked = true;
      result.cancelled =
          Host().MessageBox(ConfirmationText(), "Merge Instrument Extension", MsgIcon::Question,
                            MsgButtons::OKCancel) == MsgAnswer::Cancel;
    }
    return !result.cancelled;
  };

  for (int16_t i = 1; i <= instruments_->Count(); ++i) {
    InstrumentPtr incoming = instruments_->Item(i);
    const std::string catCode = incoming->CatCode();
    InstrumentPtr existing = FindInTarget(*library, catCode);
    if (!existing) {
      if (!confirmed()) return result;
      library->Add(incoming);
      result.added.push_back({catCode, incoming->Name(), 0, incoming->Version()});
    } else if (incoming->Version() > existing->Version()) {
      if (!confirmed()) return result;
      RemoveFromTarget(*library, *existing);
      library->Add(incoming);
      result.replaced.push_back(
          {catCode, incoming->Name(), existing->Version(), incoming->Version()});
    }
  }
  library->Save("");
  return result;
}

Variant XMLMergeInstruments::Invoke(std::string_view member, const Args& args) {
  using T = XMLMergeInstruments;
  using M = MemberTable<T>;
  static const M members = {
      {"Name", M::Property(&T::Name, &T::Name)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"Version", M::Property(&T::Version, &T::Version)},
      {"Target", M::Property(&T::Target, &T::Target)},
      {"Provider", M::Property(&T::Provider, &T::Provider)},
      {"UserName", M::Property(&T::UserName, &T::UserName)},
      {"LicenseText", M::Property(&T::LicenseText, &T::LicenseText)},
      {"Libraries",
       [](T& self, const Args& a) -> Variant {
         if (a.empty()) return Variant(self.Libraries());
         ExpectArgs(a, 1);
         self.Libraries(a[0].ToObjectAs<clsLibraries>());
         return {};
       }},
      {"Instruments", M::Getter(&T::Instruments)},
      {"Load",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.Load(a[0].ToString()));
       }},
      {"Save",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Save(a[0].ToString());
         return {};
       }},
      {"MergeInstruments",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 0);
         self.MergeInstruments();
         return {};
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
