/* The headers in C: what a host in C sees of the library. */
#include <kyfocus/file_composition.h>
#include <kyfocus/kyfocus.h>
#include <kyfocus/resource.h>

static int g_calls;

static void CountCall(struct KyfProgress* progress) { *(int*)KyfProgressGetArgs(progress) += 1; }

/* A session from start to end, and a tree; the number of callbacks, or -1 where a call gave something else. */
int RunSessionInC(void) {
    KyfFocusInitializeParameter parameter = {0};
    KyfFocusComposition* const session = KyfAllocFocusComposition();
    KyfProgress* const progress = KyfAllocProgress(CountCall, &g_calls);
    const KyfResult started =
        KyfFocusInitialize(session, &parameter) == KyfResultOk ? KyfFocusStartGyre(session) : KyfResultFail;
    const int isGyre = session->Mode == KyfMode2DSelection && session->Speed == 2;
    KyfDifferentiationMap map = {0};
    KyfFreeDifferentiationMap(&map);
    KyfProgressCompleteProc(progress);
    KyfFreeProgress(progress);
    KyfFreeFocusComposition(session);
    return started == KyfResultOk && isGyre ? g_calls : -1;
}

/* A call on files that has none, and a parameter file that is missing: 1 when both give what they should. */
int ComposeNoFilesInC(void) {
    KyfFocusCompositionParameter record = {0};
    KyfLoadFocusCompositionParameter(&record, L"");
    KyfFileFocusCompositionParameter parameter = {.Init = {.TempFolder = L""}, .AlgType = record.AlgType};
    KyfSet3DSelectionParameter(&record, &parameter.Param3D);
    KyfFileFocusCompositionResult result = {0};
    const KyfResult composed = KyfExecuteFileFocusComposition(&parameter, &result, 0, NULL);
    KyfFreeFileFocusCompositionResult(&result);
    return composed == KyfResultInvalidParameter && parameter.Param3D.D3ShapeSmoothing == 5;
}
