#include "halation_command.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <kyfocus/halation.h>
#include <omp.h>

#include "errors.h"
#include "focus_session.h"
#include "frame_list.h"
#include "frame_loader.h"
#include "images.h"
#include "option_kinds.h"
#include "output_files.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr int kMostDecodeThreads = 2; // one for each frame that may wait
constexpr int kMostThreads = 1024;

struct HalationOptions {
    std::vector<std::string> Frames; // files, folders, patterns as given
    bool KeepOrder = false;
    fs::path Output;
    KyfHalationParameter Settings{180, 20, 50};
    int Threads = 0; // 0: as many as there are processors
    bool NoParallel = false;
};

/// A series through the exported calls of the library, with errors as exceptions.
class HalationSeries {
  public:
    explicit HalationSeries(const KyfHalationParameter& settings) : m_record(KyfAllocHalationRemoval()) {
        if (!m_record) throw std::bad_alloc();
        Require(KyfHalationStart(m_record.get(), &settings), "session");
    }

    void Add(const KyiImageData& frame, bool parallel) {
        Require(KyfHalationAddImage(m_record.get(), &frame, parallel, nullptr), "frame not added");
    }

    Image ExtractImage() {
        KyiImageData* image = nullptr;
        Require(KyfHalationExtractRemovalImage(m_record.get(), &image), "result");
        if (image == nullptr) throw Failure("result: there is none");
        return Image(image);
    }

  private:
    static void Require(KyfResult result, const char* step) {
        if (result == KyfResultFailAlloc) throw std::bad_alloc();
        if (result != KyfResultOk) throw Failure(std::string(step) + ": " + DescribeResult(result));
    }

    struct FreeRecord {
        void operator()(KyfHalationRemoval* record) const { KyfFreeHalationRemoval(record); }
    };
    std::unique_ptr<KyfHalationRemoval, FreeRecord> m_record;
};

void AddFrames(CLI::App& command, HalationOptions& options) {
    command
        .add_option("FRAMES", options.Frames,
                    "Files, folders, quoted patterns such as 'series/*.png', or any mix of them, of one size and "
                    "format. The first frame is the picture, so that the brightest comes first: of the others only "
                    "what lies behind its bright spots is taken, one frame after the other.")
        ->check(RequireText)
        ->option_text("...")
        ->required();
    command.add_flag("--keep-order", options.KeepOrder,
                     "Take files that are named one by one in the order given. By default they are put in natural "
                     "order (frame_2 before frame_10), as the files of a folder or pattern always are.");
    command
        .add_option("-o,--output", options.Output,
                    "The result: .png, .tif, .jpg or .bmp, in the frames' format. "
                    "Required.")
        ->check(RequireText)
        ->option_text("FILE")
        ->required();
}

void AddSettings(CLI::App& command, HalationOptions& options) {
    const char* const group = "Halation";
    AddInteger(
        command, "--threshold", options.Settings.Threshold, 1, 255,
        "Sample value above which a pixel is over-bright; of a colour pixel the brightest channel counts. Samples "
        "of 16 bits are compared as they are, on their scale up to 65535. Smoothed samples of 8 bits end at 254: "
        "254 and 255 replace nothing unless --pre-smoothing is less than a pixel. Default 180.")
        ->option_text("1..255")
        ->group(group);
    AddInteger(command, "--pre-smoothing", options.Settings.PreSmoothing, 1, 100,
               "Smoothing ahead of the threshold: half its cutoff wavelength in 1/1024 of the width, cut to whole "
               "pixels. Spots that are smaller do not count. Default 20.")
        ->option_text("1..100")
        ->group(group);
    AddInteger(command, "--mask-smoothing", options.Settings.MaskSmoothing, 1, 100,
               "How softly a replaced spot goes over into the picture, as for --pre-smoothing. Default 50.")
        ->option_text("1..100")
        ->group(group);
    AddInteger(command, "--threads", options.Threads, 1, kMostThreads,
               "Threads of the computation. Default: one for each processor. The result is the same with any number.")
        ->option_text("COUNT");
    command.add_flag("--no-parallel", options.NoParallel, "Compute in one thread. The result is the same.");
}

bool IsJpeg(const fs::path& path) { return KyiGetFileTypeFromFileName(WidePath(path).c_str()) == KyiFileTypeJpeg; }

void RequireImageName(const fs::path& path) {
    if (KyiGetFileTypeFromFileName(WidePath(path).c_str()) == KyiFileTypeUnknown)
        throw UsageError(path.native() + ": unknown extension, expected .png, .tif, .jpg or .bmp");
}

