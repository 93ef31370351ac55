/// Line matching: frames that move sideways only are lined up by horizontal profiles of neighbouring frames.
///
/// A frame is matched first and accepted later: until then the record is the one of the frame before, so that an add
/// that fails in between can be given again.
#ifndef KYFOCUS_ALIGNMENT_LINE_MATCHING_H
#define KYFOCUS_ALIGNMENT_LINE_MATCHING_H

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <kyfocus/session.h>

#include "alignment/line_matching_profile.h"

namespace kyf {

constexpr std::int32_t kMatchingBands = 5;

/// Prepares the record from the first frame of a stack: totals 0, bands, profiles. MatchingDetectType 1 takes one band
/// in the middle, 0 takes five; any other prepares no profiles, and the frames of the stack then stay where they are.
/// @param state  Holds the frames' size. The record is unchanged when it throws std::bad_alloc.
void SetUpLineMatching(KyfLineMatching& matching, std::int32_t detectType, const KyfCompositionState& state,
                       const KyiImageData& first, ProfileSource source, KyiBool parallel);

/// Profiles of a later frame, and the record's figures as they will be once it is accepted.
struct LineMatch {
    std::int32_t Shift = 0; ///< displacement against the frame before, in pixels
    std::int32_t TotalShift = 0;
    std::int32_t MinShift = 0;
    std::int32_t MaxShift = 0;
    std::unique_ptr<std::int32_t[]> Profile; ///< of the single band; null with several
    std::array<std::unique_ptr<std::int32_t[]>, kMatchingBands> LineProfiles;
    std::array<std::int32_t, kMatchingBands> LineOrder{};
};

/// Matches a later frame with the one before by the record's own kind of profiles. The frame has to move by
/// TotalShift, at most a quarter of its width: what a clamp takes off is lost for good. Throws std::bad_alloc.
LineMatch MatchLines(const KyfLineMatching& matching, const KyiImageData& frame, KyiBool parallel);

/// The frame counts: its profiles and figures become the record's.
void AcceptLineMatch(KyfLineMatching& matching, LineMatch& match) noexcept;

/// Releases all that the record holds.
void FreeLineMatching(KyfLineMatching& matching) noexcept;

/// Moves every row sideways, to the right for a positive shift. Columns left uncovered keep what they had.
void MoveRows(KyiImageData& frame, std::int32_t shift, KyiBool parallel) noexcept;

/// MoveRows, which gives the columns that have left the image, row by row. Throws std::bad_alloc, and moves nothing
/// then.
std::vector<std::uint8_t> MoveRowsKeepingLost(KyiImageData& frame, std::int32_t shift, KyiBool parallel);
/// Takes such a move back.
void MoveRowsBack(KyiImageData& frame, std::int32_t shift, const std::vector<std::uint8_t>& lost,
                  KyiBool parallel) noexcept;

/// The same rows in another image of the frame's size and format; the frame stays.
void CopyMovedRows(const KyiImageData& frame, KyiImageData& moved, std::int32_t shift, KyiBool parallel) noexcept;

} // namespace kyf

#endif
