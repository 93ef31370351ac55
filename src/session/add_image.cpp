// The way of one frame into the pipelines that the mode names.
#include <memory>
#include <optional>

#include "safe3d/safe3d.h"
#include "selection2d/selection2d.h"
#include "session/height_list.h"
#include "session/session_insides.h"

namespace {

/// One frame on its way, with the arguments that all forms of adding share.
struct Frame {
    KyiImageData* Image;
    KyiBool TakeOwnership; ///< the session may keep the image
    KyiBool Parallel;
    KyfProgress* Progress; ///< the caller's node, or null
    KyiBool IsTaken = 0;   ///< the session has kept or freed the image
};

/// An image that was loaded for one add; freed at its end unless a pipeline has taken it.
class LoadedFrame {
  public:
    LoadedFrame(const wchar_t* path, KyiBool parallel, KyfProgress* progress)
        : m_frame{nullptr, /*TakeOwnership=*/1, parallel, progress} {
        if (path == nullptr || !KyiLoadImageData(path, &m_frame.Image)) m_frame.Image = nullptr;
    }
    ~LoadedFrame() {
        if (m_frame.IsTaken == 0) KyiFreeImageData(m_frame.Image);
    }
    LoadedFrame(const LoadedFrame&) = delete;
    LoadedFrame& operator=(const LoadedFrame&) = delete;

    Frame& Get() { return m_frame; }
    bool IsLoaded() const { return m_frame.Image != nullptr; }

  private:
    Frame m_frame;
};

/// The children that a node has had at one moment. Another list hung below the node later loses them: they end here.
class ReplacedSteps {
  public:
    explicit ReplacedSteps(KyfProgress* node)
        : m_node(node), m_list(node != nullptr ? node->SubList : nullptr), m_count(m_list ? node->SubCount : 0) {}
    ~ReplacedSteps() {
        if (m_list == nullptr || m_node->SubList == m_list) return;
        for (std::int32_t i = 0; i < m_count; ++i) KyfFreeProgress(m_list[i]);
        delete[] m_list;
    }
    ReplacedSteps(const ReplacedSteps&) = delete;
    ReplacedSteps& operator=(const ReplacedSteps&) = delete;

  private:
    KyfProgress* m_node;
    KyfProgress** m_list;
    std::int32_t m_count;
};

KyfResult AddTo2D(KyfFocusComposition& session, Frame& frame, KyiBool takeOwnership, KyfProgress* progress) {
    return kyf::Kyf2DSelectionAddImage(&session, frame.Image, takeOwnership, frame.IsTaken, frame.Parallel, progress);
}

KyfResult AddTo3D(KyfFocusComposition& session, Frame& frame, KyiBool takeOwnership, KyfProgress* progress) {
    return kyf::Kyf3DSafeAddImage(&session, frame.Image, takeOwnership, frame.IsTaken, frame.Parallel, progress);
}

/// Both pipelines below one node, without a list between: the steps of the 3D side replace those of the 2D side.
KyfResult AddToBothInOneNode(KyfFocusComposition& session, Frame& frame) {
    const KyfResult result = AddTo2D(session, frame, /*takeOwnership=*/0, frame.Progress);
    if (result != KyfResultOk) return result;
    const ReplacedSteps steps(frame.Progress);
    return AddTo3D(session, frame, /*takeOwnership=*/0, frame.Progress);
}

/// Both pipelines, each with half of the caller's node. The second half is completed whatever happens.
KyfResult AddToBothInTwoSteps(KyfFocusComposition& session, Frame& frame) {
    KyfProgress** halves = nullptr;
    if (frame.Progress != nullptr) {
        halves = KyfProgressCreateSubList(2, /*equal=*/1);
        KyfAppendProgress(frame.Progress, halves, 2);
    }
    KyfResult result = AddTo2D(session, frame, /*takeOwnership=*/0, halves ? halves[0] : nullptr);
    if (halves != nullptr) KyfProgressCompleteProc(halves[0]);
    if (result == KyfResultOk) result = AddTo3D(session, frame, /*takeOwnership=*/0, halves ? halves[1] : nullptr);
    if (halves != nullptr) KyfProgressCompleteProc(halves[1]);
    return result;
}

using AddToBoth = KyfResult (*)(KyfFocusComposition&, Frame&);

KyfResult Dispatch(KyfFocusComposition& session, Frame& frame, AddToBoth addToBoth) {
    if (frame.Image == nullptr) return KyfResultInvalidParameter;
    switch (session.Mode) {
    case KyfMode2DSelection: return AddTo2D(session, frame, frame.TakeOwnership, frame.Progress);
    case KyfMode3DSafe: return AddTo3D(session, frame, frame.TakeOwnership, frame.Progress);
    case KyfModeComplexProcessing: return addToBoth(session, frame);
    default: return KyfResultInvalidParameter;
    }
}

/// Adds without a height. The node stays untouched on a bad signature and is completed otherwise.
KyfResult Add(KyfFocusComposition* session, Frame& frame, AddToBoth addToBoth) {
    if (!kyf::IsSession(session)) return KyfResultInvalidParameter;
    const kyf::HeightListGrowth heights(*session, /*isNeeded=*/false);
    const KyfResult result = Dispatch(*session, frame, addToBoth);
    KyfProgressCompleteProc(frame.Progress);
    return result;
}

/// Adds with a height. Here the node is completed on a bad signature too.
KyfResult AddWithHeight(KyfFocusComposition* session, Frame& frame, double height) {
    if (!kyf::IsSession(session)) {
        KyfProgressCompleteProc(frame.Progress);
        return KyfResultInvalidParameter;
    }
    kyf::HeightListGrowth heights(*session, /*isNeeded=*/true);
    const KyfResult result = Dispatch(*session, frame, AddToBothInTwoSteps);
    KyfProgressCompleteProc(frame.Progress);
    if (result != KyfResultOk) return result;
    const bool is2D = session->Mode == KyfMode2DSelection;
    const std::int32_t count = is2D ? session->State2D.FrameCount : session->State3D.FrameCount;
    if (count == 0) return KyfResultInvalidParameter;
    heights.Store(count - 1, height);
    return KyfResultOk;
}

} // namespace

KyfResult KyfFocusAddImage(KyfFocusComposition* session, KyiImageData* image, KyiBool parallel, KyfProgress* progress) {
    Frame frame{image, /*TakeOwnership=*/0, parallel, progress};
    return Add(session, frame, AddToBothInOneNode);
}

KyfResult KyfFocusAddImageFile(KyfFocusComposition* session, const wchar_t* path, KyiBool parallel,
                               KyfProgress* progress) {
    LoadedFrame loaded(path, parallel, progress);
    if (!loaded.IsLoaded()) return KyfResultFailFile;
    return Add(session, loaded.Get(), AddToBothInTwoSteps);
}

KyfResult KyfFocusAddImageWithHeight(KyfFocusComposition* session, KyiImageData* image, double height, KyiBool parallel,
                                     KyfProgress* progress) {
    Frame frame{image, /*TakeOwnership=*/0, parallel, progress};
    return AddWithHeight(session, frame, height);
}

KyfResult KyfFocusAddImageFileWidthHeight(KyfFocusComposition* session, const wchar_t* path, double height,
                                          KyiBool parallel, KyfProgress* progress) {
    LoadedFrame loaded(path, parallel, progress);
    if (!loaded.IsLoaded()) return KyfResultFailFile;
    return AddWithHeight(session, loaded.Get(), height);
}
