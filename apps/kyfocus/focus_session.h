/// One composition through the exported calls of the library, with errors as exceptions.
#ifndef KYFOCUS_APP_FOCUS_SESSION_H
#define KYFOCUS_APP_FOCUS_SESSION_H

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include <kyfocus/kyfocus.h>

#include "differentiation_map_file.h"
#include "frame_move.h"
#include "height_image_file.h"
#include "height_map_file.h"
#include "images.h"

namespace app {

/// Called with the percent of the running step, 0 to 101.
using PercentCallback = std::function<void(int)>;

/// A stack being composed. All calls throw Failure when the library refuses.
class FocusSession {
  public:
    /// @param temporaryFolder  For the bitmaps of the 3D modes, for this session alone; empty in mode 2d.
    /// @param keepBorder  Keeps the frames' size where they are lined up.
    FocusSession(const KyfFocusCompositionParameter& settings, bool parallel, bool keepBorder,
                 const std::filesystem::path& temporaryFolder);

    /// @param height  In the host's unit; give one with every frame or with none.
    void Add(KyiImageData& frame, std::optional<double> height, const PercentCallback& onPercent);
    void Make(const PercentCallback& onPercent);

    /// How the frame that was added last has been moved for the 2D and for the 3D pipeline; nothing where a pipeline
    /// does not run or line frames up.
    std::optional<FrameMove> LastMove2d() const;
    std::optional<FrameMove> LastMove3d() const;

    /// The composed image, handed over.
    Image ExtractImage();
    /// The smoothed height map. Heights must have been given.
    HeightMap Heights() const;
    /// The same map as a 16-bit gray image. `scale` receives step and offset.
    Image HeightImage(HeightScale& scale) const;

    /// How sharp each pixel of the result was at its best. Heights must have been given, and the mode be 2d.
    /// @param format  Of the frames.
    DifferentiationMap BestFocus(int format) const;

  private:
    struct FreeSession {
        std::filesystem::path TemporaryFolder;
        void operator()(KyfFocusComposition* session) const;
    };
    std::unique_ptr<KyfFocusComposition, FreeSession> m_session;
    bool m_isParallel;
    std::filesystem::path m_temporaryFolder;
};

/// The meaning of a result that is not KyfResultOk.
const char* DescribeResult(KyfResult result);

} // namespace app

#endif
