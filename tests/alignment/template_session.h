/// A session as template matching sees it: the areas and what hangs on them, without the pipeline around.
#ifndef KYFOCUS_TESTS_ALIGNMENT_TEMPLATE_SESSION_H
#define KYFOCUS_TESTS_ALIGNMENT_TEMPLATE_SESSION_H

#include <cstdint>
#include <vector>

#include "alignment/pattern_matching.h"
#include "alignment/template_matching.h"
#include "support/images.h"

namespace test {

/// Positions in the search images of a frame's areas.
struct FoundAreas {
    std::vector<KyPoint> Found;
};

class TemplateSession {
  public:
    TemplateSession() = default;
    ~TemplateSession() { kyf::FreeTemplateMatching(m_record); }
    TemplateSession(const TemplateSession&) = delete;
    TemplateSession& operator=(const TemplateSession&) = delete;

    KyfFocusComposition& Record() { return m_record; }
    const KyfFocusComposition& Record() const { return m_record; }

    void SetUp(const KyiImageData& frame) { kyf::SetUpTemplateMatching(m_record, frame); }

    /// Aligns a frame and takes it.
    KyfFrameShift Align(const KyiImageData& frame, KyiImageData& aligned, KyiBool parallel, KyfProgress* progress) {
        KyfFrameShift shift{};
        const KyfRect common = kyf::AlignByTemplates(m_record, frame, aligned, shift, parallel, progress);
        kyf::TakeAlignedFrame(m_record, aligned, common);
        return shift;
    }

    /// Searches the areas of a frame with a matcher of its own; nothing changes.
    FoundAreas Find(const KyiImageData& frame) const {
        FoundAreas areas;
        KyfPatternMatching matcher;
        kyf::PreparePatternMatching(matcher);
        for (std::int32_t i = 0; i < m_record.Matcher->AreaCount; ++i) {
            const KyiImageData* const search = m_record.AreaTemplates[i];
            if (search) kyf::LoadSearchImage(matcher, search, {0, 0, search->Width - 1, search->Height - 1}, 0);
            kyf::LoadTemplate(matcher, &frame, m_record.AreaTemplateRects[i], 0);
            areas.Found.push_back(kyf::SearchTemplate(matcher, 0));
        }
        return areas;
    }

  private:
    KyfFocusComposition m_record{};
};

} // namespace test

#endif
