#include "corvale/instruments/instrument.h"

#include "corvale/core/member_table.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/outputs.h"
#include "corvale/resources/logger_resource_list.h"

namespace corvale {

Variant IInstrument::Invoke(std::string_view member, const Args& args) {
  using T = IInstrument;
  using M = MemberTable<T>;
  static const M members = {
      {"BaseClass", M::Property(&T::BaseClass, &T::BaseClass)},
      {"Buddies", M::Getter(&T::Buddies)},
      {"CatCode", M::Property(&T::CatCode, &T::CatCode)},
      {"Changed", M::Property(&T::Changed, &T::Changed)},
      {"Channels", M::Getter(&T::Channels)},
      {"CDTSettings", M::Getter(&T::CDTSettings)},
      {"Files", M::Getter(&T::Files)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"Events", M::Getter(&T::Events)},
      {"Family", M::Property(&T::Family, &T::Family)},
      {"IconSource", M::Property(&T::IconSource, &T::IconSource)},
      {"INPCode", M::Property(&T::INPCode, &T::INPCode)},
      {"Instance", M::Property(&T::Instance, &T::Instance)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"Keywords", M::Property(&T::Keywords, &T::Keywords)},
      {"LoaderClass", M::Property(&T::LoaderClass, &T::LoaderClass)},
      {"LoadFromScheme", M::Property(&T::LoadFromScheme, &T::LoadFromScheme)},
      {"Loader", M::Property(&T::Loader, &T::Loader)},
      {"LoggerTypes", M::Property(&T::LoggerTypes, &T::LoggerTypes)},
      {"MinimumBuildRevision", M::Property(&T::MinimumBuildRevision, &T::MinimumBuildRevision)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"Outputs", M::Getter(&T::Outputs)},
      {"ReadOnly", M::Property(&T::ReadOnly, &T::ReadOnly)},
      {"Resources", M::Getter(&T::Resources)},
      {"SetupForm", M::Property(&T::SetupForm, &T::SetupForm)},
      {"SingleUse", M::Property(&T::SingleUse, &T::SingleUse)},
      {"Source", M::Property(&T::Source, &T::Source)},
      {"Tag", M::Property(&T::Tag, &T::Tag)},
      {"Version", M::Property(&T::Version, &T::Version)},
      {"Visible", M::Property(&T::Visible, &T::Visible)},
      {"Install",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Install(a[0].ToObject());
         return {};
       }},
      {"Load", M::Method(&T::Load)},
      {"Save", M::Method(&T::Save)},
      {"BeforeWrite", M::Method(&T::BeforeWrite)},
      {"BeforeCompile", M::Method(&T::BeforeCompile)},
      {"QueryUninstall", M::Method(&T::QueryUninstall)},
      {"UnInstall", M::Method(&T::UnInstall)},
  };
  return members.Invoke(*this, member, args);
}

bool IInstrument::CallLoaderHook(const ObjectPtr& loader, std::string_view hook) {
  if (!loader) return true;
  try {
    return loader->Invoke(hook).ToBool();
  } catch (...) {
    return false;  // whatever the loader raises reads as "no"
  }
}

void IInstrument::CallLoaderUnInstall(const ObjectPtr& loader) {
  if (!loader) return;
  try {
    loader->Invoke("UnInstall");
  } catch (...) {
    // Removal goes on whatever the loader makes of it.
  }
}

}  // namespace corvale