/// What has to be known of the first frame before any is added.
void CheckFirst(const KyiImageData& frame, const HalationOptions& options) {
    const bool isDeep = KyiGetMaxVal(frame.Format) > UINT8_MAX;
    if (isDeep && IsJpeg(options.Output))
        throw Failure(DisplayPath(options.Output) + ": a JPEG has 8 bits a sample, the frames are " +
                      DescribeImage(frame) + ", expected a .png, .tif or .bmp output");
    if (isDeep)
        std::fprintf(stderr,
                     "kyfocus: warning: the frames have 16 bits a sample, of which --threshold %d is next to nothing: "
                     "nearly all of the picture counts as over-bright\n",
                     options.Settings.Threshold);
}

void RequireFit(const KyiImageData& first, const fs::path& firstFile, const KyiImageData& frame, const fs::path& file) {
    if (KyiIsSameSize(&first, &frame) && KyiIsSamePixelFormat(&first, &frame) && KyiIsSameOrigin(&first, &frame))
        return;
    throw Failure(DisplayPath(file) + ": " + DescribeImage(frame) + ", expected " + DescribeImage(first) + " like " +
                  DisplayPath(firstFile));
}

std::vector<std::int32_t> RowOf(const KyiImageData& image, int y, int channel) {
    std::vector<std::int32_t> row(static_cast<std::size_t>(image.Width));
    KyiGetLinePixel(&image, 0, y, channel, row.data(), image.Width);
    return row;
}

/// Share of the pixels that differ in any channel. The images have one size and format.
double PercentChanged(const KyiImageData& before, const KyiImageData& after) {
    const int channels = KyiIsFormatBgr(before.Format) ? 3 : 1;
    std::size_t changed = 0;
    std::vector<char> isChanged(static_cast<std::size_t>(before.Width));
    for (int y = 0; y < before.Height; ++y) {
        std::fill(isChanged.begin(), isChanged.end(), '\0');
        for (int channel = 0; channel < channels; ++channel) {
            const std::vector<std::int32_t> old = RowOf(before, y, channel);
            const std::vector<std::int32_t> now = RowOf(after, y, channel);
            for (std::size_t x = 0; x < old.size(); ++x)
                if (old[x] != now[x]) isChanged[x] = 1;
        }
        changed += static_cast<std::size_t>(std::count(isChanged.begin(), isChanged.end(), 1));
    }
    return 100.0 * static_cast<double>(changed) / (static_cast<double>(before.Width) * before.Height);
}

/// What a person is told, in lines. Nothing replaced may be meant, or the threshold may be out of reach.
std::string DescribeReplaced(const HalationOptions& options, const KyiImageData& first, const KyiImageData& result,
                             std::size_t frames) {
    const double percent = PercentChanged(first, result);
    char share[32];
    std::snprintf(share, sizeof share, "%.2f", percent);
    std::string text = DisplayPath(options.Output) + ": " + DescribeImage(result) + " of " + std::to_string(frames) +
                       " frames, " + share + " percent of the pixels replaced\n";
    if (frames > 1 && percent == 0.0)
        text += "kyfocus: warning: nothing was replaced, expected spots above --threshold " +
                std::to_string(options.Settings.Threshold) +
                " that are wider than --pre-smoothing, in the first frame\n";
    return text;
}

void Run(const HalationOptions& options) {
    RequireImageName(options.Output);
    const std::vector<fs::path> files = ListFrames(options.Frames, options.KeepOrder, {options.Output});
    OutputFiles outputs;
    outputs.Add(options.Output);
    const int threads = options.NoParallel ? 1 : options.Threads > 0 ? options.Threads : omp_get_num_procs();
    omp_set_num_threads(threads);
    std::fprintf(stderr, "%s\n", DescribeFrames(files, options.KeepOrder).c_str());
    if (files.size() == 1)
        std::fprintf(stderr, "kyfocus: warning: one frame alone has nothing to be improved by, expected two or more\n");

    HalationSeries series(options.Settings);
    FrameLoader loader(files, std::min(threads, kMostDecodeThreads));
    const Image first = loader.Next();
    CheckFirst(*first, options);
    series.Add(*first, !options.NoParallel);
    for (std::size_t index = 1; index < files.size(); ++index) {
        const Image frame = loader.Next();
        RequireFit(*first, files.front(), *frame, files[index]);
        series.Add(*frame, !options.NoParallel);
    }
    const Image result = series.ExtractImage();
    outputs.Write(options.Output, [&](const fs::path& path) { SaveImage(path, *result); });
    const std::string told = DescribeReplaced(options, *first, *result, files.size());
    outputs.Commit(); // the last step that can fail
    std::fputs(told.c_str(), stderr);
}

} // namespace

void AddHalationCommand(CLI::App& program) {
    CLI::App& command = *program.add_subcommand(
        "halation", "Blends frames of one scene, such as an exposure series, into one without blown-out spots.");
    const auto options = std::make_shared<HalationOptions>();
    AddFrames(command, *options);
    AddSettings(command, *options);
    command.footer("Example: kyfocus synth -o s --glare --exposures 4 && kyfocus halation s/exposures -o even.png");
    command.callback([options] { Run(*options); });
}

} // namespace app
