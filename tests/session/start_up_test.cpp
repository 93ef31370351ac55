// What belongs to the process: trace switch, names, folders, the resource module.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/resource.h>

#include "filters/filters.h"
#include "gpu/intermediate_code_path.h"
#include "platform/folders.h"
#include "session/sessions.h"
#include "session/start_up.h"

namespace {

namespace fs = std::filesystem;

/// An environment variable with another value, put back at the end.
class Environment {
  public:
    Environment(const char* name, const std::string& value) : m_name(name) {
        if (const char* const old = std::getenv(name)) m_old = old;
        setenv(name, value.c_str(), 1);
    }
    ~Environment() {
        if (m_old.empty())
            unsetenv(m_name);
        else
            setenv(m_name, m_old.c_str(), 1);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

  private:
    const char* m_name;
    std::string m_old;
};

/// A per-user folder of the test's own; the trace is off again at the end.
class PerUser {
  public:
    PerUser() : m_environment("XDG_CONFIG_HOME", m_folder.Path().string()) {}
    ~PerUser() {
        KyiSetPuttingTraceLog(0);
        KyiSetTraceLogFolder(L"");
    }
    PerUser(const PerUser&) = delete;
    PerUser& operator=(const PerUser&) = delete;

    fs::path Path() const { return m_folder.Path() / "Tessly Corporation" / "KYFoucs"; }
    void CopyProfile(const fs::path& file) const {
        fs::create_directories(Path());
        fs::copy_file(file, Path() / "KYFocus.ini");
    }
    void WriteProfile(const std::string& text) const {
        fs::create_directories(Path());
        std::ofstream(Path() / "KYFocus.ini") << text;
    }

