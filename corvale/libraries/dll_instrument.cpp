#include "corvale/libraries/dll_instrument.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
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

// Created on first use, so that a caller never meets a missing collection.
template <class T>
std::shared_ptr<T>& Made(std::shared_ptr<T>& collection) {
  if (!collection) collection = std::make_shared<T>();
  return collection;
}

}  // namespace

clsDLLInstrument::clsDLLInstrument() : ElementBinding("INSTRUMENT") {}

clsDLLInstrument::~clsDLLInstrument() = default;

std::string clsDLLInstrument::BaseClass() const { return GetNodeText(node_, "BASECLASS", ""); }
void clsDLLInstrument::BaseClass(std::string value) { SetNodeText(node_, "BASECLASS", value); }

std::shared_ptr<clsBuddyInstruments> clsDLLInstrument::Buddies() { return Made(buddies_); }

std::string clsDLLInstrument::CatCode() const { return cat_code_; }
void clsDLLInstrument::CatCode(std::string value) { cat_code_ = std::move(value); }

std::shared_ptr<clsInstChannels> clsDLLInstrument::Channels() { return Made(channels_); }
std::shared_ptr<clsCDTSettings> clsDLLInstrument::CDTSettings() { return Made(cdt_settings_); }
std::shared_ptr<clsFiles> clsDLLInstrument::Files() { return Made(files_); }

std::string clsDLLInstrument::Description() const { return description_; }
void clsDLLInstrument::Description(std::string value) { description_ = std::move(value); }

std::shared_ptr<clsEvents> clsDLLInstrument::Events() { return Made(events_); }

std::string clsDLLInstrument::INPCode() const { return inp_code_; }
void clsDLLInstrument::INPCode(std::string value) { inp_code_ = std::move(value); }

bool clsDLLInstrument::LoadFromScheme() const {
  return TextToBool(GetNodeText(node_, "LOADFROMSCHEME", "0"));
}
void clsDLLInstrument::LoadFromScheme(bool value) {
  SetNodeText(node_, "LOADFROMSCHEME", BoolText(value));
}

std::string clsDLLInstrument::Name() const { return name_; }
void clsDLLInstrument::Name(std::string value) {
  if (value == name_) return;
  name_ = std::move(value);
  try {
    node_.setAttribute("name", name_);
  } catch (const std::exception&) {
    // The name is kept in memory; the attribute is only a copy for readers of the element.
  }
}

std::shared_ptr<clsOutputs> clsDLLInstrument::Outputs() { return Made(outputs_); }
std::shared_ptr<clsLoggerResourceList> clsDLLInstrument::Resources() { return Made(resources_); }

std::string clsDLLInstrument::Tag() const { return tag_; }
void clsDLLInstrument::Tag(std::string value) { tag_ = std::move(value); }

std::string clsDLLInstrument::SetupForm() const { return setup_form_; }
void clsDLLInstrument::SetupForm(std::string value) { setup_form_ = std::move(value); }

PicturePtr clsDLLInstrument::Icon() const { return icon_; }
void clsDLLInstrument::Icon(PicturePtr value) { icon_ = std::move(value); }

std::string clsDLLInstrument::IconSource() const { return icon_source_; }
void clsDLLInstrument::IconSource(std::string value) { icon_source_ = std::move(value); }

int16_t clsDLLInstrument::Instance() const { return instance_; }
void clsDLLInstrument::Instance(int16_t value) { instance_ = value; }

std::string clsDLLInstrument::MinimumBuildRevision() const {
  return GetNodeString(node_, "MINBUILDREVISION", kDefaultBuildRevision, true);
}
void clsDLLInstrument::MinimumBuildRevision(std::string value) {
  SetNodeString(node_, "MINBUILDREVISION", value, kDefaultBuildRevision, true);
}

bool clsDLLInstrument::ReadOnly() const { return read_only_; }
void clsDLLInstrument::ReadOnly(bool value) {
  if (value == read_only_) return;
  read_only_ = value;
  changed_ = true;
}

