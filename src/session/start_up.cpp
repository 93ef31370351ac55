#include "session/start_up.h"

#include <cwchar>
#include <exception>

#include "filters/filters.h"
#include "gpu/intermediate_code_path.h"
#include "platform/folders.h"
#include "platform/profile.h"
#include "session/session_insides.h"

namespace {

constexpr std::size_t kProfileCapacity = 1024; // characters of a value, with the terminator

/// The trace setting of the user. Without a per-user folder there is none: a file that happens to lie in the working
/// folder is not the user's.
std::wstring ReadTraceSetting(const std::wstring& folder) {
    if (folder.empty()) return {};
    return platform::ReadProfileText((folder + L"/KYFocus.ini").c_str(), L"Debug", L"Log", L"", kProfileCapacity);
}

} // namespace

void KyfDllInitialize(const wchar_t* /*path*/) {
    try {
        const std::wstring folder = platform::PerUserFolder();
        KyiSetPuttingTraceLog(platform::ParseProfileNumber(ReadTraceSetting(folder)).value_or(0) != 0 ? 1 : 0);
        KyiSetTraceLogFolder(folder.c_str());
    } catch (const std::exception&) {
        KyiSetPuttingTraceLog(0); // out of memory: as without a file
    }
}

void KyfSetParallelProcImageSize(uint32_t pixels) { kyf::g_parallelProcImageSize = pixels; }

void KyfSetIntermediateCodePath(const wchar_t* path) {
    if (path == nullptr) return;
    try {
        kyf::SetIntermediateCodePath(path);
    } catch (const std::exception&) {
        // Out of memory for the default that would have been replaced: there is no path yet, and the next call tries
        // again.
    }
}

KyfResult KyfFocusGetMemorySize(const KyfFocusComposition* session, int32_t* width, int32_t* height) {
    if (width == nullptr || height == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    const KyfCompositionState& state = kyf::ComposedState(*session);
    *width = state.WorkWidth;
    *height = state.WorkHeight;
    return KyfResultOk;
}
