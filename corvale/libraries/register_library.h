// clsRegisterLibrary: the list of libraries a host opens at start-up, kept in the per-user
// settings store under an application name and section as COUNT and LIB1, LIB2, ...
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corvale/core/object.h"

namespace corvale {

class clsRegisterLibrary : public Object {
 public:
  // Makes sure the library (a class name or file name, text with a ".") is in the list,
  // compacting the list and rewriting the whole section on every call. Failures are not
  // reported; the result is always false.
  bool Register(std::string_view appName, std::string_view section, std::string_view library);
  // The same, in one locked update of the settings store, raising what went wrong (the list
  // is then left as it was). For callers that must know whether the list was written.
  static void AddToStartupList(std::string_view appName, std::string_view section,
                               std::string_view library);

  // The start-up list in order, empty entries left out.
  static std::vector<std::string> StartupList(std::string_view appName, std::string_view section);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

}  // namespace corvale
