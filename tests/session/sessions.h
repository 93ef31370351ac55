/// Sessions, frames and progress nodes for tests: owned, in a temporary folder of their own.
#ifndef KYFOCUS_TESTS_SESSION_SESSIONS_H
#define KYFOCUS_TESTS_SESSION_SESSIONS_H

#include <cstdint>
#include <memory>
#include <string>

#include <kyfocus/composition_setting.h>
#include <kyfocus/kyfocus.h>

#include "support/case_files.h"
#include "support/focus_session.h"
#include "support/images.h"

namespace test {

struct FreeProgress {
    void operator()(KyfProgress* progress) const { KyfFreeProgress(progress); }
};
using Progress = std::unique_ptr<KyfProgress, FreeProgress>;

inline Progress MakeProgress() { return Progress(KyfAllocProgress(nullptr, nullptr)); }

/// Initialized with a folder, all other parameters 0.
inline Session MakeSession(const std::wstring& folder = L"") {
    Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = folder.c_str();
    if (KyfFocusInitialize(session.get(), &parameter) != KyfResultOk) throw std::runtime_error("no session");
    return session;
}

/// Default settings at a speed.
template <typename Parameter> Parameter Defaults(KyfSpeed speed = 0) {
    CKyfFocusCompositionSetting setting;
    setting.SetSpeed(speed);
    Parameter parameter{};
    setting.TakeOut(parameter);
    return parameter;
}

/// Started for 2D selection.
inline Session Make2DSession(KyfSpeed speed = 0) {
    Session session = MakeSession();
    const auto parameter = Defaults<KyfFocusComposition2DSelectionParameter>(speed);
    KyfFocusStart2DSelection(session.get(), &parameter);
    return session;
}

/// Started for both pipelines.
inline Session MakeComplexSession() {
    Session session = MakeSession();
    const auto two = Defaults<KyfFocusComposition2DSelectionParameter>();
    const auto three = Defaults<KyfFocusComposition3DSelectionParameter>();
    KyfFocusStartComplexProcessing(session.get(), &two, &three);
    return session;
}

} // namespace test

#endif
