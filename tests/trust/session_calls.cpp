#include "trust/session_calls.h"

#include <algorithm>
#include <utility>

namespace test {
namespace {

constexpr std::int32_t kWidth = 24;
constexpr std::int32_t kHeight = 18;

constexpr KyfResult kOk = KyfResultOk;
constexpr KyfResult kFail = KyfResultFail;
constexpr KyfResult kInvalid = KyfResultInvalidParameter;
constexpr KyfResult kNotMade = KyfResultFailAlloc; // mode 1 without heights
constexpr KyfResult kNoFile = KyfResultFailFile;
constexpr KyfResult kNoHeights = KyfResultNoHeightData;

Image FrameOf(int seed) { return TexturedImage(kWidth, kHeight, KyiFormatBgr24, static_cast<std::uint32_t>(seed)); }

KyfResult StartBySettings(KyfFocusComposition* session, KyfAlgorithmType type) {
    KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
    parameter.AlgType = type;
    parameter.Speed = 2;
    return KyfFocusStart(session, &parameter);
}

KyfResult CopyImage(Bench& bench) {
    const Image destination = FrameOf(1);
    return KyfFocusCopyCompImage(bench.Session(), destination.get());
}

KyfResult LendImage(Bench& bench) {
    KyiImageData* image = nullptr;
    const KyfResult result = KyfFocusGetCompImage(bench.Session(), &image);
    std::int32_t top[3] = {};
    if (image) KyiGetPixelDataRGB(image, image->Width - 1, image->Height - 1, top); // lent, and there
    return result;
}

KyfResult ExtractImage(Bench& bench) {
    KyiImageData* image = nullptr;
    const KyfResult result = KyfFocusExtractCompImage(bench.Session(), &image);
    KyiFreeImageData(image);
    return result;
}

KyfResult ReadInfo(Bench& bench) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t format = 0;
    return KyfFocusGetCompImageInfo(bench.Session(), &width, &height, &format);
}

KyfResult ReadSize(Bench& bench) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    return KyfFocusGetMemorySize(bench.Session(), &width, &height);
}

KyfResult LendList(Bench& bench) {
    double* list = nullptr;
    return KyfFocusGetHeightList(bench.Session(), &list);
}

KyfResult CutNoise(Bench& bench) {
    const KyfHeightNoiseCutParameter parameter{0.5, KyfNoiseCutFillNeighbours, 3};
    return KyfFocusFilterHeightNoiseCut(bench.Session(), &parameter);
}

KyfResult CopyMap(Bench& bench) {
    KyfDifferentiationMap map{};
    const KyfResult result = KyfFocusGetDifferentiationMap(bench.Session(), KyiFormatBgr24, &map);
    KyfFreeDifferentiationMap(&map);
    return result;
}

KyfResult ExtractMap(Bench& bench) {
    KyfDifferentiationMap map{};
    const KyfResult result = KyfFocusExtractDifferentiationMap(bench.Session(), KyiFormatBgr24, &map);
    KyfFreeDifferentiationMap(&map);
    return result;
}

KyfResult StretchMap(Bench& bench) {
    KyfDifferentiationMap8Bit map{};
    const KyfResult result = KyfFocusGetDifferentiationMap8Bit(bench.Session(), &map);
    KyfFreeDifferentiationMap8Bit(&map);
    return result;
}

KyfResult TakeFileResult(Bench& bench, KyiBool antiNoise) {
    const std::int32_t wants[2] = {1, 1};
    KyfFileFocusCompositionResult result{};
    KyfGetFileFocusCompositionResult(bench.Session(), bench.Session()->Mode, wants, antiNoise, &result);
    KyfFreeFileFocusCompositionResult(&result);
    return kOk;
}

using ArrayGetter = KyfResult (*)(const KyfFocusComposition*, KyfHeightDataArray*);
using SampleGetter = KyfResult (*)(const KyfFocusComposition*, KyfHeightData16bit*);
using ImageGetter = KyfResult (*)(const KyfFocusComposition*, KyiImageData**, double*);
using RowGetter = KyfResult (*)(KyfFocusComposition*, KyfImageData*);

SessionCall DoublesCall(const char* name, ArrayGetter getter) {
    return {name,
            [getter](Bench& bench) {
                KyfHeightDataArray heights{};
                const KyfResult result = getter(bench.Session(), &heights);
                KyfFreeHeightData16bit(&heights);
                return result;
            },
            {kOk, kNoHeights}};
}

