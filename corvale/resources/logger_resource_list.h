// clsLoggerResourceList: the resource requests of an instrument or a logger channel
// (RESOURCES element holding REQUEST elements), keyed by request Key.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/resources/logger_resource_request.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerResourceList : public Object {
 public:
  clsLoggerResourceList();  // bound to a new, empty RESOURCES element

  int16_t Count() const;
  // A position or a key; raises 9 when there is none.
  LoggerResourceRequestPtr Item(const corvale::Index& index) const;
  // The owner's key, in the PARENT element.
  std::string Parent() const;
  void Parent(std::string value);
  xml::Node XMLNode() const;
  // Gives requests without a key a "RES_" key; raises 457 for a repeated key.
  void XMLNode(xml::Node value);
  // Appends the request's element, gives it the first free "RES_" + n when its key is
  // empty; raises 457 for a key already present.
  void Add(LoggerResourceRequestPtr request);
  void Remove(const corvale::Index& index);
  void Clear();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::string NextKey() const;

  FactoryUser factory_user_;
  xml::Node node_;
  KeyedCollection<clsLoggerResourceRequest> items_;
};

using LoggerResourceListPtr = std::shared_ptr<clsLoggerResourceList>;

}  // namespace corvale
