/*
 * Progress tree: weighted nodes that a host watches through one callback.
 *
 * A host makes a root, passes it to a long call and reads the figure from it inside the callback. Stages hang lists of
 * weighted children below the node they are given. Every long call takes null in the place of a node. No call reports a
 * failure, and there is no way to cancel. All calls happen on the thread of the exported call, inline. A root serves
 * one call: a second one would lose the first one's list, and completion happens once.
 */
#ifndef KYFOCUS_PROGRESS_H
#define KYFOCUS_PROGRESS_H

#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#endif

struct KyfProgress;

/** Called with the node whose percent changed: climb with KyfProgressGetParent to the root and ask it for the figure.
 */
typedef void (*KyfProgressCallback)(struct KyfProgress* progress);

/** A node of the tree. */
typedef struct KyfProgress {
    int32_t Weight;  /**< share in the parent's percent; 100 when made */
    int32_t Percent; /**< own percent, without what unfinished children add; 0 when made */
    KyfProgressCallback Callback;
    void* Args;                   /**< the host's value */
    struct KyfProgress* Parent;   /**< null at the root; a node that is its own parent counts as a root */
    struct KyfProgress** SubList; /**< child list, or null; owned */
    int32_t SubCount;
    int32_t Completed; /**< non-zero once completed; never cleared */
} KyfProgress;

/** A new root. `callback` may be null. Free it with KyfFreeProgress. Throws std::bad_alloc when out of memory. */
KYF_API KyfProgress* KyfAllocProgress(KyfProgressCallback callback, void* args);
/** Frees the node and all below it. Null does nothing. */
KYF_API void KyfFreeProgress(KyfProgress* progress);
/** Completes a node, once: a root goes to 100, a child adds its weight to its parent's percent. The callback gets the
 *  node whose percent changed. Null and completed nodes do nothing. */
KYF_API void KyfProgressCompleteProc(KyfProgress* progress);
/** The host's value. The node must not be null. */
KYF_API void* KyfProgressGetArgs(const KyfProgress* progress);
/** Overall percent of a node, running children counted in proportion. Not clamped: 101 can be read from a node whose
 *  children are all complete and which is not. The node must not be null. */
KYF_API int32_t KyfProgressGetPersent(const KyfProgress* progress);
/** Sets a node's own percent and calls the callback if it changed. Null does nothing. */
KYF_API void KyfProgressSetPersent(KyfProgress* progress, int32_t percent);
/** An array of `count` new nodes for KyfAppendProgress, which must follow: nothing else frees them. Null for a count
 *  below 1. Throws std::bad_alloc when out of memory.
 *  @param equal  Non-zero: equal weights that add up to 101. Zero: each weighs 100. */
KYF_API KyfProgress** KyfProgressCreateSubList(int32_t count, KyiBool equal);
/** Hangs a child array below a node, which then owns it; children take over Callback and Args. A list that was there
 *  is not freed, so that a node should get one list at most. Count 0 clears the list. */
KYF_API void KyfAppendProgress(KyfProgress* progress, KyfProgress** list, int32_t count);
/** The root of a node's tree. */
KYF_API KyfProgress* KyfProgressGetParent(KyfProgress* progress);

#ifdef __cplusplus
}
#endif

#endif
