// Results of the frames added so far, from the pipelines that the mode names.
#include <algorithm>
#include <span>

#include "alignment/alignment.h"
#include "progress/progress_proc_manager.h"
#include "safe3d/safe3d.h"
#include "selection2d/selection2d.h"
#include "session/session_insides.h"

namespace {

KyfRect Rectangle2D(KyfFocusComposition& session) {
    return kyf::ResultRectangle(session, session.State2D, session.Matching2D);
}

KyfRect Rectangle3D(KyfFocusComposition& session) {
    return kyf::ResultRectangle(session, session.State3D, session.Matching3D);
}

KyfRect Intersection(const KyfRect& first, const KyfRect& second) {
    return {std::max(first.Left, second.Left), std::max(first.Top, second.Top), std::min(first.Right, second.Right),
            std::min(first.Bottom, second.Bottom)};
}

/// Whether a frame of the 3D side came with a height other than 0. A NaN counts: it differs from 0 too.
bool HasHeights(const KyfFocusComposition& session) {
    if (session.HeightList == nullptr) return false;
    const std::span heights(session.HeightList, static_cast<std::size_t>(session.State3D.FrameCount));
    return std::ranges::any_of(heights, [](double height) { return height != 0.0; });
}

/// The 2D image, and with heights the 3D results over what both sides keep.
KyfResult MakeBoth(KyfFocusComposition& session, KyiBool parallel, KyfProgress* progress) {
    const bool hasHeights = HasHeights(session);
    kyf::CProgressProcManager steps(progress, hasHeights ? 2 : 1);
    KyfRect rectangle = Rectangle2D(session);
    const KyfRect rectangle3D = Rectangle3D(session);
    if (hasHeights) rectangle = Intersection(rectangle, rectangle3D);
    KyfResult result = kyf::Kyf2DSelectionMakeCompImage(&session, rectangle, parallel, steps.GetCurrent());
    steps.Next();
    if (!hasHeights) return result;
    if (result == KyfResultOk) result = kyf::Kyf3DSafeMakeCompImage(&session, rectangle, parallel, steps.GetCurrent());
    steps.Next();
    return result;
}

KyfResult Make(KyfFocusComposition& session, KyiBool parallel, KyfProgress* progress) {
    switch (session.Mode) {
    case KyfMode2DSelection:
        return kyf::Kyf2DSelectionMakeCompImage(&session, Rectangle2D(session), parallel, progress);
    case KyfMode3DSafe: return kyf::Kyf3DSafeMakeCompImage(&session, Rectangle3D(session), parallel, progress);
    case KyfModeComplexProcessing: return MakeBoth(session, parallel, progress);
    default: return KyfResultOk;
    }
}

} // namespace

KyfResult KyfFocusMakeCompImage(KyfFocusComposition* session, KyiBool parallel, KyfProgress* progress) {
    if (!kyf::IsSession(session)) return KyfResultInvalidParameter;
    if (kyf::ComposedState(*session).CompImage == nullptr) {
        KyiPutTraceLog(__FILE__, __LINE__, L"There is no composite: no frame has been added, or it was extracted.", 0);
        return KyfResultInvalidParameter;
    }
    const KyfResult result = Make(*session, parallel, progress);
    KyfProgressCompleteProc(progress);
    return result;
}
