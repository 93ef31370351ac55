/// The window tables of one level of the template search.
#ifndef KYFOCUS_ALIGNMENT_PATTERN_MATCHING_WINDOWS_H
#define KYFOCUS_ALIGNMENT_PATTERN_MATCHING_WINDOWS_H

#include "alignment/pattern_matching.h"
#include "alignment/pattern_matching_rows.h"

namespace kyf {

/// WindowSums and WindowSquareSums of the level's positions, whose samples lie in `search`. The first position of a row
/// adds up squares as signed 32-bit products, which wrap above 46340; from one position to the next, squares of doubles
/// enter and leave. Throws std::bad_alloc.
void FillWindowTables(KyfPatternMatching& matcher, const SampleBlock& search, KyiBool parallel);

} // namespace kyf

#endif
