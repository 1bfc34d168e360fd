#include "corvale/scheme/scheme.h"

#include <filesystem>
#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/libraries/xml_instruments.h"

namespace corvale {

namespace {
constexpr std::string_view kRoot = "SCHEME";
// The children of SCHEME, in the order a new scheme writes them.
constexpr std::string_view kParts[] = {"NAME",    "LOGGER", "LIBRARIES", "INSTRUMENTS",
                                       "OUTPUTS", "EVENTS", "LOGBUFFERS"};
}  // namespace

Scheme::Scheme() : FileDocument(kRoot) {}

xml::Node Scheme::Child(std::string_view name) {
  xml::Node child = root_.selectSingleNode(name);
  if (!child) child = root_.appendChild(CreateElement(name));
  return child;
}

void Scheme::New(std::string name, const clsLoggerDef& logger,
                 const std::vector<std::string>& libraries) {
  while (xml::Node child = root_.firstChild()) root_.removeChild(child);
  for (std::string_view part : kParts) {
    if (part == "LOGGER") {
      root_.appendChild(logger.XMLNode().cloneNode(true));
    } else {
      root_.appendChild(CreateElement(part));
    }
  }
  Name(std::move(name));
  xml::Node list = root_.selectSingleNode("LIBRARIES");
  for (const std::string& library : libraries) {
    xml::Node element = CreateElement("LIBRARY");
    element.text(library);
    list.appendChild(element);
  }
  Bind();
}

bool Scheme::Load(const std::string& fileName) {
  // The load replaces the document's content in place: kept aside, it is put back when the
  // file is no scheme.
  const std::vector<xml::Node> before = document_.childNodes();
  if (!LoadFile(fileName)) return false;
  xml::Node root = document_.documentElement();
  if (!root || root.nodeName() != kRoot) {
    for (const xml::Node& child : document_.childNodes()) document_.removeChild(child);
    for (const xml::Node& child : before) document_.appendChild(child);
    return false;
  }
  root_ = root;
  file_ = fileName;
  Bind();
  return true;
}

void Scheme::Save(const std::string& fileName) {
  instruments_->Reindex();
  SaveTo(fileName);
  if (!fileName.empty()) file_ = fileName;
}

std::string Scheme::Name() const { return GetNodeText(root_, "NAME", ""); }
void Scheme::Name(std::string value) { SetNodeText(root_, "NAME", value, true); }

std::string Scheme::SchemePath() const {
  if (file_.empty()) return {};
  const std::string folder = std::filesystem::path(file_).parent_path().string();
  return folder.empty() ? std::string() : folder + "/";
}

std::string Scheme::SchemeName() const {
  if (file_.empty()) return Name();
  return std::filesystem::path(file_).stem().string();
}

std::vector<std::string> Scheme::LibraryFiles() const {
  std::vector<std::string> files;
  for (const xml::Node& library : root_.selectSingleNode("LIBRARIES").selectNodes("LIBRARY"))
    files.push_back(library.text());
  return files;
}

void Scheme::OpenLibraries() {
  libraries_->Clear();
  for (const std::string& source : LibraryFiles()) {
    // Library references in instruments and buddies name the library as the scheme does, so
    // that is its Source wherever the file is found.
    auto library = std::make_shared<XMLInstruments>();
    std::string path = source;
    if (!std::filesystem::exists(path) && std::filesystem::path(source).is_relative())
      path = SchemePath() + source;
    if (library->Load(path)) {
      library->Source(source);
      libraries_->Add(library);
    } else {
      instruments_->Errors()->Report(err::kFileNotFound, "Unable to open the library " + source,
                                     "Scheme:Libraries", false);
    }
  }
}

void Scheme::Bind() {
  for (std::string_view part : kParts)
    if (part != "LOGGER") Child(part);
  xml::Node logger = root_.selectSingleNode("LOGGER");
  logger_ = logger ? std::make_shared<clsLoggerDef>(logger) : nullptr;
  OpenLibraries();
  outputs_->XMLNode(Child("OUTPUTS"));
  events_->XMLNode(Child("EVENTS"));
  log_buffers_->XMLNode(Child("LOGBUFFERS"));
  instruments_->Scheme(shared_from_this());
  instruments_->XMLNode(Child("INSTRUMENTS"));
}

InstrumentPtr Scheme::LibraryInstrument(const std::string& catCode, const std::string& source) {
  for (int16_t i = 1; i <= libraries_->Count(); ++i) {
    const InstrumentsPtr library = libraries_->Item(i);
    if (!source.empty() && library->Source() != source) continue;
    try {
      if (InstrumentPtr instrument = library->Item(catCode)) return instrument;
    } catch (const Error&) {
      // Not in this library.
    }
  }
  return nullptr;
}

Variant Scheme::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<Scheme>;
  static const M members = {
      {"Logger", M::Getter(&Scheme::Logger)},
      {"Libraries", M::Getter(&Scheme::Libraries)},
      {"Outputs", M::Getter(&Scheme::Outputs)},
      {"Events", M::Getter(&Scheme::Events)},
      {"LogBuffers", M::Getter(&Scheme::LogBuffers)},
      {"Instruments", M::Getter(&Scheme::Instruments)},
      {"SchemePath", M::Getter(&Scheme::SchemePath)},
      {"SchemeName", M::Getter(&Scheme::SchemeName)},
      {"Name", M::Property(&Scheme::Name, &Scheme::Name)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
