#include "gpu/intermediate_code_path.h"

#include <array>
#include <cwchar>

#include "platform/folders.h"

namespace kyf {

namespace {

struct Path {
    std::array<wchar_t, kIntermediateCodePathCapacity> Text{};
    void Set(const wchar_t* path) { std::wcsncpy(Text.data(), path, Text.size() - 1); }
};

Path& ThePath() {
    static Path path = [] {
        Path initial;
        initial.Set(platform::IntermediateCodeFolder().c_str());
        return initial;
    }();
    return path;
}

} // namespace

const wchar_t* IntermediateCodePath() { return ThePath().Text.data(); }

void SetIntermediateCodePath(const wchar_t* path) {
    Path copy;
    copy.Set(path);
    ThePath() = copy;
}

} // namespace kyf
