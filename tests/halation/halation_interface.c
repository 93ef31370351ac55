/* The header in C: what a host in C sees of a halation session. */
#include <kyfocus/halation.h>

int RunHalationInC(void);

/* A series of one frame; 1 where everything went well. */
int RunHalationInC(void) {
    const KyfHalationParameter parameter = {200, 20, 50};
    KyfHalationRemoval* const record = KyfAllocHalationRemoval();
    KyiImageData* const frame = KyiAllocImageData(3, 2, KyiFormatGray8);
    KyiImageData* result = 0;
    int isGood = record && frame && record->Signature[0] == 'K' && record->Threshold == 180;
    isGood = isGood && KyfHalationStart(record, &parameter) == KyfResultOk;
    isGood = isGood && KyfHalationAddImage(record, frame, 0, 0) == KyfResultOk;
    isGood = isGood && KyfHalationExtractRemovalImage(record, &result) == KyfResultOk && result && result->Width == 3;
    KyiFreeImageData(result);
    KyiFreeImageData(frame);
    KyfFreeHalationRemoval(record);
    return isGood;
}
