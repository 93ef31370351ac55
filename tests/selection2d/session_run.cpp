#include "selection2d/session_run.h"

#include <algorithm>
#include <iterator>

namespace test {

namespace {

std::string PathOf(const KyfProgress* node) {
    if (!node->Parent || node->Parent == node) return "root";
    const KyfProgress* const parent = node->Parent;
    const auto place = std::find(parent->SubList, parent->SubList + parent->SubCount, node) - parent->SubList;
    return PathOf(parent) + "/" + std::to_string(place);
}

void WriteDown(KyfProgress* node) {
    auto& calls = *static_cast<std::vector<ProgressCall>*>(KyfProgressGetArgs(node));
    calls.emplace_back(PathOf(node), node->Percent, KyfProgressGetPersent(KyfProgressGetParent(node)));
}

} // namespace

Session StartSession(const SessionSettings& settings) {
    Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter initial{};
    initial.ScopeType = settings.ScopeType;
    initial.TrimInvalidBorder = settings.TrimInvalidBorder;
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusComposition2DSelectionParameter parameter{};
    parameter.Speed = settings.Speed;
    parameter.CompSize = settings.CompSize;
    parameter.Smoothing = settings.Smoothing;
    parameter.AutoPos = settings.AutoPos;
    parameter.AreaNo = 2; // four areas
    const KyPoint places[] = {{50, 25}, {75, 50}, {50, 75}, {25, 50}};
    std::copy(std::begin(places), std::end(places), parameter.AreaPos);
    KyfFocusStart2DSelection(session.get(), &parameter);
    return session;
}

ProgressLog::ProgressLog() : m_root(KyfAllocProgress(WriteDown, &m_calls)) {}
ProgressLog::~ProgressLog() { KyfFreeProgress(m_root); }

std::vector<std::int32_t> AllPlanes(const KyiImageData& image) {
    std::vector<std::int32_t> planes = ToPlanes(image);
    for (std::int32_t y = 0; image.PixelBytes == 4 && y < image.Height; ++y)
        for (std::int32_t x = 0; x < image.Width; ++x)
            planes.push_back(*static_cast<const std::uint8_t*>(KyiGetPixelAddress(&image, x, y)));
    return planes;
}

std::vector<std::int32_t> BestFocus(const KyfFocusComposition& session) {
    return Flatten(session.BestFocusMap, session.BestFocusWidth, session.BestFocusHeight);
}

std::vector<std::int32_t> BestFrames(const KyfFocusComposition& session) {
    return Flatten(session.BestFrameMap, session.State2D.WorkWidth, session.State2D.WorkHeight);
}

std::vector<double> Mask(const KyfFocusComposition& session) {
    const auto width = static_cast<std::size_t>(session.State2D.WorkWidth);
    const auto height = static_cast<std::size_t>(session.State2D.WorkHeight);
    return {session.BlendMask, session.BlendMask + width * height};
}

} // namespace test
