// Every allocation of a composition of files fails once. A binary of its own: it takes the place of the allocators.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/file_composition.h>

#include "session/sessions.h"
#include "support/failing_allocations.h"

namespace {

using Parameter = KyfFileFocusCompositionParameter;

constexpr std::int32_t kWidth = 32;
constexpr std::int32_t kHeight = 24;
constexpr int kFrames = 3;
constexpr int kMostAllocations = 20000;
constexpr int kFewestAllocations = KY_OWN_OPERATORS ? 40 : 10;

class FileCompositionMemory : public testing::TestWithParam<std::int32_t> {
  protected:
    FileCompositionMemory() : m_tempFolder((m_folder.Path() / "temp").wstring()) {
        std::filesystem::create_directory(m_folder.Path() / "temp");
        for (int i = 0; i < kFrames; ++i) {
            const std::filesystem::path path = m_folder.Path() / ("frame" + std::to_string(i) + ".bmp");
            const auto seed = static_cast<std::uint32_t>(i + 1);
            const test::Image image = test::TexturedImage(kWidth, kHeight, KyiFormatBgr24, seed);
            KyiSaveImageData(path.wstring().c_str(), image.get(), 0);
            m_paths.push_back(path.wstring());
        }
        for (int i = 0; i < kFrames; ++i) m_files.push_back({m_paths[static_cast<std::size_t>(i)].c_str(), 2.0 * i});
        m_parameter.Init.TempFolder = m_tempFolder.c_str();
        m_parameter.Init.DisableGPU = 1;
        m_parameter.AlgType = GetParam();
        m_parameter.Param2D = test::Defaults<KyfFocusComposition2DSelectionParameter>(2);
        m_parameter.Param3D = test::Defaults<KyfFocusComposition3DSelectionParameter>(2);
        m_parameter.Files = m_files.data();
        m_parameter.FileCount = kFrames;
        m_parameter.WantHeightData = 1;
        m_parameter.WantDifferentiationMap = 1;
    }

    /// A record that did not come of it is as it was; one that did is whole. The tree is complete only then.
    void ExpectTotal(KyfResult result, KyfFileFocusCompositionResult& record, const test::Progress& progress, int n) {
        KyfFileFocusCompositionResult untouched;
        std::memset(&untouched, 0x5A, sizeof untouched);
        if (result == KyfResultOk) {
            EXPECT_NE(record.Image, nullptr) << n;
            KyfFreeFileFocusCompositionResult(&record);
        } else {
            EXPECT_TRUE(result == KyfResultFailAlloc || result == KyfResultFailFile) << n << ": " << result;
            EXPECT_EQ(std::memcmp(&record, &untouched, sizeof record), 0) << n;
            EXPECT_EQ(progress->Completed, 0) << n;
        }
    }

    /// The record before a call: what is not written shows. Parts that a success may leave out are null.
    KyfFileFocusCompositionResult Before() const {
        KyfFileFocusCompositionResult record;
        std::memset(&record, 0x5A, sizeof record);
        return record;
    }

    KyfResult Run(KyfFileFocusCompositionResult& record, const test::Progress& progress) {
        return KyfExecuteFileFocusComposition(&m_parameter, &record, 0, progress.get());
    }

    test::TemporaryFolder m_folder;
    std::wstring m_tempFolder;
    std::vector<std::wstring> m_paths;
    std::vector<KyfFocusCompositionFile> m_files;
    Parameter m_parameter{};
};

/// Parts that the call did not write hold no pointers to free.
void ForgetUnwritten(KyfFileFocusCompositionResult& record) {
    KyfFileFocusCompositionResult untouched;
    std::memset(&untouched, 0x5A, sizeof untouched);
    if (record.CuttedHeightData == untouched.CuttedHeightData) record.CuttedHeightData = nullptr;
    if (record.CuttedAntNoiseHeightData == untouched.CuttedAntNoiseHeightData)
        record.CuttedAntNoiseHeightData = nullptr;
    if (record.DifferentiationMap.Rows == untouched.DifferentiationMap.Rows) record.DifferentiationMap.Rows = nullptr;
}

TEST_P(FileCompositionMemory, RunningOutGivesAResultAndLeavesTheRecord) {
    int n = 0;
    for (bool isDone = false; !isDone && n < kMostAllocations; ++n) {
        KyfFileFocusCompositionResult record = Before();
        const test::Progress progress = test::MakeProgress();
        const KyfResult result = test::RunWithAllocations(n, [&] { return Run(record, progress); });
        isDone = result == KyfResultOk;
        if (isDone) ForgetUnwritten(record);
        ExpectTotal(result, record, progress, n);
        if (HasFailure()) return;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GT(n, kFewestAllocations) << "too few allocations were seen";
}

TEST_P(FileCompositionMemory, OneFailureGivesAResultAndLeavesTheRecord) {
    bool hasFailed = true;
    int failures = 0;
    int n = 0;
    for (; n < kMostAllocations; ++n) {
        KyfFileFocusCompositionResult record = Before();
        const test::Progress progress = test::MakeProgress();
        const KyfResult result = test::RunWithOneFailure(n, hasFailed, [&] { return Run(record, progress); });
        failures += result == KyfResultOk ? 0 : 1;
        if (result == KyfResultOk) ForgetUnwritten(record);
        ExpectTotal(result, record, progress, n);
        if (HasFailure() || !hasFailed) break;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GT(failures, kFewestAllocations / 2);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Path() / "temp")); // the last run swept it
}

INSTANTIATE_TEST_SUITE_P(Modes, FileCompositionMemory, testing::Values(0, 1, 2, 5));

} // namespace
