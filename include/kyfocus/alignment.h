/* Records of frame alignment that stand inside a session. */
#ifndef KYFOCUS_ALIGNMENT_H
#define KYFOCUS_ALIGNMENT_H

#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A rectangle in pixels; right and bottom are excluded. */
typedef struct KyfRect {
    int32_t Left;
    int32_t Top;
    int32_t Right;
    int32_t Bottom;
} KyfRect;

/** Transform of one frame onto the stack. Scales are not finite, or far from 1, where its areas were not found. */
typedef struct KyfFrameShift {
    double ScaleX;  /**< horizontal scale, reference over frame */
    double ScaleY;  /**< vertical scale */
    int32_t ShiftX; /**< pixels to the right */
    int32_t ShiftY; /**< pixels down */
    double Angle;   /**< degrees */
} KyfFrameShift;

/** State of line matching, one for each pipeline. */
typedef struct KyfLineMatching {
    double BandRatio;       /**< band height as a part of the frame height */
    double SearchRatio;     /**< half the search range as a part of the frame width */
    int32_t BandHeight;     /**< rows averaged into a profile; odd, at least 5 */
    int32_t MinShift;       /**< most negative total so far, in pixels */
    int32_t MaxShift;       /**< greatest total so far */
    int32_t Margin;         /**< margin of the result rectangle, 0 */
    int32_t LineCount;      /**< bands of the multi-band method */
    int32_t* LineRows;      /**< row of each band */
    int32_t* LineOrder;     /**< band indices, greatest variance first */
    int32_t** LineProfiles; /**< the previous frame's band profiles */
    int32_t CentreRow;      /**< row of the band being read */
    int32_t* Profile;       /**< the previous frame's profile of the single-band method */
    int32_t TotalShift;     /**< running horizontal displacement, in pixels: how far the last frame was moved right */
} KyfLineMatching;

/** State of projection shift, the alignment of the 3D pipeline; a session has one while it lines frames up so. All
 *  figures in pixels. */
typedef struct KyfProjectionShift {
    KyiImageData* PreviousFrame; /**< the previous frame as it came in, not moved; the session's */
    int32_t TotalX;              /**< running displacement: by how much the last frame was moved right */
    int32_t TotalY;              /**< and down */
    int32_t MaxPositiveX;        /**< greatest positive totals so far */
    int32_t MaxPositiveY;
    int32_t MaxNegativeX; /**< greatest magnitudes of negative totals so far */
    int32_t MaxNegativeY;
} KyfProjectionShift;

struct KyfPatternMatching; /* template matcher of a session */

#ifdef __cplusplus
}
#endif

#endif
