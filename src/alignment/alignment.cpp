#include "alignment/alignment.h"

#include "alignment/projection_shift.h"

namespace kyf {

namespace {

// Pixels that projection shift leaves out on every side, whatever it measured.
constexpr std::int32_t kProjectionGuard = 32;

AlignmentMethod ChooseAlignment(const KyfFocusComposition& session, AlignmentMethod automaticMethod) noexcept {
    switch (session.ScopeType) {
    case 0: return session.AutoPos ? automaticMethod : AlignmentMethod::None;
    case 1:
    case 3: return AlignmentMethod::LineMatching;
    default: return AlignmentMethod::None;
    }
}

// Without a record nothing has moved.
KyfRect ProjectionRectangle(const KyfProjectionShift* shift, std::int32_t width, std::int32_t height) noexcept {
    constexpr KyfProjectionShift unmoved{};
    const KyfProjectionShift& moved = shift ? *shift : unmoved;
    return {moved.MaxPositiveX + kProjectionGuard, moved.MaxPositiveY + kProjectionGuard,
            width - moved.MaxNegativeX - kProjectionGuard, height - moved.MaxNegativeY - kProjectionGuard};
}

} // namespace

AlignmentMethod Choose2DAlignment(const KyfFocusComposition& session) noexcept {
    return ChooseAlignment(session, AlignmentMethod::TemplateMatching);
}

AlignmentMethod Choose3DAlignment(const KyfFocusComposition& session) noexcept {
    return ChooseAlignment(session, AlignmentMethod::ProjectionShift);
}

KyfRect ResultRectangle(const KyfFocusComposition& session, const KyfCompositionState& state,
                        KyfLineMatching& matching) noexcept {
    matching.Margin = 0;
    const std::int32_t margin = matching.Margin;
    const std::int32_t width = state.SourceWidth;
    const std::int32_t height = state.SourceHeight;
    if (!session.TrimInvalidBorder) return {0, 0, width, height};

    const bool is3D = &state == &session.State3D;
    switch (is3D ? Choose3DAlignment(session) : Choose2DAlignment(session)) {
    case AlignmentMethod::LineMatching:
        return {matching.MaxShift + margin, margin, width + matching.MinShift - margin, height - margin};
    case AlignmentMethod::ProjectionShift: return ProjectionRectangle(session.ProjectionShift, width, height);
    case AlignmentMethod::TemplateMatching:
        return {session.CommonRect.Left + margin, session.CommonRect.Top + margin, session.CommonRect.Right - margin,
                session.CommonRect.Bottom - margin};
    case AlignmentMethod::None: break;
    }
    return {margin, margin, width - margin, height - margin};
}

} // namespace kyf
