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

/** 3D: what fills wide areas without a focus peak: the height of the bottom, that of the top, or, with any other
 *  value, what lies around them. Bottom and top take the number of the lowest or greatest height for a frame number,
 *  between the first frame and the last with a peak. They are meant for heights that start at 0 and ascend, top with
 *  steps of at least 1. Of 20 frames 0.5 apart from 0 on, top fills with 4.8 and not with 9.5; of 20 frames 2 apart
 *  from 100 on, bottom fills with the height of the last frame with a peak; with descending heights the two change
 *  places. Take other for all such heights. */
typedef int32_t KyfPlaneType;
enum { KyfPlaneTypeBottom = 0, KyfPlaneTypeTop = 1, KyfPlaneTypeOther = 2 };

/** Kind of instrument. 0: automatic positioning is available. 1 and 3: line matching. 2 and 3: brightness is the focus
 *  value, for gray frames. */
typedef int32_t KyfScopeType;

/** Line matching variant: 0 several bands, 1 a single band. */
typedef int32_t KyfMatchingDetectType;

/** Stored and persisted; nothing reads it. */
typedef int32_t KyfMatchingPositionType;

/** 3D: which one of several focus peaks of a pixel counts. 0: the highest, and none at all when a lower one has more
 *  than two fifths of its strength. 1: the one at the greatest height; the first two heights tell which end that is.
 *  Any other value: the highest, whatever the others. */
typedef int32_t KyfAdoptionPeakPositions;

/** 2D presets: 0, 1, 2; 3 free values. */
typedef int32_t Kyf2DSelectionFocusCompositionMode;

/** Every user-facing choice of a composition. A switch is 0 or non-zero. The start calls take most of it; ScopeType,
 *  MatchingDetectType, MatchingPositionType and DisableGPU reach a session by KyfFocusInitializeParameter alone, into
 *  which the host copies them. */
typedef struct KyfFocusCompositionParameter {
    KyfScopeType ScopeType;   /**< 0 */
    KyfAlgorithmType AlgType; /**< 1; which composition KyfFocusStart starts */
    KyfSpeed Speed;           /**< 1 */
    /** 0; switch, for ScopeType 0: automatic positioning. 2D selection goes by template areas, the 3D pipeline by
     *  projection shift, without areas. Switch it before the first frame: modes 0 and 2 refuse the frames of a stack
     *  in which it comes on later, mode 1 goes on without it. Cut results of 2D selection lose their last column and
     *  row even where nothing has moved. */
    int32_t AutoPos;
    KyfAreaNo AreaNo; /**< 0 */
    /** (50, 25) (75, 50) (50, 75) (25, 50); centres of the template areas. 0 to 100 span the central 80 % of width and
     *  height: place 0 lies at 10 % of the frame, 100 at 90 %. The areas in use must not all lie in one place, such as
     *  (0, 0) in a record that has been zeroed: their frames get a scale that is not finite, and turn black. */
    KyPoint AreaPos[4];
    Kyf2DSelectionFocusCompositionMode CompParamSetType; /**< 1; the preset, kept for the parameter panel */
    int32_t CompSize;       /**< 8; 2D: cutoff of the focus value smoothing, percent of the width */
    int32_t Smoothing;      /**< 6; 2D: cutoff of the height smoothing, percent of the result's width */
    KyfPlaneType PlaneType; /**< 1; 3D */
    KyfMatchingDetectType MatchingDetectType;     /**< 0 */
    KyfMatchingPositionType MatchingPositionType; /**< 0 */
    /** 1; switch, 3D. On, a pixel whose brightness varies by more than 10 levels over the stack gets no height of
     *  its own when its fitted peak is no higher than 50, when the peak lies on the first or last frame, or when the
     *  brightness changes there by more than about 0.8 of the pixel's steepest change. Off, it takes more than 255
     *  levels, which only 16-bit frames have, and 0.99 of the steepest change. */
    int32_t HalationMeasures;
    KyfAdoptionPeakPositions AdoptionPeakPosition; /**< 1; 3D */
    /** 5; 3D, 0 to 10, beyond which it counts as the nearer one. The least peak that counts is 70 at 0 and 5 at 10. */
    int32_t FocusingValueDetectionSensitivity;
    int32_t ProjectionNoiseRemove; /**< 5; 3D, 0 to 10 in the dialogs: so many 11 x 11 medians over the height grid */
    /** 5; 3D, 0 to 10 in the dialogs: cutoff of the smoothing of the height grid in percent of its width; Speed 1
     *  and 2 add 2. */
    int32_t D3ShapeSmoothing;
    int32_t DisableGPU; /**< 0; switch */
} KyfFocusCompositionParameter;

/** What a 2D selection takes of the full record, with the meanings that the fields have there. */
typedef struct KyfFocusComposition2DSelectionParameter {
    KyfSpeed Speed;
    int32_t CompSize;
    int32_t Smoothing;
    int32_t AutoPos;
    KyfAreaNo AreaNo;
    KyPoint AreaPos[4];
} KyfFocusComposition2DSelectionParameter;

/** What a 3D composition takes of the full record. Copy by name: the last two stand the other way round there. The 3D
 *  pipeline itself makes no use of AreaNo and AreaPos; in mode 2 they are the ones that 2D selection gets. */
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

/** Fills a 3D record from the full one. Does nothing when either is null. A 2D record is filled by hand, by name. */
KYF_API void KyfSet3DSelectionParameter(const KyfFocusCompositionParameter* parameter,
                                        KyfFocusComposition3DSelectionParameter* parameter3D);

/** Reads a parameter file: an INI file whose section "FocusCompositionSetting" holds 25 keys with decimal numbers.
 *  The record becomes the defaults, overlaid with every key that is there and holds a number; what it held before does
 *  not count. Numbers are cut to 32 bits and not tested; HalationMeasures and DisableGPU are 0 or 1 afterwards. A null
 *  path is a missing file; a null record does nothing. */
KYF_API void KyfLoadFocusCompositionParameter(KyfFocusCompositionParameter* parameter, const wchar_t* path);
/** Writes the 25 keys; other keys, sections and comments of the file stay as they are. The file changes in one step, so
 *  that no reader sees a part of it; permissions are kept, and a new file is its user's alone. No folder is made.
 *  Failure leaves the file as it was and is not told. Null does nothing. */
KYF_API void KyfSaveFocusCompositionParameter(const KyfFocusCompositionParameter* parameter, const wchar_t* path);

#ifdef __cplusplus
}
#endif

#endif
