/// Image files.
#include <kyimaging/kyimaging.h>

KyiBool KyiLoadImageData(const wchar_t*, KyiImageData** image) {
    if (image) *image = nullptr;
    return 0;
}
KyiBool KyiLoadBitmap32(const wchar_t*, KyiImageData** image) {
    if (image) *image = nullptr;
    return 0;
}
int32_t KyiGetFileTypeFromFileName(const wchar_t*) { return KyiFileTypeUnknown; }
KyiBool KyiSaveImageData(const wchar_t*, const KyiImageData*, int32_t) { return 0; }
const char* KyiGetLastFileError(void) { return "image files are not read yet"; }