  private:
    test::TemporaryFolder m_folder;
    Environment m_environment;
};

class TraceSwitchCases : public testing::TestWithParam<std::string> {};

TEST_P(TraceSwitchCases, IsReadAtStartUp) {
    const test::Case recorded = test::LoadCase("settings", GetParam());
    const bool isOn = recorded.Json.at("on").get<int>() != 0;
    const PerUser user;
    if (recorded.Json.at("file").get<int>() != 0) user.CopyProfile(recorded.File("KYFocus.ini"));
    KyiSetPuttingTraceLog(isOn ? 0 : 1);
    KyfDllInitialize(L"not used");
    EXPECT_EQ(KyiIsPuttingTraceLog() != 0, isOn);
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, TraceSwitchCases, testing::ValuesIn(test::CaseNames("settings", "trace_switch")),
                         Name);

TEST(StartUp, WritesTheLogIntoThePerUserFolder) {
    const PerUser user;
    user.WriteProfile("[Debug]\nLog=1\n");
    KyfDllInitialize(nullptr);
    const test::Session session = test::MakeSession();
    const auto parameter = test::Defaults<KyfFocusComposition3DSelectionParameter>();
    KyfFocusStart3DSafe(session.get(), &parameter);
    const test::Image frame = test::RandomImage(8, 8, KyiFormatGray8, 1);
    KyfFocusAddImage(session.get(), frame.get(), 0, nullptr);
    std::ifstream log(user.Path() / "kyimaging.log");
    const std::string text((std::istreambuf_iterator<char>(log)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("Kyf3DSafeAddImage( KyfFocusComposition*, KyiImageData*, BOOL, BOOL&, BOOL, KyfProgress* )"),
              std::string::npos)
        << text;
}

TEST(StartUp, DoesNotMakeThePerUserFolder) {
    const PerUser user;
    KyfDllInitialize(L"");
    EXPECT_FALSE(fs::exists(user.Path()));
}

TEST(StartUp, CanRunAgain) {
    const PerUser user;
    user.WriteProfile("[Debug]\nLog=2\n");
    KyfDllInitialize(L"");
    EXPECT_TRUE(KyiIsPuttingTraceLog());
    user.WriteProfile("[Debug]\nLog=0\n");
    KyfDllInitialize(L"");
    EXPECT_FALSE(KyiIsPuttingTraceLog());
}

TEST(StartUp, TakesNoSettingFromTheWorkingFolder) {
    const PerUser user;
    user.WriteProfile("[Debug]\nLog=1\n");
    const Environment home("HOME", "");
    const Environment config("XDG_CONFIG_HOME", "");
    const fs::path before = fs::current_path();
    fs::current_path(user.Path());
    KyfDllInitialize(L"");
    fs::current_path(before);
    EXPECT_FALSE(KyiIsPuttingTraceLog());
}

TEST(Switches, ParallelImageSizeIsStored) {
    KyfSetParallelProcImageSize(4000000000U);
    EXPECT_EQ(kyf::g_parallelProcImageSize, 4000000000U);
    KyfSetParallelProcImageSize(0);
    EXPECT_EQ(kyf::g_parallelProcImageSize, 0U);
}

TEST(Switches, IntermediateCodePathStartsInTheUsersCacheFolder) {
    EXPECT_EQ(std::wstring(kyf::IntermediateCodePath()), platform::IntermediateCodeFolder());
}

TEST(Switches, IntermediateCodePathIsCutToItsCapacity) {
    const std::wstring before = kyf::IntermediateCodePath();
    const std::wstring longPath(700, L'q');
    KyfSetIntermediateCodePath(longPath.c_str());
    EXPECT_EQ(std::wstring(kyf::IntermediateCodePath()), longPath.substr(0, KyfMaxPath - 1));
    KyfSetIntermediateCodePath(nullptr);
    EXPECT_EQ(std::wstring(kyf::IntermediateCodePath()), longPath.substr(0, KyfMaxPath - 1));
    KyfSetIntermediateCodePath(before.c_str());
    EXPECT_EQ(std::wstring(kyf::IntermediateCodePath()), before);
}

TEST(MemorySize, IsTheWorkingSizeOfTheModesPipeline) {
    const test::Session session = test::Make2DSession(/*speed=*/1);
    const test::Image frame = test::TexturedImage(100, 75, KyiFormatGray8, 4);
    ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    session->State3D.WorkWidth = 512;
    session->State3D.WorkHeight = 384;
    std::int32_t width = 0;
    std::int32_t height = 0;
    ASSERT_EQ(KyfFocusGetMemorySize(session.get(), &width, &height), KyfResultOk);
    EXPECT_EQ(width, 50);
    EXPECT_EQ(height, 37);
    session->Mode = KyfMode3DSafe;
    ASSERT_EQ(KyfFocusGetMemorySize(session.get(), &width, &height), KyfResultOk);
    EXPECT_EQ(width, 512);
    EXPECT_EQ(height, 384);
    EXPECT_EQ(KyfFocusGetMemorySize(nullptr, &width, &height), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusGetMemorySize(session.get(), nullptr, &height), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusGetMemorySize(session.get(), &width, nullptr), KyfResultInvalidParameter);
}

/// Modules by name: every name that begins with "KYF" is there, as a number.
struct FakeModules {
    static void* Load(const wchar_t* name) {
        Loaded.emplace_back(name);
        return Loaded.back().starts_with(L"KYF") ? &Modules[Loaded.size()] : nullptr;
    }
    static void Unload(void* module) { Unloaded.push_back(module); }
    static inline std::vector<std::wstring> Loaded;
    static inline std::vector<void*> Unloaded;
    static inline char Modules[64];
};

class Resource : public testing::Test {
  protected:
    Resource() {
        FakeModules::Loaded.clear();
        FakeModules::Unloaded.clear();
        KyfSetResourceLoader(&FakeModules::Load, &FakeModules::Unload);
        KyfSetResourceName(L"");
    }
    ~Resource() override {
        KyfSetResourceLoader(nullptr, nullptr);
        KyfSetResourceName(nullptr);
    }
};

TEST_F(Resource, NamesFollowTheLanguageNumbers) {
    const nlohmann::json json = test::LoadCase("settings", "language_numbers").Json;
    for (const auto& step : json.at("steps")) {
        KyfSetLanguageType(step.at(0));
        const std::string expected = step.at(1);
        EXPECT_EQ(kyf::g_resourceName, std::wstring(expected.begin(), expected.end())) << step;
    }
    KyfSetResourceName(L"");
    const std::string byDefault = json.at("loaded_without_a_name");
    const CKYFocusResource resource;
    EXPECT_EQ(FakeModules::Loaded, (std::vector{std::wstring(byDefault.begin(), byDefault.end())}));
    EXPECT_EQ(kyf::g_resourceName, FakeModules::Loaded[0]);
}

TEST_F(Resource, ModulesAreCurrentWhileTheirScopeLasts) {
    void* const own = KyfGetCurrentResource();
    {
        const CKYFocusResource outer;
        void* const first = KyfGetCurrentResource();
        EXPECT_NE(first, own);
        KyfSetLanguageType(0);
        {
            const CKYFocusResource inner;
            EXPECT_NE(KyfGetCurrentResource(), first);
        }
        EXPECT_EQ(KyfGetCurrentResource(), first);
        EXPECT_EQ(FakeModules::Unloaded.size(), 1U);
    }
    EXPECT_EQ(KyfGetCurrentResource(), own);
    EXPECT_EQ(FakeModules::Unloaded.size(), 2U);
}

TEST_F(Resource, AMissingModuleLeavesTheCurrentOneInForce) {
    void* const own = KyfGetCurrentResource();
    KyfSetResourceName(L"missing");
    {
        const CKYFocusResource resource;
        EXPECT_EQ(KyfGetCurrentResource(), own);
    }
    EXPECT_TRUE(FakeModules::Unloaded.empty());
    KyfSetResourceLoader(nullptr, nullptr);
    KyfSetLanguageType(2);
    const CKYFocusResource resource;
    EXPECT_EQ(KyfGetCurrentResource(), own);
}

static_assert(sizeof(CKYFocusResource) == 2 * sizeof(void*));

} // namespace
