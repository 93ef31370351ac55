// A host in C++: default settings through the class, progress through the callback.
#include <kyfocus/composition_setting.h>
#include <kyfocus/kyfocus.h>

#include <memory>

namespace {

struct Free {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
    void operator()(KyfProgress* progress) const { KyfFreeProgress(progress); }
};

} // namespace

int main() {
    const std::unique_ptr<KyfFocusComposition, Free> session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter initialize{};
    initialize.TempFolder = L"";
    if (KyfFocusInitialize(session.get(), &initialize) != KyfResultOk) return 1;

    CKyfFocusCompositionSetting setting;
    setting.SetAlgType(KyfAlgorithmType2DSelection);
    if (KyfFocusStart(session.get(), &setting.Get()) != KyfResultOk) return 2;

    int calls = 0;
    const auto count = [](KyfProgress* node) { ++*static_cast<int*>(KyfProgressGetArgs(node)); };
    const std::unique_ptr<KyiImageData, Free> frame(KyiAllocImageData(64, 48, KyiFormatBgr24));
    KyiFill(frame.get(), 90, 0, 0);
    for (int i = 0; i < 2; ++i) {
        const std::unique_ptr<KyfProgress, Free> progress(KyfAllocProgress(count, &calls));
        if (KyfFocusAddImageWithHeight(session.get(), frame.get(), 1.5 * i, 1, progress.get()) != KyfResultOk) return 3;
        if (KyfProgressGetPersent(progress.get()) != 100) return 4;
    }
    if (calls == 0) return 5;
    if (KyfFocusMakeCompImage(session.get(), 1, nullptr) != KyfResultOk) return 6;
    std::int32_t width = 0, height = 0, format = 0;
    if (KyfFocusGetCompImageInfo(session.get(), &width, &height, &format) != KyfResultOk) return 7;
    return width == 64 && height == 48 && format == KyiFormatBgr24 ? 0 : 8;
}
