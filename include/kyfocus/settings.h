/*
 * Parameter records of a composition and their enumerations.
 *
 * All members are 32 bits wide. The numeric values of the enumerations are fixed: parameter files hold them. Nothing
 * here validates: ranges belong to the dialogs, and a session takes any value by name.
 */
#ifndef KYFOCUS_SETTINGS_H
#define KYFOCUS_SETTINGS_H

#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t KyfAlgorithmType;
enum { KyfAlgorithmType2DSelection = 0, KyfAlgorithmType3DSafe = 1, KyfAlgorithmTypeComplexProcessing = 2 };

/** Working size. 2D: full, half, quarter of the frame's width. 3D: 512, 256, 64 samples across. */
typedef int32_t KyfSpeed;

/** Number of template areas less 2. */
typedef int32_t KyfAreaNo;

/** Which surface of the height profile is taken. */
typedef int32_t KyfPlaneType;
enum { KyfPlaneTypeBottom = 0, KyfPlaneTypeTop = 1, KyfPlaneTypeOther = 2 };

/** Kind of instrument. 0: automatic positioning is available. 1 and 3: line matching. 2 and 3: brightness is the focus
 *  value, for gray frames. */
typedef int32_t KyfScopeType;

/** Line matching variant: 0 several bands, 1 a single band. */
typedef int32_t KyfMatchingDetectType;

/** Stored and persisted; nothing reads it. */
typedef int32_t KyfMatchingPositionType;

typedef int32_t KyfAdoptionPeakPositions;

/** 2D presets: 0, 1, 2; 3 free values. */
typedef int32_t Kyf2DSelectionFocusCompositionMode;

/** Every user-facing choice of a composition. A switch is 0 or non-zero. */
typedef struct KyfFocusCompositionParameter {
    KyfScopeType ScopeType;   /**< 0 */
    KyfAlgorithmType AlgType; /**< 1; which composition KyfFocusStart starts */
    KyfSpeed Speed;           /**< 1 */
    int32_t AutoPos;          /**< 0; switch: automatic positioning by template areas */
    KyfAreaNo AreaNo;         /**< 0 */
    KyPoint AreaPos[4];       /**< (50, 25) (75, 50) (50, 75) (25, 50); area centres in percent of the image */
    Kyf2DSelectionFocusCompositionMode CompParamSetType; /**< 1; the preset, kept for the parameter panel */
    int32_t CompSize;       /**< 8; 2D: cutoff of the focus value smoothing, percent of the width */
    int32_t Smoothing;      /**< 6; 2D: cutoff of the height smoothing, percent of the result's width */
    KyfPlaneType PlaneType; /**< 1; 3D */
    KyfMatchingDetectType MatchingDetectType;      /**< 0 */
    KyfMatchingPositionType MatchingPositionType;  /**< 0 */
    int32_t HalationMeasures;                      /**< 1; switch, 3D */
    KyfAdoptionPeakPositions AdoptionPeakPosition; /**< 1; 3D */
    int32_t FocusingValueDetectionSensitivity;     /**< 5; 3D, 0 to 10 in the dialogs */
    int32_t ProjectionNoiseRemove;                 /**< 5; 3D, 0 to 10 in the dialogs */
    int32_t D3ShapeSmoothing;                      /**< 5; 3D, 0 to 10 in the dialogs */
    int32_t DisableGPU;                            /**< 0; switch */
} KyfFocusCompositionParameter;

/** What a 2D selection takes of the full record. */
typedef struct KyfFocusComposition2DSelectionParameter {
    KyfSpeed Speed;
    int32_t CompSize;
    int32_t Smoothing;
    int32_t AutoPos;
    KyfAreaNo AreaNo;
    KyPoint AreaPos[4];
} KyfFocusComposition2DSelectionParameter;

/** What a 3D composition takes of the full record. Copy by name: the last two stand the other way round there. */
typedef struct KyfFocusComposition3DSelectionParameter {
    KyfSpeed Speed;
    KyfPlaneType PlaneType;
    int32_t AutoPos;
    KyfAreaNo AreaNo;
    KyPoint AreaPos[4];
    int32_t HalationMeasures;
    KyfAdoptionPeakPositions AdoptionPeakPosition;
    int32_t FocusingValueDetectionSensitivity;
    int32_t D3ShapeSmoothing;
    int32_t ProjectionNoiseRemove;
} KyfFocusComposition3DSelectionParameter;

/** Fills a 3D record from the full one. Does nothing when either is null. */
KYF_API void KyfSet3DSelectionParameter(const KyfFocusCompositionParameter* parameter,
                                        KyfFocusComposition3DSelectionParameter* parameter3D);

/** Reads a parameter file: an INI file whose section "FocusCompositionSetting" holds 25 keys with decimal numbers.
 *  The record becomes the defaults, overlaid with every key that is there and holds a number; what it held before does
 *  not count. Numbers are cut to 32 bits and not tested; HalationMeasures and DisableGPU are 0 or 1 afterwards. A null
 *  path is a missing file; a null record does nothing. */
KYF_API void KyfLoadFocusCompositionParameter(KyfFocusCompositionParameter* parameter, const wchar_t* path);
/** Writes the 25 keys; other keys, sections and comments of the file stay as they are. The file changes in one step, so
 *  that no reader sees a part of it; permissions are kept. No folder is made. Failure leaves the file as it was and is
 *  not told. Null does nothing. */
KYF_API void KyfSaveFocusCompositionParameter(const KyfFocusCompositionParameter* parameter, const wchar_t* path);

#ifdef __cplusplus
}
#endif

#endif
