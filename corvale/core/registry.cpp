#include "corvale/core/registry.h"

#include <unordered_map>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"

namespace corvale {

namespace {

struct Registry {
  std::unordered_map<std::string, Factory> factories;  // by upper-case class name
  bool builtInsDone = false;
};

// The registry, with the built-in classes registered on its first use. Every entry point
// comes through here, so a host that registers a class before anything else has run gets
// the built-ins first and its own registration on top: a host may replace a built-in class.
Registry& TheRegistry() {
  static Registry* registry = new Registry;  // never destroyed: used from static destructors
  if (!registry->builtInsDone) {
    registry->builtInsDone = true;
    RegisterBuiltInClasses();
  }
  return *registry;
}

Error CannotCreate(std::string_view name) {
  return Error(err::kCannotCreateObject,
               StandardDescription(err::kCannotCreateObject) + ": " + std::string(name),
               "CreateObject");
}

}  // namespace

void RegisterClass(std::string_view name, Factory factory) {
  Registry& registry = TheRegistry();
  if (!factory) {
    registry.factories.erase(UpperCase(name));
    return;
  }
  registry.factories[UpperCase(name)] = std::move(factory);
}

void UnregisterClass(std::string_view name) { TheRegistry().factories.erase(UpperCase(name)); }

bool IsClassRegistered(std::string_view name) {
  return TheRegistry().factories.contains(UpperCase(name));
}

ObjectPtr CreateObject(std::string_view name) {
  Registry& registry = TheRegistry();
  auto found = registry.factories.find(UpperCase(name));
  if (found == registry.factories.end()) throw CannotCreate(name);
  Factory factory = found->second;  // a copy: the factory may change the registry
  ObjectPtr object;
  try {
    object = factory();
  } catch (...) {
    throw CannotCreate(name);
  }
  if (!object) throw CannotCreate(name);
  return object;
}

}  // namespace corvale
