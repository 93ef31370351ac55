// Halation, noise cut, progress, settings, whole compositions of files and the switches of the process without memory.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>
#include <kyfocus/gpu.h>
#include <kyfocus/halation.h>
#include <kyfocus/kyfocus.h>
#include <kyfocus/resource.h>
#include <kyfocus/setting_persister.h>

#include "session/sessions.h"
#include "trust/memory_case.h"

namespace test {
namespace {

constexpr std::int32_t kWidth = 64;
constexpr std::int32_t kHeight = 48;

/// A case on something that Make gives anew for each try.
template <typename Subject>
MemoryCase On(
    std::string call, std::string detail, Outcome whole, std::set<Outcome> ran, std::function<Outcome(Subject&)> run,
    std::function<void(Subject&, Outcome)> finish = [](Subject&, Outcome) {}) {
    return {std::move(call), std::move(detail), whole, std::move(ran), [=] {
                auto subject = std::make_shared<Subject>();
                return Try{[=] { return run(*subject); }, [=](Outcome outcome) { finish(*subject, outcome); }};
            }};
}

struct Nothing {};

MemoryCase Plain(std::string call, std::function<void()> run) {
    return On<Nothing>(std::move(call), "", 1, {}, [run](Nothing&) { return run(), 1; });
}

// ---- progress -------------------------------------------------------------------------------------------------------

struct Tree {
    Progress Root = MakeProgress();
    KyfProgress* Made = nullptr;
    KyfProgress** List = nullptr;
};

std::vector<MemoryCase> ProgressCases() {
    const auto plain = [](std::string call, std::function<void(Tree&)> run) {
        return On<Tree>(std::move(call), "", 1, {}, [run](Tree& tree) { return run(tree), 1; });
    };
    return {On<Tree>(
                "KyfAllocProgress", "", 1, {kThrew},
                [](Tree& tree) {
                    tree.Made = KyfAllocProgress(nullptr, nullptr);
                    return 1;
                },
                [](Tree& tree, Outcome) { KyfFreeProgress(tree.Made); }),
            On<Tree>(
                "KyfProgressCreateSubList", "", 1, {kThrew},
                [](Tree& tree) {
                    tree.List = KyfProgressCreateSubList(7, 1);
                    return 1;
                },
                [](Tree& tree, Outcome) {
                    if (tree.List) KyfAppendProgress(tree.Root.get(), tree.List, 7);
                    KyfProgressCompleteProc(tree.Root.get());
                    EXPECT_EQ(KyfProgressGetPersent(tree.Root.get()), 100);
                }),
            plain("KyfAppendProgress", [](Tree& tree) { KyfAppendProgress(tree.Root.get(), nullptr, 0); }),
            plain("KyfFreeProgress", [](Tree& tree) { KyfFreeProgress(tree.Root.release()); }),
            plain("KyfProgressCompleteProc", [](Tree& tree) { KyfProgressCompleteProc(tree.Root.get()); }),
            plain("KyfProgressSetPersent", [](Tree& tree) { KyfProgressSetPersent(tree.Root.get(), 3); }),
            plain("KyfProgressGetPersent", [](Tree& tree) { KyfProgressGetPersent(tree.Root.get()); }),
            plain("KyfProgressGetArgs", [](Tree& tree) { KyfProgressGetArgs(tree.Root.get()); }),
            plain("KyfProgressGetParent", [](Tree& tree) { KyfProgressGetParent(tree.Root.get()); })};
}

// ---- halation -------------------------------------------------------------------------------------------------------

/// A series with some frames, the first of them over-bright in places.
struct Series {
    KyfHalationRemoval* Record = KyfAllocHalationRemoval();
    Image Frame = TexturedImage(kWidth, kHeight, KyiFormatBgr24, 4);
    Progress Node = MakeProgress();

    Series() = default;
    Series(const Series&) = delete;
    Series& operator=(const Series&) = delete;
    ~Series() { KyfFreeHalationRemoval(Record); }

