/* Result codes and export marks that every header of the focus library shares. C11 and C++20. */
#ifndef KYFOCUS_TYPES_H
#define KYFOCUS_TYPES_H

#include <kyimaging/kyimaging.h>

#if defined(_WIN32)
#define KYF_API __declspec(dllexport)
#else
#define KYF_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Result of the exported calls. Compare with KyfResultOk, never by sign. */
typedef int32_t KyfResult;
enum {
    KyfResultOk = 1,
    KyfResultFail = -1,             /**< a filter on height data could not run */
    KyfResultInvalidParameter = -2, /**< bad session or record, misfit frame, unknown mode, nothing to work on */
    KyfResultFailAlloc = -3,        /**< a working image or table could not be allocated */
    KyfResultFailFile = -4,         /**< an image file could not be loaded, or a temporary image not be written */
    KyfResultNoHeightData = -6      /**< height data was asked for and the session has none */
};

/** An image of doubles: `Rows[y][x]`. Row table and samples are two page blocks, released by KyfFreeHeightData. */
typedef struct KyfImageData {
    double** Rows;
    int32_t Width;  /**< samples per row */
    int32_t Height; /**< rows */
} KyfImageData;

#ifdef __cplusplus
}
#endif

#endif
