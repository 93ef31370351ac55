/*
 * Heights of a session in the forms that a host wants: doubles, 16-bit and 8-bit data with a scale, images, and the
 * differentiation map (the best focus value of each pixel).
 *
 * "Cutted": cut to the result rectangle. "AntNoise": the copy on which noise cuts work. Mode 0 answers from the 2D
 * pipeline, the other modes from the 3D pipeline. Get copies, Extract hands over and leaves null behind.
 */
#ifndef KYFOCUS_HEIGHT_H
#define KYFOCUS_HEIGHT_H

#include <kyfocus/session.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Doubles in one array, row after row from the top. Free with KyfFreeHeightData16bit (it takes both records). */
typedef struct KyfHeightDataArray {
    double* Data;
    int32_t Width;
    int32_t Height;
} KyfHeightDataArray;

/** 16-bit heights, bottom row first: height = Min + sample * Step. Free with KyfFreeHeightData16bit. */
typedef struct KyfHeightData16bit {
    uint16_t* Data;
    int32_t Width;
    int32_t Height;
    double Step;
    double Min;
    double Max;
} KyfHeightData16bit;

#pragma pack(push, 4)
/** Best focus values, row 0 at the top. Free with KyfFreeDifferentiationMap. */
typedef struct KyfDifferentiationMap {
    int32_t** Rows;
    int32_t Width;
    int32_t Height;
    int32_t Depth; /**< levels of a sample: 256 or 65536 */
} KyfDifferentiationMap;
#pragma pack(pop)

/** Best focus values stretched over 0 to 255, bottom row first. Free with KyfFreeDifferentiationMap8Bit. */
typedef struct KyfDifferentiationMap8Bit {
    uint8_t* Data;
    int32_t Width;
    int32_t Height;
} KyfDifferentiationMap8Bit;

/* ---- doubles ---------------------------------------------------------------------------------------------------
 * All return -2 for a null argument or a bad signature, -3 when out of memory, -6 where a map that was made is gone
 * or the whole map was never made; the record then stays as it was. Without cut tables in the mode's pipeline the
 * cut getters give 1 and a record of no pixels: Width and Height are 0, Data is not null and the host's to free all
 * the same. */

/** The whole map, SourceWidth x SourceHeight, as a copy. */
KYF_API KyfResult KyfFocusGetHeightData(const KyfFocusComposition* session, KyfHeightDataArray* heights);
/** The same as a copy in a row table. Free with KyfFreeHeightData. */
KYF_API KyfResult KyfFocusGetKyfHeightData(const KyfFocusComposition* session, KyfImageData* heights);
/** Hands the whole map over; the session has none afterwards. Free with KyfFreeHeightData. */
KYF_API KyfResult KyfFocusExtractHeightData(KyfFocusComposition* session, KyfImageData* heights);
/** The map cut to the result rectangle, as a copy. */
KYF_API KyfResult KyfFocusGetCuttedHeightData(const KyfFocusComposition* session, KyfHeightDataArray* heights);
/** Hands the cut map over. Where there is none the result is 1 with null rows. */
KYF_API KyfResult KyfFocusExtractCuttedHeightData(KyfFocusComposition* session, KyfImageData* heights);
/** The cut map after smoothing and noise cuts, as a copy. */
KYF_API KyfResult KyfFocusGetCuttedAntNoiseHeightData(const KyfFocusComposition* session, KyfHeightDataArray* heights);
/** Lends the list of frame heights, one a frame; null when frames came without. Valid until the next add or terminate.
 */
KYF_API KyfResult KyfFocusGetHeightList(const KyfFocusComposition* session, double** list);
/** Frees the two blocks of a record and nulls its rows. Null and an empty record do nothing. */
KYF_API void KyfFreeHeightData(KyfImageData* heights);

/* ---- 16-bit records --------------------------------------------------------------------------------------------
 * All are of the cut size; the first takes the top left window of the whole map. A sample is at most 65534. A flat map
 * gives samples of 0 and a step of 0.01 times the larger of ScaleX and ScaleY.
 * Result: 1; -2 for a null argument (the signature is not tested); -3 when out of memory; -6 without cut tables or
 * where the map is gone. */

KYF_API KyfResult KyfFocusGetHeightData16Bit(const KyfFocusComposition* session, KyfHeightData16bit* heights);
KYF_API KyfResult KyfFocusGetCuttedHeightData16Bit(const KyfFocusComposition* session, KyfHeightData16bit* heights);
KYF_API KyfResult KyfFocusGetAntNoiseHeightData16Bit(const KyfFocusComposition* session, KyfHeightData16bit* heights);
/** Frees the samples of a KyfHeightData16bit or KyfHeightDataArray and nulls them. Null does nothing. */
KYF_API void KyfFreeHeightData16bit(void* record);

/* ---- images ----------------------------------------------------------------------------------------------------
 * New images of the cut size, the caller's to free; image row y is map row y. height = range[1] + sample * range[0].
 * `range` receives step, least and greatest height; it may be null.
 * Result: 1; -2 for a null session or image address, a bad signature, no frames or no whole map; -3 when the image
 * cannot be made; -6 where the map asked for is gone. */

KYF_API KyfResult KyfFocusGetHeightImage16Bit(const KyfFocusComposition* session, KyiImageData** image, double* range);
KYF_API KyfResult KyfFocusGetCuttedHeightImage16Bit(const KyfFocusComposition* session, KyiImageData** image,
                                                    double* range);
KYF_API KyfResult KyfFocusGetCuttedAntNoiseHeightImage16Bit(const KyfFocusComposition* session, KyiImageData** image,
                                                            double* range);
/** 8-bit samples, at most 254. */
KYF_API KyfResult KyfFocusGetCuttedAntNoiseHeightImage8Bit(const KyfFocusComposition* session, KyiImageData** image,
                                                           double* range);
/** The same conversion for heights of any origin, with a flat step of 0.01.
 *  @param format  3: 8 bits, 5: 16 bits. @return null for another format, without heights and when out of memory. */
KYF_API KyiImageData* KyfCreateImageDataFromHeightData(const KyfImageData* heights, int32_t format, double* range);

/* ---- differentiation map: the best focus value of each pixel of the result, made by mode 0 ----------------------
 * Result: 1; -2 for a null argument or a bad signature; -3 when out of memory. Without a map the copy gives 1 and
 * leaves the record as it was, and the stretched one gives -6. After frames without heights there are no pixels. */

/** A copy, with Depth from a pixel format word. */
KYF_API KyfResult KyfFocusGetDifferentiationMap(const KyfFocusComposition* session, int32_t format,
                                                KyfDifferentiationMap* map);
/** Hands the cut map over. Where focus values were taken and there is no cut map of them, as in mode 2 and at a second
 *  call, it hands over null rows with the sizes; where none were taken, as in mode 1, the record stays as it was. */
KYF_API KyfResult KyfFocusExtractDifferentiationMap(KyfFocusComposition* session, int32_t format,
                                                    KyfDifferentiationMap* map);
/** Stretched over 0 to 255; a flat map gives 0. */
KYF_API KyfResult KyfFocusGetDifferentiationMap8Bit(const KyfFocusComposition* session, KyfDifferentiationMap8Bit* map);
/** Frees the rows and their table and nulls it. Null and an empty record do nothing. */
KYF_API void KyfFreeDifferentiationMap(KyfDifferentiationMap* map);
/** Frees the samples and nulls them. Null and an empty record do nothing. */
KYF_API void KyfFreeDifferentiationMap8Bit(KyfDifferentiationMap8Bit* map);

#ifdef __cplusplus
}
#endif

#endif
