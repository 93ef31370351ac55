// A stack of files in one call. Written on the exported calls alone, as a host would.
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

#include <kyfocus/file_composition.h>

namespace {

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

/// Equal nodes below a node, which owns them.
class Steps {
  public:
    Steps(KyfProgress* node, std::int32_t count) {
        if (node == nullptr) return;
        m_nodes = KyfProgressCreateSubList(count, /*equal=*/1);
        if (m_nodes != nullptr) KyfAppendProgress(node, m_nodes, count);
    }
    /// Null without nodes.
    KyfProgress* operator[](std::int32_t i) const { return m_nodes != nullptr ? m_nodes[i] : nullptr; }

  private:
    KyfProgress** m_nodes = nullptr;
};

void Start(KyfFocusComposition* session, const KyfFileFocusCompositionParameter& parameter) {
    switch (parameter.AlgType) {
    case KyfAlgorithmType2DSelection: KyfFocusStart2DSelection(session, &parameter.Param2D); break;
    case KyfAlgorithmType3DSafe: KyfFocusStart3DSafe(session, &parameter.Param3D); break;
    case KyfAlgorithmTypeComplexProcessing:
        KyfFocusStartComplexProcessing(session, &parameter.Param2D, &parameter.Param3D);
        break;
    default: break;
    }
}

/// The nodes of the files that come behind a failing one stay open.
KyfResult AddFiles(KyfFocusComposition* session, const KyfFileFocusCompositionParameter& parameter, KyiBool parallel,
                   const Steps& steps) {
    for (std::int32_t i = 0; i < parameter.FileCount; ++i) {
        const KyfFocusCompositionFile& file = parameter.Files[i];
        const double height = std::isnan(file.Height) ? 0.0 : file.Height;
        const KyfResult result = KyfFocusAddImageFileWidthHeight(session, file.Path, height, parallel, steps[i]);
        if (result != KyfResultOk) return result;
    }
    return KyfResultOk;
}

bool HasImage(const KyfFocusComposition* session) {
    KyiImageData* image = nullptr;
    return KyfFocusGetCompImage(session, &image) == KyfResultOk && image != nullptr;
}

KyfResult Compose(KyfFocusComposition* session, const KyfFileFocusCompositionParameter& parameter, KyiBool parallel,
                  KyfProgress* progress) {
    KyfFocusInitialize(session, &parameter.Init);
    Start(session, parameter);
    const Steps halves(progress, 2);
    const Steps files(halves[0], parameter.FileCount);
    if (parameter.FileCount < 1 || parameter.Files == nullptr) return KyfResultInvalidParameter;
    if (const KyfResult result = AddFiles(session, parameter, parallel, files); result != KyfResultOk) return result;
    KyfProgressCompleteProc(halves[0]);
    if (!HasImage(session)) return KyfResultInvalidParameter;
    if (const KyfResult result = KyfFocusMakeCompImage(session, parallel, halves[1]); result != KyfResultOk)
        return result;
    KyfProgressCompleteProc(progress);
    return KyfResultOk;
}

} // namespace

KyfResult KyfExecuteFileFocusComposition(const KyfFileFocusCompositionParameter* parameter,
                                         KyfFileFocusCompositionResult* result, KyiBool parallel,
                                         KyfProgress* progress) try {
    if (parameter == nullptr) return KyfResultInvalidParameter;
    const Session session(KyfAllocFocusComposition());
    const KyfResult composed = Compose(session.get(), *parameter, parallel, progress);
    if (composed != KyfResultOk) return composed;
    const std::int32_t wants[] = {parameter->WantHeightData, parameter->WantDifferentiationMap};
    KyfGetFileFocusCompositionResult(session.get(), parameter->AlgType, wants, /*wantAntiNoise=*/0, result);
    return KyfResultOk;
} catch (const std::bad_alloc&) {
    return KyfResultFailAlloc;
}
