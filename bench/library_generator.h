// Generates instrument-library documents for the benchmarks: a PennardInstrumentLibrary root
// with INSTRUMENT elements shaped like real ones (catalogue code, names, descriptions with
// windows-1252 characters, program text, channels, events, outputs, CDT settings, resource
// requests), in the form the library saves: declared windows-1252, indented, CRLF line ends.
#pragma once

#include <cstdint>
#include <string>

namespace corvale::bench {

// The bytes of a library of that many instruments (about 2 KB each). The same count and seed
// always give the same bytes.
std::string GenerateLibraryXml(int instruments, uint32_t seed = 1);

}  // namespace corvale::bench
