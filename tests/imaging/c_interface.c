/* The interface as a C11 host sees it. */
#include <kyimaging/kyimaging.h>

_Static_assert(offsetof(KyiImageData, LineBytes) == 8, "third field of the record");
_Static_assert(offsetof(KyiImageData, Pixels) == 24, "seventh field of the record");
_Static_assert(sizeof(KyiBool) == 4, "truth values are 32 bits");

int32_t UseTheInterfaceFromC(void);

/* 0 when all went well, else the number of the step that failed. */
int32_t UseTheInterfaceFromC(void) {
    const int32_t values[3] = {1, 2, 3};
    const int32_t rect[4] = {1, 0, 1, 0};
    int32_t read[3] = {0, 0, 0};
    int32_t step = 0;
    KyiImageData* const image = KyiAllocImageData(3, 1, KyiFormatGray8);
    KyiImageData* const part = KyiAllocMaskImageData(2, 1);
    if (!image || !part) step = 1;
    KyiSetLinePixel(image, 0, 0, 0, values, 3);
    KyiClipImage(image, part, rect);
    KyiGetLinePixel(part, 0, 0, 0, read, 3);
    if (read[0] != 2 || read[1] != 3 || read[2] != 3) step = 2;
    KyiFreeImageData(part);
    KyiFreeImageData(image);
    return step;
}
