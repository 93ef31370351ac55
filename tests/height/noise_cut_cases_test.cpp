// Recorded noise cuts, equal to the bit.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "height/height_session.h"
#include "height/noise_cut_data.h"
#include "reference/noise_cut.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

class NoiseCutCases : public testing::TestWithParam<std::string> {
  protected:
    NoiseCutCases()
        : m_case(test::LoadCase("noisecut", GetParam())), m_heights(test::ReadDoubles(m_case.File("height_data.npy"))),
          m_map(test::ReadInts(m_case.File("differentiation_map.npy"))) {}

    template <typename T> T Value(const char* name) const { return m_case.Json.at(name).get<T>(); }
    std::int32_t Width() const { return static_cast<std::int32_t>(m_heights.Shape.at(1)); }
    std::int32_t Height() const { return static_cast<std::int32_t>(m_heights.Shape.at(0)); }
    bool Has(const std::string& file) const { return exists(m_case.File(file)); }

    void ExpectSessionCut() const {
        const test::Session session = test::MakeSession(KyfMode2DSelection);
        KyfCompositionState& state = session->State2D;
        state.CuttedWidth = Width();
        state.CuttedHeight = Height();
        const std::vector<double> before(m_heights.Values.size(), 4711.0);
        state.CuttedHeightDataMap = test::MakeDoubleRows(Width(), Height(), m_heights.Values);
        state.CuttedAntNoiseHeightDataMap = test::MakeDoubleRows(Width(), Height(), before);
        session->CuttedBestFocusMap = test::MakeIntRows(Width(), Height(), m_map.Values);
        const KyfHeightNoiseCutParameter parameter{Value<double>("CutRatio"), Value<std::int32_t>("FillType"),
                                                   Value<std::int32_t>("Smoothing")};
        const auto count = static_cast<std::size_t>(Width()) * static_cast<std::size_t>(Height());
        for (int run = 0; run < 2; ++run) { // a second cut begins with the same heights
            EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &parameter), Value<KyfResult>("result"));
            const std::vector<double> expected =
                Has("cut_height_data.npy") ? test::ReadDoubles(m_case.File("cut_height_data.npy")).Values : before;
            EXPECT_TRUE(test::SameValues(expected, {state.CuttedAntNoiseHeightDataMap[0], count}));
            EXPECT_TRUE(test::SameValues(m_heights.Values, {state.CuttedHeightDataMap[0], count}));
        }
    }

    /// The plain form's stages; the entries of the host have no stage of their own that can be seen.
    void ExpectPlainStages() const {
        const auto height = static_cast<std::size_t>(Height());
        reference::Field work(height);
        const bool isCut = reference::CutHeights(test::Rows(m_heights.Values, height), test::Rows(m_map.Values, height),
                                                 Value<std::int32_t>("Depth"), Value<double>("CutRatio"),
                                                 Value<std::int32_t>("FillType"), work);
        EXPECT_EQ(isCut, Value<KyfResult>("result") == KyfResultOk);
        if (Has("filled_height_data.npy")) {
            EXPECT_TRUE(
                test::SameValues(test::ReadDoubles(m_case.File("filled_height_data.npy")).Values, test::Flat(work)));
        }
        if (!isCut || !Has("cut_height_data.npy")) return;
        reference::SmoothHeights(work, Width(), Value<std::int32_t>("Smoothing"));
        EXPECT_TRUE(test::SameValues(test::ReadDoubles(m_case.File("cut_height_data.npy")).Values, test::Flat(work)));
    }

    void ExpectHostCall(bool isPreview) const {
        const auto height = static_cast<std::size_t>(Height());
        test::NoiseCutData data(test::Rows(m_heights.Values, height), test::Rows(m_map.Values, height),
                                Value<std::int32_t>("Depth"));
        data.Record.Parameter.CutRatio = Value<double>("CutRatio");
        data.Record.Parameter.FillType = isPreview ? 77 : Value<std::int32_t>("FillType");
        data.Record.Parameter.Smoothing = isPreview ? 50 : Value<std::int32_t>("Smoothing");
        data.Record.IsRawHeight = Value<std::int32_t>("IsRawHeight");
        data.Record.Offset = Value<double>("Offset");
        data.Record.Step = Value<double>("Step");
        const test::Image image(KyiAllocImageData(Value<std::int32_t>("image_width"),
                                                  Value<std::int32_t>("image_height"), Value<std::int32_t>("format")));
        KyiFill(image.get(), Value<std::int32_t>("image_before"), 0, 0);
        if (isPreview) {
            KyfPreviewFilterHeightNoiseCut(image.get(), image.get(), &data.Record);
        } else {
            const test::HeardReports heard;
            EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, &heard.Progress),
                      Value<KyfResult>("result"));
            EXPECT_EQ(heard.Percents, Value<std::vector<std::int32_t>>("reports"));
        }
        const auto expected = test::ReadInts(m_case.File("image.npy"));
        EXPECT_TRUE(test::SameValues(expected.Values, test::ToPlanes(*image)));
        EXPECT_TRUE(test::SameValues(m_heights.Values, test::Flat(data.Heights())));
    }

    test::Case m_case;
    test::Array<double> m_heights;
    test::Array<std::int32_t> m_map;
};

TEST_P(NoiseCutCases, GiveTheRecordedHeightsSamplesAndReports) {
    const auto entry = Value<std::string>("entry");
    if (entry == "session") {
        ExpectSessionCut();
        ExpectPlainStages();
    } else {
        ASSERT_TRUE(entry == "host" || entry == "preview") << entry;
        ExpectHostCall(entry == "preview");
    }
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, NoiseCutCases, testing::ValuesIn(test::CaseNames("noisecut")), Name);

} // namespace
