#include "session/result_calls.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "session/session_insides.h"

namespace test {

namespace {

using Json = nlohmann::json;

/// A step in hand.
struct Step {
    RecordedSession& Owner;
    KyfFocusComposition* Session; ///< null where the step says so
    const Json& Args;
    const Json& Outputs;
    KyfResult Expected;

    bool IsNullPointer(const char* output = nullptr) const {
        if (!Args.contains("null_pointer")) return false;
        const Json& which = Args.at("null_pointer");
        return which.is_boolean() ? which.get<bool>() : output != nullptr && which.get<std::string>() == output;
    }
};

void ExpectNumber(const Step& step, const char* name, std::int32_t actual) {
    if (step.Outputs.contains(name)) {
        EXPECT_EQ(step.Outputs.at(name).get<std::int32_t>(), actual) << name;
    }
}

void ExpectImage(const Step& step, const KyiImageData* image) {
    if (!step.Outputs.contains("image")) return;
    const Json& expected = step.Outputs.at("image");
    ASSERT_EQ(expected.is_null(), image == nullptr);
    if (image == nullptr) return;
    EXPECT_EQ(expected, (Json{image->Width, image->Height, image->Format}));
}

// ---- life and settings

KyfResult Initialize(const Step& step) {
    const std::wstring folder = step.Owner.TempFolder(step.Args);
    KyfFocusInitializeParameter parameter{};
    parameter.TempFolder = folder.c_str();
    const KyfResult result = KyfFocusInitialize(step.Session, &parameter);
    if (result == KyfResultOk) step.Owner.ForgetSpoiledRecord();
    return result;
}

KyfResult Terminate(const Step& step) {
    KyfFocusTerminate(step.Session);
    step.Owner.ForgetSpoiledRecord();
    return step.Expected;
}

KyfSpeed SpeedOf(const Step& step) { return step.Args.value("Speed", 0); }

KyfResult Start(const Step& step) {
    CKyfFocusCompositionSetting setting;
    setting.SetSpeed(SpeedOf(step));
    setting.SetAlgType(step.Args.value("AlgType", setting.GetAlgType()));
    return KyfFocusStart(step.Session, &setting.Get());
}

KyfResult Start2D(const Step& step) {
    const auto parameter = Defaults<KyfFocusComposition2DSelectionParameter>(SpeedOf(step));
    return KyfFocusStart2DSelection(step.Session, &parameter);
}

KyfResult Start3D(const Step& step) {
    const auto parameter = Defaults<KyfFocusComposition3DSelectionParameter>(SpeedOf(step));
    return KyfFocusStart3DSafe(step.Session, &parameter);
}

KyfResult StartComplex(const Step& step) {
    const auto two = Defaults<KyfFocusComposition2DSelectionParameter>(SpeedOf(step));
    const auto three = Defaults<KyfFocusComposition3DSelectionParameter>(SpeedOf(step));
    return KyfFocusStartComplexProcessing(step.Session, &two, &three);
}

KyfResult StartGyre(const Step& step) { return KyfFocusStartGyre(step.Session); }

KyfResult SpoilSignature(const Step& step) {
    step.Owner.SpoilSignature(step.Args.value("at", std::size_t{0}));
    return step.Expected;
}

KyfResult SetMode(const Step& step) {
    step.Session->Mode = step.Args.at("Mode");
    return step.Expected;
}

// ---- calls with a progress node

template <typename Call> KyfResult WithProgress(const Step& step, Call call) {
    const Progress progress = MakeProgress();
    const KyfResult result = call(progress.get());
    const Json& expected = step.Outputs.at("progress_completed");
    if (!expected.is_null()) {
        EXPECT_EQ(expected.get<bool>(), progress->Completed != 0) << "progress node";
    }
    return result;
}

KyfResult AddImage(const Step& step) {
    const Image frame = MakeFrame(step.Args.at("frame"));
    return WithProgress(step, [&](KyfProgress* node) { return KyfFocusAddImage(step.Session, frame.get(), 1, node); });
}

KyfResult AddImageWithHeight(const Step& step) {
    const Image frame = MakeFrame(step.Args.at("frame"));
    return WithProgress(step, [&](KyfProgress* node) {
        return KyfFocusAddImageWithHeight(step.Session, frame.get(), step.Args.at("height"), 1, node);
    });
}

KyfResult AddFile(const Step& step) {
    const std::wstring path = step.Owner.FrameFile(step.Args.at("frame"));
    return WithProgress(step,
                        [&](KyfProgress* node) { return KyfFocusAddImageFile(step.Session, path.c_str(), 1, node); });
}

KyfResult AddFileWithHeight(const Step& step) {
    const std::wstring path = step.Owner.FrameFile(step.Args.at("frame"));
    return WithProgress(step, [&](KyfProgress* node) {
        return KyfFocusAddImageFileWidthHeight(step.Session, path.c_str(), step.Args.at("height"), 1, node);
    });
}

KyfResult Make(const Step& step) {
    return WithProgress(step, [&](KyfProgress* node) { return KyfFocusMakeCompImage(step.Session, 1, node); });
}

// ---- the composed image

KyfResult GetInfo(const Step& step) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t format = 0;
    const KyfResult result = KyfFocusGetCompImageInfo(step.Session, step.IsNullPointer("width") ? nullptr : &width,
                                                      step.IsNullPointer("height") ? nullptr : &height,
                                                      step.IsNullPointer("format") ? nullptr : &format);
    ExpectNumber(step, "width", width);
    ExpectNumber(step, "height", height);
    ExpectNumber(step, "format", format);
    return result;
}

KyfResult GetMemorySize(const Step& step) {
    std::int32_t width = 0;
    std::int32_t height = 0;
    const KyfResult result = KyfFocusGetMemorySize(step.Session, step.IsNullPointer("width") ? nullptr : &width,
                                                   step.IsNullPointer("height") ? nullptr : &height);
    ExpectNumber(step, "width", width);
    ExpectNumber(step, "height", height);
    return result;
}

KyfResult GetCompImage(const Step& step) {
    KyiImageData* image = nullptr;
    const KyfResult result = KyfFocusGetCompImage(step.Session, step.IsNullPointer() ? nullptr : &image);
    ExpectImage(step, image);
    return result;
}

KyfResult ExtractCompImage(const Step& step) {
    KyiImageData* image = nullptr;
    const KyfResult result = KyfFocusExtractCompImage(step.Session, step.IsNullPointer() ? nullptr : &image);
    const Image owned(image);
    ExpectImage(step, image);
    return result;
}

KyfResult CopyCompImage(const Step& step) {
    const Json& shape = step.Args.at("destination");
    const Image destination(shape.is_null() ? nullptr : KyiAllocImageData(shape.at(0), shape.at(1), shape.at(2)));
    return KyfFocusCopyCompImage(step.Session, destination.get());
}

// ---- heights

template <KyfResult (*Call)(const KyfFocusComposition*, KyfHeightDataArray*)> KyfResult GetArray(const Step& step) {
    KyfHeightDataArray heights{};
    const KyfResult result = Call(step.Session, step.IsNullPointer() ? nullptr : &heights);
    ExpectNumber(step, "width", heights.Width);
    ExpectNumber(step, "height", heights.Height);
    KyfFreeHeightData16bit(&heights);
    return result;
}

template <KyfResult (*Call)(const KyfFocusComposition*, KyfHeightData16bit*)> KyfResult GetWords(const Step& step) {
    KyfHeightData16bit heights{};
    const KyfResult result = Call(step.Session, step.IsNullPointer() ? nullptr : &heights);
    ExpectNumber(step, "width", heights.Width);
    ExpectNumber(step, "height", heights.Height);
    KyfFreeHeightData16bit(&heights);
    return result;
}

/// For the copying call and the two that hand over.
template <typename Session, KyfResult (*Call)(Session*, KyfImageData*)> KyfResult GetTable(const Step& step) {
    KyfImageData heights{};
    const KyfResult result = Call(step.Session, step.IsNullPointer() ? nullptr : &heights);
    ExpectNumber(step, "width", heights.Width);
    ExpectNumber(step, "height", heights.Height);
    if (step.Outputs.contains("rows_null")) {
        EXPECT_EQ(step.Outputs.at("rows_null").get<bool>(), heights.Rows == nullptr);
    }
    KyfFreeHeightData(&heights);
    return result;
}

template <KyfResult (*Call)(const KyfFocusComposition*, KyiImageData**, double*)>
KyfResult GetHeightImage(const Step& step) {
    KyiImageData* image = nullptr;
    const KyfResult result = Call(step.Session, step.IsNullPointer() ? nullptr : &image, nullptr);
    const Image owned(image);
    EXPECT_EQ(image != nullptr, result == KyfResultOk);
    if (image == nullptr) return result;
    ExpectNumber(step, "width", image->Width);
    ExpectNumber(step, "height", image->Height);
    ExpectNumber(step, "format", image->Format);
    return result;
}

KyfResult GetHeightList(const Step& step) {
    double* list = nullptr;
    const KyfResult result = KyfFocusGetHeightList(step.Session, step.IsNullPointer() ? nullptr : &list);
    if (!step.Outputs.contains("list")) return result;
    const Json& expected = step.Outputs.at("list");
    EXPECT_EQ(expected.is_null(), list == nullptr);
    if (list != nullptr && !expected.is_null()) {
        EXPECT_EQ(expected.get<std::vector<double>>(), std::vector<double>(list, list + expected.size()));
    }
    return result;
}

template <typename Session, KyfResult (*Call)(Session*, std::int32_t, KyfDifferentiationMap*)>
KyfResult GetDifferentiationMap(const Step& step) {
    KyfDifferentiationMap map{nullptr, -1, -2, -3};
    const KyfResult result = Call(step.Session, step.Args.at("format"), step.IsNullPointer() ? nullptr : &map);
    if (step.Outputs.value("untouched", false)) {
        EXPECT_EQ(map.Rows, nullptr);
        EXPECT_EQ(std::vector<std::int32_t>({map.Width, map.Height, map.Depth}), std::vector({-1, -2, -3}));
    }
    ExpectNumber(step, "width", map.Width);
    ExpectNumber(step, "height", map.Height);
    ExpectNumber(step, "depth", map.Depth);
    if (step.Outputs.contains("rows_null")) {
        EXPECT_EQ(step.Outputs.at("rows_null").get<bool>(), map.Rows == nullptr);
    }
    KyfFreeDifferentiationMap(&map);
    return result;
}

KyfResult GetDifferentiationMap8Bit(const Step& step) {
    KyfDifferentiationMap8Bit map{};
    const KyfResult result = KyfFocusGetDifferentiationMap8Bit(step.Session, step.IsNullPointer() ? nullptr : &map);
    ExpectNumber(step, "width", map.Width);
    ExpectNumber(step, "height", map.Height);
    KyfFreeDifferentiationMap8Bit(&map);
    return result;
}

using Call = KyfResult (*)(const Step&);

const std::map<std::string, Call>& Calls() {
    using S = KyfFocusComposition;
    static const std::map<std::string, Call> calls = {
        {"KyfFocusInitialize", Initialize},
        {"KyfFocusTerminate", Terminate},
        {"KyfFocusStart", Start},
        {"KyfFocusStart2DSelection", Start2D},
        {"KyfFocusStart3DSafe", Start3D},
        {"KyfFocusStartComplexProcessing", StartComplex},
        {"KyfFocusStartGyre", StartGyre},
        {"host_spoils_signature", SpoilSignature},
        {"host_sets_mode", SetMode},
        {"KyfFocusAddImage", AddImage},
        {"KyfFocusAddImageFile", AddFile},
        {"KyfFocusAddImageWithHeight", AddImageWithHeight},
        {"KyfFocusAddImageFileWidthHeight", AddFileWithHeight},
        {"KyfFocusMakeCompImage", Make},
        {"KyfFocusGetCompImageInfo", GetInfo},
        {"KyfFocusGetMemorySize", GetMemorySize},
        {"KyfFocusGetCompImage", GetCompImage},
        {"KyfFocusExtractCompImage", ExtractCompImage},
        {"KyfFocusCopyCompImage", CopyCompImage},
        {"KyfFocusGetHeightData", GetArray<KyfFocusGetHeightData>},
        {"KyfFocusGetCuttedHeightData", GetArray<KyfFocusGetCuttedHeightData>},
        {"KyfFocusGetCuttedAntNoiseHeightData", GetArray<KyfFocusGetCuttedAntNoiseHeightData>},
        {"KyfFocusGetKyfHeightData", GetTable<const S, KyfFocusGetKyfHeightData>},
        {"KyfFocusExtractHeightData", GetTable<S, KyfFocusExtractHeightData>},
        {"KyfFocusExtractCuttedHeightData", GetTable<S, KyfFocusExtractCuttedHeightData>},
        {"KyfFocusGetHeightList", GetHeightList},
        {"KyfFocusGetHeightData16Bit", GetWords<KyfFocusGetHeightData16Bit>},
        {"KyfFocusGetCuttedHeightData16Bit", GetWords<KyfFocusGetCuttedHeightData16Bit>},
        {"KyfFocusGetAntNoiseHeightData16Bit", GetWords<KyfFocusGetAntNoiseHeightData16Bit>},
        {"KyfFocusGetHeightImage16Bit", GetHeightImage<KyfFocusGetHeightImage16Bit>},
        {"KyfFocusGetCuttedHeightImage16Bit", GetHeightImage<KyfFocusGetCuttedHeightImage16Bit>},
        {"KyfFocusGetCuttedAntNoiseHeightImage16Bit", GetHeightImage<KyfFocusGetCuttedAntNoiseHeightImage16Bit>},
        {"KyfFocusGetCuttedAntNoiseHeightImage8Bit", GetHeightImage<KyfFocusGetCuttedAntNoiseHeightImage8Bit>},
        {"KyfFocusGetDifferentiationMap", GetDifferentiationMap<const S, KyfFocusGetDifferentiationMap>},
        {"KyfFocusExtractDifferentiationMap", GetDifferentiationMap<S, KyfFocusExtractDifferentiationMap>},
        {"KyfFocusGetDifferentiationMap8Bit", GetDifferentiationMap8Bit},
    };
    return calls;
}

} // namespace

