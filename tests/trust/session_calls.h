/// Every exported call that takes a session, each as one step of a sequence in any order.
#ifndef KYFOCUS_TESTS_TRUST_SESSION_CALLS_H
#define KYFOCUS_TESTS_TRUST_SESSION_CALLS_H

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "session/sessions.h"

namespace test {

/// What the steps work on: one session with a folder of its own, and frames on disk and in memory.
class Bench {
  public:
    Bench();

    KyfFocusComposition* Session() const { return m_session.get(); }
    /// The block is the same all along; the steps make it a session, or none.
    void Initialize();
    /// Starts a mode with quick settings, or all three pipelines' settings by number 0, 1, 2.
    KyfResult Start(int mode);
    KyfResult Add();
    KyfResult AddMisfit();
    KyfResult AddFile(bool withHeight, bool isThere);
    KyfResult AddWithoutHeight();
    KyfResult Make() { return KyfFocusMakeCompImage(Session(), 0, nullptr); }

    /// Composes two frames from a fresh start in the same block. @return the composed image.
    Image ComposeAnew(int mode);

  private:
    TemporaryFolder m_folder;
    std::wstring m_tempFolder;
    std::wstring m_file;
    test::Session m_session;
    int m_added = 0;
};

/// One call, and the results that it may have, whatever came before on a block that has a session's signature.
struct SessionCall {
    std::string Name;
    std::function<KyfResult(Bench&)> Run; ///< frees what it is given; 1 from a call without a result
    std::vector<KyfResult> Results;
};

/// All of them: life, starts, adds, make, and each way to a result.
const std::vector<SessionCall>& SessionCalls();

/// Runs a call and says whether the result is one of its own. @param result  Receives it; may be null.
testing::AssertionResult RunsAsTold(const SessionCall& call, Bench& bench, KyfResult* result = nullptr);

} // namespace test

#endif
