/// Calls on one focus session, chosen by the input: lives, settings, frames, the make.
///
/// What a host must not do, and this does not: use a session that is freed or was never initialized; write into its
/// record; take images from elsewhere than the library; share a temporary folder between sessions; give a node to two
/// calls. For the sake of speed alone ProjectionNoiseRemove stays below 5, a number of rounds of which a session takes
/// any, two thousand million as well, and frames of the 3D modes are no higher than wide: the working height grows with
/// the ratio.
#ifndef KYFOCUS_FUZZ_SESSION_SESSION_CALLS_H
#define KYFOCUS_FUZZ_SESSION_SESSION_CALLS_H

#include <cstdint>
#include <cstdio>

#include <kyfocus/kyfocus.h>

#include "support/frames.h"

namespace fuzz {

class SessionCalls {
  public:
    explicit SessionCalls(Choices& choices);
    ~SessionCalls();
    SessionCalls(const SessionCalls&) = delete;
    SessionCalls& operator=(const SessionCalls&) = delete;

    void Call();

  private:
    KyfFocusComposition* Session() { return m_choices.Byte() % 64 == 63 ? nullptr : m_session; }
    void Initialize();
    void Start();
    void Add();
    void AddFile();
    void Make();

    Choices& m_choices;
    KyfFocusComposition* m_session;
    Size m_size;
    std::int32_t m_format;
    bool m_isThin;
    int m_addsLeft = 7;
};

/// A whole composition of files, in a session and a temporary folder of its own.
void CallFiles(Choices& choices);

/// Adds up what was given, so that the address checks see all of it.
template <typename Number> void ReadAll(const Number* numbers, std::int32_t width, std::int32_t height) {
    double sum = 0;
    const std::int64_t count = std::int64_t{width} * height;
    for (std::int64_t i = 0; i < count; ++i) sum += static_cast<double>(numbers[i]);
    if (sum == 0.5) std::fputs("", stderr); // so that the reads stay
}

/// Whether a call may give this result.
bool IsResult(KyfResult result);

/// One call that gives something of the session, or one on heights alone.
void CallResults(Choices& choices, KyfFocusComposition* session);

} // namespace fuzz

#endif
