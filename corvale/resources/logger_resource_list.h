// clsLoggerResourceList: the resource requests of an instrument or a logger channel
// (RESOURCES element holding REQUEST elements), keyed by request Key.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/resources/logger_resource_request.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerResourceList : public Object, public BoundCollection<clsLoggerResourceRequest> {
 public:
  // Bound to a new, empty RESOURCES element. Binding another element first takes the requests
  // out of the element left behind; REQUEST children without a key get the first free "RES_" +
  // n; a repeated key raises 457.
  clsLoggerResourceList();

  // The owner's key, in the PARENT element.
  std::string Parent() const;
  void Parent(std::string value);
  // Appends the request's element, gives it the first free "RES_" + n when its key is
  // empty, and adds it; raises 457 for a key already present, with the element left appended.
  void Add(LoggerResourceRequestPtr request);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using LoggerResourceListPtr = std::shared_ptr<clsLoggerResourceList>;

}  // namespace corvale
