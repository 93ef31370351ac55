#include "session/height_list.h"

#include <algorithm>
#include <cstddef>

namespace kyf {

namespace {

std::int32_t LongerFrameCount(const KyfFocusComposition& session) {
    return std::max(session.State2D.FrameCount, session.State3D.FrameCount);
}

} // namespace

HeightListGrowth::HeightListGrowth(KyfFocusComposition& session, bool isNeeded)
    : m_session(session), m_oldCount(LongerFrameCount(session)) {
    if (!isNeeded && session.HeightList == nullptr) return;
    m_list = std::make_unique<double[]>(static_cast<std::size_t>(m_oldCount) + 1);
    if (session.HeightList != nullptr) std::copy_n(session.HeightList, m_oldCount, m_list.get());
}

HeightListGrowth::~HeightListGrowth() {
    const bool isTooShort = m_session.HeightList != nullptr && LongerFrameCount(m_session) > m_oldCount;
    if (isTooShort && m_list != nullptr) PutInPlace();
}

void HeightListGrowth::Store(std::int32_t index, double height) noexcept {
    if (m_list != nullptr) PutInPlace();
    m_session.HeightList[index] = height;
}

void HeightListGrowth::PutInPlace() noexcept {
    delete[] m_session.HeightList;
    m_session.HeightList = m_list.release();
}

} // namespace kyf
