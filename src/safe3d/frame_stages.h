/// What a path of processing does with one frame, stage by stage. The order of the stages, their trace lines and the
/// steps of progress are the same on every path, and ProcessFrame has them.
#ifndef KYFOCUS_SAFE3D_FRAME_STAGES_H
#define KYFOCUS_SAFE3D_FRAME_STAGES_H

#include <memory>

#include <kyfocus/session.h>

#include "safe3d/frame_images.h"

namespace kyf {

/// The stages of one frame. What fails on a path other than the CPU is traced there, and the frame goes on. All may
/// throw std::bad_alloc.
class FrameStages {
  public:
    FrameStages() = default;
    virtual ~FrameStages() = default;
    FrameStages(const FrameStages&) = delete;
    FrameStages& operator=(const FrameStages&) = delete;

    /// The trace line that tells the path.
    virtual const wchar_t* BeginLine() const = 0;
    /// The frame at working size.
    virtual void Reduce() = 0;
    /// The channel that edge strength is made from, where Reduce has not taken it.
    virtual void TakeChannel() = 0;
    /// Three passes of the session's blur over the channel; nothing for a blur without a middle.
    /// @param progress  May be null; only the CPU reports its passes.
    virtual void Blur(KyfProgress* progress) = 0;
    virtual void FilterBlurred() = 0;
    virtual void FilterPlain() = 0;
    /// In the place of the filters where brightness stands for focus.
    virtual void TakeBrightness() = 0;
    /// Edge strength and luminance from what the filters, or TakeBrightness, have left.
    virtual void MakeEdgeData(const FrameImages& images) = 0;
};

/// The stages on the CPU, with their working images; null when those cannot be had, or are of no size.
std::unique_ptr<FrameStages> MakeCpuStages(const KyfFocusComposition& session, const KyiImageData& frame,
                                           KyiBool parallel);

} // namespace kyf

#endif
