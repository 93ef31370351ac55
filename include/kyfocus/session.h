/*
 * The composition session: a focus stack goes in frame by frame, an all-in-focus image and heights come out.
 *
 * Life: KyfAllocFocusComposition, KyfFocusInitialize, one start call, an add call a frame, KyfFocusMakeCompImage,
 * getters, KyfFreeFocusComposition. A session is used by one thread at a time; all work is done inside the calls. Adds
 * and makes of two sessions in modes 1 and 2 may overlap only where all sessions of the process have DisableGPU.
 * Out of memory surfaces as std::bad_alloc where no result code is told: in KyfFocusInitialize, the adds and the make.
 */
#ifndef KYFOCUS_SESSION_H
#define KYFOCUS_SESSION_H

#include <kyfocus/alignment.h>
#include <kyfocus/progress.h>
#include <kyfocus/settings.h>

#ifdef __cplusplus
extern "C" {
#else
#include <uchar.h>
#endif

/** Capacity of the folder fields, in characters with the terminator. */
enum { KyfMaxPath = 260 };

/** Values of KyfFocusComposition.Mode. */
enum { KyfMode2DSelection = 0, KyfMode3DSafe = 1, KyfModeComplexProcessing = 2 };

/** Result block of one pipeline. Row tables of doubles: row pointers and one block, both page-allocated. */
typedef struct KyfCompositionState {
    int32_t WorkWidth; /**< size at which focus values are computed */
    int32_t WorkHeight;
    int32_t SourceWidth; /**< size of the first frame */
    int32_t SourceHeight;
    int32_t SourceFormat;    /**< format word of the first frame */
    int32_t FrameCount;      /**< frames added so far */
    KyiImageData* CompImage; /**< the image being composed, after make the result */
    int32_t MapWidth;        /**< size of HeightDataMap */
    int32_t MapHeight;
    double** HeightDataMap;               /**< heights at full frame size, in the unit of the host's heights */
    double** CuttedHeightDataMap;         /**< the same cut to the result rectangle */
    double** CuttedAntNoiseHeightDataMap; /**< AntNoiseHeightDataMap cut and smoothed */
    int32_t CuttedWidth;                  /**< size of the cut tables */
    int32_t CuttedHeight;
    double** AntNoiseHeightDataMap; /**< the copy of HeightDataMap on which noise cuts work */
} KyfCompositionState;

/** The session record. The session owns all that its pointers reach. Hosts read it; only the calls write it. */
typedef struct KyfFocusComposition {
    char16_t Signature[6]; /**< "KYFCS" */
    wchar_t* TempFolder;   /**< KyfMaxPath characters; folder of the temporary bitmaps */
    int32_t ScopeType;
    int32_t MatchingDetectType;
    int32_t MatchingPositionType;
    int32_t Speed;
    int32_t CompSize;
    int32_t Smoothing;
    int32_t Smoothing3D;
    int32_t AutoPos;
    int32_t AreaNo;
    KyPoint AreaPos[4];
    int32_t PlaneType;
    int32_t TrimInvalidBorder; /**< non-zero: the result is cut to what all frames cover */
    int32_t HalationMeasures;
    int32_t AdoptionPeakPosition;
    int32_t FocusingValueDetectionSensitivity;
    int32_t D3ShapeSmoothing;
    int32_t ProjectionNoiseRemove;
    int32_t Mode;
    double ScaleX;
    double ScaleY;
    int32_t BlendWindowSize; /**< odd window of the blend mask average, in working pixels */
    KyfCompositionState State2D;
    KyfCompositionState State3D;
    double* HeightList;     /**< one height a frame */
    int32_t** BestFrameMap; /**< WorkHeight rows: index of the frame that is sharpest at a pixel */
    double* BlendMask;      /**< WorkWidth x WorkHeight in one block: blend weight of the last frame */
    int32_t** BestFocusMap; /**< BestFocusHeight rows: greatest focus value so far */
    int32_t BestFocusWidth;
    int32_t BestFocusHeight;
    /** One entry a frame that 2D selection has warped by template areas; entry 0, of the first frame, is zeroed: its
     *  scales are 0, not 1. Null until the second frame. */
    KyfFrameShift* FrameShifts;
    int32_t FrameShiftCapacity;
    KyiImageData** AreaTemplates; /**< 4 entries, null beyond the areas in use: what each area is searched in */
    KyfRect AreaSearchRects[4];
    KyfRect AreaTemplateRects[4];
    /** What all frames so far cover, where template areas line them up. The first frame gives (0, 0, SourceWidth - 1,
     *  SourceHeight - 1), right and bottom excluded: the last column and row never count. Empty: nothing is left. */
    KyfRect CommonRect;
    struct KyfPatternMatching* Matcher;
    int32_t** CuttedBestFocusMap; /**< BestFocusMap cut to the result rectangle, 2D selection only */
    KyfLineMatching Matching2D;
    KyfLineMatching Matching3D;
    int32_t EdgeDataWidth;
    int32_t EdgeDataHeight;
    double BlurFilterX[10];
    double BlurFilterY[10];
    int32_t BlurFilterSize;
    double SobelFilterA[10];
    double SobelFilterB[10];
    double SobelFilterC[10];
    double SobelFilterD[10];
    int32_t SobelFilterSize;
    KyfImageData** EdgeFrames;
    int32_t FrameCapacity;
    KyfImageData** KidoFrames;
    struct KyfProjectionShift* ProjectionShift;
    wchar_t** TempFileMap; /**< path of the temporary bitmap of each frame */
    int32_t DisableGPU;
} KyfFocusComposition;

/** Parameters of KyfFocusInitialize. */
typedef struct KyfFocusInitializeParameter {
    /** Folder of the 3D modes' temporary bitmaps, for this session alone: copied, cut to KyfMaxPath characters with
     *  the terminator; made with its parents at the first add if need be. KyfFocusTerminate deletes the files in it
     *  that look like temporary bitmaps. Null counts as "", which serves for 2D selection: nothing is written and
     *  nothing deleted, and an add of the 3D modes gives -4. */
    const wchar_t* TempFolder;
    int32_t ScopeType;
    int32_t MatchingDetectType;
    int32_t MatchingPositionType;
    int32_t TrimInvalidBorder;
    int32_t DisableGPU;
} KyfFocusInitializeParameter;

/* ---- life ------------------------------------------------------------------------------------------------------ */

/** A new block for KyfFocusInitialize. Throws std::bad_alloc when out of memory. */
KYF_API KyfFocusComposition* KyfAllocFocusComposition(void);
/** Terminates and frees a session. Null does nothing. */
KYF_API void KyfFreeFocusComposition(KyfFocusComposition* session);
/** Makes a raw or used block a fresh session. @return 1; -2 for a null session or parameter. */
KYF_API KyfResult KyfFocusInitialize(KyfFocusComposition* session, const KyfFocusInitializeParameter* parameter);
/** Frees all that the session owns and deletes the files of its temporary folder whose name contains "MFocusTemp".
 *  Leaves a zeroed record with a good signature. Null does nothing. As long as one of those files cannot be deleted the
 *  call goes on trying: give each session a private folder. */
KYF_API void KyfFocusTerminate(KyfFocusComposition* session);

/** Chooses mode and settings by AlgType. ScopeType, MatchingDetectType, MatchingPositionType and DisableGPU stay those
 *  of KyfFocusInitialize, whatever the record says of them.
 *  @return 1; -2 on a bad signature, a null argument or an unknown AlgType. */
KYF_API KyfResult KyfFocusStart(KyfFocusComposition* session, const KyfFocusCompositionParameter* parameter);
/** Mode 0. With AutoPos, AreaPos has to hold places that differ: a zeroed one spoils every frame but the first.
 *  @return 1; -2 on a bad signature or a null argument (here and in the next three). */
KYF_API KyfResult KyfFocusStart2DSelection(KyfFocusComposition* session,
                                           const KyfFocusComposition2DSelectionParameter* parameter);
/** Mode 0 with fixed quick settings: quarter speed, CompSize 8, Smoothing 5, no automatic positioning. */
KYF_API KyfResult KyfFocusStartGyre(KyfFocusComposition* session);
/** Mode 1. */
KYF_API KyfResult KyfFocusStart3DSafe(KyfFocusComposition* session,
                                      const KyfFocusComposition3DSelectionParameter* parameter);
/** Mode 2: both pipelines see every frame. Where both records have a field, that of the 3D record wins: AutoPos and
 *  AreaPos too. */
KYF_API KyfResult KyfFocusStartComplexProcessing(KyfFocusComposition* session,
                                                 const KyfFocusComposition2DSelectionParameter* parameter2D,
                                                 const KyfFocusComposition3DSelectionParameter* parameter3D);

/* ---- frames ---------------------------------------------------------------------------------------------------- */

/** Adds the caller's image, which stays the caller's. The first frame fixes size and format of the stack. With
 *  ScopeType 1 and 3 the modes 1 and 2 move the rows of the image itself: it holds the frame lined up afterwards.
 *  @param parallel  Allows threads in this call. @param progress  A fresh node, or null.
 *  @return 1; -2 for a bad session, an unknown mode or a frame that does not fit, and in modes 0 and 2 with ScopeType 0
 *          when AutoPos has been switched on after the first frame; from the 3D modes also -3 when out of memory or for
 *          a frame more than 512, 256 or 64 times as wide as high, or more than 512, 2048 or 32768 times as high as
 *          wide, at Speed 0, 1 or 2, and -4 when the temporary bitmap cannot be written, as always with TempFolder "".
 *          A pipeline that refuses a frame has not counted it and goes on with the next one, but the 3D pipeline may
 *          keep the first frame that it refuses as its composed image until the next add: ask FrameCount, not the
 *          image, whether a frame is in. In mode 2 the 2D pipeline has taken the frame by the time that the 3D pipeline
 *          refuses it. */
KYF_API KyfResult KyfFocusAddImage(KyfFocusComposition* session, KyiImageData* image, KyiBool parallel,
                                   KyfProgress* progress);
/** Loads a file and adds it. @return as KyfFocusAddImage; -4 when the file cannot be loaded. */
KYF_API KyfResult KyfFocusAddImageFile(KyfFocusComposition* session, const wchar_t* path, KyiBool parallel,
                                       KyfProgress* progress);
/** As KyfFocusAddImage, and stores the frame's height, in the host's unit. Use one form for a whole stack. */
KYF_API KyfResult KyfFocusAddImageWithHeight(KyfFocusComposition* session, KyiImageData* image, double height,
                                             KyiBool parallel, KyfProgress* progress);
/** As KyfFocusAddImageFile with the frame's height. The name is spelt so. */
KYF_API KyfResult KyfFocusAddImageFileWidthHeight(KyfFocusComposition* session, const wchar_t* path, double height,
                                                  KyiBool parallel, KyfProgress* progress);
/** Makes the results of the frames added so far, once a stack.
 *  @return 1; -2 for a bad session or without frames; -3 when out of memory, when a trimmed result has no pixel
 *          left, and in mode 1 for a stack without heights or whose only add has failed: terminate the session then.
 *          In the 3D modes 1 does not mean complete: a temporary bitmap lost since its add breaks the composite of
 *          mode 1 off before that frame, with all heights; out of memory among the heights leaves them all at 0,
 *          with that composite as far as it had come. The trace tells of both, and docs/embedding.md how else to
 *          find out. In mode 0 1 does not mean heights: out of memory among them leaves the image alone, as of a
 *          stack without heights, and the getters of the maps then give theirs without a pixel, with 1. On a graphics
 *          processor that fails adds and the make give 1 too, with flat heights; with CUDA not even the trace tells. */
KYF_API KyfResult KyfFocusMakeCompImage(KyfFocusComposition* session, KyiBool parallel, KyfProgress* progress);

/* ---- the composed image: of the 3D pipeline in mode 1, of the 2D pipeline otherwise ----------------------------- */

/** Size and format. @return 1; -2 for a null argument, a bad signature or no image. */
KYF_API KyfResult KyfFocusGetCompImageInfo(const KyfFocusComposition* session, int32_t* width, int32_t* height,
                                           int32_t* format);
/** Lends the image, valid until the next make, extract or terminate; null and 1 when there is none. */
KYF_API KyfResult KyfFocusGetCompImage(const KyfFocusComposition* session, KyiImageData** image);
/** Copies into the caller's image. @return 1; -2 also when size or format differ. */
KYF_API KyfResult KyfFocusCopyCompImage(const KyfFocusComposition* session, KyiImageData* destination);
/** Hands the image over: the caller frees it with KyiFreeImageData. Null and 1 when there is none. */
KYF_API KyfResult KyfFocusExtractCompImage(KyfFocusComposition* session, KyiImageData** image);

/* ---- process-wide switches: set them before work starts --------------------------------------------------------- */

/** Reads the trace switch: key "Log", section "Debug", of "KYFocus.ini" in $XDG_CONFIG_HOME, else ~/.config, joined
 * with "Tessly Corporation/KYFoucs". Any non-zero number switches the trace on; no file or no such folder: off. The
 * trace goes to the same folder. The path is not used. */
KYF_API void KyfDllInitialize(const wchar_t* path);
/** Images of fewer pixels are filtered in one thread; 0, the default, means no limit. */
KYF_API void KyfSetParallelProcImageSize(uint32_t pixels);
/** Folder of the compiled GPU programs, at most KyfMaxPath characters with the terminator. Null does nothing. */
KYF_API void KyfSetIntermediateCodePath(const wchar_t* path);
/** The working size, in pixels. @return 1; -2 for a null pointer or a bad signature. */
KYF_API KyfResult KyfFocusGetMemorySize(const KyfFocusComposition* session, int32_t* width, int32_t* height);
/** Language of the dialogs: 0 English, 1 Japanese, 2 Korean, 3 traditional, 4 simplified Chinese. Others: no change. */
KYF_API void KyfSetLanguageType(int32_t language);
/** File name of the dialogs' resource module. Null counts as "". */
KYF_API void KyfSetResourceName(const wchar_t* name);

#ifdef __cplusplus
}
#endif

#endif
