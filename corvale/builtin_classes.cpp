// Registers every built-in creatable class as "Corvale2." + its class name.
#include "corvale/core/registry.h"

namespace corvale {

void RegisterBuiltInClasses() {
  // Each model family adds its classes here.
}

}  // namespace corvale
