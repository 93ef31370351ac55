/// The list of frame heights, which grows by one a frame.
#ifndef KYFOCUS_SESSION_HEIGHT_LIST_H
#define KYFOCUS_SESSION_HEIGHT_LIST_H

#include <cstdint>
#include <memory>

#include <kyfocus/session.h>

namespace kyf {

/// Keeps HeightList as long as the stack: an entry for each frame of the pipeline that has seen more of them. A frame
/// that comes without a height into a stack that has heights counts as 0.0.
///
/// Lives around the pipelines' work on one frame. The longer list is made ahead of it, so that running out of memory
/// finds frames and heights in step.
class HeightListGrowth {
  public:
    /// @param isNeeded  Makes the list also when the session has none yet. Throws std::bad_alloc.
    HeightListGrowth(KyfFocusComposition& session, bool isNeeded);
    /// Puts the longer list in the place of one that has become too short.
    ~HeightListGrowth();

    HeightListGrowth(const HeightListGrowth&) = delete;
    HeightListGrowth& operator=(const HeightListGrowth&) = delete;

    /// Sets the height of frame `index`, counted in already. The list was needed.
    void Store(std::int32_t index, double height) noexcept;

  private:
    void PutInPlace() noexcept;

    KyfFocusComposition& m_session;
    std::int32_t m_oldCount;
    std::unique_ptr<double[]> m_list;
};

} // namespace kyf

#endif
