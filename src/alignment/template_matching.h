/// Template matching: small areas of each frame are found again in the frame before it, and one scale and one shift
/// that carry them there warp the frame. For 2D stacks whose field moves or breathes.
#ifndef KYFOCUS_ALIGNMENT_TEMPLATE_MATCHING_H
#define KYFOCUS_ALIGNMENT_TEMPLATE_MATCHING_H

#include <cstdint>

#include <kyfocus/session.h>

#include "filters/image_layout.h"

namespace kyf {

/// Entries of AreaTemplates, whatever AreaNo says: the areas of a stack are those of its first frame.
inline constexpr std::int32_t kMostAreas = 4;

/// Prepares a stack on its first frame: places AreaNo + 2 areas, but at least 2 and at most 4, cuts out what they are
/// searched in, makes the matcher, and sets CommonRect. Throws std::bad_alloc with the areas of before still there.
void SetUpTemplateMatching(KyfFocusComposition& session, const KyiImageData& frame);

/// Whether the stack's first frame has been set up.
bool IsTemplateMatchingSetUp(const KyfFocusComposition& session) noexcept;

/// Warps a later frame onto the stack.
/// @param aligned  Receives the warped frame; an image of the frame's size and format. @param shift  Receives its
/// transform. @param progress  Gets four steps, all completed; the node itself is left to the caller.
/// @return what the frame and all before it cover, for TakeAlignedFrame. Throws std::bad_alloc.
KyfRect AlignByTemplates(KyfFocusComposition& session, const KyiImageData& frame, KyiImageData& aligned,
                         KyfFrameShift& shift, KyiBool parallel, KyfProgress* progress);

/// The warped frame becomes the one that the next is matched against. Apart from AlignByTemplates, so that a frame
/// whose add fails later leaves nothing behind.
void TakeAlignedFrame(KyfFocusComposition& session, const KyiImageData& aligned, const KyfRect& common) noexcept;

/// The entry of a frame in FrameShifts, which grows by 256 entries at a time, new ones cleared. Throws std::bad_alloc.
KyfFrameShift& FrameShiftOf(KyfFocusComposition& session, std::int32_t frameIndex);

/// An image to warp the frame into: the one that was given back last where it fits, which spares the first touch of its
/// memory, else a new one. Its pixels are any. Throws std::bad_alloc.
ImagePtr TakeWarpImage(const KyfFocusComposition& session, const KyiImageData& frame);

/// Gives it back for the next frame. It is freed with the matcher; without one at once.
void KeepWarpImage(const KyfFocusComposition& session, ImagePtr image) noexcept;

/// Frees AreaTemplates and Matcher.
void FreeTemplateMatching(KyfFocusComposition& session) noexcept;

} // namespace kyf

#endif
