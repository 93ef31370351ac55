/// A session as a make leaves it, put together by hand: frames, sizes and tables without a pipeline.
#ifndef KYFOCUS_TESTS_HEIGHT_HEIGHT_SESSION_H
#define KYFOCUS_TESTS_HEIGHT_HEIGHT_SESSION_H

#include <algorithm>
#include <cstdint>
#include <span>

#include <kyfocus/kyfocus.h>

#include "filters/double_image.h"
#include "height/height.h"
#include "selection2d/selection2d.h"
#include "support/focus_session.h"

namespace test {

/// A table of the library's own kind, for the session to own.
inline double** MakeDoubleRows(std::int32_t width, std::int32_t height, std::span<const double> values) {
    double** const rows = kyf::AllocDoubleRows(width, height);
    for (std::int32_t y = 0; y < height; ++y)
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(y) * width, width, rows[y]);
    return rows;
}

inline std::int32_t** MakeIntRows(std::int32_t width, std::int32_t height, std::span<const std::int32_t> values) {
    std::int32_t** const rows = kyf::AllocIntRows(width, height, /*cleared=*/true);
    for (std::int32_t y = 0; y < height; ++y)
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(y) * width, width, rows[y]);
    return rows;
}

/// Initialized without a temporary folder of its own: nothing here writes files, and a fresh name cannot be swept.
inline Session MakeSession(std::int32_t mode) {
    Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = L"no/such/folder";
    KyfFocusInitialize(session.get(), &parameter);
    session->Mode = mode;
    return session;
}

} // namespace test

#endif
