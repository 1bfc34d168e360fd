// clsLoggerResourceRequest: one request for a logger resource (REQUEST element).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

// Lock modes of resources and requests (LOCK element).
namespace lock {
inline constexpr int32_t kNone = 0;
inline constexpr int32_t kExclusive = 1;
inline constexpr int32_t kNotAvailable = 2;
}  // namespace lock

// The captions the editors show for a lock mode ("" for another value).
std::string LockModeCaption(int32_t mode);

class clsLoggerResourceRequest : public BoundElement {
 public:
  clsLoggerResourceRequest();                            // bound to a new, detached REQUEST element
  explicit clsLoggerResourceRequest(xml::Node element);  // bound to an existing REQUEST element

  std::string Key() const;
  void Key(std::string value);
  // The key of the resource asked for.
  std::string Resource() const;
  void Resource(std::string value);
  int32_t Locked() const;
  void Locked(int32_t value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using LoggerResourceRequestPtr = std::shared_ptr<clsLoggerResourceRequest>;

}  // namespace corvale
