#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <omp.h>

#include "filters/double_fields.h"
#include "filters/filters.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

using test::Case;

constexpr const char* kTopic = "filters";

class FilterCases : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override { m_case = test::LoadCase(kTopic, GetParam()); }
    void TearDown() override { kyf::g_parallelProcImageSize = 0; }

    template <typename T> T Value(const char* key) const { return m_case.Json.at(key).get<T>(); }
    test::Image Source() const {
        const auto planes = test::ReadInts(m_case.File("source.npy"));
        return test::FromPlanes(static_cast<std::int32_t>(planes.Shape[2]), static_cast<std::int32_t>(planes.Shape[1]),
                                Value<std::int32_t>("Format"), planes.Values);
    }
    void ExpectResult(const KyiImageData& image) const {
        const auto expected = test::ReadInts(m_case.File("result.npy"));
        ASSERT_EQ(static_cast<std::int32_t>(expected.Shape[2]), image.Width);
        ASSERT_EQ(static_cast<std::int32_t>(expected.Shape[1]), image.Height);
        EXPECT_TRUE(test::SameValues(expected.Values, test::ToPlanes(image)));
    }
    // Runs `filter` once with each flag of the case that this machine can answer.
    template <typename Filter> void RunFlags(Filter filter) {
        kyf::g_parallelProcImageSize = m_case.Json.value("parallel_image_size", 0U);
        for (const std::int32_t flag : Value<std::vector<std::int32_t>>("parallel_flags")) {
            SCOPED_TRACE("parallel flag " + std::to_string(flag));
            if (flag != 0 && m_case.Json.value("needs_processors", 1) > omp_get_num_procs()) continue;
            filter(flag);
        }
    }

    Case m_case;
};

// A destination with something in it, so that a sample that stays unwritten is seen.
test::Image Destination(std::int32_t width, std::int32_t height, std::int32_t format) {
    return test::RandomImage(width, height, format, 7);
}

std::string CaseName(const testing::TestParamInfo<std::string>& info) { return info.param; }

class ReduceCases : public FilterCases {};
TEST_P(ReduceCases, GiveTheResultOfTheModel) {
    RunFlags([&](std::int32_t flag) {
        const test::Image source = Source();
        const test::Image out =
            Destination(Value<std::int32_t>("width"), Value<std::int32_t>("height"), source->Format);
        kyf::ReduceImage(source.get(), out.get(), flag);
        ExpectResult(*out);
    });
}
INSTANTIATE_TEST_SUITE_P(, ReduceCases, testing::ValuesIn(test::CaseNames(kTopic, "reduce")), CaseName);

class MirrorBorderCases : public FilterCases {};
TEST_P(MirrorBorderCases, GiveTheResultOfTheModel) {
    RunFlags([&](std::int32_t flag) {
        const test::Image out(kyf::MirrorBorderImage(Source().get(), Value<std::int32_t>("borderX"),
                                                     Value<std::int32_t>("borderY"), flag));
        ExpectResult(*out);
    });
}
INSTANTIATE_TEST_SUITE_P(, MirrorBorderCases, testing::ValuesIn(test::CaseNames(kTopic, "mirror_border")), CaseName);

class EdgeStrengthCases : public FilterCases {};
TEST_P(EdgeStrengthCases, GiveTheResultOfTheModel) {
    RunFlags([&](std::int32_t flag) {
        const test::Image source = Source();
        const test::Image out = Destination(source->Width, source->Height, source->Format);
        kyf::FilterEdgeStrength(source.get(), out.get(), flag);
        ExpectResult(*out);
    });
}
INSTANTIATE_TEST_SUITE_P(, EdgeStrengthCases, testing::ValuesIn(test::CaseNames(kTopic, "edge_strength")), CaseName);

class MaximumCases : public FilterCases {};
TEST_P(MaximumCases, GiveTheResultOfTheModel) {
    RunFlags([&](std::int32_t flag) {
        const test::Image source = Source();
        const test::Image out = Destination(source->Width, source->Height, source->Format);
        kyf::FilterMaximum5x5(source.get(), out.get(), flag);
        ExpectResult(*out);
    });
}
INSTANTIATE_TEST_SUITE_P(, MaximumCases, testing::ValuesIn(test::CaseNames(kTopic, "maximum")), CaseName);

