/* The header in C: what a host in C sees of the noise cut. */
#include <kyfocus/noise_cut.h>

int RunNoiseCutInC(void);

static void Hear(int32_t percent, void* argument) { *(int32_t*)argument = percent; }

/* Two rows of heights with one weak pixel; 1 where everything went well. */
int RunNoiseCutInC(void) {
    double heights[2][3] = {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}};
    int32_t best[2][3] = {{9, 9, 9}, {9, 1, 9}};
    double* heightRows[2] = {heights[0], heights[1]};
    int32_t* bestRows[2] = {best[0], best[1]};
    int32_t heard = -1;
    int32_t samples[4] = {-1, -1, -1, -1};
    KyfHeightNoiseCutData data = {{0, 0, 0}, {0, 0, 0, 0}, {0.0, 0, 0}, 0, 0.0, 0.0};
    KyfFilterProgress progress = {0, 0, 0};
    const KyfHeightNoiseCutParameter parameter = {0.02, KyfNoiseCutFillLargest, 0};
    KyiImageData* const image = KyiAllocImageData(3, 2, KyiFormatGray8);
    int isGood = image != 0;
    data.HeightData.Rows = heightRows;
    data.HeightData.Width = 3;
    data.HeightData.Height = 2;
    data.DifferentiationMap.Rows = bestRows;
    data.DifferentiationMap.Width = 3;
    data.DifferentiationMap.Height = 2;
    data.DifferentiationMap.Depth = 256;
    data.Parameter = parameter;
    data.Step = 0.5;
    progress.Callback = Hear;
    progress.Argument = &heard;
    isGood = isGood && KyfFilterHeightNoiseCut(image, image, &data, &progress) == KyfResultOk && heard == 100;
    if (isGood) {
        KyiGetPixelData(image, 1, 1, &samples[0]);
        KyiGetPixelData(image, 2, 0, &samples[1]);
        KyfPreviewFilterHeightNoiseCut(image, image, &data);
        KyiGetPixelData(image, 1, 1, &samples[2]);
        KyiGetPixelData(image, 2, 0, &samples[3]);
    }
    isGood = isGood && samples[0] == 12 && samples[1] == 6 && samples[2] == 255 && samples[3] == 6;
    isGood = isGood && KyfFocusFilterHeightNoiseCut(0, &parameter) == KyfResultInvalidParameter;
    KyiFreeImageData(image);
    return isGood;
}
