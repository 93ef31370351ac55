// The calls on sessions without memory. Whatever fails, the session can be terminated, leaves nothing in its folder,
// and the block composes afterwards as a new one does.
#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>

#include "session/sessions.h"
#include "trust/memory_case.h"

namespace test {
namespace {

constexpr std::int32_t kWidth = 72;
constexpr std::int32_t kHeight = 56;

/// How frames are composed and lined up.
struct Way {
    const char* Name;
    int Mode;
    std::int32_t ScopeType;
    std::int32_t MatchingDetectType;
    std::int32_t AutoPos;
    std::int32_t Format;
};
constexpr Way kPlain2D{"2d", KyfMode2DSelection, 0, 0, 0, KyiFormatBgr24};
constexpr Way kAreas2D{"2d, template areas", KyfMode2DSelection, 0, 0, 1, KyiFormatBgr24};
constexpr Way kBands2D{"2d, bands", KyfMode2DSelection, 1, 0, 0, KyiFormatBgr48};
constexpr Way kBand2D{"2d, one band", KyfMode2DSelection, 3, 1, 0, KyiFormatGray8};
constexpr Way kPlain3D{"3d", KyfMode3DSafe, 0, 0, 0, KyiFormatBgr24};
constexpr Way kProjection3D{"3d, projection shift", KyfMode3DSafe, 0, 0, 1, KyiFormatGray16};
constexpr Way kBands3D{"3d, bands", KyfMode3DSafe, 1, 0, 0, KyiFormatBgr24};
constexpr Way kBoth{"both", KyfModeComplexProcessing, 0, 0, 0, KyiFormatBgr24};
constexpr Way kBothAligned{"both, aligned", KyfModeComplexProcessing, 0, 0, 1, KyiFormatBgr24};
constexpr std::array kWays{kPlain2D,      kAreas2D, kBands2D, kBand2D,     kPlain3D,
                           kProjection3D, kBands3D, kBoth,    kBothAligned};

/// A part of one scene, further to the right from frame to frame. Made once.
Image FrameOf(std::int32_t format, int index) {
    static std::map<std::pair<std::int32_t, int>, Image> frames;
    Image& frame = frames[{format, index}];
    if (!frame) {
        const Image scene = TexturedImage(kWidth + 16, kHeight + 8, format, 11);
        frame.reset(KyiAllocImageData(kWidth, kHeight, format));
        const std::int32_t rect[4] = {4 + index, 4, kWidth - 1, kHeight - 1};
        KyiClipImage(scene.get(), frame.get(), rect);
    }
    return Image(KyiDuplicateImageData(frame.get(), 0));
}

/// A session with a folder of its own, in one block all along.
class Bench {
  public:
    explicit Bench(const Way& way)
        : m_way(way), m_tempFolder((m_folder.Path() / "temp").wstring()), m_session(KyfAllocFocusComposition()),
          m_next(FrameOf(way.Format, 0)) {
        m_file = (m_folder.Path() / "frame.bmp").wstring();
        KyiSaveImageData(m_file.c_str(), m_next.get(), 0);
    }

    const Way& Chosen() const { return m_way; }
    KyfFocusComposition* Session() const { return m_session.get(); }
    /// The frame that comes next, made beforehand.
    KyiImageData* Next() const { return m_next.get(); }
    const wchar_t* File() const { return m_file.c_str(); }
    KyfProgress* Progress() const { return m_progress.get(); }

    KyfResult Initialize() const {
        KyfFocusInitializeParameter parameter{};
        parameter.TempFolder = m_tempFolder.c_str();
        parameter.ScopeType = m_way.ScopeType;
        parameter.MatchingDetectType = m_way.MatchingDetectType;
        parameter.TrimInvalidBorder = m_way.AutoPos ? 0 : 1;
        parameter.DisableGPU = 1;
        return KyfFocusInitialize(Session(), &parameter);
    }

