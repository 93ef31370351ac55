#include "focus_session.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <vector>

#include "errors.h"
#include "interruption.h"

namespace app {
namespace {

struct FreeProgress {
    void operator()(KyfProgress* progress) const { KyfFreeProgress(progress); }
};
using Progress = std::unique_ptr<KyfProgress, FreeProgress>;

/// The library reports any node of the tree; the host's figure is that of the root.
void ReportRoot(KyfProgress* node) {
    KyfProgress* const root = KyfProgressGetParent(node);
    (*static_cast<const PercentCallback*>(KyfProgressGetArgs(root)))(KyfProgressGetPersent(root));
}

/// A root for one call. `onPercent` must outlive it.
Progress NewProgress(const PercentCallback& onPercent) {
    return Progress(KyfAllocProgress(ReportRoot, const_cast<PercentCallback*>(&onPercent)));
}

void Require(KyfResult result, const char* step) {
    if (result == KyfResultFailAlloc) throw std::bad_alloc();
    if (result != KyfResultOk) throw Failure(std::string(step) + ": " + DescribeResult(result));
}

struct FreeHeights {
    void operator()(KyfHeightDataArray* heights) const { KyfFreeHeightData16bit(heights); }
};
struct FreeBestFocus {
    void operator()(KyfDifferentiationMap* map) const { KyfFreeDifferentiationMap(map); }
};

/// Deletes what a session keeps in its folder. @return whether none of it is left.
bool DeleteKeptFrames(const std::filesystem::path& folder) {
    std::error_code error;
    std::vector<std::filesystem::path> kept;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().native().find("MFocusTemp") != std::string::npos) kept.push_back(entry->path());
    if (error) return error == std::errc::no_such_file_or_directory;
    return std::all_of(kept.begin(), kept.end(), [&error](const std::filesystem::path& file) {
        std::filesystem::remove(file, error);
        return !error;
    });
}

/// Sessions that the library would not let go. Their memory goes with the program.
std::vector<KyfFocusComposition*>& KeptSessions() {
    static auto* const g_sessions = new std::vector<KyfFocusComposition*>;
    return *g_sessions;
}

/// Why the height grid of a frame cannot be had, whatever memory there is; nothing where it can.
const char* GridProblem(const KyfFocusComposition& session) {
    constexpr std::int64_t kMostSamples = std::int64_t{1} << 27; // as KyfFocusAddImage tells by ratios of the sides
    if (session.Mode == KyfMode2DSelection || session.EdgeDataWidth == 0) return nullptr;
    if (session.EdgeDataHeight == 0) return "flat";
    return std::int64_t{session.EdgeDataWidth} * session.EdgeDataHeight > kMostSamples ? "tall" : nullptr;
}

} // namespace

void FocusSession::FreeSession::operator()(KyfFocusComposition* session) const {
    // The library goes on trying as long as a kept frame cannot be deleted, on a disk that is read-only by now, say.
    if (TemporaryFolder.empty() || DeleteKeptFrames(TemporaryFolder))
        KyfFreeFocusComposition(session);
    else
        KeptSessions().push_back(session);
}

FocusSession::FocusSession(const KyfFocusCompositionParameter& settings, bool parallel, bool keepBorder,
                           const std::filesystem::path& temporaryFolder)
    : m_session(KyfAllocFocusComposition(), FreeSession{temporaryFolder}), m_isParallel(parallel),
      m_temporaryFolder(temporaryFolder) {
    const std::wstring folder = WidePath(temporaryFolder);
    KyfFocusInitializeParameter initialize{};
    initialize.TempFolder = folder.c_str();
    initialize.ScopeType = settings.ScopeType;
    initialize.MatchingDetectType = settings.MatchingDetectType;
    initialize.TrimInvalidBorder = !keepBorder;
    initialize.DisableGPU = settings.DisableGPU;
    Require(KyfFocusInitialize(m_session.get(), &initialize), "session");
    Require(KyfFocusStart(m_session.get(), &settings), "session");
}

void FocusSession::Add(KyiImageData& frame, std::optional<double> height, const PercentCallback& onPercent) {
    const Progress progress = NewProgress(onPercent);
    KyfFocusComposition* const session = m_session.get();
    KyfResult result = KyfResultInvalidParameter;
    int error = 0; // why the file could not even be made, of which the library tells nothing
    // The library makes its folder anew when it finds it gone: an interruption must not fall into an add.
    WithoutInterruption([&] {
        result = height ? KyfFocusAddImageWithHeight(session, &frame, *height, m_isParallel, progress.get())
                        : KyfFocusAddImage(session, &frame, m_isParallel, progress.get());
        error = errno;
    });
    if (result == KyfResultFailFile)
        throw Failure("frame not added: it cannot be kept in " + DisplayPath(m_temporaryFolder.parent_path()) + ": " +
                      (*KyiGetLastFileError() != '\0' ? KyiGetLastFileError() : std::strerror(error)) +
                      ", expected --temp with a folder that has room");
    if (const char* const shape = GridProblem(*session); result == KyfResultFailAlloc && shape)
        throw Failure("frame not added: " + std::to_string(frame.Width) + " x " + std::to_string(frame.Height) +
                      " pixels are too " + shape + " for a grid of heights, expected --mode 2d, or --speed quarter");
    Require(result, "frame not added");
}

