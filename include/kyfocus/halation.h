/*
 * Halation removal: frames of one scene, such as an exposure series, go in one by one; the result keeps the first frame
 * but for over-bright spots, where it shows what the other frames show.
 *
 * The first frame is the result to begin with. Each further frame is blended in where the result so far is brighter
 * than a threshold, through a soft mask. Begin with the frame that is best everywhere else, usually the brightest.
 *
 * Life: KyfAllocHalationRemoval, KyfHalationStart, an add call a frame, get or extract, KyfFreeHalationRemoval. The
 * next series starts when the image is gone: after an extract, or after KyfHalationInitialize. A record is used by one
 * thread at a time; all work is done inside the calls. No call throws.
 */
#ifndef KYFOCUS_HALATION_H
#define KYFOCUS_HALATION_H

#include <kyfocus/progress.h>
#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#else
#include <uchar.h>
#endif

/** The record of a series. It owns its image. Hosts read it; only the calls write it. */
typedef struct KyfHalationRemoval {
    char16_t Signature[6];      /**< "KYFHR" */
    int32_t Threshold;          /**< sample value above which a pixel is over-bright; 180 before a start */
    int32_t PreSmoothing;       /**< smoothing ahead of the threshold, in 1/1024 of the width; 20 before a start */
    int32_t MaskSmoothing;      /**< smoothing of the mask, in 1/1024 of the width; 50 before a start */
    int32_t ImageCount;         /**< frames added since the start */
    KyiImageData* RemovalImage; /**< the result so far, or null */
} KyfHalationRemoval;

/** Settings of a series. */
typedef struct KyfHalationParameter {
    int32_t Threshold;     /**< 1 to 255. Compared with samples as they are, also of 16 bits. A colour pixel counts as
                                over-bright when one of its channels is. Smoothed samples of 8 bits end at 254: 254 and
                                255 replace nothing there, and without a pre-smoothing 255 does not. */
    int32_t PreSmoothing;  /**< 1 to 100: half the cutoff wavelength in 1/1024 of the width, cut to whole pixels. Spots
                                that are smaller vanish before the threshold. 0 pixels: no smoothing. */
    int32_t MaskSmoothing; /**< 1 to 100, the same for the mask: how softly a spot goes over into what lies around. A
                                mask that is smoothed ends at 254 of 255: 1/255 of the old picture stays in every spot.
                                One of 0 pixels takes the spot wholly from the frame. */
} KyfHalationParameter;

/** A new record with the defaults and no image. Null when out of memory. */
KYF_API KyfHalationRemoval* KyfAllocHalationRemoval(void);
/** Frees the image and the record, which KyfAllocHalationRemoval has made. Null does nothing. */
KYF_API void KyfFreeHalationRemoval(KyfHalationRemoval* record);

/** Makes any block, used or raw, a record as after KyfAllocHalationRemoval. Frees the image of a record with a good
 *  signature; in any other block nothing is trusted. @return 1; -2 for null. */
KYF_API KyfResult KyfHalationInitialize(KyfHalationRemoval* record);
/** Takes the settings and begins a series.
 *  @return 1; -2, with the record as it was, for a null argument, a bad signature, a record that still holds an image,
 *          or a value out of range. */
KYF_API KyfResult KyfHalationStart(KyfHalationRemoval* record, const KyfHalationParameter* parameter);
/** Adds the caller's image, which stays the caller's. The first one is copied, with its palette. Pixels change only
 *  where the soft mask is above 0; four-byte pixels keep their unused byte.
 *  @param image     Gray or colour, 8 or 16 bits. Of the first frame's size, format and origin.
 *  @param parallel  Allows threads in this call; does not change the result.
 *  @param progress  A fresh node, completed at the end, or null. After -3 it may hold steps already: free it, and give
 *                   the next call another one.
 *  @return 1; -2 for a null record or image, a bad signature, or an image that does not fit the one held (which counts
 *          for the first frame as well: none may be held, and for later ones: one must); -3 when out of memory. The
 *          record then is as it was and the node is not completed. */
KYF_API KyfResult KyfHalationAddImage(KyfHalationRemoval* record, const KyiImageData* image, KyiBool parallel,
                                      KyfProgress* progress);
/** Frees the image without a look at the signature, and clears the record, signature and all: only
 *  KyfHalationInitialize makes it usable again. Not for blocks that were never initialized. @return 1; -2 for null. */
KYF_API KyfResult KyfHalationTerminate(KyfHalationRemoval* record);

/** Lends the result so far, valid until an extract, KyfHalationInitialize or the record's end; later adds change its
 *  pixels. Null and 1 before the first frame. @return 1; -2 for a null argument or a bad signature. */
KYF_API KyfResult KyfHalationGetRemovalImage(const KyfHalationRemoval* record, KyiImageData** image);
/** Hands the result over: the caller frees it with KyiFreeImageData. The series ends; further adds give -2 until the
 *  next start. Null and 1 where there is none. @return as KyfHalationGetRemovalImage. */
KYF_API KyfResult KyfHalationExtractRemovalImage(KyfHalationRemoval* record, KyiImageData** image);

#ifdef __cplusplus
}
#endif

#endif
