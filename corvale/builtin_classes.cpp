// Registers every built-in creatable class as "Corvale2." + its class name.
#include "corvale/core/registry.h"
#include "corvale/instruments/std_instrument.h"
#include "corvale/libraries/dll_instrument.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/library_instruments.h"
#include "corvale/libraries/register_library.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/libraries/xml_merge_instruments.h"
#include "corvale/scaling/scale_channel.h"
#include "corvale/systems/code_templates.h"
#include "corvale/systems/systems.h"

namespace corvale {

void RegisterBuiltInClasses() {
  // Each model family adds its classes here.
  RegisterClassOf<clsStdInstrument>("Corvale2.clsStdInstrument");
  RegisterClassOf<clsDLLInstrument>("Corvale2.clsDLLInstrument");
  RegisterClassOf<XMLInstruments>("Corvale2.XMLInstruments");
  RegisterClassOf<clsLibraryInstruments>("Corvale2.clsLibraryInstruments");
  RegisterClassOf<clsLibraries>("Corvale2.clsLibraries");
  RegisterClassOf<clsRegisterLibrary>("Corvale2.clsRegisterLibrary");
  RegisterClassOf<XMLMergeInstruments>("Corvale2.XMLMergeInstruments");
  RegisterClassOf<clsCodeTemplates>("Corvale2.clsCodeTemplates");
  RegisterClassOf<clsCodeTemplate>("Corvale2.clsCodeTemplate");
  RegisterClassOf<clsSystems>("Corvale2.clsSystems");
  RegisterClassOf<clsSystem>("Corvale2.clsSystem");
  RegisterClassOf<clsSystemInstruments>("Corvale2.clsSystemInstruments");
  RegisterClassOf<clsSystemInstrument>("Corvale2.clsSystemInstrument");
  RegisterClassOf<ScaleChannel>("Corvale2.ScaleChannel");
}

}  // namespace corvale
