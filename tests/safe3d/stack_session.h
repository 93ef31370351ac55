/// Sessions of the 3D pipeline for tests: with a temporary folder of their own, set up field by field.
#ifndef KYFOCUS_TESTS_SAFE3D_STACK_SESSION_H
#define KYFOCUS_TESTS_SAFE3D_STACK_SESSION_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <kyfocus/kyfocus.h>
#include <nlohmann/json.hpp>

#include "support/arrays.h"
#include "support/case_files.h"
#include "support/focus_session.h"
#include "support/images.h"

namespace test {

/// What a test chooses of a session; the rest is 0.
struct StackSettings {
    std::int32_t Mode = KyfMode3DSafe;
    std::int32_t ScopeType = 0;
    std::int32_t Speed = 2;
    std::int32_t PlaneType = 2;
    std::int32_t Adoption = 0;
    std::int32_t Sensitivity = 5;
    std::int32_t HalationMeasures = 0;
    std::int32_t D3ShapeSmoothing = 5;
    std::int32_t ProjectionNoiseRemove = 1;
    std::int32_t AutoPos = 0;
    std::int32_t TrimInvalidBorder = 0;
};

/// A started session that keeps its bitmaps in `folder`.
Session StartStack(const StackSettings& settings, const std::filesystem::path& folder);

/// A frame of a scene with relief: sharp where the surface of hills lies at this frame.
/// @param frame  Of `count` frames.
Image ReliefFrame(std::int32_t width, std::int32_t height, std::int32_t format, std::int32_t frame, std::int32_t count,
                  std::uint32_t seed);

/// Adds frames 0 to count - 1 of a relief with heights 10 apart from 0 on; true when all adds succeeded.
bool AddRelief(KyfFocusComposition& session, std::int32_t width, std::int32_t height, std::int32_t format,
               std::int32_t count, std::uint32_t seed, KyiBool parallel = 0);

/// A row table as one list; empty for null.
std::vector<double> Flatten(double* const* rows, std::int32_t width, std::int32_t height);

} // namespace test

#endif
