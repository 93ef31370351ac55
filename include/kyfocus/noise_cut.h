/*
 * Noise cut: heights where the focus measure was weak are cut out, filled and smoothed.
 *
 * A pixel is cut where the differentiation map lies below a part of its range. Fills: from neighbours, with the least
 * or with the greatest height. Smoothing is the spline filter along rows, then columns; each of the two adds 0.01.
 *
 * A cut pixel is marked by the double 2.2250738585072014e-308 (bits 0x0010000000000000), and a height that is equal to
 * it counts as cut. Marks take part in some figures below. All calls run on the caller's thread and do not throw.
 */
#ifndef KYFOCUS_NOISE_CUT_H
#define KYFOCUS_NOISE_CUT_H

#include <kyfocus/height.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Values of KyfHeightNoiseCutParameter.FillType. */
enum {
    /** The mean of the window of 9 x 9 around a pixel, over and over until all are filled or the rest has nothing but
     *  cut pixels around. Negative heights are left out of means. Cut pixels, that in the middle too, count as (almost)
     *  0, which pulls every filled pixel towards 0: a lone one loses 1/81 of its height, the middle of a wide gap
     *  nearly all. Pixels that cannot be filled keep the mark. */
    KyfNoiseCutFillNeighbours = 0,
    KyfNoiseCutFillSmallest = 1, /**< the least height that was not cut; 0 when there is none below 2147483647 */
    KyfNoiseCutFillLargest = 2   /**< the greatest height, marks counted: 0 on a map of negative heights */
};

#pragma pack(push, 4)
/** What to cut and how to fill. */
typedef struct KyfHeightNoiseCutParameter {
    double CutRatio;   /**< part of the map's range below which pixels are cut, 0 to 1: (Depth - 1) * CutRatio, rounded,
                            is the least value that stays. Other numbers are taken as they come. */
    int32_t FillType;  /**< KyfNoiseCutFill... */
    int32_t Smoothing; /**< cutoff in percent of the width; 0 or less: none. It runs along whole rows and columns: one
                            height that is no number and not cut makes all of them so. */
} KyfHeightNoiseCutParameter;

/** A host's own heights for KyfFilterHeightNoiseCut and its preview. Lent. */
typedef struct KyfHeightNoiseCutData {
    KyfImageData HeightData;
    KyfDifferentiationMap DifferentiationMap; /**< pixels that it does not reach are not cut */
    KyfHeightNoiseCutParameter Parameter;
    int32_t IsRawHeight; /**< non-zero: samples are heights as they are */
    double Offset;       /**< else a sample is (height - Offset) / Step; in the heights' unit */
    double Step;         /**< height of one level; 0: samples are heights as they are */
} KyfHeightNoiseCutData;
#pragma pack(pop)

/** Called with a percentage and the host's value. */
typedef void (*KyfFilterProgressCallback)(int32_t percent, void* argument);

/** Who hears of the stages of KyfFilterHeightNoiseCut: 0, 60, 80 and 100. */
typedef struct KyfFilterProgress {
    KyfFilterProgressCallback Callback; /**< may be null */
    int32_t Reserved;
    void* Argument;
} KyfFilterProgress;

/** Cuts the session's heights: from the cut height map, as the make left it, into the map that the "AntNoise" getters
 *  give. May be called again with other settings. The differentiation map counts as one of 256 levels, whatever the
 *  frames: values of 16-bit frames go far beyond, so that a CutRatio up to 1 cuts next to none. 257 times the ratio
 *  does what is meant there.
 *  @return 1; -1 for a FillType other than those above, and where the height map, the differentiation map (mode 0 alone
 *          makes one) or the map that receives the result is not there; -2 for a null argument or a bad signature; -3
 *          when out of memory. On failure the session is as it was. */
KYF_API KyfResult KyfFocusFilterHeightNoiseCut(KyfFocusComposition* session,
                                               const KyfHeightNoiseCutParameter* parameter);

/** Cuts a host's heights and writes them as samples, cut to whole numbers of which the low 8 or 16 bits are stored:
 *  choose Offset and Step so that they fit. Heights that are no number, or beyond 64 bits, give 0.
 *  @param reference    Gives the sample width (PixelBytes 1 or 2; with any other nothing is written) and the width that
 *                      the smoothing's percent are of. May be the destination.
 *  @param destination  Receives the samples, up to its own size or the heights'. Of the reference's PixelBytes.
 *  @param data         Heights, map and settings; left as they are.
 *  @param progress     May be null. Hears 0, then 60 and 80 when the work goes well, then 100 in any case but -2.
 *  @return 1; 0 for a FillType other than those above; -2 for a null image, record or row table, and for images that do
 *          not go together; -3 when out of memory. The destination is written only with 1. */
KYF_API KyfResult KyfFilterHeightNoiseCut(const KyiImageData* reference, KyiImageData* destination,
                                          const KyfHeightNoiseCutData* data, const KyfFilterProgress* progress);

/** Shows what would be cut: writes the heights as KyfFilterHeightNoiseCut does, without fill and smoothing, and cut
 *  pixels as the reference format's largest value. Samples from 0xFF00 on, and negative ones, become 0xFEFF (of which
 *  8-bit images keep the low byte), so that marks stand out in 16 bits. Does nothing where the call above gives -2. */
KYF_API void KyfPreviewFilterHeightNoiseCut(const KyiImageData* reference, KyiImageData* destination,
                                            const KyfHeightNoiseCutData* data);

#ifdef __cplusplus
}
#endif

#endif
