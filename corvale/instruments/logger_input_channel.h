// ILoggerInputChannel: what a logger input channel offers to the instrument channel that it
// is given to (clsInstChannel::LoggerChannel). The logger definitions implement it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/core/object.h"

namespace corvale {

class ILoggerInputChannel : public Object {
 public:
  virtual std::string Key() const = 0;
  virtual std::string BaseAddress() const = 0;
  // Data type code of the instrument channel tables (0 "Unsigned Byte" ... 8).
  virtual int32_t InputDataType() const = 0;
  // Bytes per value; 0 when the logger channel leaves the size to the instrument.
  virtual int16_t NumberBytes() const = 0;
  virtual bool Virtual() const = 0;
  virtual std::string Format() const = 0;
};

using LoggerInputChannelPtr = std::shared_ptr<ILoggerInputChannel>;

}  // namespace corvale
