// Every allocation of loading and saving parameters fails once. A binary of its own: it takes the place of the
// allocators.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <kyfocus/setting_persister.h>

#include "support/case_files.h"
#include "support/failing_allocations.h"

namespace {

namespace fs = std::filesystem;
using Parameter = KyfFocusCompositionParameter;

constexpr int kMostAllocations = 5000;
constexpr int kFewestAllocations = 10;

bool SameRecord(const Parameter& left, const Parameter& right) {
    return std::memcmp(&left, &right, sizeof left) == 0; // all members are 32 bits wide: no padding
}

class SettingsMemory : public testing::Test {
  protected:
    SettingsMemory() : m_path((m_folder.Path() / "a file with a name that no short text holds.ini").wstring()) {
        m_old.Speed = 2;
        m_old.AlgType = 2;
        m_new.Speed = 0;
        m_new.CompSize = 77;
        KyfSaveFocusCompositionParameter(&m_old, m_path.c_str());
    }
    void SetUp() override {
        if (KY_OWN_OPERATORS == 0) GTEST_SKIP() << "the allocator is the checker's";
    }

    Parameter Load() const {
        Parameter parameter{};
        KyfLoadFocusCompositionParameter(&parameter, m_path.c_str());
        return parameter;
    }
    std::ptrdiff_t FileCount() const {
        return std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator());
    }

    test::TemporaryFolder m_folder;
    std::wstring m_path;
    Parameter m_old = CKyfFocusCompositionSetting().Get();
    Parameter m_new = CKyfFocusCompositionSetting().Get();
};

TEST_F(SettingsMemory, ALoadGivesTheFileOrTheDefaults) {
    const Parameter defaults = CKyfFocusCompositionSetting().Get();
    int n = 0;
    for (; n < kMostAllocations; ++n) {
        const Parameter loaded = test::RunWithAllocations(n, [&] { return Load(); });
        if (SameRecord(loaded, m_old)) break;
        ASSERT_TRUE(SameRecord(loaded, defaults)) << n;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GT(n, kFewestAllocations) << "too few allocations were seen";
}

TEST_F(SettingsMemory, ASaveLeavesTheOldFileOrTheNewOne) {
    int n = 0;
    for (bool isSaved = false; !isSaved && n < kMostAllocations; ++n) {
        test::RunWithAllocations(n, [&] {
            KyfSaveFocusCompositionParameter(&m_new, m_path.c_str());
            return 0;
        });
        isSaved = SameRecord(Load(), m_new);
        ASSERT_TRUE(isSaved || SameRecord(Load(), m_old)) << n;
        ASSERT_EQ(FileCount(), 1) << n;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GT(n, kFewestAllocations) << "too few allocations were seen";
}

TEST_F(SettingsMemory, OneFailureOfASaveLeavesTheOldFileOrTheNewOne) {
    bool hasFailed = true;
    int n = 0;
    int oldOnes = 0;
    for (; hasFailed && n < kMostAllocations; ++n) {
        KyfSaveFocusCompositionParameter(&m_old, m_path.c_str());
        test::RunWithOneFailure(n, hasFailed, [&] {
            KyfSaveFocusCompositionParameter(&m_new, m_path.c_str());
            return 0;
        });
        const bool isOld = SameRecord(Load(), m_old);
        ASSERT_TRUE(isOld || SameRecord(Load(), m_new)) << n;
        ASSERT_EQ(FileCount(), 1) << n;
        oldOnes += isOld ? 1 : 0;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GT(oldOnes, kFewestAllocations);
}

} // namespace