std::string PathOf(const KyfProgress& node) {
    if (!node.Parent || node.Parent == &node) return "root";
    int place = 0;
    while (node.Parent->SubList[place] != &node) ++place;
    return PathOf(*node.Parent) + "/" + std::to_string(place);
}

void RecordCall(KyfProgress* node) {
    auto& calls = *static_cast<nlohmann::json*>(KyfProgressGetArgs(node));
    calls.push_back({PathOf(*node), node->Percent, KyfProgressGetPersent(KyfProgressGetParent(node))});
}

class SplineImageCases : public FilterCases {
  protected:
    void Filter(const KyiImageData& source, KyiImageData& destination, std::int32_t flag, KyfProgress* progress) const {
        kyf::FilterSplineImage(&source, &destination, Value<double>("sizeX"), Value<double>("sizeY"),
                               Value<double>("scale"), flag, progress);
    }
};
TEST_P(SplineImageCases, GiveTheResultOfTheModelWithAndWithoutANode) {
    RunFlags([&](std::int32_t flag) {
        const test::Image source = Source();
        test::Image out = Destination(source->Width, source->Height, source->Format);
        Filter(*source, *out, flag, nullptr);
        ExpectResult(*out);
        out = Destination(source->Width, source->Height, source->Format);
        KyfProgress* const root = KyfAllocProgress(nullptr, nullptr);
        Filter(*source, *out, flag, root);
        KyfFreeProgress(root);
        ExpectResult(*out);
    });
}
TEST_P(SplineImageCases, CallTheProgressCallbackAsTheModelDoes) {
    RunFlags([&](std::int32_t flag) {
        const test::Image source = Source();
        const test::Image out = Destination(source->Width, source->Height, source->Format);
        nlohmann::json calls = nlohmann::json::array();
        KyfProgress* const root = KyfAllocProgress(RecordCall, &calls);
        Filter(*source, *out, flag, root);
        KyfFreeProgress(root);
        EXPECT_EQ(m_case.Json.at("progress_parallel_" + std::to_string(flag)), calls);
    });
}
INSTANTIATE_TEST_SUITE_P(, SplineImageCases, testing::ValuesIn(test::CaseNames(kTopic, "spline_image")), CaseName);

class SplineDoubleCases : public FilterCases {
  protected:
    kyf::DoubleImagePtr Field(const char* name) const {
        const auto values = test::ReadDoubles(m_case.File(name));
        return test::FromValues(static_cast<std::int32_t>(values.Shape[1]), static_cast<std::int32_t>(values.Shape[0]),
                                values.Values);
    }
};
TEST_P(SplineDoubleCases, GiveTheResultOfTheModel) {
    const auto expected = test::ReadDoubles(m_case.File("result.npy"));
    RunFlags([&](std::int32_t flag) {
        const kyf::DoubleImagePtr source = Field("source.npy");
        const kyf::DoubleImagePtr before = Field("destination_before.npy");
        KyfImageData* const destination = Value<int>("in_place") != 0 ? source.get() : before.get();
        EXPECT_EQ(Value<std::int32_t>("expected_result"),
                  kyf::FilterSplineDouble(source.get(), destination, Value<double>("cutoffX"), Value<double>("cutoffY"),
                                          Value<std::int32_t>("margin"), flag));
        EXPECT_TRUE(test::SameValues(expected.Values, test::ToValues(*destination)));
    });
}
INSTANTIATE_TEST_SUITE_P(, SplineDoubleCases, testing::ValuesIn(test::CaseNames(kTopic, "spline_double")), CaseName);

TEST(SplineWeights, AreThoseOfTheModel) {
    const Case data = test::LoadCase(kTopic, "spline_weights");
    const auto cutoffs = data.Json.at("cutoffs").get<std::vector<double>>();
    std::vector<double> weights;
    for (const double cutoff : cutoffs) weights.push_back(kyf::SplineWeight(cutoff));
    EXPECT_TRUE(test::SameValues(data.Json.at("weights").get<std::vector<double>>(), weights));
}

} // namespace
