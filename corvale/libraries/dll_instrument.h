// clsDLLInstrument: an instrument whose installation and save-time behaviour comes from a
// loader object reached by member name. Only BASECLASS, LOADFROMSCHEME, MINBUILDREVISION,
// LOADERCLASS, SOURCE and the `name` attribute live in the element; everything else is held
// in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/host.h"
#include "corvale/core/object.h"
#include "corvale/instruments/instrument.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsDLLInstrument : public IInstrument, private ElementBinding {
 public:
  clsDLLInstrument();  // bound to a new, empty INSTRUMENT element
  ~clsDLLInstrument() override;

  std::string BaseClass() const override;
  void BaseClass(std::string value) override;
  std::shared_ptr<clsBuddyInstruments> Buddies() override;
  std::string CatCode() const override;
  void CatCode(std::string value) override;
  std::shared_ptr<clsInstChannels> Channels() override;
  std::shared_ptr<clsCDTSettings> CDTSettings() override;
  std::shared_ptr<clsFiles> Files() override;
  std::string Description() const override;
  void Description(std::string value) override;
  std::shared_ptr<clsEvents> Events() override;
  std::string INPCode() const override;
  void INPCode(std::string value) override;
  bool LoadFromScheme() const override;
  void LoadFromScheme(bool value) override;
  // Kept in memory and in the lower-case attribute `name` of the element.
  std::string Name() const override;
  void Name(std::string value) override;
  std::shared_ptr<clsOutputs> Outputs() override;
  std::shared_ptr<clsLoggerResourceList> Resources() override;
  std::string Tag() const override;
  void Tag(std::string value) override;
  std::string SetupForm() const override;
  void SetupForm(std::string value) override;
  PicturePtr Icon() const override;
  void Icon(PicturePtr value) override;
  std::string IconSource() const override;
  void IconSource(std::string value) override;
  int16_t Instance() const override;
  void Instance(int16_t value) override;
  std::string MinimumBuildRevision() const override;
  void MinimumBuildRevision(std::string value) override;
  // A change of value also sets Changed.
  bool ReadOnly() const override;
  void ReadOnly(bool value) override;
  ObjectPtr Loader() const override;
  void Loader(ObjectPtr value) override;
  std::string LoaderClass() const override;
  void LoaderClass(std::string value) override;
  bool SingleUse() const override;
  void SingleUse(bool value) override;
  bool Changed() const override;
  void Changed(bool value) override;
  std::string Key() const override;
  // Also hands the key to every collection but the files as its Parent.
  void Key(std::string value) override;
  int16_t Index() const override;
  void Index(int16_t value) override;
  int32_t LoggerTypes() const override;
  void LoggerTypes(int32_t value) override;
  std::string Source() const override;
  void Source(std::string value) override;
  float Version() const override;
  void Version(float value) override;
  bool Visible() const override;
  void Visible(bool value) override;
  std::string Family() const override;
  void Family(std::string value) override;
  std::string Keywords() const override;
  void Keywords(std::string value) override;
  xml::Node XMLNode() const override;
  void XMLNode(xml::Node value) override;

  // Creates the collections, then replaces the loader by a new object of the class that the
  // current loader's default value names and calls its Install(this, owner). Raises when no
  // loader is set or the named class cannot be created; the loader's own Install may fail
  // silently.
  void Install(ObjectPtr owner) override;
  // Each returns the loader's result as a boolean; true without a loader, false when the
  // loader fails.
  bool Load() override;
  bool Save() override;
  bool BeforeWrite() override;
  bool BeforeCompile() override;
  bool QueryUninstall() override;
  void UnInstall() override;

 private:
  void CreateCollections();
  void HandDownKey(const std::string& key);

  std::string name_;
  std::string cat_code_;
  std::string description_;
  std::string inp_code_;
  std::string tag_;
  std::string setup_form_;
  PicturePtr icon_;
  std::string icon_source_;
  int16_t instance_ = 0;
  bool read_only_ = false;
  bool single_use_ = false;
  bool changed_ = false;
  std::string key_;
  int16_t index_ = 0;
  int32_t logger_types_ = 0;
  float version_ = 0;
  bool visible_ = false;
  std::string family_;
  std::string keywords_;
  ObjectPtr loader_;
  // The owner is a link up the tree: the scheme owns its instruments, and a strong link back
  // would keep both alive for ever.
  std::weak_ptr<Object> owner_;
  std::shared_ptr<clsInstChannels> channels_;
  std::shared_ptr<clsCDTSettings> cdt_settings_;
  std::shared_ptr<clsOutputs> outputs_;
  std::shared_ptr<clsEvents> events_;
  std::shared_ptr<clsLoggerResourceList> resources_;
  std::shared_ptr<clsBuddyInstruments> buddies_;
  std::shared_ptr<clsFiles> files_;
};

}  // namespace corvale
