/// 2D selection: per-pixel choice of the best focused frame, soft blend into one composite, heights from the winners.
///
/// Uses alignment, filters, progress, imaging (public calls) and platform. The cutting steps are shared with the 3D
/// side, which calls them with its own state block.
#ifndef KYFOCUS_SELECTION2D_SELECTION2D_H
#define KYFOCUS_SELECTION2D_SELECTION2D_H

#include <kyfocus/session.h>

namespace kyf {

/// Takes one frame into the composite and the tables. Completes the steps of a list of 10 below `progress`, and leaves
/// the node itself to the caller.
/// @param takeOwnership   The caller offers the frame. @param ownershipTaken  Set to 1 when the session has taken and
///                        freed the frame, else to 0.
/// @return 1; -2 when a later frame does not fit the first, with nothing changed. Throws std::bad_alloc.
KyfResult Kyf2DSelectionAddImage(KyfFocusComposition* session, KyiImageData* frame, KyiBool takeOwnership,
                                 KyiBool& ownershipTaken, KyiBool parallel, KyfProgress* progress);

/// Heights from the winners, cut of everything to the rectangle, smoothing of the cut heights. Heights that there is no
/// memory for are left out.
/// @return 1; -2 for a rectangle that leaves the composite; -3 when out of memory.
KyfResult Kyf2DSelectionMakeCompImage(KyfFocusComposition* session, const KyfRect& rectangle, KyiBool parallel,
                                      KyfProgress* progress);

/// HeightDataMap from HeightList and BestFrameMap, once, and its copy; at a reduced working size BestFocusMap is
/// enlarged on the way.
/// @return 1; -2 without tables; -3 when out of memory. Throws std::bad_alloc where the copy cannot be had.
KyfResult MakeHeightDataMap(KyfFocusComposition* session, KyfCompositionState* state, KyfProgress* progress);

/// Cuts CompImage, then the height tables, to the rectangle.
/// @return 1; -2 for a rectangle that leaves CompImage; -3 when out of memory, with CompImage untouched when that was
///         for the image.
KyfResult CutCompImage(KyfFocusComposition* session, KyfCompositionState* state, const KyfRect& rectangle);

/// Makes the cut height tables, and in mode 0 CuttedBestFocusMap, when there is a HeightDataMap.
void CutHeightDataMaps(KyfFocusComposition* session, KyfCompositionState* state, const KyfRect& rectangle);

/// Smooths CuttedAntNoiseHeightDataMap with a cutoff of `smoothingPercent` percent of its width. @return 1; -3 when
/// out of memory, and without such a table.
KyfResult SmoothCuttedHeightData(std::int32_t smoothingPercent, KyfCompositionState* state, KyiBool parallel);

/// A new HeightDataMap of the source size in place of an old one; null when out of memory or without a source size.
double** AllocHeightDataMap(KyfCompositionState* state) noexcept;

/// AntNoiseHeightDataMap = a copy of HeightDataMap; null when that is null. Throws std::bad_alloc.
void CopyAntNoiseHeightDataMap(KyfCompositionState* state);

/// Two tables of one size. A slot whose table cannot be had is null afterwards.
void AllocHeightMapPair(double*** first, double*** second, std::int32_t width, std::int32_t height) noexcept;
/// Releases both tables and nulls the slots. A null slot pointer is passed over.
void FreeHeightMapPair(double*** first, double*** second) noexcept;

/// Integer tables: an array of row pointers with a heap block a row.
std::int32_t** AllocIntRows(std::int32_t width, std::int32_t height, bool cleared);
void FreeIntRows(std::int32_t** rows, std::int32_t height) noexcept;

} // namespace kyf

#endif
