// IInstruments: the one interface through which every instrument library is reached,
// whatever keeps it (a library file, memory, a host's own class). Member order is the
// interface's slot order and is kept; members added later stand at the end.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/core/host.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/instruments/instrument.h"
#include "corvale/xml/xml.h"

namespace corvale {

class IInstruments : public Object {
 public:
  virtual std::string Name() const = 0;
  virtual void Name(std::string value) = 0;
  virtual std::string Description() const = 0;
  virtual void Description(std::string value) = 0;
  virtual PicturePtr Icon() const = 0;
  virtual int16_t Count() const = 0;
  // An instrument for use in a scheme; null where the library has none at that index.
  virtual InstrumentPtr Item(const Index& index) = 0;
  // An instrument that edits the library itself.
  virtual InstrumentPtr LibraryItem(const Index& index) = 0;
  virtual int32_t EditMode() const = 0;
  virtual void EditMode(int32_t value) = 0;
  virtual std::string Provider() const = 0;
  virtual void Provider(std::string value) = 0;
  // The library's identity within a library set; for a file library, its path.
  virtual std::string Source() const = 0;
  virtual void Source(std::string value) = 0;
  virtual float Version() const = 0;
  virtual void Version(float value) = 0;
  // -1 visible, 0 hidden.
  virtual int32_t Visibility() const = 0;
  virtual void Visibility(int32_t value) = 0;
  // The library's root element; null for a library without a document.
  virtual xml::Node XMLNode() const = 0;
  virtual InstrumentPtr Add(InstrumentPtr instrument) = 0;
  virtual void Clear() = 0;
  virtual void Remove(const Index& index) = 0;
  virtual bool Load(const std::string& fileName) = 0;
  virtual bool Save(const std::string& fileName) = 0;
  // The text by which the class can be created ("Corvale2.XMLInstruments").
  virtual std::string ClassName() const = 0;

  // The members above by name, for late-bound callers (pictures and elements excepted).
  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using InstrumentsPtr = std::shared_ptr<IInstruments>;

}  // namespace corvale
