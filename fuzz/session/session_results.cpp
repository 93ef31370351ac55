#include <array>
#include <cstdint>
#include <vector>

#include "session/session_calls.h"

namespace fuzz {
namespace {

using Session = KyfFocusComposition;

template <KyfResult (*Get)(const Session*, KyfHeightDataArray*)> void GetArray(Choices& choices, Session* session) {
    KyfHeightDataArray heights{};
    const KyfResult result = Get(session, choices.Byte() % 32 == 31 ? nullptr : &heights);
    Require(IsResult(result), "a getter gives a known result");
    if (result == KyfResultOk) ReadAll(heights.Data, heights.Width, heights.Height);
    KyfFreeHeightData16bit(&heights);
}

template <KyfResult (*Get)(const Session*, KyfHeightData16bit*)> void GetWords(Choices& choices, Session* session) {
    KyfHeightData16bit heights{};
    const KyfResult result = Get(session, choices.Byte() % 32 == 31 ? nullptr : &heights);
    Require(IsResult(result), "a getter gives a known result");
    if (result == KyfResultOk) ReadAll(heights.Data, heights.Width, heights.Height);
    KyfFreeHeightData16bit(&heights);
}

template <typename Owner, KyfResult (*Get)(Owner*, KyfImageData*)> void GetTable(Choices& choices, Session* session) {
    KyfImageData heights{};
    const KyfResult result = Get(session, choices.Byte() % 32 == 31 ? nullptr : &heights);
    Require(IsResult(result), "a getter gives a known result");
    for (std::int32_t y = 0; heights.Rows != nullptr && y < heights.Height; ++y)
        ReadAll(heights.Rows[y], heights.Width, 1);
    std::array<double, 3> range{};
    const Image image(KyfCreateImageDataFromHeightData(&heights, choices.Flag() ? KyiFormatGray8 : choices.Field(3, 5),
                                                       choices.Flag() ? nullptr : range.data()));
    KyfFreeHeightData(&heights);
}

template <KyfResult (*Get)(const Session*, KyiImageData**, double*)> void GetImage(Choices& choices, Session* session) {
    std::array<double, 3> range{};
    KyiImageData* image = nullptr;
    Get(session, choices.Byte() % 32 == 31 ? nullptr : &image, choices.Flag() ? nullptr : range.data());
    const Image owned(image);
}

template <typename Owner, KyfResult (*Get)(Owner*, std::int32_t, KyfDifferentiationMap*)>
void GetMap(Choices& choices, Session* session) {
    KyfDifferentiationMap map{};
    const std::int32_t format = choices.Flag() ? AnyFormat(choices) : choices.Field(0, 300);
    Get(session, format, choices.Byte() % 32 == 31 ? nullptr : &map);
    for (std::int32_t y = 0; map.Rows != nullptr && y < map.Height; ++y) ReadAll(map.Rows[y], map.Width, 1);
    KyfFreeDifferentiationMap(&map);
}

void GetSmallMap(Choices& choices, Session* session) {
    KyfDifferentiationMap8Bit map{};
    const KyfResult result = KyfFocusGetDifferentiationMap8Bit(session, choices.Byte() % 32 == 31 ? nullptr : &map);
    if (result == KyfResultOk) ReadAll(map.Data, map.Width, map.Height);
    KyfFreeDifferentiationMap8Bit(&map);
}

void GetSizes(Choices&, Session* session) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t format = 0;
    KyfFocusGetMemorySize(session, &width, &height);
    if (KyfFocusGetCompImageInfo(session, &width, &height, &format) != KyfResultOk) return;
    Require(width > 0 && height > 0 && KyiGetDepth(format) > 0, "a composed image has pixels");
    const Image copy(KyiAllocImageData(width, height, format));
    Require(KyfFocusCopyCompImage(session, copy.get()) == KyfResultOk, "an image of its form takes the copy");
}

void GetComposed(Choices& choices, Session* session) {
    KyiImageData* image = nullptr;
    if (choices.Byte() % 4 != 0) {
        if (KyfFocusGetCompImage(session, &image) == KyfResultOk && image != nullptr)
            ReadAll(static_cast<const std::uint8_t*>(image->Pixels), image->LineBytes, image->Height);
        return;
    }
    KyfFocusExtractCompImage(session, &image);
    const Image owned(image);
}

void GetHeightList(Choices&, Session* session) {
    double* list = nullptr;
    if (KyfFocusGetHeightList(session, &list) != KyfResultOk || list == nullptr) return;
    ReadAll(list, session->Mode == KyfMode2DSelection ? session->State2D.FrameCount : session->State3D.FrameCount, 1);
}

KyfHeightNoiseCutParameter AnyCut(Choices& choices) {
    KyfHeightNoiseCutParameter parameter{};
    parameter.CutRatio = choices.Flag() ? choices.Byte() / 255.0 : choices.Real();
    parameter.FillType = choices.Field(0, 2);
    parameter.Smoothing = choices.Field(0, 100);
    return parameter;
}

void CutSession(Choices& choices, Session* session) {
    const KyfHeightNoiseCutParameter parameter = AnyCut(choices);
    const KyfResult result = KyfFocusFilterHeightNoiseCut(session, choices.Byte() % 32 == 31 ? nullptr : &parameter);
    Require(IsResult(result), "a cut gives a known result");
}

/// Heights and a map of the host's own; the map may be smaller than the heights.
void CutHeights(Choices& choices, Session*) {
    const Size size{choices.Between(1, 24), choices.Between(1, 24)};
    const Size mapSize{choices.Between(1, 24), choices.Between(1, 24)};
    std::vector<double> heights(static_cast<std::size_t>(size.Width * size.Height));
    for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = i % 8 == 0 ? choices.Real() : static_cast<double>(i);
    std::vector<std::int32_t> samples(static_cast<std::size_t>(mapSize.Width * mapSize.Height));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = i % 8 == 0 ? choices.Field(0, 255) : static_cast<std::int32_t>(i);
    std::vector<double*> rows;
    for (std::int32_t y = 0; y < size.Height; ++y) rows.push_back(heights.data() + y * size.Width);
    std::vector<std::int32_t*> mapRows;
    for (std::int32_t y = 0; y < mapSize.Height; ++y) mapRows.push_back(samples.data() + y * mapSize.Width);
    KyfHeightNoiseCutData data{};
    data.HeightData = {rows.data(), size.Width, size.Height};
    data.DifferentiationMap = {mapRows.data(), mapSize.Width, mapSize.Height, choices.Field(0, 255)};
    data.Parameter = AnyCut(choices);
    data.IsRawHeight = choices.Field(0, 1);
    data.Offset = choices.Real();
    data.Step = choices.Real();
    const bool isOfSize = choices.Byte() % 4 != 0;
    const Size imageSize = isOfSize ? size : Size{choices.Between(1, 24), choices.Between(1, 24)};
    const Image reference = MakeFrame(choices, imageSize, AnyFormat(choices));
    const Image destination =
        MakeFrame(choices, imageSize, choices.Byte() % 4 != 0 ? reference->Format : AnyFormat(choices));
    KyfFilterHeightNoiseCut(reference.get(), destination.get(), choices.Byte() % 32 == 31 ? nullptr : &data, nullptr);
    KyfPreviewFilterHeightNoiseCut(reference.get(), destination.get(), &data);
}

void TakeAll(Choices& choices, Session* session) {
    KyfFileFocusCompositionResult all{};
    const std::int32_t wants[2] = {choices.Byte() & 1, choices.Byte() & 1};
    KyfGetFileFocusCompositionResult(session, choices.Field(0, 2), choices.Byte() % 8 == 7 ? nullptr : wants,
                                     choices.Flag(), &all);
    KyfFreeFileFocusCompositionResult(&all);
}

using Call = void (*)(Choices&, Session*);
constexpr Call kCalls[] = {GetSizes,
                           GetComposed,
                           GetArray<KyfFocusGetHeightData>,
                           GetArray<KyfFocusGetCuttedHeightData>,
                           GetArray<KyfFocusGetCuttedAntNoiseHeightData>,
                           GetWords<KyfFocusGetHeightData16Bit>,
                           GetWords<KyfFocusGetCuttedHeightData16Bit>,
                           GetWords<KyfFocusGetAntNoiseHeightData16Bit>,
                           GetTable<const Session, KyfFocusGetKyfHeightData>,
                           GetTable<Session, KyfFocusExtractHeightData>,
                           GetTable<Session, KyfFocusExtractCuttedHeightData>,
                           GetImage<KyfFocusGetHeightImage16Bit>,
                           GetImage<KyfFocusGetCuttedHeightImage16Bit>,
                           GetImage<KyfFocusGetCuttedAntNoiseHeightImage16Bit>,
                           GetImage<KyfFocusGetCuttedAntNoiseHeightImage8Bit>,
                           GetMap<const Session, KyfFocusGetDifferentiationMap>,
                           GetMap<Session, KyfFocusExtractDifferentiationMap>,
                           GetSmallMap,
                           GetHeightList,
                           CutSession,
                           CutSession,
                           CutHeights,
                           CutHeights,
                           TakeAll};

} // namespace

void CallResults(Choices& choices, KyfFocusComposition* session) {
    const Call call = kCalls[choices.Byte() % std::size(kCalls)];
    call(choices, session);
}

} // namespace fuzz
