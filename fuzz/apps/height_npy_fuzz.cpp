// Height maps in NumPy's format, of any bytes: refused, naming the file, or a map that saves and loads bit for bit.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "errors.h"
#include "npy_file.h"
#include "support/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void CheckSaved(const app::HeightMap& map) {
    static const fuzz::MemoryFile file;
    app::SaveNpy(file.Path(), map);
    fuzz::Require(app::IsNpyFile(file.Path()), "what was saved is recognised");
    const app::HeightMap again = app::LoadNpy(file.Path());
    fuzz::Require(again.Width == map.Width && again.Height == map.Height && again.Values.size() == map.Values.size(),
                  "what was saved has its size again");
    for (std::size_t i = 0; i < map.Values.size(); ++i)
        fuzz::Require(std::bit_cast<std::uint64_t>(map.Values[i]) == std::bit_cast<std::uint64_t>(again.Values[i]),
                      "what was saved loads bit for bit");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    file.Set({data, size});
    const bool isNpy = app::IsNpyFile(file.Path());
    try {
        const app::HeightMap map = app::LoadNpy(file.Path());
        fuzz::Require(isNpy, "what loads was recognised");
        fuzz::Require(map.Width > 0 && map.Height > 0, "a map has pixels");
        CheckSaved(map);
    } catch (const app::Failure& failure) {
        fuzz::Require(std::string_view(failure.what()).starts_with(file.Path()), "a refusal names the file");
    }
    return 0;
}