    void Start() const {
        const KyfHalationParameter parameter{120, 60, 60};
        if (KyfHalationStart(Record, &parameter) != KyfResultOk) throw std::runtime_error("no series");
    }
    void Add(int count) {
        for (int i = 0; i < count; ++i)
            if (KyfHalationAddImage(Record, Frame.get(), 0, nullptr) != KyfResultOk)
                throw std::runtime_error("no series");
    }
    Image Result() const {
        KyiImageData* image = nullptr;
        KyfHalationExtractRemovalImage(Record, &image);
        return Image(image);
    }
};

MemoryCase AddsHalation(int before, KyiBool parallel) {
    return {"KyfHalationAddImage",
            std::to_string(before) + (parallel ? " added, threads" : " added"),
            KyfResultOk,
            {KyfResultFailAlloc},
            [=] {
                auto series = std::make_shared<Series>();
                series->Start();
                series->Add(before);
                series->Frame = TexturedImage(kWidth, kHeight, KyiFormatBgr24, 5);
                return Try{[=] {
                               return KyfHalationAddImage(series->Record, series->Frame.get(), parallel,
                                                          series->Node.get());
                           },
                           [=](Outcome outcome) {
                               const bool isIn = outcome == KyfResultOk;
                               EXPECT_EQ(series->Node->Completed != 0, isIn);
                               EXPECT_EQ(series->Record->ImageCount, before + (isIn ? 1 : 0));
                               if (!isIn) series->Add(1); // goes on where it was
                               Series whole;
                               whole.Start();
                               whole.Add(before);
                               whole.Frame = TexturedImage(kWidth, kHeight, KyiFormatBgr24, 5);
                               whole.Add(1);
                               EXPECT_TRUE(SameImage(*whole.Result(), *series->Result()));
                           }};
            }};
}

std::vector<MemoryCase> HalationCases() {
    const auto plain = [](std::string call, std::function<Outcome(Series&)> run) {
        return MemoryCase{std::move(call), "", KyfResultOk, {}, [run] {
                              auto series = std::make_shared<Series>();
                              series->Start();
                              series->Add(2);
                              return Try{[=] { return run(*series); }, [series](Outcome) {}};
                          }};
    };
    return {On<Nothing>("KyfAllocHalationRemoval", "", 1, {kNull},
                        [](Nothing&) {
                            KyfHalationRemoval* const record = KyfAllocHalationRemoval();
                            const Outcome outcome = record ? 1 : kNull;
                            KyfFreeHalationRemoval(record);
                            return outcome;
                        }),
            AddsHalation(0, 0),
            AddsHalation(1, 0),
            AddsHalation(1, 1),
            plain("KyfFreeHalationRemoval",
                  [](Series& series) { return KyfFreeHalationRemoval(std::exchange(series.Record, nullptr)), 1; }),
            plain("KyfHalationInitialize", [](Series& series) { return KyfHalationInitialize(series.Record); }),
            plain("KyfHalationStart",
                  [](Series& series) {
                      const KyfHalationParameter parameter{120, 60, 60};
                      KyfHalationInitialize(series.Record);
                      return KyfHalationStart(series.Record, &parameter);
                  }),
            plain("KyfHalationTerminate", [](Series& series) { return KyfHalationTerminate(series.Record); }),
            plain("KyfHalationGetRemovalImage",
                  [](Series& series) {
                      KyiImageData* image = nullptr;
                      return KyfHalationGetRemovalImage(series.Record, &image);
                  }),
            plain("KyfHalationExtractRemovalImage", [](Series& series) {
                KyiImageData* image = nullptr;
                const KyfResult result = KyfHalationExtractRemovalImage(series.Record, &image);
                KyiFreeImageData(image);
                return result;
            })};
}

// ---- heights of the host's own --------------------------------------------------------------------------------------

struct Heights {
    std::vector<double> Values = std::vector<double>(kWidth * kHeight, 2.0);
    std::vector<std::int32_t> Focus = std::vector<std::int32_t>(kWidth * kHeight, 200);
    std::vector<double*> Rows;
    std::vector<std::int32_t*> FocusRows;
    KyfHeightNoiseCutData Data{};
    Image Shown = TexturedImage(kWidth, kHeight, KyiFormatGray8, 3);
    Image Before = TexturedImage(kWidth, kHeight, KyiFormatGray8, 3);
    KyiImageData* Made = nullptr;

