/// Sessions for the tests of 2D selection: started in one line, with every progress call written down.
#ifndef KYFOCUS_TESTS_SELECTION2D_SESSION_RUN_H
#define KYFOCUS_TESTS_SELECTION2D_SESSION_RUN_H

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <kyfocus/kyfocus.h>

#include "support/focus_session.h"
#include "support/images.h"

namespace test {

/// What a test chooses of a session's settings.
struct SessionSettings {
    std::int32_t ScopeType = 0;
    std::int32_t TrimInvalidBorder = 0;
    std::int32_t Speed = 0;
    std::int32_t CompSize = 8;
    std::int32_t Smoothing = 6;
    std::int32_t AutoPos = 0;
};

/// A session of mode 0, ready for its first frame.
Session StartSession(const SessionSettings& settings);

/// Path of the node, its percent, percent of the root.
using ProgressCall = std::tuple<std::string, std::int32_t, std::int32_t>;

/// A root node that writes down the calls of its callback.
class ProgressLog {
  public:
    ProgressLog();
    ~ProgressLog();
    ProgressLog(const ProgressLog&) = delete;
    ProgressLog& operator=(const ProgressLog&) = delete;

    KyfProgress* Root() const { return m_root; }
    const std::vector<ProgressCall>& Calls() const { return m_calls; }

  private:
    std::vector<ProgressCall> m_calls;
    KyfProgress* m_root;
};

/// All samples of an image as planes: the shown channels, and behind them the unused sample of four-byte pixels.
std::vector<std::int32_t> AllPlanes(const KyiImageData& image);

/// A row table as one list.
template <typename T> std::vector<T> Flatten(T* const* rows, std::int32_t width, std::int32_t height) {
    std::vector<T> values;
    for (std::int32_t y = 0; rows && y < height; ++y) values.insert(values.end(), rows[y], rows[y] + width);
    return values;
}

std::vector<std::int32_t> BestFocus(const KyfFocusComposition& session);
std::vector<std::int32_t> BestFrames(const KyfFocusComposition& session);
std::vector<double> Mask(const KyfFocusComposition& session);

} // namespace test

#endif
