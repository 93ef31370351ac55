/// Records for calls on a session: settings in and out of range, sizes, and files that hold a frame or not.
#ifndef KYFOCUS_FUZZ_SESSION_SESSION_RECORDS_H
#define KYFOCUS_FUZZ_SESSION_SESSION_RECORDS_H

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>

#include <kyfocus/kyfocus.h>

#include "support/frames.h"
#include "support/scratch_folder.h"

namespace fuzz {

inline const ScratchFolder& Folder() {
    static const ScratchFolder folder;
    return folder;
}

inline Size AnySize(Choices& choices, bool isThin) {
    if (isThin && choices.Flag()) return {choices.Between(1, 3), choices.Between(1, 250)};
    if (isThin) return {choices.Between(1, 250), choices.Between(1, 3)};
    const std::int32_t width = choices.Between(1, 40);
    return {width, std::min(choices.Between(1, 40), width)};
}

template <typename Parameter> void FillShared(Choices& choices, Parameter& parameter) {
    parameter.Speed = choices.Byte() % 8 != 0 ? 2 : choices.Field(0, 2);
    parameter.AutoPos = choices.Field(0, 1);
    parameter.AreaNo = choices.Field(0, 2);
    for (KyPoint& place : parameter.AreaPos) place = {choices.Field(0, 100), choices.Field(0, 100)};
}

template <typename Parameter> void Fill2D(Choices& choices, Parameter& parameter) {
    parameter.CompSize = choices.Field(0, 100);
    parameter.Smoothing = choices.Field(0, 100);
}

template <typename Parameter> void Fill3D(Choices& choices, Parameter& parameter) {
    parameter.PlaneType = choices.Field(0, 2);
    parameter.HalationMeasures = choices.Field(0, 1);
    parameter.AdoptionPeakPosition = choices.Field(0, 1);
    parameter.FocusingValueDetectionSensitivity = choices.Field(0, 10);
    parameter.D3ShapeSmoothing = choices.Field(0, 10);
    parameter.ProjectionNoiseRemove = choices.Between(-1, 4);
}

/// `folder`, which must outlive the record, or none.
inline void FillInit(Choices& choices, const std::wstring& folder, KyfFocusInitializeParameter& parameter) {
    const std::uint8_t kind = choices.Byte();
    parameter.TempFolder = kind % 16 == 15 ? nullptr : kind % 16 == 14 ? L"" : folder.c_str();
    parameter.ScopeType = choices.Field(0, 3);
    parameter.MatchingDetectType = choices.Field(0, 1);
    parameter.MatchingPositionType = choices.Field(0, 1);
    parameter.TrimInvalidBorder = choices.Field(0, 1);
    parameter.DisableGPU = choices.Field(0, 1);
}

/// A file of a frame, written anew.
inline std::wstring SaveFrame(Choices& choices, const std::string& name, Size size, std::int32_t format) {
    const std::wstring path = (Folder().Path() / name).wstring();
    const Image frame = MakeFrame(choices, size, format);
    Require(KyiSaveImageData(path.c_str(), frame.get(), 0) != 0, "a frame can be saved");
    return path;
}

/// One that holds a frame, one that is cut short, or one that is not there.
inline std::wstring AnyFile(Choices& choices, const std::string& name, Size size, std::int32_t format) {
    if (choices.Byte() % 4 == 0) return (Folder().Path() / "nothing.bmp").wstring();
    const std::filesystem::path path = SaveFrame(choices, name, size, format);
    if (choices.Byte() % 8 == 7)
        std::filesystem::resize_file(path, std::filesystem::file_size(path) * choices.Byte() / 256);
    return path.wstring();
}

} // namespace fuzz

#endif
