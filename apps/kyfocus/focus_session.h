/// One composition through the exported calls of the library, with errors as exceptions.
#ifndef KYFOCUS_APP_FOCUS_SESSION_H
#define KYFOCUS_APP_FOCUS_SESSION_H

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include <kyfocus/kyfocus.h>

#include "height_image_file.h"
#include "height_map_file.h"
#include "images.h"

namespace app {

/// What a composition is started with.
struct SessionSettings {
    int ScopeType = 0;
    int Speed = 0;     // 0 full, 1 half, 2 quarter of the frame's width
    int CompSize = 8;  // percent of the frame's width
    int Smoothing = 6; // percent of the result's width
    bool Parallel = true;
};

/// Called with the percent of the running step, 0 to 101.
using PercentCallback = std::function<void(int)>;

/// A stack being composed by 2D selection. All calls throw Failure when the library refuses.
class FocusSession {
  public:
    /// @param temporaryFolder  For the library's temporary files. It sweeps those that it finds there.
    FocusSession(const SessionSettings& settings, const std::filesystem::path& temporaryFolder);

    /// @param height  In the host's unit; give one with every frame or with none.
    void Add(KyiImageData& frame, std::optional<double> height, const PercentCallback& onPercent);
    void Make(const PercentCallback& onPercent);

    /// The composed image, handed over.
    Image ExtractImage();
    /// The smoothed height map. Heights must have been given.
    HeightMap Heights() const;
    /// The same map as a 16-bit gray image. `scale` receives step and offset.
    Image HeightImage(HeightScale& scale) const;

  private:
    struct FreeSession {
        void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
    };
    std::unique_ptr<KyfFocusComposition, FreeSession> m_session;
    bool m_isParallel;
};

/// The meaning of a result that is not KyfResultOk.
const char* DescribeResult(KyfResult result);

} // namespace app

#endif
