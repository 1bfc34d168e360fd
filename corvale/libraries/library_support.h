// Rules that library classes share: creating an instrument from its BASECLASS text, and the
// library icon rule with its path handling.
#pragma once

#include <string>
#include <string_view>

#include "corvale/core/host.h"
#include "corvale/instruments/instrument.h"

namespace corvale {

// The class that an empty BASECLASS, or one without ".", stands for.
inline constexpr std::string_view kStdInstrumentClass = "Corvale2.clsStdInstrument";
// The resource group of the component's own named icons (the library icon "XML" and others).
inline constexpr std::string_view kLibraryIconGroup = "Corvale2";

struct CreatedInstrument {
  InstrumentPtr instrument;
  std::string classText;  // kStdInstrumentClass for the standard form, else the text as given
};

// Creates the instrument that a BASECLASS text names:
// - "" or no ".": the standard instrument class;
// - "Class.Name": an object of that class;
// - "Class.Name|KEY": the instrument that library class's Item(KEY) returns.
// Raises 429 for a class that cannot be created, 13 for one that is no instrument (or no
// library), 91 when the library has no instrument at KEY.
CreatedInstrument CreateInstrumentFromBaseClass(std::string_view baseClass);

// The folder part of a path, up to and including its last "\" or "/"; "" when it has none.
std::string FolderOf(std::string_view path);

// An existing file for a path that may use "\" or "/" between folders and whose parts may
// differ in case from the names on disk; the path as given when nothing matches.
std::string ResolvePathNoCase(std::string_view path);

// The library icon for an ICONSOURCE text, the library file being libraryFile:
// "X:\...\NAME.ICO" (or "/.../NAME.ICO") loads that file, "NAME.ICO" loads it from the
// library file's folder,
// "" loads the component's icon "XML", any other text the component's icon of that name
// (all upper-cased). Any failure gives null.
PicturePtr LibraryIcon(std::string_view iconSource, std::string_view libraryFile);

}  // namespace corvale
