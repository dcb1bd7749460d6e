/// @file
/// What can be found out about a library without loading it.
#ifndef TOOLS_DOCTOR_EXAMINATION_H
#define TOOLS_DOCTOR_EXAMINATION_H

#include "ElfLibrary.h"
#include "Report.h"

namespace doctor {

/// A symbol of tests/exports/moxpvr.symbols, which is built into the program.
struct DocumentedSymbol {
    const char *name;
    bool isOptional;
};
extern const DocumentedSymbol kDocumentedSymbols[];
extern const std::size_t kDocumentedSymbolCount;

/// Machine, SONAME, search paths, start functions, exported and required symbols.
void Examine(const ElfLibrary &library, Report &report);

}  // namespace doctor

#endif
