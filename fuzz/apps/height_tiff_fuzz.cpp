// Height maps as TIFF, of any bytes: refused, naming the file, or a map that saves and loads with the same floats. The
// unit that a file tells is short and of one line.
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "errors.h"
#include "height_map_file.h"
#include "support/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void CheckSaved(const app::HeightMap& map) {
    static const fuzz::MemoryFile file;
    app::SaveHeightMap(file.Path(), map, "unit=um");
    fuzz::Require(app::HeightUnit(file.Path()) == "um", "the unit reads back");
    const app::HeightMap again = app::LoadHeightMap(file.Path());
    fuzz::Require(again.Width == map.Width && again.Height == map.Height && again.Values.size() == map.Values.size(),
                  "what was saved has its size again");
    for (std::size_t i = 0; i < map.Values.size(); ++i) {
        const bool isSame =
            again.Values[i] == map.Values[i] || (std::isnan(map.Values[i]) && std::isnan(again.Values[i]));
        fuzz::Require(isSame, "what was saved loads the same");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    file.Set({data, size});
    const std::string unit = app::HeightUnit(file.Path());
    fuzz::Require(unit.size() <= 32 && unit.find('\n') == std::string::npos, "a unit is short and of one line");
    const bool isMap = app::IsHeightMapFile(file.Path());
    try {
        const app::HeightMap map = app::LoadHeightMap(file.Path());
        fuzz::Require(isMap, "what loads was recognised");
        CheckSaved(map);
    } catch (const app::Failure& failure) {
        fuzz::Require(std::string_view(failure.what()).starts_with(file.Path()), "a refusal names the file");
    }
    return 0;
}
