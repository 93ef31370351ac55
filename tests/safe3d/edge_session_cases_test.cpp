// Adds of the 3D pipeline against computed edge strength and luminance, through whole sessions.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "safe3d/maps.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"

namespace {

using nlohmann::json;

// Arrays may be thinned to every row_step-th row of each frame; a checksum then stands for the rest.
void ExpectFrames(const test::Case& data, const std::string& name, KyfImageData* const* frames, std::int32_t count) {
    std::vector<double> all;
    std::vector<double> thinned;
    const json& steps = data.Json.value("row_step", json::object());
    const std::int32_t step = steps.value(name, 1);
    for (std::int32_t i = 0; i < count; ++i) {
        for (std::int32_t y = 0; y < frames[i]->Height; ++y) {
            const double* const row = frames[i]->Rows[y];
            all.insert(all.end(), row, row + frames[i]->Width);
            if (y % step == 0) thinned.insert(thinned.end(), row, row + frames[i]->Width);
        }
    }
    EXPECT_TRUE(test::SameValues(test::ReadDoubles(data.File(name + ".npy")).Values, thinned)) << name;
    if (steps.contains(name)) {
        EXPECT_EQ(data.Json.at("checksum").at(name).get<std::string>(), test::Hash(all)) << name;
    }
}

class EdgeSessions : public testing::TestWithParam<std::string> {};
TEST_P(EdgeSessions, KeepTheEdgeStrengthAndLuminanceOfTheModel) {
    const test::Case data = test::LoadCase("edge3d", GetParam());
    const auto frames = test::ReadInts(data.File("frames.npy"));
    for (const json& run : data.Json.at("runs")) {
        const auto scopeType = run.at("ScopeType").get<std::int32_t>();
        // Runs of a graphics processor wait for one. In scopes 1 and 3 a session moves its frames, which these are not.
        if (run.at("path").get<std::string>() != "cpu" || scopeType == 1 || scopeType == 3) continue;
        const test::TemporaryFolder folder;
        test::StackSettings settings;
        settings.ScopeType = scopeType;
        settings.Speed = run.at("Speed").get<std::int32_t>();
        const test::Session session = test::StartStack(settings, folder.Path());
        for (std::size_t i = 0; i < frames.Shape[0]; ++i) {
            const test::Image frame =
                test::FromPlanes(data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>(),
                                 data.Json.at("Format").get<std::int32_t>(), frames.Entry(i));
            ASSERT_EQ(
                KyfFocusAddImage(session.get(), frame.get(), run.at("UseParallelProcess").get<KyiBool>(), nullptr),
                KyfResultOk);
        }
        EXPECT_EQ(session->EdgeDataWidth, run.at("EdgeDataWidth").get<std::int32_t>());
        EXPECT_EQ(session->EdgeDataHeight, run.at("EdgeDataHeight").get<std::int32_t>());
        EXPECT_EQ(session->State3D.WorkWidth, data.Json.at("WorkWidth").get<std::int32_t>());
        EXPECT_EQ(session->State3D.WorkHeight, data.Json.at("WorkHeight").get<std::int32_t>());
        const auto name = run.at("name").get<std::string>();
        ExpectFrames(data, name + "_EdgeFrames", session->EdgeFrames, session->State3D.FrameCount);
        ExpectFrames(data, name + "_KidoFrames", session->KidoFrames, session->State3D.FrameCount);
    }
}
INSTANTIATE_TEST_SUITE_P(Edges, EdgeSessions, testing::ValuesIn(test::CaseNames("edge3d")),
                         [](const auto& test) { return test.param; });

} // namespace
