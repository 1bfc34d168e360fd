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

// Registers every built-in class. Only declared here: core knows none of the model's classes,
// so the one definition lives above every layer, in corvale/builtin_classes.cpp, and the
// linker joins the two; the registry calls it on its first use.
void RegisterBuiltInClasses();

}  // namespace corvale
