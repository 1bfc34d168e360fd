// Text views of an instrument for the corvale program: one summary line, or everything it
// carries. Printing reads the instrument only; defaults that reads materialise stay in memory.
#pragma once

#include <ostream>

#include "corvale/instruments/instrument.h"

namespace corvale::cli {

// CATCODE "Name" family=... version=... base=... channels=n events=n outputs=n
void PrintInstrumentSummary(std::ostream& out, IInstrument& instrument);
// Properties, channels, events, outputs, CDT settings, files, buddies, resource requests and
// the program text, unescaped.
void PrintInstrument(std::ostream& out, IInstrument& instrument);

}  // namespace corvale::cli