    Heights() {
        for (std::int32_t y = 0; y < kHeight; ++y) {
            Rows.push_back(Values.data() + y * kWidth);
            FocusRows.push_back(Focus.data() + y * kWidth);
        }
        for (std::size_t i = 0; i < Values.size(); ++i) Values[i] = static_cast<double>(i % 97);
        for (std::size_t i = 0; i < Focus.size(); i += 7) Focus[i] = 3;
        Data.HeightData = {Rows.data(), kWidth, kHeight};
        Data.DifferentiationMap = {FocusRows.data(), kWidth, kHeight, 256};
        Data.Parameter = {0.4, KyfNoiseCutFillNeighbours, 5};
        Data.Step = 1.0;
    }
};

std::vector<MemoryCase> HeightCases() {
    const auto asBefore = [](Heights& heights, Outcome outcome) {
        if (outcome == KyfResultFailAlloc) {
            EXPECT_TRUE(SameImage(*heights.Before, *heights.Shown));
        }
    };
    return {On<Heights>(
                "KyfFilterHeightNoiseCut", "", KyfResultOk, {KyfResultFailAlloc},
                [](Heights& heights) {
                    return KyfFilterHeightNoiseCut(heights.Shown.get(), heights.Shown.get(), &heights.Data, nullptr);
                },
                asBefore),
            On<Heights>("KyfPreviewFilterHeightNoiseCut", "", 1, {1},
                        [](Heights& heights) {
                            KyfPreviewFilterHeightNoiseCut(heights.Shown.get(), heights.Shown.get(), &heights.Data);
                            return 1;
                        }),
            On<Heights>(
                "KyfCreateImageDataFromHeightData", "", 1, {kNull},
                [](Heights& heights) {
                    heights.Made = KyfCreateImageDataFromHeightData(&heights.Data.HeightData, KyiFormatGray16, nullptr);
                    return heights.Made ? 1 : kNull;
                },
                [](Heights& heights, Outcome) { KyiFreeImageData(heights.Made); }),
            Plain("KyfFreeHeightData",
                  [] {
                      KyfImageData none{};
                      KyfFreeHeightData(&none);
                  }),
            Plain("KyfFreeHeightData16bit",
                  [] {
                      KyfHeightData16bit none{};
                      KyfFreeHeightData16bit(&none);
                  }),
            Plain("KyfFreeDifferentiationMap",
                  [] {
                      KyfDifferentiationMap none{};
                      KyfFreeDifferentiationMap(&none);
                  }),
            Plain("KyfFreeDifferentiationMap8Bit", [] {
                KyfDifferentiationMap8Bit none{};
                KyfFreeDifferentiationMap8Bit(&none);
            })};
}

// ---- whole compositions of files ------------------------------------------------------------------------------------

struct FileStack {
    TemporaryFolder Folder;
    std::wstring TempFolder = (Folder.Path() / "temp").wstring();
    std::vector<std::wstring> Paths;
    std::vector<KyfFocusCompositionFile> Files;
    KyfFileFocusCompositionParameter Parameter{};
    KyfFileFocusCompositionResult Result{};
    test::Session Composed;
    Progress Node = MakeProgress();

