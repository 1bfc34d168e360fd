// The creatable-class registry: class-name text to factory. Names compare without regard
// to case. This library's public classes are registered as "Corvale2." + class name by
// RegisterBuiltInClasses(), which runs on the first use of the registry.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "corvale/core/object.h"

namespace corvale {

using Factory = std::function<ObjectPtr()>;

// Adds or replaces a class; hosts and tests register their own loaders, forms and libraries.
void RegisterClass(std::string_view name, Factory factory);
void UnregisterClass(std::string_view name);
bool IsClassRegistered(std::string_view name);
// A new object of the class; raises 429 for an unknown name or a factory that fails.
ObjectPtr CreateObject(std::string_view name);

template <class T>
void RegisterClassOf(std::string_view name) {
  RegisterClass(name, [] { return std::make_shared<T>(); });
}

// Defined beside the model (corvale/builtin_classes.cpp): registers every built-in class.
void RegisterBuiltInClasses();

}  // namespace corvale
