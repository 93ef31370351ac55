/// What the session's calls share with the folders that fill and read its record.
///
/// session/ holds the record's life, the dispatch of frames to the pipelines, the composed image, and what belongs to
/// the process: switches, names, the resource module. Uses selection2d, safe3d, alignment, filters, progress, settings,
/// imaging (public calls) and platform.
#ifndef KYFOCUS_SESSION_SESSION_INSIDES_H
#define KYFOCUS_SESSION_SESSION_INSIDES_H

#include <algorithm>
#include <cstdint>
#include <iterator>

#include <kyfocus/session.h>

namespace kyf {

/// The mark of a record that KyfFocusInitialize has made a session.
inline constexpr char16_t kSessionSignature[6] = {u'K', u'Y', u'F', u'C', u'S', u'\0'};

/// False for null and for a record of which one of the six characters differs.
inline bool IsSession(const KyfFocusComposition* session) noexcept {
    return session != nullptr &&
           std::equal(std::begin(kSessionSignature), std::end(kSessionSignature), session->Signature);
}

/// The block that the composed image and the working size are read from.
inline const KyfCompositionState& ComposedState(const KyfFocusComposition& session) noexcept {
    return session.Mode == KyfMode3DSafe ? session.State3D : session.State2D;
}
inline KyfCompositionState& ComposedState(KyfFocusComposition& session) noexcept {
    return session.Mode == KyfMode3DSafe ? session.State3D : session.State2D;
}

/// Frees what the record's pointers reach. Leaves the record itself as it is, to be cleared at once.
///
/// Every folder makes the fields in one way: tables of doubles with AllocDoubleRows, tables of integers with
/// AllocIntRows, images with the imaging library, records with new, arrays with new[]. EdgeFrames and KidoFrames have
/// FrameCapacity entries, null behind the last frame; the array of TempFileMap ends with a null.
void ReleaseOwnedFields(KyfFocusComposition& session) noexcept;

} // namespace kyf

#endif
