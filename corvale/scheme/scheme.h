// corvale::Scheme: a scheme document and the objects over it, ready for a host to use as the
// scheme object of its instrument set. The document's root SCHEME holds NAME, LOGGER (a copy
// of the chosen logger definition, which carries the allocation state), LIBRARIES (the library
// files to open, one LIBRARY each), INSTRUMENTS, OUTPUTS, EVENTS and LOGBUFFERS.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "corvale/binding/file_document.h"
#include "corvale/core/object.h"
#include "corvale/instruments/outputs.h"
#include "corvale/libraries/libraries.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/scheme/log_buffers.h"
#include "corvale/scheme/scheme_events.h"
#include "corvale/scheme/scheme_instruments.h"

namespace corvale {

class Scheme : public Object, public FileDocument {
 public:
  // An empty scheme; create it with std::make_shared (the instrument set links back to it).
  Scheme();

  // Starts the scheme afresh: its name, a copy of the logger definition and the library files
  // (opened as given, or else beside the scheme file). Libraries that cannot be opened are
  // entries of Instruments()->Errors().
  void New(std::string name, const clsLoggerDef& logger, const std::vector<std::string>& libraries);
  // False, with the scheme unchanged, for a file that does not parse or has another root.
  bool Load(const std::string& fileName);
  // To fileName, or to the file last loaded or saved; a failure rises as corvale::Error.
  void Save(const std::string& fileName = {});

  std::string Name() const;
  void Name(std::string value);
  LoggerDefPtr Logger() const { return logger_; }
  std::shared_ptr<clsLibraries> Libraries() const { return libraries_; }
  OutputsPtr Outputs() const { return outputs_; }
  SchemeEventsPtr Events() const { return events_; }
  LogBuffersPtr LogBuffers() const { return log_buffers_; }
  SchemeInstrumentsPtr Instruments() const { return instruments_; }
  // The folder of the scheme file, with its separator; "" before the scheme has a file.
  std::string SchemePath() const;
  // The scheme file's name without extension; the NAME before the scheme has a file.
  std::string SchemeName() const;
  // The library files as the document names them.
  std::vector<std::string> LibraryFiles() const;
  // An instrument for the scheme from the library with that Source, or with no source from the
  // first library that has the code; null when none has it.
  InstrumentPtr LibraryInstrument(const std::string& catCode, const std::string& source = {});

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  // Binds every member to its child of SCHEME, appending the missing children in order.
  void Bind();
  xml::Node Child(std::string_view name);
  void OpenLibraries();

  LoggerDefPtr logger_;
  std::shared_ptr<clsLibraries> libraries_ = std::make_shared<clsLibraries>();
  OutputsPtr outputs_ = std::make_shared<clsOutputs>();
  SchemeEventsPtr events_ = std::make_shared<clsSchemeEvents>();
  LogBuffersPtr log_buffers_ = std::make_shared<clsLogBuffers>();
  SchemeInstrumentsPtr instruments_ = std::make_shared<clsSchemeInstruments>();
};

using SchemePtr = std::shared_ptr<Scheme>;

}  // namespace corvale
