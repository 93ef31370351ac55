/// The per-pixel tables of a 2D session: made by the first frame, freed with the session.
#ifndef KYFOCUS_SELECTION2D_TABLES_H
#define KYFOCUS_SELECTION2D_TABLES_H

#include <cstdint>
#include <memory>

#include <kyfocus/session.h>

#include "selection2d/selection2d.h"

namespace kyf {

struct IntRowsDeleter {
    std::int32_t Height = 0;
    void operator()(std::int32_t** rows) const noexcept { FreeIntRows(rows, Height); }
};
using IntRowsPtr = std::unique_ptr<std::int32_t*, IntRowsDeleter>;

/// As AllocIntRows. Throws std::bad_alloc.
IntRowsPtr NewIntRows(std::int32_t width, std::int32_t height, bool cleared);

/// Takes size and format of the stack from its first frame, chooses working size and blend window, and makes the tables
/// in place of old ones. Throws std::bad_alloc with the session as it was.
void SetUpTables(KyfFocusComposition& session, const KyiImageData& frame);

/// Whether there are focus values at all: no, for an unknown Speed and for frames that the speed reduces to nothing.
bool HasWorkingPixels(const KyfCompositionState& state) noexcept;

} // namespace kyf

#endif