void FocusSession::Make(const PercentCallback& onPercent) {
    const Progress progress = NewProgress(onPercent);
    const KyfResult result = KyfFocusMakeCompImage(m_session.get(), m_isParallel, progress.get());
    if (result == KyfResultFailAlloc && m_session->TrimInvalidBorder && LinesFramesUp(*m_session))
        throw Failure("result not made: out of memory, or the frames have moved so far, or are so small, that nothing "
                      "is left when their borders are cut off, expected --keep-border");
    Require(result, "result not made");
}

std::optional<FrameMove> FocusSession::LastMove2d() const {
    const KyfFocusComposition& session = *m_session;
    if (session.Mode == KyfMode3DSafe || !LinesFramesUp(session)) return std::nullopt;
    if (session.ScopeType != 0) return FrameMove{session.Matching2D.TotalShift, 0};
    const std::int32_t last = session.State2D.FrameCount - 1;
    if (last < 1 || session.FrameShifts == nullptr) return FrameMove{}; // the first frame stays
    const KyfFrameShift& shift = session.FrameShifts[last];
    return FrameMove{shift.ShiftX, shift.ShiftY, shift.ScaleX, shift.ScaleY};
}

std::optional<FrameMove> FocusSession::LastMove3d() const {
    const KyfFocusComposition& session = *m_session;
    if (session.Mode == KyfMode2DSelection || !LinesFramesUp(session)) return std::nullopt;
    if (session.ScopeType != 0) return FrameMove{session.Matching3D.TotalShift, 0};
    if (session.ProjectionShift == nullptr) return FrameMove{};
    return FrameMove{session.ProjectionShift->TotalX, session.ProjectionShift->TotalY};
}

Image FocusSession::ExtractImage() {
    KyiImageData* image = nullptr;
    Require(KyfFocusExtractCompImage(m_session.get(), &image), "composed image");
    if (!image) throw Failure("composed image: there is none");
    return Image(image);
}

HeightMap FocusSession::Heights() const {
    KyfHeightDataArray heights{};
    Require(KyfFocusGetCuttedAntNoiseHeightData(m_session.get(), &heights), "height map");
    const std::unique_ptr<KyfHeightDataArray, FreeHeights> held(&heights);
    // Mode 2d makes the image alone where memory does not suffice for the heights, and then hands out no pixels.
    if (heights.Width <= 0 || heights.Height <= 0 || heights.Data == nullptr)
        throw Failure("height map: none was made, there may be too little memory");
    HeightMap map{heights.Width, heights.Height, {}};
    map.Values.assign(heights.Data, heights.Data + static_cast<std::ptrdiff_t>(heights.Width) * heights.Height);
    return map;
}

Image FocusSession::HeightImage(HeightScale& scale) const {
    KyiImageData* image = nullptr;
    double stepMinMax[3] = {};
    Require(KyfFocusGetCuttedAntNoiseHeightImage16Bit(m_session.get(), &image, stepMinMax), "height image");
    scale.Step = stepMinMax[0];
    scale.Offset = stepMinMax[1];
    return Image(image);
}

DifferentiationMap FocusSession::BestFocus(int format) const {
    KyfDifferentiationMap lent{};
    Require(KyfFocusGetDifferentiationMap(m_session.get(), format, &lent), "differentiation map");
    const std::unique_ptr<KyfDifferentiationMap, FreeBestFocus> held(&lent);
    if (lent.Rows == nullptr) throw Failure("differentiation map: there is none");
    DifferentiationMap map{lent.Width, lent.Height, lent.Depth, {}};
    for (int y = 0; y < map.Height; ++y) map.Values.insert(map.Values.end(), lent.Rows[y], lent.Rows[y] + map.Width);
    return map;
}

const char* DescribeResult(KyfResult result) {
    switch (result) {
    case KyfResultInvalidParameter: return "refused by the library as not valid";
    case KyfResultFailFile: return "a file cannot be read or written";
    case KyfResultNoHeightData: return "there are no heights";
    default: return "failed in the library";
    }
}

} // namespace app
