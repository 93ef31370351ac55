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

#ifdef __cplusplus
}
#endif

#endif
