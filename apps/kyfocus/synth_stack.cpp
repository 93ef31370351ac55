#include "synth_stack.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <exception>
#include <limits>
#include <system_error>
#include <vector>

#include <nlohmann/json.hpp>

#include "binary_file.h"
#include "errors.h"
#include "height_map_file.h"
#include "interruption.h"
#include "output_files.h"
#include "synth_frame.h"

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr const char* kHeightMapName = "truth/height.tif";
constexpr const char* kHeightsName = "heights.txt";
constexpr const char* kGeometryName = "truth/stack.json";

/// Shortest text that reads back as the same number.
std::string NumberText(double value) {
    std::array<char, 32> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() ? std::string(text.data(), end) : std::string("0");
}

void CheckTogether(const SynthOptions& options) {
    if (options.Format == "jpg" && options.Bits == 16)
        throw UsageError("--bits 16 with --format jpg: JPEG holds 8 bits, expected png, tif or bmp");
    const int pixelBytes = (options.Gray ? 1 : 3) * (options.Bits / 8);
    const double bytes = static_cast<double>(options.Width) * options.Height * pixelBytes;
    if (bytes > std::numeric_limits<std::int32_t>::max())
        throw UsageError("--size: a frame would take " + NumberText(bytes) + " bytes, expected at most 2147483647");
    const double lastScale = GeometryOf(options, options.Frames - 1).Scale;
    if (lastScale < 0.5 || lastScale > 2.0)
        throw UsageError("--breathing: the last frame would be scaled by " + NumberText(lastScale) +
                         ", expected 0.5 to 2");
    const FrameGeometry last = GeometryOf(options, options.Frames - 1);
    if (std::abs(last.DriftX) > options.Width || std::abs(last.DriftY) > options.Height)
        throw UsageError("--drift: the last frame would show nothing of the first");
}

std::string HeightsText(const SynthOptions& options) {
    std::string text = "# focus position of each frame, um\n";
    for (int frame = 0; frame < options.Frames; ++frame)
        text += FrameName(options, frame) + " " + NumberText(options.FocusOf(frame)) + "\n";
    return text;
}

std::string GeometryText(const SynthOptions& options) {
    const HeightRange range = RangeOfHeights(options);
    nlohmann::ordered_json truth{
        {"image", TruthName(options)},
        {"height_map", kHeightMapName},
        {"unit", "um"},
        {"lowest_possible_height", range.Low},
        {"highest_possible_height", range.High},
        {"width", options.Width},
        {"height", options.Height},
        {"seed", options.Seed},
        {"geometry", "a point at q in the truth lies at centre + scale * (q - centre) + drift_px in a frame; "
                     "centre = ((width - 1) / 2, (height - 1) / 2)"}};
    for (int frame = 0; frame < options.Frames; ++frame) {
        const FrameGeometry geometry = GeometryOf(options, frame);
        truth["frames"].push_back({{"file", FrameName(options, frame)},
                                   {"focus", options.FocusOf(frame)},
                                   {"drift_px", {geometry.DriftX, geometry.DriftY}},
                                   {"scale", geometry.Scale}});
    }
    return truth.dump(2) + "\n";
}

HeightMap TrueHeights(const SynthOptions& options, const Scene& scene) {
    HeightMap map{options.Width, options.Height, {}};
    for (int y = 0; y < options.Height; ++y) {
        const float* row = scene.HeightRow(y + scene.Margin) + scene.Margin;
        map.Values.insert(map.Values.end(), row, row + options.Width);
    }
    return map;
}

/// Runs step(0), step(1), ... on all threads. Throws what the first of those that failed threw.
template <typename Step> void ForEachFrame(int frames, const Step& step) {
    std::vector<std::exception_ptr> failures(static_cast<std::size_t>(frames));
    std::atomic<bool> hasFailed = false;
#pragma omp parallel for schedule(dynamic, 1)
    for (int frame = 0; frame < frames; ++frame) {
        if (hasFailed) continue;
        try {
            step(frame);
        } catch (...) {
            failures[static_cast<std::size_t>(frame)] = std::current_exception();
            hasFailed = true;
        }
    }
    for (const std::exception_ptr& failure : failures)
        if (failure) std::rethrow_exception(failure);
}

