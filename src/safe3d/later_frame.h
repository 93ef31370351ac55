/// A frame after the first, on its way into place.
#ifndef KYFOCUS_SAFE3D_LATER_FRAME_H
#define KYFOCUS_SAFE3D_LATER_FRAME_H

#include <cstdint>
#include <vector>

#include <kyfocus/session.h>

#include "alignment/line_matching.h"
#include "alignment/projection_shift.h"
#include "filters/image_layout.h"

namespace kyf {

/// Projection shift moves the frame into an image of its own; line matching moves the host's frame itself. The
/// session's records follow once the frame is accepted. One that is not gets its rows back, so that the host can give
/// it again.
class LaterFrame {
  public:
    LaterFrame(KyfFocusComposition& session, KyiImageData& frame, KyiBool parallel) noexcept;
    ~LaterFrame();
    LaterFrame(const LaterFrame&) = delete;
    LaterFrame& operator=(const LaterFrame&) = delete;

    /// At most one of the two. A session without a record for the method leaves the frame where it is. They throw
    /// std::bad_alloc, and have done nothing then.
    void MoveByProjection();
    void MoveByLines();

    /// The frame where it belongs.
    const KyiImageData& Image() const noexcept { return m_moved ? *m_moved : m_frame; }
    /// The frame has come through: the next one is compared with it.
    void Accept() noexcept;

  private:
    enum class Method { None, Projection, Lines };

    KyfFocusComposition& m_session;
    KyiImageData& m_frame;
    KyiBool m_parallel;
    Method m_method = Method::None; ///< whose record is still to follow
    ProjectionMove m_projection{};
    LineMatch m_match;
    ImagePtr m_moved;
    std::vector<std::uint8_t> m_lost; ///< what the move has pushed out of the host's frame
};

} // namespace kyf

#endif
