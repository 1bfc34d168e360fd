// clsLibraryInstruments: an instrument library held only in memory, for instruments that no
// library file describes. Its members are the instrument objects themselves: Item and
// LibraryItem hand out the member, not a copy.
#pragma once

#include <cstdint>
#include <string>

#include "corvale/core/host.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/libraries/instruments.h"

namespace corvale {

class clsLibraryInstruments : public IInstruments {
 public:
  std::string Name() const override;
  void Name(std::string value) override;
  std::string Description() const override;
  void Description(std::string value) override;
  // Appends without a key.
  InstrumentPtr Add(InstrumentPtr instrument) override;
  int16_t Count() const override;
  int32_t EditMode() const override;
  void EditMode(int32_t value) override;
  // The member at a position; members have no keys, so a text index fails with error 9.
  InstrumentPtr LibraryItem(const Index& index) override;
  PicturePtr Icon() const override;
  void Icon(PicturePtr value);
  // The same as LibraryItem.
  InstrumentPtr Item(const Index& index) override;
  std::string Source() const override;
  void Source(std::string value) override;
  std::string Provider() const override;
  void Provider(std::string value) override;
  float Version() const override;
  void Version(float value) override;
  int32_t Visibility() const override;
  void Visibility(int32_t value) override;
  std::string ClassName() const override;
  // Null: the library has no document.
  xml::Node XMLNode() const override;
  void Clear() override;
  void Remove(const Index& index) override;

  // Nothing to load from or save to: both do nothing and return false.
  bool Load(const std::string& fileName) override;
  bool Save(const std::string& fileName) override;

 private:
  KeyedCollection<IInstrument> instruments_;
  std::string name_;
  std::string description_;
  std::string source_;
  std::string provider_;
  float version_ = 0;
  int32_t visibility_ = 0;
  int32_t editMode_ = -1;
  PicturePtr icon_;
};

}  // namespace corvale
