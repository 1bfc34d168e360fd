#include "corvale/instruments/std_instrument.h"

#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/outputs.h"
#include "corvale/resources/logger_resource_list.h"

namespace corvale {
namespace {

constexpr std::string_view kDefaultBuildRevision = "4.01.0018";

}  // namespace

clsStdInstrument::clsStdInstrument() : ElementBinding("INSTRUMENT") {}

clsStdInstrument::~clsStdInstrument() = default;

std::string clsStdInstrument::BaseClass() const { return GetNodeText(node_, "BASECLASS", ""); }
void clsStdInstrument::BaseClass(std::string value) { SetNodeText(node_, "BASECLASS", value); }

std::string clsStdInstrument::CatCode() const { return GetNodeText(node_, "CATCODE", ""); }
void clsStdInstrument::CatCode(std::string value) { SetNodeText(node_, "CATCODE", value); }

bool clsStdInstrument::Changed() const { return GetTextBoolean(node_, "CHANGED", "0"); }
void clsStdInstrument::Changed(bool value) {
  SetTextBoolean(node_, "CHANGED", value);
  if (channels_) channels_->Changed(value);
}

std::string clsStdInstrument::Description() const { return GetNodeText(node_, "DESCRIPTION", ""); }
void clsStdInstrument::Description(std::string value) { SetNodeText(node_, "DESCRIPTION", value); }

std::string clsStdInstrument::Family() const { return GetNodeText(node_, "FAMILY", ""); }
void clsStdInstrument::Family(std::string value) { SetNodeText(node_, "FAMILY", value); }

PicturePtr clsStdInstrument::Icon() const { return icon_; }
void clsStdInstrument::Icon(PicturePtr value) { icon_ = std::move(value); }

std::string clsStdInstrument::IconSource() const { return GetNodeText(node_, "ICONSOURCE", ""); }
void clsStdInstrument::IconSource(std::string value) {
  SetNodeText(node_, "ICONSOURCE", value);
  ReloadIcon();
}

void clsStdInstrument::ReloadIcon() { icon_ = EditorIcon(IconSource()); }

std::string clsStdInstrument::INPCode() const {
  return UnescapeText(GetNodeText(node_, "INPCODE", ""));
}
void clsStdInstrument::INPCode(std::string value) {
  SetNodeText(node_, "INPCODE", EscapeText(value));
}

int16_t clsStdInstrument::Instance() const { return GetTextInteger(node_, "INSTANCE", "0"); }
void clsStdInstrument::Instance(int16_t value) { SetTextLong(node_, "INSTANCE", value); }

int16_t clsStdInstrument::Index() const { return GetTextInteger(node_, "INDEX", ""); }
void clsStdInstrument::Index(int16_t value) { SetTextLong(node_, "INDEX", value); }

std::string clsStdInstrument::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsStdInstrument::Key(std::string value) {
  SetNodeText(node_, "KEY", value);
  HandDownKey(value);
}

// Files carry no owner key; every other collection is told whose it is.
void clsStdInstrument::HandDownKey(const std::string& key) {
  if (channels_) channels_->Parent(key);
  if (events_) events_->Parent(key);
  if (outputs_) outputs_->Parent(key);
  if (buddies_) buddies_->Parent(key);
  if (cdt_settings_) cdt_settings_->Parent(key);
  if (resources_) resources_->Parent(key);
}

std::string clsStdInstrument::Keywords() const { return GetNodeText(node_, "KEYWORDS", ""); }
void clsStdInstrument::Keywords(std::string value) { SetNodeText(node_, "KEYWORDS", value); }

std::string clsStdInstrument::LoaderClass() const { return GetNodeText(node_, "LOADERCLASS", ""); }
void clsStdInstrument::LoaderClass(std::string value) { SetNodeText(node_, "LOADERCLASS", value); }

bool clsStdInstrument::LoadFromScheme() const {
  return GetTextBoolean(node_, "LOADFROMSCHEME", "0");
}
void clsStdInstrument::LoadFromScheme(bool value) {
  SetTextBoolean(node_, "LOADFROMSCHEME", value);
}

ObjectPtr clsStdInstrument::Loader() const { return loader_; }
void clsStdInstrument::Loader(ObjectPtr value) { loader_ = std::move(value); }

int32_t clsStdInstrument::LoggerTypes() const { return GetTextLong(node_, "LOGGERTYPES", "0"); }
void clsStdInstrument::LoggerTypes(int32_t value) { SetTextLong(node_, "LOGGERTYPES", value); }

std::string clsStdInstrument::MinimumBuildRevision() const {
  return GetNodeString(node_, "MINBUILDREVISION", kDefaultBuildRevision, true);
}
void clsStdInstrument::MinimumBuildRevision(std::string value) {
  SetNodeString(node_, "MINBUILDREVISION", value, kDefaultBuildRevision, true);
}

std::string clsStdInstrument::Name() const { return GetNodeText(node_, "NAME", ""); }
void clsStdInstrument::Name(std::string value) {
  SetNodeText(node_, "NAME", value);
  // The attribute is written even for an empty name: readers of the document look for it.
  try {
    node_.setAttribute("NAME", value);
  } catch (...) {
  }
}

bool clsStdInstrument::ReadOnly() const { return GetTextBoolean(node_, "READONLY", "0"); }
void clsStdInstrument::ReadOnly(bool value) { SetTextBoolean(node_, "READONLY", value); }

std::string clsStdInstrument::SetupForm() const { return GetNodeText(node_, "SETUPFORM", ""); }
void clsStdInstrument::SetupForm(std::string value) { SetNodeText(node_, "SETUPFORM", value); }

bool clsStdInstrument::SingleUse() const { return GetTextBoolean(node_, "SINGLEUSE", "0"); }
void clsStdInstrument::SingleUse(bool value) { SetTextBoolean(node_, "SINGLEUSE", value); }

std::string clsStdInstrument::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void clsStdInstrument::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

std::string clsStdInstrument::Tag() const { return GetNodeText(node_, "TAG", ""); }
void clsStdInstrument::Tag(std::string value) { SetNodeText(node_, "TAG", value, true); }

float clsStdInstrument::Version() const { return TextToSingle(GetNodeText(node_, "VERSION", "1")); }
void clsStdInstrument::Version(float value) { SetNodeText(node_, "VERSION", SingleText(value)); }

bool clsStdInstrument::Visible() const { return GetTextBoolean(node_, "VISIBLE", "-1"); }
void clsStdInstrument::Visible(bool value) { SetTextBoolean(node_, "VISIBLE", value); }

xml::Node clsStdInstrument::XMLNode() const { return node_; }

void clsStdInstrument::XMLNode(xml::Node value) {
  if (!(value == node_)) {
    node_ = std::move(value);
    // Collections of the old element are let go rather than re-bound, so that nothing is
    // moved out of the element left behind.
    DropCollections();
  }
  if (ObjectPtr owner = owner_.lock()) Install(owner);
  ReloadIcon();
}

void clsStdInstrument::DropCollections() {
  channels_.reset();
  cdt_settings_.reset();
  outputs_.reset();
  events_.reset();
  resources_.reset();
  buddies_.reset();
  files_.reset();
}

template <class C>
std::shared_ptr<C>& clsStdInstrument::Bind(std::shared_ptr<C>& collection, std::string_view name,
                                           bool append) {
  xml::Node child = node_.selectSingleNode(name);
  if (child) {
    if (!collection) collection = std::make_shared<C>();
    collection->XMLNode(child);
  } else if (append) {
    // A collection whose element sits elsewhere is not taken along: a new one starts here.
    if (!collection || collection->XMLNode().parentNode()) collection = std::make_shared<C>();
    node_.appendChild(collection->XMLNode());
  } else if (!collection) {
    collection = std::make_shared<C>();
  }
  return collection;
}

// Before Install a collection is made when it is first asked for, bound to the element's
// child when there is one; reading never adds a container to the document.
template <class C>
std::shared_ptr<C>& clsStdInstrument::OnDemand(std::shared_ptr<C>& collection,
                                               std::string_view name) {
  if (collection) return collection;
  return Bind(collection, name, false);
}

std::shared_ptr<clsInstChannels> clsStdInstrument::Channels() {
  return OnDemand(channels_, "CHANNELS");
}
std::shared_ptr<clsCDTSettings> clsStdInstrument::CDTSettings() {
  return OnDemand(cdt_settings_, "CDTSETTINGS");
}
std::shared_ptr<clsOutputs> clsStdInstrument::Outputs() { return OnDemand(outputs_, "OUTPUTS"); }
std::shared_ptr<clsEvents> clsStdInstrument::Events() { return OnDemand(events_, "EVENTS"); }
std::shared_ptr<clsLoggerResourceList> clsStdInstrument::Resources() {
  return OnDemand(resources_, "RESOURCES");
}
std::shared_ptr<clsBuddyInstruments> clsStdInstrument::Buddies() {
  return OnDemand(buddies_, "BUDDIES");
}
std::shared_ptr<clsFiles> clsStdInstrument::Files() { return OnDemand(files_, "FILES"); }

void clsStdInstrument::Install(ObjectPtr owner) {
  Bind(channels_, "CHANNELS", true);
  Bind(cdt_settings_, "CDTSETTINGS", true);
  Bind(outputs_, "OUTPUTS", true);
  Bind(events_, "EVENTS", true);
  Bind(resources_, "RESOURCES", true);
  Bind(buddies_, "BUDDIES", true);
  Bind(files_, "FILES", true);

  const std::string key = Key();
  if (!key.empty()) {
    channels_->Parent(key);
    cdt_settings_->Parent(key);
    outputs_->Parent(key);
    events_->Parent(key);
    resources_->Parent(key);
    buddies_->Parent(key);
  }

  owner_ = owner;

  const std::string loaderClass = LoaderClass();
  if (loaderClass.empty()) return;
  // A loader that cannot be made or installed leaves the instrument without one; the
  // instrument itself stays usable.
  loader_ = nullptr;
  try {
    ObjectPtr loader = CreateObject(loaderClass);
    loader_ = loader;
    loader->Invoke("Install", {Variant(shared_from_this()), Variant(owner)});
  } catch (...) {
    loader_ = nullptr;
  }
}

bool clsStdInstrument::Load() { return CallLoaderHook(loader_, "Load"); }
bool clsStdInstrument::Save() { return CallLoaderHook(loader_, "Save"); }
bool clsStdInstrument::BeforeWrite() { return CallLoaderHook(loader_, "BeforeWrite"); }
bool clsStdInstrument::BeforeCompile() { return CallLoaderHook(loader_, "BeforeCompile"); }
bool clsStdInstrument::QueryUninstall() { return CallLoaderHook(loader_, "QueryUninstall"); }
void clsStdInstrument::UnInstall() { CallLoaderUnInstall(loader_); }

Variant clsStdInstrument::Invoke(std::string_view member, const Args& args) {
  // The outputs under their older name, beside the interface's members.
  if (FoldMemberName(member) == "OUTCHANNELS") {
    ExpectArgs(args, 0);
    return Variant(OUTChannels());
  }
  return IInstrument::Invoke(member, args);
}

}  // namespace corvale
