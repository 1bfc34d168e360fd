// A position-or-key argument of a late-bound call: text is a key, anything else a position.
#pragma once

#include "corvale/core/index.h"
#include "corvale/core/object.h"

namespace corvale {

inline corvale::Index IndexArg(const Variant& value) {
  if (value.IsString()) return corvale::Index(value.ToString());
  return corvale::Index(value.ToInt32());
}

}  // namespace corvale