    FileStack() {
        for (std::uint32_t i = 0; i < 3; ++i) {
            Paths.push_back((Folder.Path() / ("frame" + std::to_string(i) + (i == 1 ? ".png" : ".tif"))).wstring());
            KyiSaveImageData(Paths.back().c_str(), TexturedImage(kWidth, kHeight, KyiFormatBgr24, i + 1).get(), 0);
        }
        for (const std::wstring& path : Paths) Files.push_back({path.c_str(), 2.0 * static_cast<double>(Files.size())});
        Parameter.Init.TempFolder = TempFolder.c_str();
        Parameter.Init.DisableGPU = 1;
        Parameter.Param2D = Defaults<KyfFocusComposition2DSelectionParameter>(2);
        Parameter.Param3D = Defaults<KyfFocusComposition3DSelectionParameter>(2);
        Parameter.Files = Files.data();
        Parameter.FileCount = 3;
        Parameter.WantHeightData = Parameter.WantDifferentiationMap = 1;
    }
    /// By single calls, with 2D selection.
    void Compose() {
        Composed = MakeSession();
        KyfFocusStart2DSelection(Composed.get(), &Parameter.Param2D);
        for (const KyfFocusCompositionFile& file : Files)
            KyfFocusAddImageFileWidthHeight(Composed.get(), file.Path, file.Height, 0, nullptr);
        KyfFocusMakeCompImage(Composed.get(), 0, nullptr);
    }
    FileStack(const FileStack&) = delete;
    FileStack& operator=(const FileStack&) = delete;
    ~FileStack() { KyfFreeFileFocusCompositionResult(&Result); }
};

/// The image is whole. Heights may be missing, as after KyfFocusMakeCompImage, but are never wrong.
void ExpectComposed(FileStack& stack) {
    stack.Compose();
    KyiImageData* image = nullptr;
    KyfFocusGetCompImage(stack.Composed.get(), &image);
    EXPECT_TRUE(SameImage(*image, *stack.Result.Image));
    KyfImageData heights{};
    KyfFocusExtractCuttedHeightData(stack.Composed.get(), &heights);
    for (std::int32_t y = 0; stack.Result.CuttedHeightData && y < heights.Height; ++y)
        EXPECT_EQ(std::memcmp(heights.Rows[y], stack.Result.CuttedHeightData[y],
                              static_cast<std::size_t>(heights.Width) * sizeof(double)),
                  0);
    KyfFreeHeightData(&heights);
}

MemoryCase Composes(std::int32_t algType, std::set<Outcome> ran) {
    return On<FileStack>(
        "KyfExecuteFileFocusComposition", "type " + std::to_string(algType), KyfResultOk, std::move(ran),
        [algType](FileStack& stack) {
            stack.Parameter.AlgType = algType;
            return KyfExecuteFileFocusComposition(&stack.Parameter, &stack.Result, 0, stack.Node.get());
        },
        [algType](FileStack& stack, Outcome outcome) {
            ASSERT_EQ(stack.Result.Image != nullptr, outcome == KyfResultOk);
            if (algType == 0 && outcome == KyfResultOk) ExpectComposed(stack);
            EXPECT_EQ(stack.Node->Completed != 0, outcome == KyfResultOk);
            const std::filesystem::path folder = stack.TempFolder;
            EXPECT_TRUE(!std::filesystem::exists(folder) || std::filesystem::is_empty(folder));
        });
}

std::vector<MemoryCase> FileCases() {
    const auto takes = [](KyiBool wantAntiNoise) {
        return MemoryCase{"KyfGetFileFocusCompositionResult", wantAntiNoise ? "smoothed" : "", 1, {}, [wantAntiNoise] {
                              auto stack = std::make_shared<FileStack>();
                              stack->Compose();
                              return Try{[=] {
                                             const std::int32_t wants[2] = {1, 1};
                                             KyfGetFileFocusCompositionResult(stack->Composed.get(), 0, wants,
                                                                              wantAntiNoise, &stack->Result);
                                             return 1;
                                         },
                                         [stack](Outcome) { EXPECT_NE(stack->Result.Image, nullptr); }};
                          }};
    };
    return {Composes(0, {KyfResultOk, KyfResultFailAlloc, KyfResultFailFile}),
            Composes(1, {KyfResultOk, KyfResultFailAlloc, KyfResultFailFile}),
            Composes(2, {KyfResultOk, KyfResultFailAlloc, KyfResultFailFile}),
            takes(0),
            takes(1),
            Plain("KyfFreeFileFocusCompositionResult", [] {
                KyfFileFocusCompositionResult none{};
                KyfFreeFileFocusCompositionResult(&none);
            })};
}

// ---- settings -------------------------------------------------------------------------------------------------------

struct SettingsFile {
    TemporaryFolder Folder;
    std::filesystem::path Path = Folder.Path() / "a file with a name that no short text holds.ini";
    std::wstring Name = Path.wstring();
    KyfFocusCompositionParameter Old = CKyfFocusCompositionSetting().Get();
    KyfFocusCompositionParameter New = Old;
    KyfFocusCompositionParameter Read{};
    CKyfFocusCompositionSetting Setting;

