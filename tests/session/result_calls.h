/// The exported calls by name, as the recorded sessions name them.
#ifndef KYFOCUS_TESTS_SESSION_RESULT_CALLS_H
#define KYFOCUS_TESTS_SESSION_RESULT_CALLS_H

#include <optional>
#include <string>

#include "session/sessions.h"

namespace test {

/// One session with its folder, on which recorded steps are run.
class RecordedSession {
  public:
    RecordedSession();
    ~RecordedSession();
    RecordedSession(const RecordedSession&) = delete;
    RecordedSession& operator=(const RecordedSession&) = delete;

    /// Runs a step and checks result and outputs. The step's call is known.
    void Run(const nlohmann::json& step);

    KyfFocusComposition* Get() { return m_session; }
    std::wstring TempFolder(const nlohmann::json& args) const;
    /// A file that holds the frame; a path where nothing is for null.
    std::wstring FrameFile(const nlohmann::json& frame);
    /// The host overwrites one character of the signature.
    void SpoilSignature(std::size_t at);
    /// The session's record was taken for a raw block: what it owned is kept for the end.
    void ForgetSpoiledRecord();

  private:
    TemporaryFolder m_folder;
    KyfFocusComposition* m_session;
    std::optional<KyfFocusComposition> m_spoiled; ///< as it was before the host spoilt it
    std::optional<KyfFocusComposition> m_forgotten;
    int m_fileCount = 0;
};

/// Whether RecordedSession can run a call of this name.
bool IsCallKnown(const std::string& name);

/// The frame that a step describes: plain but for the columns that are sharp in it.
Image MakeFrame(const nlohmann::json& frame);

} // namespace test

#endif
