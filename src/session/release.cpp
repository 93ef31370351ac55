// The end of everything that a session owns, in the order of its fields' makers.
#include "alignment/line_matching.h"
#include "alignment/projection_shift.h"
#include "alignment/template_matching.h"
#include "filters/double_image.h"
#include "selection2d/selection2d.h"
#include "session/session_insides.h"

namespace kyf {

namespace {

void FreeDoubleTable(double**& rows) noexcept {
    FreeDoubleRows(rows);
    rows = nullptr;
}

void FreeIntTable(std::int32_t**& rows, std::int32_t height) noexcept {
    if (rows != nullptr) FreeIntRows(rows, height);
    rows = nullptr;
}

void FreeImage(KyiImageData*& image) noexcept {
    KyiFreeImageData(image);
    image = nullptr;
}

template <typename T> void FreeArray(T*& array) noexcept {
    delete[] array;
    array = nullptr;
}

void FreeHeightDataMap(KyfCompositionState& state) noexcept {
    FreeDoubleTable(state.HeightDataMap);
    state.MapWidth = 0;
    state.MapHeight = 0;
}

void FreeTempFileMap(wchar_t**& paths) noexcept {
    if (paths != nullptr)
        for (wchar_t** path = paths; *path != nullptr; ++path) delete[] * path;
    FreeArray(paths);
}

void FreeFrames(KyfImageData**& frames, std::int32_t capacity) noexcept {
    if (frames != nullptr)
        for (std::int32_t i = 0; i < capacity; ++i) FreeDoubleImage(frames[i]);
    FreeArray(frames);
}

void FreeCutTables(KyfCompositionState& state) noexcept {
    FreeDoubleTable(state.CuttedHeightDataMap);
    FreeDoubleTable(state.CuttedAntNoiseHeightDataMap);
}

} // namespace

void ReleaseOwnedFields(KyfFocusComposition& session) noexcept {
    FreeIntTable(session.BestFocusMap, session.BestFocusHeight);
    FreeHeightDataMap(session.State2D);
    FreeHeightDataMap(session.State3D);
    FreeImage(session.State2D.CompImage);
    FreeImage(session.State3D.CompImage);
    FreeIntTable(session.BestFrameMap, session.State2D.WorkHeight);
    FreeArray(session.BlendMask);
    FreeArray(session.TempFolder);
    FreeLineMatching(session.Matching2D);
    FreeLineMatching(session.Matching3D);
    FreeArray(session.HeightList);
    FreeTempFileMap(session.TempFileMap);
    FreeFrames(session.EdgeFrames, session.FrameCapacity);
    FreeFrames(session.KidoFrames, session.FrameCapacity);
    DestroyProjectionShift(&session.ProjectionShift);
    FreeTemplateMatching(session);
    FreeArray(session.FrameShifts);
    FreeDoubleTable(session.State2D.AntNoiseHeightDataMap);
    FreeDoubleTable(session.State3D.AntNoiseHeightDataMap);
    FreeCutTables(session.State2D);
    FreeCutTables(session.State3D);
    FreeIntTable(session.CuttedBestFocusMap, session.State2D.CuttedHeight);
}

} // namespace kyf
