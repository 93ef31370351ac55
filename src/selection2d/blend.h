/// Selection of the pixels that a frame wins, their blend weights, and the blend of the frame into the composite.
#ifndef KYFOCUS_SELECTION2D_BLEND_H
#define KYFOCUS_SELECTION2D_BLEND_H

#include <cstdint>
#include <vector>

#include <kyfocus/session.h>

namespace kyf {

/// Working memory of one frame's blend. Made before anything of the session changes, since it may throw.
struct BlendScratch {
    std::vector<std::uint16_t> Counts; ///< a slice of WorkWidth column sums for each tile of rows
    std::vector<std::int32_t> Columns; ///< working column of each frame column; empty at equal size
};

/// Throws std::bad_alloc.
BlendScratch MakeBlendScratch(const KyfFocusComposition& session);

/// Takes over every focus value above the best so far, with the frame's index. The working image, 1 or 2 bytes a pixel,
/// becomes the map of winners: a byte a pixel at the start of its rows, 1 where the frame won.
void SelectWinners(KyfFocusComposition& session, KyiImageData& working, KyiBool parallel);

/// Averages the winners over the blend window into BlendMask and blends the frame into CompImage by these weights.
/// @param winners  From SelectWinners. Null: nothing was selected; BlendMask stays, and so does the composite, but for
///                 the columns that line shifts have moved out of the frame.
void BlendFrame(KyfFocusComposition& session, const KyiImageData* winners, const KyiImageData& frame,
                BlendScratch& scratch, KyiBool parallel);

} // namespace kyf

#endif
