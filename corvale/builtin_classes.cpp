// Registers every built-in creatable class as "Corvale2." + its class name.
#include "corvale/core/registry.h"
#include "corvale/instruments/std_instrument.h"
#include "corvale/libraries/dll_instrument.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/library_instruments.h"
#include "corvale/libraries/register_library.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/libraries/xml_merge_instruments.h"

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
}

}  // namespace corvale
