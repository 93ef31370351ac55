// Recorded conversions, sessions and differentiation maps, equal to the bit.
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "height/height_session.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

double Number(const nlohmann::json& value) {
    return value.is_string() ? std::strtod(value.get<std::string>().c_str(), nullptr) : value.get<double>();
}

/// Bits, but any NaN for a NaN.
void ExpectRange(const nlohmann::json& expected, const double (&range)[3]) {
    const char* const names[] = {"step", "min", "max"};
    for (int i = 0; i < 3; ++i) {
        const double number = Number(expected.at(names[i]));
        if (std::isnan(number))
            EXPECT_TRUE(std::isnan(range[i])) << names[i];
        else
            EXPECT_EQ(number, range[i]) << names[i];
    }
}

void ExpectImage(const std::filesystem::path& file, std::int32_t format, const KyiImageData& image) {
    const auto samples = test::ReadInts(file);
    EXPECT_EQ(image.Format, format);
    ASSERT_EQ(static_cast<std::size_t>(image.Height), samples.Shape.at(1));
    ASSERT_EQ(static_cast<std::size_t>(image.Width), samples.Shape.at(2));
    EXPECT_TRUE(test::SameValues(samples.Values, test::ToPlanes(image)));
}

template <typename Sample> void ExpectSamples(const std::filesystem::path& file, const Sample* samples) {
    const auto expected = test::ReadInts(file);
    EXPECT_TRUE(
        test::SameValues(expected.Values, std::vector<std::int32_t>(samples, samples + expected.Values.size())));
}

void ExpectCreatedImage(const test::Case& recorded) {
    const auto heights = test::ReadDoubles(recorded.File("height_data.npy"));
    const auto width = static_cast<std::int32_t>(heights.Shape.at(1));
    const auto height = static_cast<std::int32_t>(heights.Shape.at(0));
    KyfImageData record{test::MakeDoubleRows(width, height, heights.Values), width, height};
    const std::int32_t format = recorded.Json.at("format");
    double range[3] = {};
    const test::Image image(KyfCreateImageDataFromHeightData(&record, format, range));
    KyfFreeHeightData(&record);
    ASSERT_EQ(image == nullptr, recorded.Json.at("null_image").get<std::int32_t>() != 0);
    if (image == nullptr) return;
    ExpectRange(recorded.Json, range);
    ExpectImage(recorded.File("image.npy"), format, *image);
}

void FillState(const test::Case& recorded, KyfCompositionState& state) {
    state.SourceWidth = recorded.Json.at("SourceWidth");
    state.SourceHeight = recorded.Json.at("SourceHeight");
    state.FrameCount = recorded.Json.at("FrameCount");
    state.CuttedWidth = recorded.Json.at("CuttedWidth");
    state.CuttedHeight = recorded.Json.at("CuttedHeight");
    const auto read = [&](const char* name) {
        const auto map = test::ReadDoubles(recorded.File(name));
        return test::MakeDoubleRows(static_cast<std::int32_t>(map.Shape.at(1)),
                                    static_cast<std::int32_t>(map.Shape.at(0)), map.Values);
    };
    state.HeightDataMap = read("height_data_map.npy");
    state.CuttedHeightDataMap = read("cutted_height_data_map.npy");
    state.CuttedAntNoiseHeightDataMap = read("cutted_ant_noise_height_data_map.npy");
}

using GetData = KyfResult (*)(const KyfFocusComposition*, KyfHeightData16bit*);
using GetImage = KyfResult (*)(const KyfFocusComposition*, KyiImageData**, double*);

const std::map<std::string, GetData> kDataCalls = {
    {"KyfFocusGetHeightData16Bit", KyfFocusGetHeightData16Bit},
    {"KyfFocusGetCuttedHeightData16Bit", KyfFocusGetCuttedHeightData16Bit},
    {"KyfFocusGetAntNoiseHeightData16Bit", KyfFocusGetAntNoiseHeightData16Bit},
};
const std::map<std::string, GetImage> kImageCalls = {
    {"KyfFocusGetHeightImage16Bit", KyfFocusGetHeightImage16Bit},
    {"KyfFocusGetCuttedHeightImage16Bit", KyfFocusGetCuttedHeightImage16Bit},
    {"KyfFocusGetCuttedAntNoiseHeightImage16Bit", KyfFocusGetCuttedAntNoiseHeightImage16Bit},
    {"KyfFocusGetCuttedAntNoiseHeightImage8Bit", KyfFocusGetCuttedAntNoiseHeightImage8Bit},
};

