// The calls of a halation session: its record, its states, what it refuses.
#include <new>
#include <utility>

#include "filters/numbers.h"
#include "halation/halation.h"

namespace {

void SetDefaults(KyfHalationRemoval& record) {
    record = KyfHalationRemoval{};
    std::copy(std::begin(kyf::kHalationSignature), std::end(kyf::kHalationSignature), record.Signature);
    record.Threshold = 180;
    record.PreSmoothing = 20;
    record.MaskSmoothing = 50;
}

bool IsInRange(const KyfHalationParameter& parameter) {
    const auto isWithin = [](std::int32_t value, std::int32_t most) { return value >= 1 && value <= most; };
    return isWithin(parameter.Threshold, 255) && isWithin(parameter.PreSmoothing, 100) &&
           isWithin(parameter.MaskSmoothing, 100);
}

bool IsFit(const KyiImageData* held, const KyiImageData* image) {
    return held != nullptr && KyiIsSameSize(held, image) && KyiIsSamePixelFormat(held, image) &&
           KyiIsSameOrigin(held, image);
}

KyfResult TakeFirst(KyfHalationRemoval& record, const KyiImageData& image) {
    if (record.RemovalImage != nullptr) return KyfResultInvalidParameter;
    record.RemovalImage = KyiDuplicateImageData(&image, 0);
    return record.RemovalImage != nullptr ? KyfResultOk : KyfResultFailAlloc;
}

KyfResult TakeFurther(KyfHalationRemoval& record, const KyiImageData& image, KyiBool parallel, KyfProgress* progress) {
    if (!IsFit(record.RemovalImage, &image)) return KyfResultInvalidParameter;
    try {
        kyf::BlendFrame(record, image, parallel, progress);
    } catch (const std::bad_alloc&) {
        return KyfResultFailAlloc;
    }
    return KyfResultOk;
}

/// Clears a block that goes back to the heap, so that a later one at the same address does not pass for a record. The
/// write is volatile, since it looks useless.
void ForgetSignature(KyfHalationRemoval& record) noexcept {
    for (char16_t& character : record.Signature) const_cast<volatile char16_t&>(character) = u'\0';
}

} // namespace

KyfHalationRemoval* KyfAllocHalationRemoval(void) {
    auto* const record = new (std::nothrow) KyfHalationRemoval;
    if (record != nullptr) SetDefaults(*record);
    return record;
}

void KyfFreeHalationRemoval(KyfHalationRemoval* record) {
    if (record == nullptr) return;
    KyfHalationTerminate(record);
    ForgetSignature(*record);
    delete record;
}

KyfResult KyfHalationInitialize(KyfHalationRemoval* record) {
    if (record == nullptr) return KyfResultInvalidParameter;
    if (kyf::IsHalationRecord(record)) KyiFreeImageData(record->RemovalImage);
    SetDefaults(*record);
    return KyfResultOk;
}

KyfResult KyfHalationStart(KyfHalationRemoval* record, const KyfHalationParameter* parameter) {
    if (parameter == nullptr || !kyf::IsHalationRecord(record)) return KyfResultInvalidParameter;
    if (record->RemovalImage != nullptr || !IsInRange(*parameter)) return KyfResultInvalidParameter;
    record->Threshold = parameter->Threshold;
    record->PreSmoothing = parameter->PreSmoothing;
    record->MaskSmoothing = parameter->MaskSmoothing;
    record->ImageCount = 0;
    return KyfResultOk;
}

KyfResult KyfHalationAddImage(KyfHalationRemoval* record, const KyiImageData* image, KyiBool parallel,
                              KyfProgress* progress) {
    if (image == nullptr || !kyf::IsHalationRecord(record)) return KyfResultInvalidParameter;
    const KyfResult result =
        record->ImageCount == 0 ? TakeFirst(*record, *image) : TakeFurther(*record, *image, parallel, progress);
    if (result != KyfResultOk) return result;
    KyfProgressCompleteProc(progress);
    record->ImageCount = kyf::WrappingSum(record->ImageCount, 1);
    return KyfResultOk;
}

KyfResult KyfHalationTerminate(KyfHalationRemoval* record) {
    if (record == nullptr) return KyfResultInvalidParameter;
    KyiFreeImageData(record->RemovalImage);
    *record = KyfHalationRemoval{};
    return KyfResultOk;
}

KyfResult KyfHalationGetRemovalImage(const KyfHalationRemoval* record, KyiImageData** image) {
    if (image == nullptr || !kyf::IsHalationRecord(record)) return KyfResultInvalidParameter;
    *image = record->RemovalImage;
    return KyfResultOk;
}

KyfResult KyfHalationExtractRemovalImage(KyfHalationRemoval* record, KyiImageData** image) {
    if (image == nullptr || !kyf::IsHalationRecord(record)) return KyfResultInvalidParameter;
    *image = std::exchange(record->RemovalImage, nullptr);
    return KyfResultOk;
}