SessionCall SamplesCall(const char* name, SampleGetter getter) {
    return {name,
            [getter](Bench& bench) {
                KyfHeightData16bit heights{};
                const KyfResult result = getter(bench.Session(), &heights);
                KyfFreeHeightData16bit(&heights);
                return result;
            },
            {kOk, kNoHeights}};
}

SessionCall ImageCall(const char* name, ImageGetter getter, std::vector<KyfResult> results) {
    return {name,
            [getter](Bench& bench) {
                KyiImageData* image = nullptr;
                double range[3] = {};
                const KyfResult result = getter(bench.Session(), &image, range);
                KyiFreeImageData(image);
                return result;
            },
            std::move(results)};
}

SessionCall RowsCall(const char* name, RowGetter getter, std::vector<KyfResult> results) {
    return {name,
            [getter](Bench& bench) {
                KyfImageData heights{};
                const KyfResult result = getter(bench.Session(), &heights);
                KyfFreeHeightData(&heights);
                return result;
            },
            std::move(results)};
}

KyfResult CopyRows(KyfFocusComposition* session, KyfImageData* heights) {
    return KyfFocusGetKyfHeightData(session, heights);
}

using Calls = std::vector<SessionCall>;

Calls LifeCalls() {
    return {{"Initialize", [](Bench& bench) { return bench.Initialize(), kOk; }, {kOk}},
            {"Terminate", [](Bench& bench) { return KyfFocusTerminate(bench.Session()), kOk; }, {kOk}},
            {"Start2DSelection", [](Bench& bench) { return bench.Start(KyfMode2DSelection); }, {kOk}},
            {"Start3DSafe", [](Bench& bench) { return bench.Start(KyfMode3DSafe); }, {kOk}},
            {"StartComplexProcessing", [](Bench& bench) { return bench.Start(KyfModeComplexProcessing); }, {kOk}},
            {"StartGyre", [](Bench& bench) { return KyfFocusStartGyre(bench.Session()); }, {kOk}},
            {"Start", [](Bench& bench) { return StartBySettings(bench.Session(), KyfAlgorithmType3DSafe); }, {kOk}},
            {"Start of no kind", [](Bench& bench) { return StartBySettings(bench.Session(), 3); }, {kInvalid}}};
}

Calls FrameCalls() {
    const std::vector<KyfResult> results = {kOk, kInvalid, kNoFile};
    return {{"AddImage", [](Bench& bench) { return bench.AddWithoutHeight(); }, results},
            {"AddImageWithHeight", [](Bench& bench) { return bench.Add(); }, results},
            {"AddImageWithHeight of a misfit", [](Bench& bench) { return bench.AddMisfit(); }, results},
            {"AddImageFile", [](Bench& bench) { return bench.AddFile(false, true); }, results},
            {"AddImageFileWidthHeight", [](Bench& bench) { return bench.AddFile(true, true); }, results},
            {"AddImageFile of no file", [](Bench& bench) { return bench.AddFile(false, false); }, {kNoFile}},
            {"MakeCompImage", [](Bench& bench) { return bench.Make(); }, {kOk, kInvalid, kNotMade}}};
}

Calls ImageCalls() {
    return {{"GetCompImageInfo", ReadInfo, {kOk, kInvalid}},
            {"GetCompImage", LendImage, {kOk}},
            {"CopyCompImage", CopyImage, {kOk, kInvalid}},
            {"ExtractCompImage", ExtractImage, {kOk}},
            {"GetMemorySize", ReadSize, {kOk}},
            {"GetFileFocusCompositionResult", [](Bench& bench) { return TakeFileResult(bench, 0); }, {kOk}},
            {"GetFileFocusCompositionResult smoothed", [](Bench& bench) { return TakeFileResult(bench, 1); }, {kOk}}};
}

