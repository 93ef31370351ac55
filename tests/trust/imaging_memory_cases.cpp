// The calls of kyimaging without memory. Their headers say that none throws: null or 0 instead.
#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <gtest/gtest.h>
#include <kyimaging/functracelog.h>
#include <kyimaging/kyimaging.h>

#include "support/case_files.h"
#include "support/images.h"
#include "trust/memory_case.h"

namespace test {
namespace {

constexpr std::int32_t kWidth = 40;
constexpr std::int32_t kHeight = 9;

struct Pictures {
    Image Source = TexturedImage(kWidth, kHeight, KyiFormatBgr24, 1);
    Image Destination = TexturedImage(kWidth, kHeight, KyiFormatBgr24, 2);
    Image Gray = TexturedImage(kWidth, kHeight, KyiFormatGray8, 3);
    KyiImageData* Given = nullptr;
};

/// A call that gives a new image, or null.
MemoryCase GivesImage(std::string call, std::function<KyiImageData*(const Pictures&)> give, std::string detail = "") {
    return {std::move(call), std::move(detail), 1, {kNull}, [give] {
                auto pictures = std::make_shared<Pictures>();
                return Try{[=] {
                               pictures->Given = give(*pictures);
                               return pictures->Given ? 1 : kNull;
                           },
                           [=](Outcome) { KyiFreeImageData(pictures->Given); }};
            }};
}

/// A call that asks for no memory.
MemoryCase Plain(std::string call, std::function<void(Pictures&)> run) {
    return {std::move(call), "", 1, {}, [run] {
                auto pictures = std::make_shared<Pictures>();
                return Try{[=] { return run(*pictures), 1; }, [pictures](Outcome) {}};
            }};
}

/// Files of every kind, in a folder that all cases share.
const std::filesystem::path& Folder() {
    static const TemporaryFolder folder;
    return folder.Path();
}

std::wstring FileOf(const std::string& name, std::int32_t format) {
    const std::filesystem::path path = Folder() / name;
    if (!std::filesystem::exists(path) &&
        !KyiSaveImageData(path.wstring().c_str(), TexturedImage(kWidth, kHeight, format, 5).get(), 0))
        throw std::runtime_error("no file to load");
    return path.wstring();
}

bool IsLossy(const std::string& name) { return name.find(".jpg") != std::string::npos; }

/// What a codec can do without: the C library's own buffers of a file, say.
bool IsMoreThanNeeded(const std::string& name) { return IsLossy(name) || name.find(".tif") != std::string::npos; }
std::set<Outcome> EndingsOf(const std::string& name) {
    return IsMoreThanNeeded(name) ? std::set<Outcome>{kNull, 1} : std::set<Outcome>{kNull};
}

MemoryCase Loads(const std::string& name, std::int32_t format,
                 KyiBool (*load)(const wchar_t*, KyiImageData**) = KyiLoadImageData,
                 const char* call = "KyiLoadImageData") {
    return {call, name, 1, EndingsOf(name), [=] {
                auto given = std::make_shared<KyiImageData*>(nullptr);
                const auto path = std::make_shared<std::wstring>(FileOf(name, format));
                return Try{[=] { return load(path->c_str(), given.get()) ? 1 : kNull; },
                           [=](Outcome outcome) {
                               EXPECT_EQ(*given != nullptr, outcome == 1);
                               if (*given && !IsLossy(name)) {
                                   EXPECT_TRUE(SameImage(*TexturedImage(kWidth, kHeight, format, 5), **given));
                               }
                               EXPECT_EQ(*KyiGetLastFileError() == 0, outcome == 1) << KyiGetLastFileError();
                               KyiFreeImageData(*given);
                           }};
            }};
}

/// The old file stays until the new one is whole, and nothing is left beside them.
MemoryCase Saves(const std::string& name, std::int32_t format) {
    return {"KyiSaveImageData", name, 1, EndingsOf(name), [=] {
                struct Saving {
                    TemporaryFolder Where;
                    std::wstring Path;
                    Image Old;
                    Image New;
                };
                auto saving = std::make_shared<Saving>();
                saving->Path = (saving->Where.Path() / name).wstring();
                saving->Old = TexturedImage(kWidth + 3, kHeight, format, 6);
                saving->New = TexturedImage(kWidth, kHeight, format, 7);
                EXPECT_NE(KyiSaveImageData(saving->Path.c_str(), saving->Old.get(), 0), 0);
                return Try{[=] { return KyiSaveImageData(saving->Path.c_str(), saving->New.get(), 0) ? 1 : kNull; },
                           [=](Outcome outcome) {
                               KyiImageData* read = nullptr;
                               ASSERT_NE(KyiLoadImageData(saving->Path.c_str(), &read), 0);
                               const Image owned(read);
                               EXPECT_EQ(read->Width, outcome == 1 ? kWidth : kWidth + 3);
                               if (outcome == 1 && !IsLossy(name)) {
                                   EXPECT_TRUE(SameImage(*saving->New, *read));
                               }
                               const std::filesystem::directory_iterator files(saving->Where.Path());
                               EXPECT_EQ(std::distance(files, std::filesystem::directory_iterator()), 1);
                           }};
            }};
}

MemoryCase Reloads() {
    return {"KyiReloadBitmap32", "", 1, {kNull}, [] {
                auto pictures = std::make_shared<Pictures>();
                const auto path = std::make_shared<std::wstring>(FileOf("reload.bmp", KyiFormatBgr24));
                return Try{[=] { return KyiReloadBitmap32(path->c_str(), pictures->Destination.get()) ? 1 : kNull; },
                           [pictures](Outcome) {}};
            }};
}

/// The trace log: what cannot be written for want of memory is left out.
MemoryCase Traces(std::string call, std::function<void()> run) {
    return {std::move(call), "", 1, {1}, [run] {
                const KyiBool was = KyiIsPuttingTraceLog();
                KyiSetTraceLogFolder(Folder().wstring().c_str());
                KyiSetPuttingTraceLog(1);
                return Try{[run] { return run(), 1; },
                           [was](Outcome) {
                               KyiSetTraceLogFolder(Folder().wstring().c_str());
                               KyiSetPuttingTraceLog(was);
                           }};
            }};
}

std::vector<MemoryCase> PixelCases() {
    using P = Pictures;
    return {Plain("KyiFreeImageData", [](P& p) { KyiFreeImageData(p.Source.release()); }),
            Plain("KyiCopyImageData", [](P& p) { KyiCopyImageData(p.Source.get(), p.Destination.get(), 0, 0); }),
            Plain("KyiCopyPalette", [](P& p) { KyiCopyPalette(p.Source->Palette, p.Destination->Palette); }),
            Plain("KyiClipImage",
                  [](P& p) {
                      const std::int32_t rect[4] = {-3, 2, 20, 5};
                      KyiClipImage(p.Source.get(), p.Destination.get(), rect);
                  }),
            Plain("KyiPasteImageData", [](P& p) { KyiPasteImageData(p.Source.get(), p.Destination.get(), -2, 3, 0); }),
            Plain("KyiFill", [](P& p) { KyiFill(p.Source.get(), 77, 0, 0); }),
            Plain("KyiTransformToGray", [](P& p) { KyiTransformToGray(p.Source.get(), p.Gray.get(), 0); }),
            Plain("KyiGetPixelAddress", [](P& p) { KyiGetPixelAddress(p.Source.get(), 1, 1); }),
            Plain("KyiGetPixelData",
                  [](P& p) {
                      std::int32_t value = 0;
                      KyiGetPixelData(p.Gray.get(), 1, 1, &value);
                  }),
            Plain("KyiSetPixelData", [](P& p) { KyiSetPixelData(p.Gray.get(), 1, 1, 9); }),
            Plain("KyiGetPixelDataRGB",
                  [](P& p) {
                      std::int32_t values[3];
                      KyiGetPixelDataRGB(p.Source.get(), 1, 1, values);
                  }),
            Plain("KyiSetPixelDataRGB",
                  [](P& p) {
                      const std::int32_t values[3] = {1, 2, 3};
                      KyiSetPixelDataRGB(p.Source.get(), 1, 1, values);
                  }),
            Plain("KyiGetLinePixel",
                  [](P& p) {
                      std::array<std::int32_t, kWidth> line{};
                      KyiGetLinePixel(p.Source.get(), 0, 1, 2, line.data(), kWidth);
                  }),
            Plain("KyiSetLinePixel",
                  [](P& p) {
                      const std::array<std::int32_t, kWidth> line{};
                      KyiSetLinePixel(p.Source.get(), 0, 1, 2, line.data(), kWidth);
                  }),
            Plain("KyiGetVLinePixel",
                  [](P& p) {
                      std::array<std::int32_t, kHeight> line{};
                      KyiGetVLinePixel(p.Source.get(), 1, 0, 2, line.data(), kHeight);
                  }),
            Plain("KyiSetVLinePixel", [](P& p) {
                const std::array<std::int32_t, kHeight> line{};
                KyiSetVLinePixel(p.Source.get(), 1, 0, 2, line.data(), kHeight);
            })};
}

std::vector<MemoryCase> QuestionCases() {
    using P = Pictures;
    return {Plain("KyiIsFormatBgr", [](P&) { KyiIsFormatBgr(KyiFormatBgr48); }),
            Plain("KyiIsFormatGrayscale", [](P&) { KyiIsFormatGrayscale(KyiFormatBgr48); }),
            Plain("KyiGetMaxVal", [](P&) { KyiGetMaxVal(KyiFormatBgr48); }),
            Plain("KyiGetDepth", [](P&) { KyiGetDepth(KyiFormatBgr48); }),
            Plain("KyiIsSameSize", [](P& p) { KyiIsSameSize(p.Source.get(), p.Gray.get()); }),
            Plain("KyiIsSamePixelFormat", [](P& p) { KyiIsSamePixelFormat(p.Source.get(), p.Gray.get()); }),
            Plain("KyiIsSameOrigin", [](P& p) { KyiIsSameOrigin(p.Source.get(), p.Gray.get()); }),
            Plain("KyiGetLastFileError", [](P&) { KyiGetLastFileError(); }),
            Plain("KyiIsPuttingTraceLog", [](P&) { KyiIsPuttingTraceLog(); }),
            Plain("KyiSetPuttingTraceLog", [](P&) { KyiSetPuttingTraceLog(KyiIsPuttingTraceLog()); }),
            Plain("KyiGetWindowScalingDisplayMagnificationValue",
                  [](P&) { KyiGetWindowScalingDisplayMagnificationValue(); })};
}

MemoryCase NamesFileType() {
    const auto name = [] { return L"a folder with a name that no short text holds/and a file in it.tiff"; };
    return {"KyiGetFileTypeFromFileName", "", KyiFileTypeTiff, {}, [name] {
                return Try{[name] { return KyiGetFileTypeFromFileName(name()); }, [](Outcome) {}};
            }};
}

std::vector<MemoryCase> TraceCases() {
    constexpr const wchar_t* kText = L"a line that is longer than what a short text holds, with an \x00fc";
    return {Traces("KyiSetTraceLogFolder", [] { KyiSetTraceLogFolder(L"/a/folder/that/is/not/there/at/all"); }),
            Traces("KyiPutTraceLog", [] { KyiPutTraceLog("folder/file.cpp", 3, kText, 0); }),
            Traces("KyiPutBeginMethodLog", [] { KyiPutBeginMethodLog("folder/file.cpp", 3, kText, 0); }),
            Traces("KyiPutEndMethodLog", [] { KyiPutEndMethodLog("folder/file.cpp", 3, kText, kText); }),
            Traces("CFuncTraceLog", [] {
                const CFuncTraceLog log("folder/file.cpp", 3, kText, kText, 0);
                log.Trace("folder/file.cpp", 4, kText, kText, kText);
            })};
}

} // namespace

std::vector<MemoryCase> ImagingMemoryCases() {
    std::vector<MemoryCase> cases = {
        GivesImage("KyiAllocImageData",
                   [](const Pictures&) { return KyiAllocImageData(kWidth, kHeight, KyiFormatBgr48); }),
        GivesImage("KyiAllocImageDataEx",
                   [](const Pictures&) { return KyiAllocImageDataEx(2000, 2000, KyiFormatGray8, 1, 0); }),
        GivesImage("KyiAllocMaskImageData", [](const Pictures&) { return KyiAllocMaskImageData(kWidth, kHeight); }),
        GivesImage("KyiDuplicateImageData", [](const Pictures& p) { return KyiDuplicateImageData(p.Source.get(), 0); }),
        Loads("bitmap.bmp", KyiFormatBgr24),
        Loads("bitmap.bmp", KyiFormatBgr24, KyiLoadBitmap32, "KyiLoadBitmap32"),
        Loads("deep.bmp", KyiFormatGray16),
        Loads("gray.tif", KyiFormatGray16),
        Loads("colour.tif", KyiFormatBgr24),
        Loads("gray.png", KyiFormatGray8),
        Loads("colour.png", KyiFormatBgr48),
        Loads("gray.jpg", KyiFormatGray8),
        Loads("colour.jpg", KyiFormatBgr24),
        Reloads(),
        Saves("saved.bmp", KyiFormatBgr24),
        Saves("saved.tif", KyiFormatBgr48),
        Saves("saved.png", KyiFormatGray16),
        Saves("saved.jpg", KyiFormatBgr24),
        NamesFileType()};
    for (const auto& more : {PixelCases(), QuestionCases(), TraceCases()})
        cases.insert(cases.end(), more.begin(), more.end());
    return cases;
}

} // namespace test
