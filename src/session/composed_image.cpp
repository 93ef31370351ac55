// Four ways for a host to the composed image.
#include <utility>

#include "session/session_insides.h"

namespace {

bool HasLayoutOf(const KyiImageData& image, const KyiImageData& other) {
    return image.Width == other.Width && image.Height == other.Height && image.Format == other.Format;
}

} // namespace

KyfResult KyfFocusGetCompImageInfo(const KyfFocusComposition* session, int32_t* width, int32_t* height,
                                   int32_t* format) {
    if (width == nullptr || height == nullptr || format == nullptr) return KyfResultInvalidParameter;
    if (!kyf::IsSession(session)) return KyfResultInvalidParameter;
    const KyiImageData* const image = kyf::ComposedState(*session).CompImage;
    if (image == nullptr) return KyfResultInvalidParameter;
    *width = image->Width;
    *height = image->Height;
    *format = image->Format;
    return KyfResultOk;
}

KyfResult KyfFocusGetCompImage(const KyfFocusComposition* session, KyiImageData** image) {
    if (image == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    *image = kyf::ComposedState(*session).CompImage;
    return KyfResultOk;
}

KyfResult KyfFocusCopyCompImage(const KyfFocusComposition* session, KyiImageData* destination) {
    if (destination == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    const KyiImageData* const image = kyf::ComposedState(*session).CompImage;
    if (image == nullptr || !HasLayoutOf(*destination, *image)) return KyfResultInvalidParameter;
    KyiCopyImageData(image, destination, 0, /*parallel=*/0);
    return KyfResultOk;
}

KyfResult KyfFocusExtractCompImage(KyfFocusComposition* session, KyiImageData** image) {
    if (image == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    *image = std::exchange(kyf::ComposedState(*session).CompImage, nullptr);
    return KyfResultOk;
}
