// clsStdInstrument: the standard instrument. All of its data lives in an INSTRUMENT element;
// its life-cycle hooks may be handed to a loader object created from LOADERCLASS.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/host.h"
#include "corvale/core/object.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/instrument.h"
#include "corvale/instruments/outputs.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsStdInstrument : public IInstrument, private ElementBinding {
 public:
  clsStdInstrument();  // bound to a new, detached INSTRUMENT element
  ~clsStdInstrument() override;

  std::string BaseClass() const override;
  void BaseClass(std::string value) override;
  std::shared_ptr<clsBuddyInstruments> Buddies() override;
  std::string CatCode() const override;
  void CatCode(std::string value) override;
  bool Changed() const override;
  // Also sets Changed of the channels.
  void Changed(bool value) override;
  std::shared_ptr<clsInstChannels> Channels() override;
  std::shared_ptr<clsCDTSettings> CDTSettings() override;
  std::shared_ptr<clsFiles> Files() override;
  std::string Description() const override;
  void Description(std::string value) override;
  std::shared_ptr<clsEvents> Events() override;
  std::string Family() const override;
  void Family(std::string value) override;
  PicturePtr Icon() const override;
  void Icon(PicturePtr value) override;
  std::string IconSource() const override;
  // Also reloads Icon.
  void IconSource(std::string value) override;
  // Multi-line program text, kept on one line in the element.
  std::string INPCode() const override;
  void INPCode(std::string value) override;
  int16_t Instance() const override;
  void Instance(int16_t value) override;
  int16_t Index() const override;
  void Index(int16_t value) override;
  std::string Key() const override;
  // Also hands the key down as Parent to every collection but the files.
  void Key(std::string value) override;
  std::string Keywords() const override;
  void Keywords(std::string value) override;
  std::string LoaderClass() const override;
  void LoaderClass(std::string value) override;
  bool LoadFromScheme() const override;
  void LoadFromScheme(bool value) override;
  ObjectPtr Loader() const override;
  void Loader(ObjectPtr value) override;
  int32_t LoggerTypes() const override;
  void LoggerTypes(int32_t value) override;
  std::string MinimumBuildRevision() const override;
  void MinimumBuildRevision(std::string value) override;
  std::string Name() const override;
  // Also writes the NAME attribute of the element, even for an empty name.
  void Name(std::string value) override;
  std::shared_ptr<clsOutputs> Outputs() override;
  std::shared_ptr<clsOutputs> OUTChannels() { return Outputs(); }
  bool ReadOnly() const override;
  void ReadOnly(bool value) override;
  std::shared_ptr<clsLoggerResourceList> Resources() override;
  std::string SetupForm() const override;
  void SetupForm(std::string value) override;
  bool SingleUse() const override;
  void SingleUse(bool value) override;
  std::string Source() const override;
  void Source(std::string value) override;
  std::string Tag() const override;
  void Tag(std::string value) override;
  float Version() const override;
  void Version(float value) override;
  bool Visible() const override;
  void Visible(bool value) override;
  xml::Node XMLNode() const override;
  // Binds the instrument to another element; an installed instrument is installed again
  // with its owner, so that every collection follows the new element.
  void XMLNode(xml::Node value) override;
  // Binds the seven collections (appending missing container elements), hands them the key,
  // keeps the owner and creates the loader named by LoaderClass.
  void Install(ObjectPtr owner) override;
  // The hooks answer true without a loader, and false when the loader fails them.
  bool Load() override;
  bool Save() override;
  bool BeforeWrite() override;
  bool BeforeCompile() override;
  bool QueryUninstall() override;
  void UnInstall() override;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  // A collection bound to the element's child of its container name when there is one;
  // the container is appended only when `append` is set.
  template <class C>
  std::shared_ptr<C>& Bind(std::shared_ptr<C>& collection, std::string_view name, bool append);
  template <class C>
  std::shared_ptr<C>& OnDemand(std::shared_ptr<C>& collection, std::string_view name);
  void HandDownKey(const std::string& key);
  void DropCollections();
  void ReloadIcon();

  std::shared_ptr<clsInstChannels> channels_;
  std::shared_ptr<clsCDTSettings> cdt_settings_;
  std::shared_ptr<clsOutputs> outputs_;
  std::shared_ptr<clsEvents> events_;
  std::shared_ptr<clsLoggerResourceList> resources_;
  std::shared_ptr<clsBuddyInstruments> buddies_;
  std::shared_ptr<clsFiles> files_;
  PicturePtr icon_;
  // The owner is a link up the tree: the scheme owns its instruments.
  std::weak_ptr<Object> owner_;
  ObjectPtr loader_;
};

}  // namespace corvale