Calls HeightCalls() {
    return {DoublesCall("GetHeightData", KyfFocusGetHeightData),
            DoublesCall("GetCuttedHeightData", KyfFocusGetCuttedHeightData),
            DoublesCall("GetCuttedAntNoiseHeightData", KyfFocusGetCuttedAntNoiseHeightData),
            RowsCall("GetKyfHeightData", CopyRows, {kOk, kNoHeights}),
            RowsCall("ExtractHeightData", KyfFocusExtractHeightData, {kOk, kNoHeights}),
            RowsCall("ExtractCuttedHeightData", KyfFocusExtractCuttedHeightData, {kOk}),
            {"GetHeightList", LendList, {kOk}},
            SamplesCall("GetHeightData16Bit", KyfFocusGetHeightData16Bit),
            SamplesCall("GetCuttedHeightData16Bit", KyfFocusGetCuttedHeightData16Bit),
            SamplesCall("GetAntNoiseHeightData16Bit", KyfFocusGetAntNoiseHeightData16Bit),
            ImageCall("GetHeightImage16Bit", KyfFocusGetHeightImage16Bit, {kOk, kInvalid}),
            ImageCall("GetCuttedHeightImage16Bit", KyfFocusGetCuttedHeightImage16Bit, {kOk, kInvalid, kNoHeights}),
            ImageCall("GetCuttedAntNoiseHeightImage16Bit", KyfFocusGetCuttedAntNoiseHeightImage16Bit,
                      {kOk, kInvalid, kNoHeights}),
            ImageCall("GetCuttedAntNoiseHeightImage8Bit", KyfFocusGetCuttedAntNoiseHeightImage8Bit,
                      {kOk, kInvalid, kNoHeights}),
            {"FilterHeightNoiseCut", CutNoise, {kOk, kFail}},
            {"GetDifferentiationMap", CopyMap, {kOk}},
            {"ExtractDifferentiationMap", ExtractMap, {kOk}},
            {"GetDifferentiationMap8Bit", StretchMap, {kOk, kNoHeights}}};
}

} // namespace

Bench::Bench()
    : m_tempFolder((m_folder.Path() / "temp").wstring()), m_file((m_folder.Path() / "frame.bmp").wstring()),
      m_session(KyfAllocFocusComposition()) {
    if (!KyiSaveImageData(m_file.c_str(), FrameOf(9).get(), 0)) throw std::runtime_error("no frame on disk");
}

void Bench::Initialize() {
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = m_tempFolder.c_str();
    parameter.DisableGPU = 1;
    if (KyfFocusInitialize(Session(), &parameter) != kOk) throw std::runtime_error("no session");
}

KyfResult Bench::Start(int mode) {
    const auto two = Defaults<KyfFocusComposition2DSelectionParameter>(2);
    const auto three = Defaults<KyfFocusComposition3DSelectionParameter>(2);
    if (mode == KyfMode2DSelection) return KyfFocusStart2DSelection(Session(), &two);
    if (mode == KyfMode3DSafe) return KyfFocusStart3DSafe(Session(), &three);
    return KyfFocusStartComplexProcessing(Session(), &two, &three);
}

KyfResult Bench::Add() {
    const Image frame = FrameOf(++m_added);
    return KyfFocusAddImageWithHeight(Session(), frame.get(), 0.5 * m_added, 0, nullptr);
}

KyfResult Bench::AddMisfit() {
    const Image frame = TexturedImage(kWidth + 1, kHeight, KyiFormatGray8, 1);
    return KyfFocusAddImageWithHeight(Session(), frame.get(), 1.0, 0, nullptr);
}

KyfResult Bench::AddFile(bool withHeight, bool isThere) {
    const std::wstring path = isThere ? m_file : m_file + L".gone";
    if (withHeight) return KyfFocusAddImageFileWidthHeight(Session(), path.c_str(), 3.0, 0, nullptr);
    return KyfFocusAddImageFile(Session(), path.c_str(), 0, nullptr);
}

KyfResult Bench::AddWithoutHeight() { return KyfFocusAddImage(Session(), FrameOf(++m_added).get(), 0, nullptr); }

Image Bench::ComposeAnew(int mode) {
    Initialize();
    m_added = 0;
    bool isOk = Start(mode) == kOk;
    for (int i = 0; i < 3; ++i) isOk = Add() == kOk && isOk;
    isOk = Make() == kOk && isOk;
    KyiImageData* image = nullptr;
    isOk = KyfFocusExtractCompImage(Session(), &image) == kOk && isOk;
    if (!isOk) KyiFreeImageData(std::exchange(image, nullptr));
    return Image(image);
}

const std::vector<SessionCall>& SessionCalls() {
    static const Calls g_calls = [] {
        Calls all;
        for (const Calls& some : {LifeCalls(), FrameCalls(), ImageCalls(), HeightCalls()})
            all.insert(all.end(), some.begin(), some.end());
        return all;
    }();
    return g_calls;
}

testing::AssertionResult RunsAsTold(const SessionCall& call, Bench& bench, KyfResult* told) {
    const KyfResult result = call.Run(bench);
    if (told) *told = result;
    if (std::find(call.Results.begin(), call.Results.end(), result) != call.Results.end())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << call.Name << " gives " << result;
}

} // namespace test
