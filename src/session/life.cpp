// From a raw block to a session and back.
#include <cstddef>
#include <cwchar>
#include <memory>

#include "platform/folders.h"
#include "session/session_insides.h"

namespace {

/// A folder field's text: cut to the capacity, terminated, zero behind.
std::unique_ptr<wchar_t[]> CopyFolder(const wchar_t* folder) {
    auto copy = std::make_unique<wchar_t[]>(KyfMaxPath);
    if (folder != nullptr) std::wcsncpy(copy.get(), folder, KyfMaxPath - 1);
    return copy;
}

/// Takes the signature out of a block that goes back to the heap. The writes are volatile, since they look useless: a
/// later block at the same address must not pass for a session whose pointers are still its own.
void ForgetSignature(KyfFocusComposition& session) noexcept {
    for (std::size_t i = 0; i < std::size(session.Signature); ++i) {
        volatile char16_t& character = session.Signature[i];
        character = u'\0';
    }
}

} // namespace

KyfFocusComposition* KyfAllocFocusComposition(void) {
    // Cleared, so that what the heap left in the block never looks like a signature.
    return new KyfFocusComposition{};
}

void KyfFreeFocusComposition(KyfFocusComposition* session) {
    if (session == nullptr) return;
    KyfFocusTerminate(session);
    ForgetSignature(*session);
    delete session;
}

KyfResult KyfFocusInitialize(KyfFocusComposition* session, const KyfFocusInitializeParameter* parameter) {
    if (session == nullptr || parameter == nullptr) return KyfResultInvalidParameter;
    // Copied first: the host may hand back the folder of the session that ends here.
    std::unique_ptr<wchar_t[]> folder = CopyFolder(parameter->TempFolder);
    KyfFocusTerminate(session);
    session->TempFolder = folder.release();
    session->ScopeType = parameter->ScopeType;
    session->MatchingDetectType = parameter->MatchingDetectType;
    session->MatchingPositionType = parameter->MatchingPositionType;
    session->TrimInvalidBorder = parameter->TrimInvalidBorder;
    session->DisableGPU = parameter->DisableGPU;
    session->ScaleX = 1.0;
    session->ScaleY = 1.0;
    session->BlendWindowSize = 3;
    session->CompSize = 5;
    for (KyfLineMatching* matching : {&session->Matching2D, &session->Matching3D}) {
        matching->BandRatio = 0.05;
        matching->SearchRatio = 0.15;
    }
    return KyfResultOk;
}

void KyfFocusTerminate(KyfFocusComposition* session) {
    if (session == nullptr) return;
    if (kyf::IsSession(session)) { // in any other block nothing is trusted
        if (session->TempFolder != nullptr) platform::DeleteFilesContaining(session->TempFolder, L"MFocusTemp");
        kyf::ReleaseOwnedFields(*session);
    }
    *session = KyfFocusComposition{};
    std::copy(std::begin(kyf::kSessionSignature), std::end(kyf::kSessionSignature), session->Signature);
}