    KyfResult Start() const {
        auto two = Defaults<KyfFocusComposition2DSelectionParameter>(2);
        auto three = Defaults<KyfFocusComposition3DSelectionParameter>(2);
        two.AutoPos = three.AutoPos = m_way.AutoPos;
        if (m_way.Mode == KyfMode2DSelection) return KyfFocusStart2DSelection(Session(), &two);
        if (m_way.Mode == KyfMode3DSafe) return KyfFocusStart3DSafe(Session(), &three);
        return KyfFocusStartComplexProcessing(Session(), &two, &three);
    }

    KyfResult Add() const { return KyfFocusAddImageWithHeight(Session(), Next(), 1.0 * m_index, 0, nullptr); }
    void TakeNext() { m_next = FrameOf(m_way.Format, ++m_index); }

    void BringTo(int frames, bool isMade) {
        bool isOk = Initialize() == KyfResultOk && Start() == KyfResultOk;
        m_index = 0;
        m_next = FrameOf(m_way.Format, 0);
        for (int i = 0; i < frames; ++i) {
            isOk = Add() == KyfResultOk && isOk;
            TakeNext();
        }
        if (isMade) isOk = KyfFocusMakeCompImage(Session(), 0, nullptr) == KyfResultOk && isOk;
        if (!isOk) throw std::runtime_error("no stack");
    }

    Image Compose() {
        BringTo(3, true);
        KyiImageData* image = nullptr;
        KyfFocusExtractCompImage(Session(), &image);
        return Image(image);
    }

    /// The session has the image that a new one gives.
    void ExpectComposed() const {
        KyiImageData* image = nullptr;
        ASSERT_EQ(KyfFocusGetCompImage(Session(), &image), KyfResultOk);
        ASSERT_NE(image, nullptr);
        EXPECT_TRUE(SameImage(ComposedOnce(m_way), *image));
    }

    /// What has to hold after any ending of any call.
    void ExpectFit() {
        KyfFocusTerminate(Session());
        ExpectNoFiles();
        static int ends = 0; // a stack costs more than most calls: every seventh time
        if (ends++ % 7 != 0) return;
        const Image image = Compose();
        ASSERT_TRUE(image);
        EXPECT_TRUE(SameImage(ComposedOnce(m_way), *image));
        KyfFocusTerminate(Session());
    }

  private:
    /// What a new block gives.
    static const KyiImageData& ComposedOnce(const Way& way) {
        static std::map<std::string, Image> images;
        Image& image = images[way.Name];
        if (!image) image = Bench(way).Compose();
        return *image;
    }
    void ExpectNoFiles() const {
        const std::filesystem::path folder = m_folder.Path() / "temp";
        EXPECT_TRUE(!std::filesystem::exists(folder) || std::filesystem::is_empty(folder));
    }