ObjectPtr clsDLLInstrument::Loader() const { return loader_; }
void clsDLLInstrument::Loader(ObjectPtr value) { loader_ = std::move(value); }

std::string clsDLLInstrument::LoaderClass() const { return GetNodeText(node_, "LOADERCLASS", ""); }
void clsDLLInstrument::LoaderClass(std::string value) { SetNodeText(node_, "LOADERCLASS", value); }

bool clsDLLInstrument::SingleUse() const { return single_use_; }
void clsDLLInstrument::SingleUse(bool value) { single_use_ = value; }

bool clsDLLInstrument::Changed() const { return changed_; }
void clsDLLInstrument::Changed(bool value) { changed_ = value; }

std::string clsDLLInstrument::Key() const { return key_; }
void clsDLLInstrument::Key(std::string value) {
  key_ = std::move(value);
  HandDownKey(key_);
}

void clsDLLInstrument::HandDownKey(const std::string& key) {
  if (channels_) channels_->Parent(key);
  if (cdt_settings_) cdt_settings_->Parent(key);
  if (outputs_) outputs_->Parent(key);
  if (events_) events_->Parent(key);
  if (resources_) resources_->Parent(key);
  if (buddies_) buddies_->Parent(key);
}

int16_t clsDLLInstrument::Index() const { return index_; }
void clsDLLInstrument::Index(int16_t value) { index_ = value; }

int32_t clsDLLInstrument::LoggerTypes() const { return logger_types_; }
void clsDLLInstrument::LoggerTypes(int32_t value) { logger_types_ = value; }

std::string clsDLLInstrument::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void clsDLLInstrument::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

float clsDLLInstrument::Version() const { return version_; }
void clsDLLInstrument::Version(float value) { version_ = value; }

bool clsDLLInstrument::Visible() const { return visible_; }
void clsDLLInstrument::Visible(bool value) { visible_ = value; }

std::string clsDLLInstrument::Family() const { return family_; }
void clsDLLInstrument::Family(std::string value) { family_ = std::move(value); }

std::string clsDLLInstrument::Keywords() const { return keywords_; }
void clsDLLInstrument::Keywords(std::string value) { keywords_ = std::move(value); }

xml::Node clsDLLInstrument::XMLNode() const { return node_; }
void clsDLLInstrument::XMLNode(xml::Node value) { node_ = std::move(value); }

void clsDLLInstrument::CreateCollections() {
  Made(channels_);
  Made(cdt_settings_);
  Made(outputs_);
  Made(events_);
  Made(resources_);
  Made(buddies_);
  Made(files_);
}

void clsDLLInstrument::Install(ObjectPtr owner) {
  CreateCollections();
  owner_ = owner;
  if (!key_.empty()) HandDownKey(key_);

  // The new loader's class comes from the current loader's default value, not from
  // LoaderClass: a host that set Loader to an object naming a class gets a fresh loader of
  // that class. Without any loader, LoaderClass names it, so that instruments read from a
  // library (which carry only LOADERCLASS) can be installed.
  std::string className;
  if (loader_) {
    className = loader_->Invoke("").ToString();
  } else {
    className = LoaderClass();
  }
  if (!className.empty()) loader_ = CreateObject(className);
  if (!loader_) return;

  try {
    loader_->Invoke("Install", {Variant(weak_from_this().lock()), Variant(owner)});
  } catch (...) {
    // A loader that fails to install leaves the instrument as it is.
  }
}

bool clsDLLInstrument::Load() { return CallLoaderHook(loader_, "Load"); }
bool clsDLLInstrument::Save() { return CallLoaderHook(loader_, "Save"); }
bool clsDLLInstrument::BeforeWrite() { return CallLoaderHook(loader_, "BeforeWrite"); }
bool clsDLLInstrument::BeforeCompile() { return CallLoaderHook(loader_, "BeforeCompile"); }
bool clsDLLInstrument::QueryUninstall() { return CallLoaderHook(loader_, "QueryUninstall"); }
void clsDLLInstrument::UnInstall() { CallLoaderUnInstall(loader_); }

}  // namespace corvale
