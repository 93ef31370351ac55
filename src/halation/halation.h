/// Halation removal: a series of frames of one scene becomes one image without over-bright spots.
///
/// Uses filters (spline smoothing, image layout), progress and imaging (public calls).
#ifndef KYFOCUS_HALATION_HALATION_H
#define KYFOCUS_HALATION_HALATION_H

#include <algorithm>
#include <iterator>

#include <kyfocus/halation.h>

namespace kyf {

/// The mark of a record that was initialized.
inline constexpr char16_t kHalationSignature[6] = {u'K', u'Y', u'F', u'H', u'R', u'\0'};

/// False for null and for a record of which one of the six characters differs.
inline bool IsHalationRecord(const KyfHalationRemoval* record) noexcept {
    return record != nullptr &&
           std::equal(std::begin(kHalationSignature), std::end(kHalationSignature), record->Signature);
}

/// Blends a frame into the record's image where that is over-bright. The frame has the image's size, format and origin.
/// Without a node the image is blended in place; with one, callbacks see it as it was until all rows are done.
/// @param progress  Gets a list of steps, 6 for colour and 4 for gray, but is not completed itself. May be null.
/// Throws std::bad_alloc with the image as it was.
void BlendFrame(const KyfHalationRemoval& record, const KyiImageData& frame, KyiBool parallel, KyfProgress* progress);

} // namespace kyf

#endif
