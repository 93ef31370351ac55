#include "safe3d/later_frame.h"

#include <new>
#include <utility>

namespace kyf {

LaterFrame::LaterFrame(KyfFocusComposition& session, KyiImageData& frame, KyiBool parallel) noexcept
    : m_session(session), m_frame(frame), m_parallel(parallel) {}

LaterFrame::~LaterFrame() {
    if (m_method == Method::Lines) MoveRowsBack(m_frame, m_match.TotalShift, m_lost, m_parallel);
}

void LaterFrame::MoveByProjection() {
    const KyfProjectionShift* const shift = m_session.ProjectionShift;
    if (!shift || !shift->PreviousFrame) return;
    m_projection = MeasureProjection(*shift, m_frame);
    const std::int32_t x = shift->TotalX + m_projection.X;
    const std::int32_t y = shift->TotalY + m_projection.Y;
    if (x != 0 || y != 0) {
        m_moved.reset(KyiAllocImageData(m_frame.Width, m_frame.Height, m_frame.Format));
        if (!m_moved) throw std::bad_alloc();
        MoveFrame(m_frame, *m_moved, -x, -y, m_parallel);
    }
    m_method = Method::Projection;
}

void LaterFrame::MoveByLines() {
    m_match = MatchLines(m_session.Matching3D, m_frame, m_parallel);
    m_lost = MoveRowsKeepingLost(m_frame, m_match.TotalShift, m_parallel);
    m_method = Method::Lines;
}

void LaterFrame::Accept() noexcept {
    const Method method = std::exchange(m_method, Method::None);
    if (method == Method::Projection) AcceptProjection(*m_session.ProjectionShift, m_frame, m_projection, m_parallel);
    if (method == Method::Lines) AcceptLineMatch(m_session.Matching3D, m_match);
}

} // namespace kyf