/// Folders that this run made. Those that are still empty at its end go again.
class MadeFolders {
  public:
    MadeFolders() = default;
    ~MadeFolders() {
        std::error_code error;
        for (auto folder = m_folders.rbegin(); folder != m_folders.rend(); ++folder) fs::remove(*folder, error);
    }
    MadeFolders(const MadeFolders&) = delete;
    MadeFolders& operator=(const MadeFolders&) = delete;

    /// Makes a folder unless it is there, those that it is in first. @return why there is none.
    std::error_code Make(const fs::path& folder) {
        std::error_code error;
        if (folder.has_relative_path() && folder.has_parent_path() && !fs::exists(folder.parent_path(), error))
            if (const std::error_code above = Make(folder.parent_path()); above) return above;
        if (MakeOutputFolder(folder, error)) m_folders.push_back(folder);
        return error;
    }

  private:
    std::vector<fs::path> m_folders; // a folder comes before those in it
};

/// The stack's files, all taken up before the work begins.
class StackFiles {
  public:
    explicit StackFiles(const SynthOptions& options) : m_folder(options.Folder) {
        // The truth has a folder of its own, so that the stack's folder holds frames and nothing else that is an image.
        if (const std::error_code error = m_made.Make(m_folder / "truth"); error)
            throw Failure(DisplayPath(m_folder) + ": folder cannot be made: " + error.message());
        for (int frame = 0; frame < options.Frames; ++frame) m_files.Add(m_folder / FrameName(options, frame));
        if (options.Exposures > 0) m_made.Make(m_folder / "exposures");
        for (int exposure = 0; exposure < options.Exposures; ++exposure)
            m_files.Add(m_folder / ExposureName(options, exposure));
        for (const std::string& name :
             {TruthName(options), std::string(kHeightMapName), std::string(kHeightsName), std::string(kGeometryName)})
            m_files.Add(m_folder / name);
    }

    template <typename Save> void Write(const std::string& name, const Save& save) {
        m_files.Write(m_folder / name, save);
    }
    void Commit() { m_files.Commit(); }

  private:
    fs::path m_folder;
    MadeFolders m_made; // ends after m_files, whose temporary files are in the folders
    OutputFiles m_files;
};

} // namespace

std::string FrameName(const SynthOptions& options, int frame) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "frame_%03d.", frame);
    return name.data() + options.Format;
}

std::string ExposureName(const SynthOptions& options, int exposure) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "exposures/exposure_%03d.", exposure);
    return name.data() + options.Format;
}

std::string TruthName(const SynthOptions& options) {
    return "truth/image." + (options.Format == "jpg" ? "png" : options.Format);
}

void WriteStack(const SynthOptions& options) {
    CheckTogether(options);
    StackFiles files(options);
    Scene scene = MakeScene(options, MarginOf(options));
    const BlurLayers layers(scene, WidestBlurOf(options));
    const auto save = [](const Image& image) { return [&image](const fs::path& file) { SaveImage(file, *image); }; };
    const Image truth = MakeTruth(options, scene, layers);
    files.Write(TruthName(options), save(truth));
    files.Write(kHeightMapName, [&](const fs::path& file) {
        SaveHeightMap(file, TrueHeights(options, scene), "heights of the surface in um");
    });
    files.Write(kHeightsName, [&](const fs::path& file) { WriteTextFile(file, HeightsText(options)); });
    files.Write(kGeometryName, [&](const fs::path& file) { WriteTextFile(file, GeometryText(options)); });
    ForEachFrame(options.Frames, [&](int frame) {
        const Image image = MakeFrame(options, scene, layers, frame);
        files.Write(FrameName(options, frame), save(image));
    });
    ForEachFrame(options.Exposures, [&](int exposure) {
        const Image image = MakeExposure(options, scene, layers, exposure);
        files.Write(ExposureName(options, exposure), save(image));
    });
    files.Commit();
}

} // namespace app