void ExpectData(const test::Case& recorded, const std::string& name, const KyfFocusComposition& session) {
    const nlohmann::json& call = recorded.Json.at("calls").at(name);
    KyfHeightData16bit data{};
    ASSERT_EQ(kDataCalls.at(name)(&session, &data), call.at("result").get<std::int32_t>());
    EXPECT_EQ(data.Width, recorded.Json.at("CuttedWidth").get<std::int32_t>());
    EXPECT_EQ(data.Height, recorded.Json.at("CuttedHeight").get<std::int32_t>());
    ExpectRange(call, {data.Step, data.Min, data.Max});
    ExpectSamples(recorded.File(name + ".npy"), data.Data);
    KyfFreeHeightData16bit(&data);
    EXPECT_EQ(data.Data, nullptr);
}

void ExpectHeightImage(const test::Case& recorded, const std::string& name, const KyfFocusComposition& session) {
    const nlohmann::json& call = recorded.Json.at("calls").at(name);
    KyiImageData* lent = nullptr;
    double range[3] = {};
    ASSERT_EQ(kImageCalls.at(name)(&session, &lent, range), call.at("result").get<std::int32_t>());
    const test::Image image(lent);
    ExpectRange(call, range);
    ExpectImage(recorded.File(name + ".npy"), call.at("format"), *image);
}

void ExpectSession(const test::Case& recorded) {
    const test::Session session = test::MakeSession(recorded.Json.at("Mode"));
    session->ScaleX = recorded.Json.at("ScaleX");
    session->ScaleY = recorded.Json.at("ScaleY");
    FillState(recorded, session->Mode == KyfMode2DSelection ? session->State2D : session->State3D);
    for (const auto& [name, call] : recorded.Json.at("calls").items()) {
        SCOPED_TRACE(name);
        if (kDataCalls.contains(name))
            ExpectData(recorded, name, *session);
        else
            ExpectHeightImage(recorded, name, *session);
    }
}

void ExpectDifferentiationMap(const test::Case& recorded) {
    const auto values = test::ReadInts(recorded.File("cutted_best_focus_map.npy"));
    const auto width = static_cast<std::int32_t>(values.Shape.at(1));
    const auto height = static_cast<std::int32_t>(values.Shape.at(0));
    const test::Session session = test::MakeSession(KyfMode2DSelection);
    session->State2D.CuttedWidth = width;
    session->State2D.CuttedHeight = height;
    session->CuttedBestFocusMap = test::MakeIntRows(width, height, values.Values);
    session->BestFocusMap = test::MakeIntRows(width, height, values.Values);
    session->BestFocusHeight = height;

    KyfDifferentiationMap8Bit bytes{};
    EXPECT_EQ(KyfFocusGetDifferentiationMap8Bit(session.get(), &bytes), recorded.Json.at("result").get<KyfResult>());
    ExpectSamples(recorded.File("bytes.npy"), bytes.Data);
    KyfFreeDifferentiationMap8Bit(&bytes);

    KyfDifferentiationMap map{};
    EXPECT_EQ(KyfFocusGetDifferentiationMap(session.get(), recorded.Json.at("format"), &map), KyfResultOk);
    EXPECT_EQ(map.Width, width);
    EXPECT_EQ(map.Height, height);
    EXPECT_EQ(map.Depth, recorded.Json.at("depth").get<std::int32_t>());
    for (std::int32_t y = 0; y < height; ++y)
        EXPECT_TRUE(test::SameValues(values.Entry(static_cast<std::size_t>(y)),
                                     {map.Rows[y], static_cast<std::size_t>(width)}));
    KyfFreeDifferentiationMap(&map);
    EXPECT_EQ(map.Rows, nullptr);
}

class HeightCases : public testing::TestWithParam<std::string> {};

TEST_P(HeightCases, GiveTheRecordedSamplesAndScales) {
    const test::Case recorded = test::LoadCase("heightimages", GetParam());
    const std::string kind = recorded.Json.at("kind");
    if (kind == "create_image")
        ExpectCreatedImage(recorded);
    else if (kind == "session")
        ExpectSession(recorded);
    else if (kind == "differentiation_map")
        ExpectDifferentiationMap(recorded);
    else
        FAIL() << "unknown kind " << kind;
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, HeightCases, testing::ValuesIn(test::CaseNames("heightimages")), Name);

} // namespace