    SettingsFile() {
        Old.Speed = 2;
        New.CompSize = 77;
        KyfSaveFocusCompositionParameter(&Old, Name.c_str());
    }
    static bool Same(const KyfFocusCompositionParameter& left, const KyfFocusCompositionParameter& right) {
        return std::memcmp(&left, &right, sizeof left) == 0;
    }
    /// The whole old file or the whole new one, and no other beside it.
    void ExpectWhole() const {
        KyfFocusCompositionParameter found{};
        KyfLoadFocusCompositionParameter(&found, Name.c_str());
        EXPECT_TRUE(Same(found, Old) || Same(found, New));
        const std::filesystem::directory_iterator files(Folder.Path());
        EXPECT_EQ(std::distance(files, std::filesystem::directory_iterator()), 1);
    }
};

std::vector<MemoryCase> SettingCases() {
    return {
        On<SettingsFile>(
            "KyfLoadFocusCompositionParameter", "", 1, {kNull},
            [](SettingsFile& file) {
                KyfLoadFocusCompositionParameter(&file.Read, file.Name.c_str());
                return SettingsFile::Same(file.Read, file.Old) ? 1 : kNull;
            },
            [](SettingsFile& file, Outcome outcome) {
                if (outcome == kNull) {
                    EXPECT_TRUE(SettingsFile::Same(file.Read, CKyfFocusCompositionSetting().Get()));
                }
            }),
        On<SettingsFile>(
            "KyfSaveFocusCompositionParameter", "", 1, {1},
            [](SettingsFile& file) { return KyfSaveFocusCompositionParameter(&file.New, file.Name.c_str()), 1; },
            [](SettingsFile& file, Outcome) { file.ExpectWhole(); }),
        On<SettingsFile>("CKyfFocusCompositionSettingPersister", "Load", 1, {1},
                         [](SettingsFile& file) {
                             CKyfFocusCompositionSettingPersister::Load(file.Name, file.Setting);
                             return 1;
                         }),
        On<SettingsFile>(
            "CKyfFocusCompositionSettingPersister", "Save", 1, {1},
            [](SettingsFile& file) { return CKyfFocusCompositionSettingPersister::Save(file.Name, file.Setting), 1; },
            [](SettingsFile& file, Outcome outcome) {
                file.New = file.Setting.Get();
                if (outcome == 1) file.ExpectWhole();
            }),
        On<SettingsFile>("CKyfFocusCompositionSetting", "", 1, {},
                         [](SettingsFile& file) {
                             CKyfFocusCompositionSetting copy(file.Setting);
                             copy.SetAreaPos(2, {1, 2});
                             file.Setting = copy;
                             return 1;
                         }),
        On<SettingsFile>("KyfSet3DSelectionParameter", "", 1, {}, [](SettingsFile& file) {
            KyfFocusComposition3DSelectionParameter projection{};
            return KyfSet3DSelectionParameter(&file.Old, &projection), 1;
        })};
}

// ---- the process ----------------------------------------------------------------------------------------------------

/// One folder for all tries: the environment keeps every text that it has ever held.
const std::filesystem::path& ConfigFolder() {
    static const TemporaryFolder folder;
    return folder.Path();
}

struct Home {
    Home() {
        const std::filesystem::path inside = ConfigFolder() / "Tessly Corporation" / "KYFoucs";
        std::filesystem::create_directories(inside);
        std::ofstream(inside / "KYFocus.ini") << "[Debug]\nLog=1\n";
        setenv("XDG_CONFIG_HOME", ConfigFolder().c_str(), 1);
    }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    ~Home() {
        KyiSetPuttingTraceLog(0);
        KyiSetTraceLogFolder(L"");
        unsetenv("XDG_CONFIG_HOME");
    }
};

void* LoadNone(const wchar_t*) { return nullptr; }
void UnloadNone(void*) {}

/// After the first answer no memory is asked for. The loader keeps what it has opened, and why it has not.
MemoryCase AsksFor(std::string call, bool (*ask)()) {
    MemoryCase asks = On<Nothing>(std::move(call), "", kNull, {}, [ask](Nothing&) { return ask() ? 1 : kNull; });
    asks.IsKeeping = true;
    return asks;
}

std::vector<MemoryCase> ProcessCases() {
    static constexpr const wchar_t* kName = L"a name that is longer than what a short text holds.dll";
    return {On<Home>("KyfDllInitialize", "", 1, {kNull, 1},
                     [](Home&) {
                         KyiSetPuttingTraceLog(0);
                         KyfDllInitialize(nullptr);
                         return KyiIsPuttingTraceLog() ? 1 : kNull;
                     }),
            Plain("KyfSetParallelProcImageSize", [] { KyfSetParallelProcImageSize(0); }),
            Plain("KyfSetIntermediateCodePath", [] { KyfSetIntermediateCodePath(L"/a/folder/that/is/not/there"); }),
            Plain("KyfSetLanguageType", [] { KyfSetLanguageType(0); }),
            On<Nothing>(
                "KyfSetResourceName", "", 1, {}, [](Nothing&) { return KyfSetResourceName(kName), 1; },
                [](Nothing&, Outcome) { KyfSetLanguageType(0); }),
            Plain("KyfSetResourceLoader", [] { KyfSetResourceLoader(LoadNone, UnloadNone); }),
            Plain("KyfGetCurrentResource", [] { KyfGetCurrentResource(); }),
            On<Nothing>("CKYFocusResource", "", 1, {},
                        [](Nothing&) {
                            const CKYFocusResource resource;
                            return 1;
                        }),
            AsksFor("KyfGetEnableGpuCuda", KyfGetEnableGpuCuda),
            AsksFor("KyfGetEnableGpuOpenCl", KyfGetEnableGpuOpenCl)};
}

} // namespace

std::vector<MemoryCase> OtherMemoryCases() {
    std::vector<MemoryCase> cases;
    for (const auto& more :
         {ProgressCases(), HalationCases(), HeightCases(), FileCases(), SettingCases(), ProcessCases()})
        cases.insert(cases.end(), more.begin(), more.end());
    return cases;
}

} // namespace test