bool IsCallKnown(const std::string& name) { return Calls().contains(name); }

Image MakeFrame(const Json& frame) {
    constexpr std::int32_t kFrameCount = 5; // of the stack that the frames are taken from
    const std::int32_t width = frame.at("width");
    const std::int32_t height = frame.at("height");
    const std::int32_t format = frame.at("format");
    const std::int32_t factor = KyiGetMaxVal(format) > 255 ? 257 : 1;
    std::vector<std::int32_t> plane;
    for (std::int32_t y = 0; y < height; ++y)
        for (std::int32_t x = 0; x < width; ++x) {
            const bool isSharp = x * kFrameCount / width == frame.at("index").get<std::int32_t>();
            const std::int32_t check = (x / 2 + y / 2) % 2 != 0 ? 200 : 40;
            plane.push_back((isSharp ? check : 120) * factor);
        }
    std::vector<std::int32_t> planes;
    for (int channel = 0; channel < ChannelCount(format); ++channel)
        planes.insert(planes.end(), plane.begin(), plane.end());
    return FromPlanes(width, height, format, planes);
}

RecordedSession::RecordedSession() : m_session(KyfAllocFocusComposition()) {}

RecordedSession::~RecordedSession() {
    if (m_forgotten) KyfFocusTerminate(&*m_forgotten);
    if (m_spoiled) std::copy_n(kyf::kSessionSignature, 6, m_session->Signature);
    KyfFreeFocusComposition(m_session);
}

