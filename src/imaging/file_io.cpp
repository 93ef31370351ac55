/// Image files: which codec, and what a caller is told.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

#include <kyimaging/kyimaging.h>

#include "imaging/bitmap_codec.h"
#include "imaging/formats.h"
#include "imaging/jpeg_codec.h"
#include "imaging/png_codec.h"
#include "imaging/tiff_codec.h"
#include "platform/text.h"

namespace kyi {

namespace {

// A plain array: telling a failure allocates nothing, and threads of a host may end at any time.
thread_local std::array<char, 512> t_lastError{};

void SetLastError(const char* reason) noexcept { std::snprintf(t_lastError.data(), t_lastError.size(), "%s", reason); }

void TraceFailure(const char* call, const wchar_t* path, int line) {
    if (!KyiIsPuttingTraceLog()) return;
    const std::wstring text =
        platform::ToWide(call) + L" " + (path ? path : L"(null)") + L": " + platform::ToWide(t_lastError.data());
    KyiPutTraceLog(__FILE__, line, text.c_str(), 0);
}

void TellFailure(const char* call, const wchar_t* path, const char* reason) noexcept {
    SetLastError(reason);
    try {
        TraceFailure(call, path, __LINE__);
    } catch (...) { // no memory for the line: the result and the reason are told all the same
    }
}

/// Runs `work` and turns what it throws into 0 and a reason.
template <typename Work> KyiBool Guard(const char* call, const wchar_t* path, Work work) noexcept {
    SetLastError("");
    try {
        work();
        return 1;
    } catch (const std::bad_alloc&) {
        TellFailure(call, path, "out of memory");
    } catch (const std::exception& error) {
        TellFailure(call, path, error.what());
    }
    return 0;
}

OwnedImage LoadAnyKind(platform::InputFile& file) {
    std::array<std::uint8_t, 16> bytes{};
    const std::span<const std::uint8_t> start(bytes.data(), file.ReadAt(0, bytes.data(), bytes.size()));
    if (start.empty()) throw FileError("the file is empty");
    if (IsBitmap(start)) return LoadBitmap(file);
    if (IsPng(start)) return LoadPng(file);
    if (IsJpeg(start)) return LoadJpeg(file);
    if (IsTiff(start)) return LoadTiff(file);
    throw FileError("the file is not a bitmap, TIFF, PNG or JPEG image");
}

bool StartsAsBitmap(platform::InputFile& file) {
    std::array<std::uint8_t, 2> bytes{};
    ReadExactly(file, 0, bytes.data(), bytes.size());
    return IsBitmap(bytes);
}

OwnedImage LoadOnlyBitmap(platform::InputFile& file) {
    if (!StartsAsBitmap(file)) throw FileError("the file is not a bitmap");
    return LoadBitmap(file);
}

void CheckRecord(const KyiImageData* image) {
    if (!image || !image->Pixels) throw FileError("there is no image to save");
    const std::int32_t pixelBytes = FindFormat(image->Format).PixelBytes;
    if (pixelBytes == 0 || pixelBytes != image->PixelBytes) throw FileError("the image's format is unknown");
    CheckImageSize(image->Width, image->Height, pixelBytes);
    if (image->LineBytes != (std::int64_t{image->Width} * pixelBytes + 3) / 4 * 4)
        throw FileError("the image's lines are not as the library makes them");
}

void Encode(platform::FileReplacement& file, std::int32_t type, const KyiImageData& image) {
    switch (type) {
    case KyiFileTypeBitmap: return SaveBitmap(file, image);
    case KyiFileTypeJpeg: return SaveJpeg(file, image);
    case KyiFileTypeTiff: return SaveTiff(file, image);
    default: return SavePng(file, image);
    }
}

void Save(const wchar_t* path, const KyiImageData& image) {
    const std::int32_t type = KyiGetFileTypeFromFileName(path);
    if (type == KyiFileTypeUnknown)
        throw FileError("the name tells no kind of file; .bmp, .tif, .tiff, .png, .jpg and .jpeg do");
    if (type == KyiFileTypeJpeg) CheckFitsJpeg(image);
    platform::FileReplacement file(path);
    try {
        Encode(file, type, image);
    } catch (const FileError&) {
        if (file.ErrorNumber() == 0) throw; // else the codec failed for what Commit tells better
    }
    file.Commit();
}

/// A codec that gets no bytes takes the file for damaged: the disk's own reason tells more.
template <typename LoadFile> OwnedImage LoadOrTellWhy(platform::InputFile& file, LoadFile load) {
    try {
        return load(file);
    } catch (const FileError&) {
        if (file.ErrorNumber() == 0) throw;
    }
    throw std::system_error(file.ErrorNumber(), std::generic_category(), "the file cannot be read");
}

template <typename LoadFile>
KyiBool Load(const char* call, const wchar_t* path, KyiImageData** image, LoadFile load) noexcept {
    if (image) *image = nullptr;
    return Guard(call, path, [&] {
        if (!image) throw FileError("no place for the image");
        platform::InputFile file(path);
        *image = LoadOrTellWhy(file, load).release();
    });
}

bool HasExtension(std::wstring_view name, std::wstring_view extension) noexcept {
    if (name.size() < extension.size()) return false;
    name.remove_prefix(name.size() - extension.size());
    return std::equal(name.begin(), name.end(), extension.begin(),
                      [](wchar_t a, wchar_t b) { return (a >= L'A' && a <= L'Z' ? a - L'A' + L'a' : a) == b; });
}

} // namespace

} // namespace kyi

KyiBool KyiLoadImageData(const wchar_t* path, KyiImageData** image) {
    return kyi::Load("KyiLoadImageData", path, image, kyi::LoadAnyKind);
}

KyiBool KyiLoadBitmap32(const wchar_t* path, KyiImageData** image) {
    return kyi::Load("KyiLoadBitmap32", path, image, kyi::LoadOnlyBitmap);
}

KyiBool KyiReloadBitmap32(const wchar_t* path, KyiImageData* image) {
    if (!image || !image->Pixels) return 0;
    try {
        platform::InputFile file(path);
        return kyi::StartsAsBitmap(file) && kyi::ReloadBitmap(file, *image) ? 1 : 0;
    } catch (const std::exception&) { // told by a plain load
        return 0;
    }
}

int32_t KyiGetFileTypeFromFileName(const wchar_t* path) {
    struct Kind {
        std::wstring_view Extension;
        std::int32_t Type;
    };
    static constexpr std::array<Kind, 6> kKinds{{{L".bmp", KyiFileTypeBitmap},
                                                 {L".jpg", KyiFileTypeJpeg},
                                                 {L".jpeg", KyiFileTypeJpeg},
                                                 {L".tif", KyiFileTypeTiff},
                                                 {L".tiff", KyiFileTypeTiff},
                                                 {L".png", KyiFileTypePng}}};
    if (!path) return KyiFileTypeUnknown;
    for (const Kind& kind : kKinds)
        if (kyi::HasExtension(path, kind.Extension)) return kind.Type;
    return KyiFileTypeUnknown;
}

KyiBool KyiSaveImageData(const wchar_t* path, const KyiImageData* image, int32_t) {
    return kyi::Guard("KyiSaveImageData", path, [&] {
        kyi::CheckRecord(image);
        kyi::Save(path, *image);
    });
}

const char* KyiGetLastFileError(void) { return kyi::t_lastError.data(); }
