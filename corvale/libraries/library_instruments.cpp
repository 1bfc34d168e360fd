#include "corvale/libraries/library_instruments.h"

#include <utility>

namespace corvale {

std::string clsLibraryInstruments::Name() const { return name_; }
void clsLibraryInstruments::Name(std::string value) { name_ = std::move(value); }

std::string clsLibraryInstruments::Description() const { return description_; }
void clsLibraryInstruments::Description(std::string value) { description_ = std::move(value); }

InstrumentPtr clsLibraryInstruments::Add(InstrumentPtr instrument) {
  instruments_.Add(instrument);
  return instrument;
}

int16_t clsLibraryInstruments::Count() const { return instruments_.Count(); }

int32_t clsLibraryInstruments::EditMode() const { return editMode_; }
void clsLibraryInstruments::EditMode(int32_t value) { editMode_ = value; }

InstrumentPtr clsLibraryInstruments::LibraryItem(const Index& index) {
  return instruments_.Item(index);
}

PicturePtr clsLibraryInstruments::Icon() const { return icon_; }
void clsLibraryInstruments::Icon(PicturePtr value) { icon_ = std::move(value); }

InstrumentPtr clsLibraryInstruments::Item(const Index& index) { return instruments_.Item(index); }

std::string clsLibraryInstruments::Source() const { return source_; }
void clsLibraryInstruments::Source(std::string value) { source_ = std::move(value); }

std::string clsLibraryInstruments::Provider() const { return provider_; }
void clsLibraryInstruments::Provider(std::string value) { provider_ = std::move(value); }

float clsLibraryInstruments::Version() const { return version_; }
void clsLibraryInstruments::Version(float value) { version_ = value; }

int32_t clsLibraryInstruments::Visibility() const { return visibility_; }
void clsLibraryInstruments::Visibility(int32_t value) { visibility_ = value; }

std::string clsLibraryInstruments::ClassName() const { return "Corvale2.clsLibraryInstruments"; }

xml::Node clsLibraryInstruments::XMLNode() const { return {}; }

void clsLibraryInstruments::Clear() { instruments_.Clear(); }

void clsLibraryInstruments::Remove(const Index& index) { instruments_.Remove(index); }

bool clsLibraryInstruments::Load(const std::string&) { return false; }
bool clsLibraryInstruments::Save(const std::string&) { return false; }

}  // namespace corvale
