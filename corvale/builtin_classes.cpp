// Registers every built-in creatable class as "Corvale2." + its class name.
#include "corvale/core/registry.h"
#include "corvale/instruments/std_instrument.h"
#include "corvale/libraries/dll_instrument.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/library_instruments.h"
#include "corvale/libraries/register_library.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/libraries/xml_merge_instruments.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/loggers/logger_defs.h"
#include "corvale/loggers/logger_input_channel.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/loggers/logger_output_channel.h"
#include "corvale/loggers/logger_output_channels.h"
#include "corvale/process/exe.h"
#include "corvale/resources/logger_resource.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_request.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/scaling/scale_channel.h"
#include "corvale/scheme/error.h"
#include "corvale/scheme/errors.h"
#include "corvale/scheme/log.h"
#include "corvale/scheme/log_buffer.h"
#include "corvale/scheme/log_buffers.h"
#include "corvale/scheme/log_entries.h"
#include "corvale/scheme/scheme_instruments.h"
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
  RegisterClassOf<clsLoggerDefs>("Corvale2.clsLoggerDefs");
  RegisterClassOf<clsLoggerDef>("Corvale2.clsLoggerDef");
  RegisterClassOf<clsLoggerInputChannels>("Corvale2.clsLoggerInputChannels");
  RegisterClassOf<clsLoggerInputChannel>("Corvale2.clsLoggerInputChannel");
  RegisterClassOf<clsLoggerOutputChannels>("Corvale2.clsLoggerOutputChannels");
  RegisterClassOf<clsLoggerOutputChannel>("Corvale2.clsLoggerOutputChannel");
  RegisterClassOf<clsLoggerResources>("Corvale2.clsLoggerResources");
  RegisterClassOf<clsLoggerResource>("Corvale2.clsLoggerResource");
  RegisterClassOf<clsLoggerResourceUsers>("Corvale2.clsLoggerResourceUsers");
  RegisterClassOf<clsLoggerResourceList>("Corvale2.clsLoggerResourceList");
  RegisterClassOf<clsLoggerResourceRequest>("Corvale2.clsLoggerResourceRequest");
  RegisterClassOf<clsEXE>("Corvale2.clsEXE");
  RegisterClassOf<clsErrors>("Corvale2.clsErrors");
  RegisterClassOf<clsError>("Corvale2.clsError");
  RegisterClassOf<clsLogBuffers>("Corvale2.clsLogBuffers");
  RegisterClassOf<clsLogBuffer>("Corvale2.clsLogBuffer");
  RegisterClassOf<clsLogEntries>("Corvale2.clsLogEntries");
  RegisterClassOf<clsLog>("Corvale2.clsLog");
  RegisterClassOf<clsCodeTemplates>("Corvale2.clsCodeTemplates");
  RegisterClassOf<clsCodeTemplate>("Corvale2.clsCodeTemplate");
  RegisterClassOf<clsSystems>("Corvale2.clsSystems");
  RegisterClassOf<clsSystem>("Corvale2.clsSystem");
  RegisterClassOf<clsSystemInstruments>("Corvale2.clsSystemInstruments");
  RegisterClassOf<clsSystemInstrument>("Corvale2.clsSystemInstrument");
  RegisterClassOf<ScaleChannel>("Corvale2.ScaleChannel");
  RegisterClassOf<clsSchemeInstruments>("Corvale2.clsSchemeInstruments");
}

}  // namespace corvale
