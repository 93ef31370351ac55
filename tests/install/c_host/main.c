/* A host in C: a stack of three frames, each sharp in its own third; the composite must be sharp everywhere. */
#include <kyfocus/kyfocus.h>

#include <stdio.h>

enum { Width = 240, Height = 120, Frames = 3 };

static KyiImageData* MakeFrame(int sharpThird) {
    KyiImageData* image = KyiAllocImageData(Width, Height, KyiFormatGray8);
    for (int y = 0; image && y < Height; ++y)
        for (int x = 0; x < Width; ++x)
            KyiSetPixelData(image, x, y, x * Frames / Width == sharpThird && ((x / 2 + y / 2) & 1) ? 200 : 120);
    return image;
}

int main(void) {
    KyfFocusInitializeParameter initialize = {0};
    KyfFocusComposition2DSelectionParameter parameter = {0};
    initialize.TempFolder = L"";
    parameter.CompSize = 5;

    KyfFocusComposition* session = KyfAllocFocusComposition();
    if (KyfFocusInitialize(session, &initialize) != KyfResultOk) return 1;
    if (KyfFocusStart2DSelection(session, &parameter) != KyfResultOk) return 2;
    for (int i = 0; i < Frames; ++i) {
        KyiImageData* frame = MakeFrame(i);
        if (KyfFocusAddImage(session, frame, 1, NULL) != KyfResultOk) return 3;
        KyiFreeImageData(frame);
    }
    if (KyfFocusMakeCompImage(session, 1, NULL) != KyfResultOk) return 4;

    KyiImageData* composite = NULL;
    if (KyfFocusGetCompImage(session, &composite) != KyfResultOk || !composite) return 5;
    int bright[Frames] = {0};
    for (int y = 20; y < Height - 20; ++y)
        for (int x = 0; x < Width; ++x) {
            int32_t value = 0;
            KyiGetPixelData(composite, x, y, &value);
            bright[x * Frames / Width] += value > 180;
        }
    KyfFreeFocusComposition(session);
    for (int i = 0; i < Frames; ++i)
        if (bright[i] < 1000) {
            printf("third %d is not sharp: %d bright pixels\n", i, bright[i]);
            return 6;
        }
    return 0;
}
