/// The differentiation map that compose writes, against the map of a session on the same frames.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>

#include "compose_options.h"
#include "differentiation_map_file.h"
#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

constexpr int kFrames = 5;
constexpr int kMapWidth = 70;
constexpr int kMapHeight = 61;
constexpr int kFirstBlankRow = 40;

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

/// Frames of a made-up stack, blank from a row on.
std::vector<app::Image> MakeFrames(const std::string& folder, int bits) {
    const test::ProgramResult made =
        test::RunProgram({"synth", "-o", folder, "--size", std::to_string(kMapWidth) + "x" + std::to_string(kMapHeight),
                          "--frames", std::to_string(kFrames), "--bits", std::to_string(bits)});
    EXPECT_EQ(made.Status, 0) << made.Errors;
    const std::vector<std::int32_t> blank(kMapWidth, bits == 8 ? 90 : 23130);
    std::vector<app::Image> frames;
    for (int index = 0; index < kFrames; ++index) {
        const std::string file = folder + "/frame_00" + std::to_string(index) + ".png";
        frames.push_back(app::LoadImage(file));
        for (int y = kFirstBlankRow; y < kMapHeight; ++y)
            for (int channel = 0; channel < 3; ++channel)
                KyiSetLinePixel(frames.back().get(), 0, y, channel, blank.data(), kMapWidth);
        app::SaveImage(file, *frames.back());
    }
    return frames;
}

/// The map of a session, row by row from the top.
std::vector<std::int32_t> BestFocus(const std::vector<app::Image>& frames) {
    const Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter initialize{};
    initialize.TempFolder = L"";
    initialize.TrimInvalidBorder = 1;
    initialize.DisableGPU = 1;
    KyfFocusInitialize(session.get(), &initialize);
    const KyfFocusCompositionParameter settings = app::DefaultSettings();
    EXPECT_EQ(KyfFocusStart(session.get(), &settings), KyfResultOk);
    double height = 0.0;
    for (const app::Image& frame : frames)
        EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), height += 2.0, 0, nullptr), KyfResultOk);
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    KyfDifferentiationMap map{};
    EXPECT_EQ(KyfFocusGetDifferentiationMap(session.get(), frames.front()->Format, &map), KyfResultOk);
    std::vector<std::int32_t> values;
    for (int y = 0; y < map.Height; ++y) values.insert(values.end(), map.Rows[y], map.Rows[y] + map.Width);
    KyfFreeDifferentiationMap(&map);
    return values;
}

TEST(DifferentiationMap, IsThatOfTheSessionSampleBySampleFromTheTop) {
    for (const int bits : {8, 16}) {
        const test::TemporaryFolder folder;
        const std::string stack = folder.Path() / "stack";
        const std::string file = folder.Path() / "d.png";
        const std::vector<app::Image> frames = MakeFrames(stack, bits);
        const test::ProgramResult composed =
            test::RunProgram({"compose", stack, "--step", "2", "--mode", "2d", "-o", folder.Path() / "o.png",
                              "--differentiation-map", file, "--progress", "none"});
        ASSERT_EQ(composed.Status, 0) << composed.Errors;
        const app::Image image = app::LoadImage(file);
        ASSERT_EQ(image->Format, bits == 8 ? KyiFormatGray8 : KyiFormatGray16);
        const std::vector<std::int32_t> samples = test::ToPlanes(*image);
        EXPECT_EQ(samples, BestFocus(frames)) << bits;
        const auto firstBlank = samples.begin() + (kFirstBlankRow + 10) * kMapWidth; // behind what windows reach
        const std::int32_t blank = *std::max_element(firstBlank, samples.end());
        const std::int32_t sharp = *std::min_element(samples.begin(), samples.begin() + 30 * kMapWidth);
        EXPECT_LT(blank, sharp) << bits;
        EXPECT_GT(*std::max_element(samples.begin(), samples.end()), bits == 8 ? 200 : 52000);
        const app::DifferentiationMap loaded = app::LoadDifferentiationMap(file);
        EXPECT_EQ(loaded.Depth, bits == 8 ? 256 : 65536);
        EXPECT_EQ(loaded.Values, samples);
    }
}

} // namespace
