// Files of frame heights, of any bytes: refused with the file's name in front of the reason, or one finite height a
// frame.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "errors.h"
#include "height_files.h"
#include "support/require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<std::filesystem::path> frames;
    for (const char* const name : {"frame_1.png", "stack/frame_2.png", "b c.tif", "d.bmp"}) {
        frames.emplace_back(name);
        try {
            const std::vector<double> heights = app::ParseHeights(text, "heights.txt", frames);
            fuzz::Require(heights.size() == frames.size(), "every frame has a height");
            fuzz::Require(
                std::all_of(heights.begin(), heights.end(), [](double height) { return std::isfinite(height); }),
                "heights are finite");
        } catch (const app::Failure& failure) {
            fuzz::Require(std::string_view(failure.what()).starts_with("heights.txt:"), "a refusal names the file");
        }
    }
    return 0;
}
