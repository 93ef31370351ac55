#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include "session/session_calls.h"
#include "session/session_records.h"

namespace fuzz {
namespace {

constexpr std::size_t kMostFiles = 4;

/// What a record of files points to.
struct Files {
    std::array<std::wstring, kMostFiles> Names;
    std::array<KyfFocusCompositionFile, kMostFiles> Entries{};
    std::int32_t Count = 0;
};

/// Mostly frames of one form: a stack with a frame that is not to be had, or does not fit, ends there.
void FillFiles(Choices& choices, bool isThin, Files& files) {
    const Size size = AnySize(choices, isThin);
    const std::int32_t format = AnyFormat(choices);
    files.Count = choices.Between(1, kMostFiles);
    for (std::size_t i = 0; i < static_cast<std::size_t>(files.Count); ++i) {
        const std::uint8_t kind = choices.Byte();
        const std::string name = "stack" + std::to_string(i) + ".bmp";
        const Size ownSize = kind % 16 == 15 ? AnySize(choices, isThin) : size;
        files.Names[i] =
            kind % 16 == 14 ? AnyFile(choices, name, ownSize, format) : SaveFrame(choices, name, ownSize, format);
        files.Entries[i] = {kind == 254 ? nullptr : files.Names[i].c_str(), choices.Real()};
    }
}

void ReadResult(const KyfFileFocusCompositionResult& result) {
    if (result.Image != nullptr)
        ReadAll(static_cast<const std::uint8_t*>(result.Image->Pixels), result.Image->LineBytes, result.Image->Height);
    for (std::int32_t y = 0; result.CuttedHeightData != nullptr && y < result.CuttedHeightHeight; ++y)
        ReadAll(result.CuttedHeightData[y], result.CuttedHeightWidth, 1);
    const KyfDifferentiationMap& map = result.DifferentiationMap;
    for (std::int32_t y = 0; map.Rows != nullptr && y < map.Height; ++y) ReadAll(map.Rows[y], map.Width, 1);
}

bool IsUntouched(const KyfFileFocusCompositionResult& result) {
    const KyfFileFocusCompositionResult none{};
    return std::memcmp(&result, &none, sizeof none) == 0;
}

/// No folder at all where no 3D frame was added.
bool IsSwept(const std::wstring& folder) {
    const std::filesystem::path path(folder);
    return !std::filesystem::exists(path) || std::filesystem::is_empty(path);
}

} // namespace

void CallFiles(Choices& choices) {
    const std::wstring folder = (Folder().Path() / "stack").wstring();
    const bool isThin = choices.Byte() % 8 == 7;
    Files files;
    FillFiles(choices, isThin, files);
    KyfFileFocusCompositionParameter parameter{};
    FillInit(choices, folder, parameter.Init);
    parameter.AlgType = isThin ? 0 : choices.Field(0, 2);
    FillShared(choices, parameter.Param2D);
    Fill2D(choices, parameter.Param2D);
    FillShared(choices, parameter.Param3D);
    Fill3D(choices, parameter.Param3D);
    const std::uint8_t kind = choices.Byte();
    parameter.Files = kind == 255 ? nullptr : files.Entries.data();
    parameter.FileCount = kind % 32 == 30 ? std::min(choices.Field(0, 0), 0) : files.Count;
    parameter.WantHeightData = choices.Field(0, 1);
    parameter.WantDifferentiationMap = choices.Field(0, 1);
    KyfFileFocusCompositionResult result{};
    const Progress progress = AnyProgress(choices);
    const bool isLent = kind != 254;
    const KyfResult given = KyfExecuteFileFocusComposition(
        isLent ? &parameter : nullptr, kind == 253 ? nullptr : &result, choices.Flag(), progress.get());
    Require(IsResult(given), "a composition of files gives a known result");
    const bool isRefused = !isLent || parameter.Files == nullptr || parameter.FileCount < 1;
    Require(!isRefused || given == KyfResultInvalidParameter, "a record without files is refused");
    Require(given == KyfResultOk || IsUntouched(result), "a failure leaves the results as they were");
    Require(IsSwept(folder), "no temporary bitmap stays");
    ReadResult(result);
    KyfFreeFileFocusCompositionResult(&result);
    Require(result.Image == nullptr && result.CuttedHeightData == nullptr, "what is freed is null");
}

} // namespace fuzz
