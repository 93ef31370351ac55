#include "imaging/formats.h"

#include <kyimaging/kyimaging.h>

namespace kyi {

FormatInfo FindFormat(std::int32_t format) noexcept {
    switch (format) {
    case KyiFormatGray8:
    case KyiFormatGray8Alternate: return {1, /*IsBgr=*/false, /*IsWide=*/false};
    case KyiFormatGray16:
    case KyiFormatGray16Alternate: return {2, /*IsBgr=*/false, /*IsWide=*/true};
    case KyiFormatBgr24:
    case KyiFormatBgr24Other:
    case KyiFormatBgr24Alternate: return {3, /*IsBgr=*/true, /*IsWide=*/false};
    case KyiFormatBgr32:
    case KyiFormatBgr32Alternate: return {4, /*IsBgr=*/true, /*IsWide=*/false};
    case KyiFormatBgr48:
    case KyiFormatBgr48Other:
    case KyiFormatBgr48Alternate:
    case KyiFormatBgr48Second: return {6, /*IsBgr=*/true, /*IsWide=*/true};
    default: return {0, /*IsBgr=*/false, /*IsWide=*/false};
    }
}

} // namespace kyi

KyiBool KyiIsFormatBgr(int32_t format) { return kyi::FindFormat(format).IsBgr; }

KyiBool KyiIsFormatGrayscale(int32_t format) {
    const kyi::FormatInfo info = kyi::FindFormat(format);
    return info.PixelBytes > 0 && !info.IsBgr;
}

int32_t KyiGetDepth(int32_t format) {
    const kyi::FormatInfo info = kyi::FindFormat(format);
    if (info.PixelBytes == 0) return 0;
    return info.IsWide ? 65536 : 256;
}

int32_t KyiGetMaxVal(int32_t format) {
    const int32_t depth = KyiGetDepth(format);
    return depth > 0 ? depth - 1 : 0;
}

KyiBool KyiIsSameSize(const KyiImageData* first, const KyiImageData* second) {
    return first && second && first->Width == second->Width && first->Height == second->Height;
}

KyiBool KyiIsSamePixelFormat(const KyiImageData* first, const KyiImageData* second) {
    return first && second && first->Format == second->Format;
}

KyiBool KyiIsSameOrigin(const KyiImageData* first, const KyiImageData* second) {
    return first && second && first->Origin == second->Origin;
}
