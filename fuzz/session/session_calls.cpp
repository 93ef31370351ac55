#include "session/session_calls.h"

#include "session/session_records.h"

namespace fuzz {
bool IsResult(KyfResult result) {
    return result == KyfResultOk || (result >= KyfResultFailFile && result <= KyfResultFail) ||
           result == KyfResultNoHeightData;
}

SessionCalls::SessionCalls(Choices& choices)
    : m_choices(choices), m_session(KyfAllocFocusComposition()), m_isThin(choices.Byte() % 8 == 7) {
    m_size = AnySize(choices, m_isThin);
    m_format = AnyFormat(choices);
    Initialize();
    Start();
}

SessionCalls::~SessionCalls() { KyfFreeFocusComposition(m_session); }

void SessionCalls::Initialize() {
    const std::wstring folder = (Folder().Path() / "frames").wstring();
    KyfFocusInitializeParameter parameter{};
    FillInit(m_choices, folder, parameter);
    Require(KyfFocusInitialize(m_session, &parameter) == KyfResultOk, "a session can be initialized at any time");
}

void SessionCalls::Start() {
    KyfFocusCompositionParameter all{};
    KyfFocusComposition2DSelectionParameter two{};
    KyfFocusComposition3DSelectionParameter three{};
    FillShared(m_choices, two);
    Fill2D(m_choices, two);
    const std::uint8_t kind = m_choices.Byte();
    KyfFocusComposition* const session = Session();
    if (m_isThin || kind % 16 < 6) {
        Require(IsResult(KyfFocusStart2DSelection(session, kind == 255 ? nullptr : &two)),
                "a start gives a known result");
        return;
    }
    if (kind % 16 == 6) {
        KyfFocusStartGyre(session);
        return;
    }
    FillShared(m_choices, three);
    Fill3D(m_choices, three);
    if (kind % 16 < 11) {
        KyfFocusStart3DSafe(session, kind == 255 ? nullptr : &three);
    } else if (kind % 16 < 15) {
        KyfFocusStartComplexProcessing(session, &two, kind == 254 ? nullptr : &three);
    } else {
        FillShared(m_choices, all);
        Fill2D(m_choices, all);
        Fill3D(m_choices, all);
        all.AlgType = m_choices.Field(0, 2);
        KyfFocusStart(session, &all);
    }
}

void SessionCalls::Add() {
    if (m_addsLeft-- <= 0) return;
    const bool isMisfit = m_choices.Byte() % 32 == 31;
    const Size size = isMisfit ? AnySize(m_choices, m_isThin) : m_size;
    const Image frame = MakeFrame(m_choices, size, isMisfit ? AnyFormat(m_choices) : m_format);
    const Progress progress = AnyProgress(m_choices);
    const KyiBool parallel = m_choices.Flag();
    KyiImageData* const image = m_choices.Byte() % 64 == 63 ? nullptr : frame.get();
    const KyfResult result = m_choices.Byte() % 4 == 0 ? KyfFocusAddImage(Session(), image, parallel, progress.get())
                                                       : KyfFocusAddImageWithHeight(Session(), image, m_choices.Real(),
                                                                                    parallel, progress.get());
    Require(IsResult(result), "an add gives a known result");
}

void SessionCalls::AddFile() {
    if (m_addsLeft-- <= 0) return;
    const std::wstring path = AnyFile(m_choices, "frame.bmp", m_size, m_format);
    const Progress progress = AnyProgress(m_choices);
    const KyfResult result = m_choices.Flag() ? KyfFocusAddImageFile(Session(), path.c_str(), 1, progress.get())
                                              : KyfFocusAddImageFileWidthHeight(Session(), path.c_str(),
                                                                                m_choices.Real(), 0, progress.get());
    Require(IsResult(result), "an add gives a known result");
}

void SessionCalls::Make() {
    const Progress progress = AnyProgress(m_choices);
    Require(IsResult(KyfFocusMakeCompImage(Session(), m_choices.Flag(), progress.get())),
            "a make gives a known result");
}

void SessionCalls::Call() {
    const std::uint8_t kind = m_choices.Byte();
    if (kind % 64 == 63) { // few: each is a session with its frames
        CallFiles(m_choices);
        return;
    }
    switch (kind % 16) {
    case 0: Start(); break;
    case 1:
        KyfFocusTerminate(Session());
        Initialize();
        Start();
        break;
    case 2: m_choices.Flag() ? KyfFocusTerminate(m_session) : Initialize(); break;
    case 3: AddFile(); break;
    case 4:
    case 5: Make(); break;
    case 6:
    case 7:
    case 8:
    case 9:
    case 10: CallResults(m_choices, Session()); break;
    default: Add();
    }
}

} // namespace fuzz
