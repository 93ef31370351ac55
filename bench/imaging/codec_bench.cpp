/// Image files of one 12-megapixel frame in the page cache. Bytes are those of the pixel block.
///
/// RawWrite and RawRead are the yardstick: the system's calls on as many bytes, as `dd` makes them, into a new file and
/// into memory that is there already. RawReadNew reads into a block that is new each time, as a loaded image is.
/// The files lie in the folder that TMPDIR names; what is on a disk there may be written out meanwhile.
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "support/case_files.h"
#include "support/images.h"

namespace {

bool IsSmall() {
    const char* const value = std::getenv("KY_BENCH_SMALL");
    return value && *value;
}

/// Made once a format: to draw it takes longer than to save it.
const KyiImageData& Frame(std::int32_t format) {
    static std::map<std::int32_t, test::Image> frames;
    test::Image& frame = frames[format];
    if (!frame)
        frame = IsSmall() ? test::TexturedImage(400, 300, format, 1) : test::TexturedImage(4000, 3000, format, 1);
    return *frame;
}

std::size_t BlockBytes(const KyiImageData& image) {
    return static_cast<std::size_t>(image.LineBytes) * static_cast<std::size_t>(image.Height);
}

void CountBytes(benchmark::State& state, const KyiImageData& image) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(BlockBytes(image)));
}

void WriteRaw(const std::string& path, const KyiImageData& image) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool written = write(file, image.Pixels, BlockBytes(image)) == static_cast<ssize_t>(BlockBytes(image));
    if (close(file) != 0 || !written) throw std::runtime_error("cannot write " + path);
}

void ReadRaw(const std::string& path, const KyiImageData& image) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool filled = read(file, image.Pixels, BlockBytes(image)) == static_cast<ssize_t>(BlockBytes(image));
    if (close(file) != 0 || !filled) throw std::runtime_error("cannot read " + path);
}

void RawWrite(benchmark::State& state, std::int32_t format) {
    const test::TemporaryFolder folder;
    const KyiImageData& frame = Frame(format);
    const std::string path = (folder.Path() / "raw").string();
    for ([[maybe_unused]] auto iteration : state) {
        WriteRaw(path, frame);
        state.PauseTiming();
        std::filesystem::remove(path);
        state.ResumeTiming();
    }
    CountBytes(state, frame);
}

void RawRead(benchmark::State& state, std::int32_t format, bool intoNew) {
    const test::TemporaryFolder folder;
    test::Image frame(KyiDuplicateImageData(&Frame(format), 0));
    const std::string path = (folder.Path() / "raw").string();
    WriteRaw(path, *frame);
    for ([[maybe_unused]] auto iteration : state) {
        if (intoNew) frame.reset(KyiAllocImageData(frame->Width, frame->Height, format));
        ReadRaw(path, *frame);
    }
    CountBytes(state, *frame);
}

void Save(benchmark::State& state, std::int32_t format, const std::string& extension) {
    const test::TemporaryFolder folder;
    const KyiImageData& frame = Frame(format);
    const std::filesystem::path file = folder.Path() / ("frame" + extension);
    const std::wstring path = file.wstring();
    std::uintmax_t fileBytes = 0;
    for ([[maybe_unused]] auto iteration : state) {
        if (!KyiSaveImageData(path.c_str(), &frame, 0)) return state.SkipWithError(KyiGetLastFileError());
        state.PauseTiming();
        fileBytes = std::filesystem::file_size(file);
        std::filesystem::remove(file);
        state.ResumeTiming();
    }
    CountBytes(state, frame);
    state.counters["file_bytes_per_block_byte"] =
        static_cast<double>(fileBytes) / static_cast<double>(BlockBytes(frame));
}

void Load(benchmark::State& state, std::int32_t format, const std::string& extension) {
    const test::TemporaryFolder folder;
    const KyiImageData& frame = Frame(format);
    const std::wstring path = (folder.Path() / ("frame" + extension)).wstring();
    if (!KyiSaveImageData(path.c_str(), &frame, 0)) return state.SkipWithError(KyiGetLastFileError());
    for ([[maybe_unused]] auto iteration : state) {
        KyiImageData* image = nullptr;
        if (!KyiLoadImageData(path.c_str(), &image)) return state.SkipWithError(KyiGetLastFileError());
        KyiFreeImageData(image);
    }
    CountBytes(state, frame);
}

void Register(const std::string& name, std::int32_t format, bool wide) {
    const auto add = [&](const std::string& title, auto run) {
        benchmark::RegisterBenchmark((title + "/" + name).c_str(), run)->Unit(benchmark::kMillisecond)->UseRealTime();
    };
    add("RawWrite", [=](benchmark::State& state) { RawWrite(state, format); });
    add("RawRead", [=](benchmark::State& state) { RawRead(state, format, /*intoNew=*/false); });
    add("RawReadNew", [=](benchmark::State& state) { RawRead(state, format, /*intoNew=*/true); });
    for (const std::string extension : {".bmp", ".tif", ".png", ".jpg"}) {
        if (wide && extension == ".jpg") continue;
        add("Save" + extension, [=](benchmark::State& state) { Save(state, format, extension); });
        add("Load" + extension, [=](benchmark::State& state) { Load(state, format, extension); });
    }
}

const bool g_registered = [] {
    Register("colour8", KyiFormatBgr24, /*wide=*/false);
    Register("gray8", KyiFormatGray8, /*wide=*/false);
    Register("colour16", KyiFormatBgr48, /*wide=*/true);
    return true;
}();

} // namespace
