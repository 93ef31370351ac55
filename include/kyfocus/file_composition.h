/*
 * A whole composition in one call: from a list of image files with their heights to a record of results.
 */
#ifndef KYFOCUS_FILE_COMPOSITION_H
#define KYFOCUS_FILE_COMPOSITION_H

#include <kyfocus/height.h>

#ifdef __cplusplus
extern "C" {
#endif

/** One frame of the stack. */
typedef struct KyfFocusCompositionFile {
    const wchar_t* Path; /**< an image file; null counts as one that cannot be read */
    double Height;       /**< in the host's unit; a NaN counts as 0.0 */
} KyfFocusCompositionFile;

/** What to compose, how, and which results to hand over besides the image. */
typedef struct KyfFileFocusCompositionParameter {
    /** Filled from a full record by name: ScopeType, MatchingDetectType, MatchingPositionType and DisableGPU are in
     *  neither Param2D nor Param3D and reach the session by Init alone. TrimInvalidBorder is the host's choice. */
    KyfFocusInitializeParameter Init;
    /** 0 2D selection, 1 3D safe, 2 both; with any other value no start call is made, and the stack goes through 2D
     *  selection with the settings of KyfFocusInitialize. */
    int32_t AlgType;
    KyfFocusComposition2DSelectionParameter Param2D; /**< for AlgType 0 and 2 */
    KyfFocusComposition3DSelectionParameter Param3D; /**< for AlgType 1 and 2 */
    const KyfFocusCompositionFile* Files;            /**< FileCount entries, in focus order; not null */
    int32_t FileCount;                               /**< at least 1 */
    int32_t WantHeightData;                          /**< non-zero: the cut heights */
    int32_t WantDifferentiationMap;                  /**< non-zero: the differentiation map; with AlgType 0 alone */
} KyfFileFocusCompositionParameter;

/** Results, all the host's: it clears the record first, and frees the parts with KyfFreeFileFocusCompositionResult. The
 *  row tables are those of KyfImageData. Only parts that were asked for and that were made are written. */
typedef struct KyfFileFocusCompositionResult {
    KyiImageData* Image; /**< the composed image */
    double** CuttedHeightData;
    int32_t CuttedHeightWidth;
    int32_t CuttedHeightHeight;
    double** CuttedAntNoiseHeightData;
    int32_t CuttedAntNoiseWidth;
    int32_t CuttedAntNoiseHeight;
    KyfDifferentiationMap DifferentiationMap;
} KyfFileFocusCompositionResult;

/** Composes the files in a session of its own, which is gone afterwards together with its temporary bitmaps: all files
 *  in Init.TempFolder whose names contain "MFocusTemp" are deleted, also those of others. As long as one of them cannot
 *  be deleted the call goes on trying. The first frame that fails ends the call.
 *  @param result    Left as it was on failure. Null: nothing is handed over.
 *  @param parallel  Allows threads. @param progress  A fresh node, or null; complete only after success.
 *  @return 1; -2 for a null parameter, null Files, fewer than one file or a frame that does not fit the first one; -4
 *          for a file that cannot be read and for a temporary bitmap that cannot be written; -3 when out of memory,
 *          when a trimmed result has no pixel left, and with AlgType 1 and 2 for frames too flat or too tall for Speed,
 *          as told of KyfFocusAddImage. With AlgType 1 and 2 a 1 does not mean complete: a temporary bitmap lost
 *          meanwhile breaks the image of AlgType 1 off, out of memory among the heights leaves them at 0, and the host
 *          cannot tell, since the bitmaps are gone: KyfFocusMakeCompImage and the trace say more. */
KYF_API KyfResult KyfExecuteFileFocusComposition(const KyfFileFocusCompositionParameter* parameter,
                                                 KyfFileFocusCompositionResult* result, KyiBool parallel,
                                                 KyfProgress* progress);

/** Hands the results of a session over that the host made itself: what it takes is the session's no longer. A second
 *  call nulls Image and the wanted tables that the first one took, without freeing them: give it another record. Null
 *  and a bad signature are passed over.
 *  @param algType   The differentiation map comes with 0 alone.
 *  @param wants     Two switches: the cut heights, the differentiation map. Null: neither.
 *  @param wantAntiNoise  Non-zero: the cut heights after smoothing and noise cuts. Here the signature is not tested. */
KYF_API void KyfGetFileFocusCompositionResult(KyfFocusComposition* session, int32_t algType, const int32_t* wants,
                                              KyiBool wantAntiNoise, KyfFileFocusCompositionResult* result);

/** Frees the parts of a record and nulls them; the record stays the host's. Null and an empty record do nothing. */
KYF_API void KyfFreeFileFocusCompositionResult(KyfFileFocusCompositionResult* result);

#ifdef __cplusplus
}
#endif

#endif
