#include "safe3d/temp_frames.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "platform/files.h"
#include "platform/folders.h"

namespace kyf {

namespace {

std::wstring PathOfFrame(const KyfFocusComposition& session) {
    return std::wstring(session.TempFolder) + L"/MFocusTemp" + std::to_wstring(session.State3D.FrameCount) + L".bmp";
}

std::size_t CountPaths(wchar_t* const* paths) {
    std::size_t count = 0;
    while (paths && paths[count]) ++count;
    return count;
}

// Room for one path more; the array ends with a null.
void GrowPaths(KyfFocusComposition& session, std::size_t count) {
    auto grown = std::make_unique<wchar_t*[]>(count + 2);
    if (session.TempFileMap) std::copy_n(session.TempFileMap, count, grown.get());
    delete[] std::exchange(session.TempFileMap, grown.release());
}

void EnterPath(KyfFocusComposition& session, const std::wstring& path) {
    const auto index = static_cast<std::size_t>(session.State3D.FrameCount);
    auto entry = std::make_unique<wchar_t[]>(path.size() + 1);
    std::copy(path.begin(), path.end(), entry.get());
    const std::size_t count = CountPaths(session.TempFileMap);
    if (count == index) GrowPaths(session, count);
    delete[] std::exchange(session.TempFileMap[index], entry.release());
}

// Saving over a file keeps its permissions: the file is there, private, before the first pixel goes into it.
bool WriteBitmap(const std::wstring& path, const KyiImageData& frame) {
    try {
        platform::CreatePrivateFile(path.c_str());
    } catch (const std::system_error&) {
        return false;
    }
    if (KyiSaveImageData(path.c_str(), &frame, 0)) return true;
    platform::DeleteFileQuietly(path.c_str());
    return false;
}

/// Traced as a file that cannot be read is, by its path and the reason.
void TraceNoFile(const wchar_t* path) noexcept {
    if (!KyiIsPuttingTraceLog()) return;
    try {
        KyiPutTraceLog(__FILE__, __LINE__, (std::wstring(path) + L": no file, or a link").c_str(), 0);
    } catch (const std::bad_alloc&) { // no memory for the line
    }
}

} // namespace

KyfResult SaveTempFrame(KyfFocusComposition& session, const KyiImageData& frame) {
    if (!platform::MakeFolders(session.TempFolder)) return KyfResultFailFile;
    const std::wstring path = PathOfFrame(session);
    if (!WriteBitmap(path, frame)) return KyfResultFailFile;
    EnterPath(session, path);
    return KyfResultOk;
}

ImagePtr LoadTempFrame(const KyfFocusComposition& session, std::int32_t index, ImagePtr spare) noexcept {
    const wchar_t* const path = session.TempFileMap[index];
    if (!platform::IsPlainFile(path)) {
        TraceNoFile(path);
        return nullptr;
    }
    const bool isBitmap = KyiGetFileTypeFromFileName(path) == KyiFileTypeBitmap;
    if (isBitmap && spare && KyiReloadBitmap32(path, spare.get())) return spare;
    spare.reset();
    KyiImageData* image = nullptr;
    const KyiBool isLoaded = isBitmap ? KyiLoadBitmap32(path, &image) : KyiLoadImageData(path, &image);
    return ImagePtr(isLoaded ? image : nullptr);
}

} // namespace kyf