    Way m_way;
    TemporaryFolder m_folder;
    std::wstring m_tempFolder;
    std::wstring m_file;
    test::Session m_session;
    test::Progress m_progress = MakeProgress();
    Image m_next;
    int m_index = 0;
};

using Call = std::function<Outcome(Bench&)>;

/// A call on a session that has come to some point.
MemoryCase OnSession(std::string call, const Way& way, int frames, bool isMade, Outcome whole, std::set<Outcome> ran,
                     Call run, std::string detail = "") {
    std::string name = way.Name + std::string(", ") + std::to_string(frames) + (isMade ? " made" : " added");
    if (!detail.empty()) name += ", " + detail;
    return {std::move(call), name, whole, std::move(ran), [=] {
                auto bench = std::make_shared<Bench>(way);
                bench->BringTo(frames, isMade);
                return Try{[=] { return run(*bench); }, [=](Outcome) { bench->ExpectFit(); }};
            }};
}

MemoryCase OnMade(std::string call, const Way& way, std::set<Outcome> ran, Call run) {
    return OnSession(std::move(call), way, 3, true, KyfResultOk, std::move(ran), std::move(run));
}

std::vector<MemoryCase> LifeCases() {
    const auto started = [](std::string call, Call run) {
        return OnSession(std::move(call), kBoth, 0, false, KyfResultOk, {}, std::move(run));
    };
    return {{"KyfAllocFocusComposition",
             "",
             1,
             {kThrew},
             [] {
                 auto session = std::make_shared<KyfFocusComposition*>(nullptr);
                 return Try{[=] {
                                *session = KyfAllocFocusComposition();
                                return 1;
                            },
                            [=](Outcome) { KyfFreeFocusComposition(*session); }};
             }},
            OnSession("KyfFocusInitialize", kBoth, 2, true, KyfResultOk, {kThrew},
                      [](Bench& bench) { return bench.Initialize(); }),
            started("KyfFocusStart2DSelection",
                    [](Bench& bench) {
                        const auto two = Defaults<KyfFocusComposition2DSelectionParameter>(1);
                        return KyfFocusStart2DSelection(bench.Session(), &two);
                    }),
            started("KyfFocusStart3DSafe",
                    [](Bench& bench) {
                        const auto three = Defaults<KyfFocusComposition3DSelectionParameter>(1);
                        return KyfFocusStart3DSafe(bench.Session(), &three);
                    }),
            started("KyfFocusStartComplexProcessing", [](Bench& bench) { return bench.Start(); }),
            started("KyfFocusStartGyre", [](Bench& bench) { return KyfFocusStartGyre(bench.Session()); }),
            started("KyfFocusStart",
                    [](Bench& bench) {
                        KyfFocusCompositionParameter parameter{};
                        return KyfFocusStart(bench.Session(), &parameter);
                    }),
            OnMade("KyfFocusTerminate", kBoth, {}, [](Bench& bench) { return KyfFocusTerminate(bench.Session()), 1; }),
            {"KyfFreeFocusComposition", "", 1, {}, [] {
                 auto bench = std::make_shared<Bench>(kPlain3D);
                 auto session = std::make_shared<KyfFocusComposition*>(KyfAllocFocusComposition());
                 KyfFocusInitializeParameter parameter{};
                 parameter.TempFolder = L"/tmp/a folder with a name that no short text holds";
                 KyfFocusInitialize(*session, &parameter);
                 return Try{[=] { return KyfFreeFocusComposition(*session), 1; }, [bench](Outcome) {}};
             }}};
}

/// A 1 may come without all of the heights; the image of 2D selection is whole then.
MemoryCase Makes(const Way& way, KyiBool parallel) {
    std::set<Outcome> ran{KyfResultOk, KyfResultFailAlloc};
    if (way.Mode != KyfMode2DSelection) ran.insert(kThrew);
    const auto begin = [way, parallel] {
        auto bench = std::make_shared<Bench>(way);
        bench->BringTo(3, false);
        return Try{[=] { return KyfFocusMakeCompImage(bench->Session(), parallel, bench->Progress()); },
                   [=](Outcome outcome) {
                       if (outcome == KyfResultOk && way.Mode != KyfMode3DSafe) bench->ExpectComposed();
                       bench->ExpectFit();
                   }};
    };
    return {"KyfFocusMakeCompImage", way.Name + std::string(parallel ? ", threads" : ""), KyfResultOk, ran, begin};
}

std::vector<MemoryCase> FrameCases() {
    std::vector<MemoryCase> cases;
    for (const Way& way : kWays) {
        const bool is3D = way.Mode != KyfMode2DSelection;
        for (const int frames : {0, 1, 2}) {
            std::set<Outcome> ran{kThrew};
            if (is3D) ran.insert({KyfResultFailAlloc, KyfResultFailFile});
            cases.push_back(
                OnSession("KyfFocusAddImageWithHeight", way, frames, false, KyfResultOk, ran, [](Bench& bench) {
                    return KyfFocusAddImageWithHeight(bench.Session(), bench.Next(), 7.0, 0, bench.Progress());
                }));
        }
        cases.push_back(Makes(way, 0));
    }
    cases.push_back(
        OnSession("KyfFocusAddImage", kBoth, 0, false, KyfResultOk, {kThrew, KyfResultFailAlloc, KyfResultFailFile},
                  [](Bench& bench) { return KyfFocusAddImage(bench.Session(), bench.Next(), 1, nullptr); }));
    cases.push_back(OnSession(
        "KyfFocusAddImageFile", kBoth, 1, false, KyfResultOk, {kThrew, KyfResultFailAlloc, KyfResultFailFile},
        [](Bench& bench) { return KyfFocusAddImageFile(bench.Session(), bench.File(), 1, bench.Progress()); }));
    cases.push_back(OnSession("KyfFocusAddImageFileWidthHeight", kPlain2D, 1, false, KyfResultOk,
                              {kThrew, KyfResultFailFile}, [](Bench& bench) {
                                  return KyfFocusAddImageFileWidthHeight(bench.Session(), bench.File(), 3.0, 0,
                                                                         bench.Progress());
                              }));
    for (const Way& way : {kPlain2D, kPlain3D}) cases.push_back(Makes(way, 1));
    return cases;
}

std::vector<MemoryCase> ImageCases() {
    return {OnMade("KyfFocusGetCompImageInfo", kPlain2D, {},
                   [](Bench& bench) {
                       std::int32_t size[3];
                       return KyfFocusGetCompImageInfo(bench.Session(), &size[0], &size[1], &size[2]);
                   }),
            OnMade("KyfFocusGetCompImage", kPlain3D, {},
                   [](Bench& bench) {
                       KyiImageData* image = nullptr;
                       return KyfFocusGetCompImage(bench.Session(), &image);
                   }),
            OnSession("KyfFocusCopyCompImage", kPlain2D, 1, false, KyfResultOk, {},
                      [](Bench& bench) { return KyfFocusCopyCompImage(bench.Session(), bench.Next()); }),
            OnMade("KyfFocusExtractCompImage", kPlain3D, {},
                   [](Bench& bench) {
                       KyiImageData* image = nullptr;
                       const KyfResult result = KyfFocusExtractCompImage(bench.Session(), &image);
                       KyiFreeImageData(image);
                       return result;
                   }),
            OnMade("KyfFocusGetMemorySize", kPlain2D, {}, [](Bench& bench) {
                std::int32_t size[2];
                return KyfFocusGetMemorySize(bench.Session(), &size[0], &size[1]);
            })};
}

/// A getter that fills a record which the host frees; out of memory leaves the record as it was.
template <typename Record, typename Get, typename Free>
MemoryCase Fills(std::string call, const Way& way, std::set<Outcome> ran, Get get, Free free) {
    return OnMade(std::move(call), way, std::move(ran), [=](Bench& bench) {
        Record record{};
        const KyfResult result = get(bench.Session(), &record);
        free(&record);
        return result;
    });
}

std::vector<MemoryCase> HeightCases() {
    const std::set<Outcome> runsOut{KyfResultFailAlloc};
    const auto flat = [](std::string call, KyfResult (*get)(const KyfFocusComposition*, KyfHeightDataArray*)) {
        return Fills<KyfHeightDataArray>(std::move(call), kPlain2D, {KyfResultFailAlloc}, get, KyfFreeHeightData16bit);
    };
    const auto words = [](std::string call, KyfResult (*get)(const KyfFocusComposition*, KyfHeightData16bit*)) {
        return Fills<KyfHeightData16bit>(std::move(call), kPlain3D, {KyfResultFailAlloc}, get, KyfFreeHeightData16bit);
    };
    const auto image = [](std::string call, KyfResult (*get)(const KyfFocusComposition*, KyiImageData**, double*)) {
        return OnMade(std::move(call), kPlain3D, {KyfResultFailAlloc}, [get](Bench& bench) {
            KyiImageData* given = nullptr;
            const KyfResult result = get(bench.Session(), &given, nullptr);
            KyiFreeImageData(given);
            return result;
        });
    };
    return {
        flat("KyfFocusGetHeightData", KyfFocusGetHeightData),
        flat("KyfFocusGetCuttedHeightData", KyfFocusGetCuttedHeightData),
        flat("KyfFocusGetCuttedAntNoiseHeightData", KyfFocusGetCuttedAntNoiseHeightData),
        words("KyfFocusGetHeightData16Bit", KyfFocusGetHeightData16Bit),
        words("KyfFocusGetCuttedHeightData16Bit", KyfFocusGetCuttedHeightData16Bit),
        words("KyfFocusGetAntNoiseHeightData16Bit", KyfFocusGetAntNoiseHeightData16Bit),
        image("KyfFocusGetHeightImage16Bit", KyfFocusGetHeightImage16Bit),
        image("KyfFocusGetCuttedHeightImage16Bit", KyfFocusGetCuttedHeightImage16Bit),
        image("KyfFocusGetCuttedAntNoiseHeightImage16Bit", KyfFocusGetCuttedAntNoiseHeightImage16Bit),
        image("KyfFocusGetCuttedAntNoiseHeightImage8Bit", KyfFocusGetCuttedAntNoiseHeightImage8Bit),
        Fills<KyfImageData>("KyfFocusGetKyfHeightData", kPlain2D, runsOut, KyfFocusGetKyfHeightData, KyfFreeHeightData),
        Fills<KyfImageData>("KyfFocusExtractHeightData", kPlain2D, {}, KyfFocusExtractHeightData, KyfFreeHeightData),
        Fills<KyfImageData>("KyfFocusExtractCuttedHeightData", kPlain2D, {}, KyfFocusExtractCuttedHeightData,
                            KyfFreeHeightData),
        OnMade("KyfFocusGetHeightList", kPlain2D, {},
               [](Bench& bench) {
                   double* list = nullptr;
                   return KyfFocusGetHeightList(bench.Session(), &list);
               }),
        OnMade("KyfFocusFilterHeightNoiseCut", kPlain2D, runsOut, [](Bench& bench) {
            const KyfHeightNoiseCutParameter parameter{0.5, KyfNoiseCutFillNeighbours, 3};
            return KyfFocusFilterHeightNoiseCut(bench.Session(), &parameter);
        })};
}

std::vector<MemoryCase> MapCases() {
    const std::set<Outcome> runsOut{KyfResultFailAlloc};
    using Map = KyfDifferentiationMap;
    return {Fills<Map>(
                "KyfFocusGetDifferentiationMap", kPlain2D, runsOut,
                [](const KyfFocusComposition* session, Map* map) {
                    return KyfFocusGetDifferentiationMap(session, KyiFormatBgr24, map);
                },
                KyfFreeDifferentiationMap),
            Fills<Map>(
                "KyfFocusExtractDifferentiationMap", kPlain2D, {},
                [](KyfFocusComposition* session, Map* map) {
                    return KyfFocusExtractDifferentiationMap(session, KyiFormatBgr24, map);
                },
                KyfFreeDifferentiationMap),
            Fills<KyfDifferentiationMap8Bit>("KyfFocusGetDifferentiationMap8Bit", kPlain2D, runsOut,
                                             KyfFocusGetDifferentiationMap8Bit, KyfFreeDifferentiationMap8Bit)};
}

} // namespace

std::vector<MemoryCase> SessionMemoryCases() {
    std::vector<MemoryCase> cases;
    for (const auto& more : {LifeCases(), FrameCases(), ImageCases(), HeightCases(), MapCases()})
        cases.insert(cases.end(), more.begin(), more.end());
    return cases;
}

} // namespace test
