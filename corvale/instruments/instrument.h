// IInstrument: the one interface through which every instrument is reached, whatever class
// implements it. Member order is the interface's slot order and is kept.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/core/host.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsBuddyInstruments;
class clsInstChannels;
class clsCDTSettings;
class clsFiles;
class clsEvents;
class clsOutputs;
class clsLoggerResourceList;

class IInstrument : public Object {
 public:
  virtual std::string BaseClass() const = 0;
  virtual void BaseClass(std::string value) = 0;
  virtual std::shared_ptr<clsBuddyInstruments> Buddies() = 0;
  virtual std::string CatCode() const = 0;
  virtual void CatCode(std::string value) = 0;
  virtual bool Changed() const = 0;
  virtual void Changed(bool value) = 0;
  virtual std::shared_ptr<clsInstChannels> Channels() = 0;
  virtual std::shared_ptr<clsCDTSettings> CDTSettings() = 0;
  virtual std::shared_ptr<clsFiles> Files() = 0;
  virtual std::string Description() const = 0;
  virtual void Description(std::string value) = 0;
  virtual std::shared_ptr<clsEvents> Events() = 0;
  virtual std::string Family() const = 0;
  virtual void Family(std::string value) = 0;
  virtual PicturePtr Icon() const = 0;
  virtual void Icon(PicturePtr value) = 0;
  virtual std::string IconSource() const = 0;
  virtual void IconSource(std::string value) = 0;
  virtual std::string INPCode() const = 0;
  virtual void INPCode(std::string value) = 0;
  virtual int16_t Instance() const = 0;
  virtual void Instance(int16_t value) = 0;
  virtual int16_t Index() const = 0;
  virtual void Index(int16_t value) = 0;
  virtual std::string Key() const = 0;
  virtual void Key(std::string value) = 0;
  virtual std::string Keywords() const = 0;
  virtual void Keywords(std::string value) = 0;
  virtual std::string LoaderClass() const = 0;
  virtual void LoaderClass(std::string value) = 0;
  virtual bool LoadFromScheme() const = 0;
  virtual void LoadFromScheme(bool value) = 0;
  virtual ObjectPtr Loader() const = 0;
  virtual void Loader(ObjectPtr value) = 0;
  virtual int32_t LoggerTypes() const = 0;
  virtual void LoggerTypes(int32_t value) = 0;
  virtual std::string MinimumBuildRevision() const = 0;
  virtual void MinimumBuildRevision(std::string value) = 0;
  virtual std::string Name() const = 0;
  virtual void Name(std::string value) = 0;
  virtual std::shared_ptr<clsOutputs> Outputs() = 0;
  virtual bool ReadOnly() const = 0;
  virtual void ReadOnly(bool value) = 0;
  virtual std::shared_ptr<clsLoggerResourceList> Resources() = 0;
  virtual std::string SetupForm() const = 0;
  virtual void SetupForm(std::string value) = 0;
  virtual bool SingleUse() const = 0;
  virtual void SingleUse(bool value) = 0;
  virtual std::string Source() const = 0;
  virtual void Source(std::string value) = 0;
  virtual std::string Tag() const = 0;
  virtual void Tag(std::string value) = 0;
  virtual float Version() const = 0;
  virtual void Version(float value) = 0;
  virtual bool Visible() const = 0;
  virtual void Visible(bool value) = 0;
  virtual xml::Node XMLNode() const = 0;
  virtual void XMLNode(xml::Node value) = 0;
  virtual void Install(ObjectPtr owner) = 0;
  virtual bool Load() = 0;
  virtual bool Save() = 0;
  virtual bool BeforeWrite() = 0;
  virtual bool BeforeCompile() = 0;
  virtual bool QueryUninstall() = 0;
  virtual void UnInstall() = 0;

  // The members above by name, for late-bound callers (pictures excepted).
  Variant Invoke(std::string_view member, const Args& args = {}) override;

 protected:
  // The life-cycle hooks handed to a loader object by member name: true without a loader,
  // the loader's answer as a boolean, false when the call fails.
  static bool CallLoaderHook(const ObjectPtr& loader, std::string_view hook);
  // UnInstall of a loader; whatever the loader makes of it, removal goes on.
  static void CallLoaderUnInstall(const ObjectPtr& loader);
};

using InstrumentPtr = std::shared_ptr<IInstrument>;

}  // namespace corvale
