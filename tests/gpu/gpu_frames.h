/// Frames on a graphics processor, whichever back end: computed results, and the plain form of what both do.
#ifndef KYFOCUS_TESTS_GPU_GPU_FRAMES_H
#define KYFOCUS_TESTS_GPU_GPU_FRAMES_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filters/filters.h"
#include "reference/edge_data.h"
#include "reference/gpu_channel.h"
#include "safe3d/maps.h"
#include "safe3d/stack_session.h"

namespace test {

/// Sizes around the working width and below the reach of the filters.
inline const std::vector<MapShape> kFrameShapes{{1, 1},  {1, 7},  {7, 1},    {2, 2},    {3, 2},     {5, 5},    {63, 5},
                                                {64, 5}, {65, 5}, {257, 31}, {512, 33}, {1024, 20}, {1300, 40}};

inline bool IsGpuRun(const nlohmann::json& run) { return run.at("path") == "gpu"; }

/// Cases of edge strength with runs of a graphics processor.
inline std::vector<std::string> CasesWithGpuRuns() {
    std::vector<std::string> names = CaseNames("edge3d");
    std::erase_if(names, [](const std::string& name) {
        const nlohmann::json runs = LoadCase("edge3d", name).Json.at("runs");
        return std::none_of(runs.begin(), runs.end(), IsGpuRun);
    });
    return names;
}

/// Compares a list of frames' images with a recorded array, which may be thinned to every row_step-th row; a checksum
/// then stands for the rest.
inline void ExpectImages(const Case& data, const std::string& name, KyfImageData* const* images, std::int32_t count) {
    std::vector<double> all;
    std::vector<double> thinned;
    const nlohmann::json steps = data.Json.value("row_step", nlohmann::json::object());
    for (std::int32_t i = 0; i < count; ++i) {
        for (std::int32_t y = 0; y < images[i]->Height; ++y) {
            const double* const row = images[i]->Rows[y];
            all.insert(all.end(), row, row + images[i]->Width);
            if (y % steps.value(name, 1) == 0) thinned.insert(thinned.end(), row, row + images[i]->Width);
        }
    }
    EXPECT_TRUE(SameValues(ReadDoubles(data.File(name + ".npy")).Values, thinned)) << name;
    if (steps.contains(name)) {
        EXPECT_EQ(data.Json.at("checksum").at(name).get<std::string>(), Hash(all)) << name;
    }
}

inline reference::DoubleGrid PlainGpuChannel(const KyiImageData& frame, const reference::PackedSize& to,
                                             KyiBool parallel) {
    if (kyf::UseParallelProcess(&frame, parallel))
        return reference::CopyGreen(
            reference::ReducePacked(reference::Pack(frame, false), {frame.Width, frame.Height}, to), to);
    const Image reduced(KyiAllocImageData(to.Width, to.Height, frame.Format));
    KyiFill(reduced.get(), 0, 0, 0);
    kyf::ReduceImage(&frame, reduced.get(), parallel);
    return reference::CopyGreen(reference::Pack(*reduced, true), to);
}

/// Edge strength, then luminance, of a frame at speed 2.
inline std::vector<double> PlainGpuEdgeData(const KyiImageData& frame, std::int32_t scopeType, KyiBool parallel) {
    reference::PackedSize to{frame.Width, frame.Height};
    if (frame.Width >= 512) to = {512, frame.Height * 512 / frame.Width};
    const reference::DoubleGrid channel = PlainGpuChannel(frame, to, parallel);
    reference::DoubleGrid plain = channel;
    std::fill(plain.Values.begin(), plain.Values.end(), 0.0);
    reference::DoubleGrid blurred = plain;
    if (scopeType < 2) {
        reference::DoubleGrid source = channel;
        for (int pass = 0; pass < 3; ++pass) {
            reference::BlurPass(source, blurred, 0, {0.25, 0.5, 0.25}, {0.25, 0.5, 0.25});
            source = blurred;
        }
        plain = reference::HighPass(channel);
        blurred = reference::HighPass(blurred);
    }
    const auto data = reference::MakeEdgeData(plain, blurred, channel, 64, 64 * to.Height / to.Width);
    std::vector<double> values = data.Edge.Values;
    values.insert(values.end(), data.Kido.Values.begin(), data.Kido.Values.end());
    return values;
}

/// The stack of a recorded height map that a graphics processor has made, added with its heights.
inline Session AddGpuHeightStack(const Case& data, const std::filesystem::path& folder) {
    const nlohmann::json& parameters = data.Json.at("parameters");
    StackSettings settings;
    settings.ScopeType = parameters.at("ScopeType").get<std::int32_t>();
    settings.Speed = parameters.at("Speed").get<std::int32_t>();
    settings.PlaneType = parameters.at("PlaneType").get<std::int32_t>();
    settings.Adoption = parameters.at("AdoptionPeakPosition").get<std::int32_t>();
    settings.Sensitivity = parameters.at("FocusingValueDetectionSensitivity").get<std::int32_t>();
    settings.D3ShapeSmoothing = parameters.at("D3ShapeSmoothing").get<std::int32_t>();
    settings.ProjectionNoiseRemove = parameters.at("ProjectionNoiseRemove").get<std::int32_t>();
    Session session = StartStack(settings, folder);
    session->DisableGPU = 0;
    const auto frames = ReadInts(data.File("frames.npy"));
    const auto heights = data.Json.at("HeightList").get<std::vector<double>>();
    for (std::size_t i = 0; i < heights.size(); ++i) {
        const Image frame =
            FromPlanes(data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>(),
                       data.Json.at("Format").get<std::int32_t>(), frames.Entry(i));
        EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), heights[i], 1, nullptr), KyfResultOk);
    }
    return session;
}

} // namespace test

#endif