void RecordedSession::Run(const Json& step) {
    const Json& args = step.at("args");
    const KyfResult expected = step.at("result").is_null() ? KyfResultOk : step.at("result").get<KyfResult>();
    KyfFocusComposition* const session = args.value("null_session", false) ? nullptr : m_session;
    const KyfResult result = Calls().at(step.at("call"))({*this, session, args, step.at("outputs"), expected});
    EXPECT_EQ(expected, result);
}

std::wstring RecordedSession::TempFolder(const Json& args) const {
    if (args.value("temp", std::string("writable")) == "writable") return m_folder.Path().wstring();
    const std::filesystem::path file = m_folder.Path() / "plain_file";
    std::ofstream(file) << 'x';
    return (file / "below").wstring();
}

std::wstring RecordedSession::FrameFile(const Json& frame) {
    const std::filesystem::path path = m_folder.Path() / ("frame" + std::to_string(m_fileCount++) + ".bmp");
    if (!frame.is_null() && !KyiSaveImageData(path.wstring().c_str(), MakeFrame(frame).get(), 0))
        throw std::runtime_error("cannot write " + path.string());
    return path.wstring();
}

void RecordedSession::SpoilSignature(std::size_t at) {
    m_spoiled = *m_session;
    m_session->Signature[at] = u'x';
}

void RecordedSession::ForgetSpoiledRecord() {
    if (m_spoiled) m_forgotten = std::exchange(m_spoiled, std::nullopt);
}

} // namespace test
