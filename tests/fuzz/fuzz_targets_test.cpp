// A fuzz target over its seeds and over the same few thousand changes to them. A law that breaks aborts the program.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<std::string> ReadSeeds(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<std::string> seeds;
    for (const fs::path& file : files) {
        std::ifstream stream(file, std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return seeds;
}

void RunOn(const std::string& bytes) {
    // A copy of exactly this size, so that the address checks see a step beyond it.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
}

/// Texts that mean something to the target.
const std::string kTokens[] = {"[",
                               "]",
                               "=",
                               "\r",
                               "\n",
                               "\r\n",
                               "\"",
                               ";",
                               "Speed=",
                               "AlgType=",
                               "DisableGPU= 1",
                               std::string(1, '\0'),
                               "\xFF\xFE",
                               "\xEF\xBB\xBF",
                               "\xFE\xFF",
                               "[FocusCompositionSetting]"};

class Changes {
  public:
    explicit Changes(std::uint32_t seed) : m_random(seed) {}

    std::string Apply(std::string bytes) {
        for (std::size_t count = 1 + Below(4); count > 0; --count) ApplyOne(bytes);
        return bytes;
    }

  private:
    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    void ApplyOne(std::string& bytes) {
        const std::size_t at = Below(bytes.size() + 1);
        switch (Below(4)) {
        case 0: bytes.insert(at, kTokens[Below(std::size(kTokens))]); break;
        case 1: bytes.erase(at, 1 + Below(16)); break;
        case 2: bytes.insert(at, bytes.substr(Below(bytes.size() + 1), Below(40))); break;
        default:
            if (at < bytes.size()) bytes[at] = static_cast<char>(m_random());
        }
    }

    std::mt19937 m_random;
};

TEST(ProfileFuzz, HoldsForEverySeedAndItsChanges) {
    const std::vector<std::string> seeds = ReadSeeds(fs::path(KY_FUZZ_FOLDER) / "platform" / "profile_seeds");
    ASSERT_GE(seeds.size(), 8U);
    constexpr std::uint32_t kChanges = 1500;
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        RunOn(seeds[i]);
        Changes changes(static_cast<std::uint32_t>(i));
        for (std::uint32_t change = 0; change < kChanges; ++change) RunOn(changes.Apply(seeds[i]));
    }
}

} // namespace
