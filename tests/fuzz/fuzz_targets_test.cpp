// A fuzz target over its seeds and over the same few thousand changes to them. A law that breaks aborts the program.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::string ReadFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> ReadSeeds() {
    std::ifstream list(KY_FUZZ_SEEDS);
    std::vector<std::string> seeds;
    for (std::string file; std::getline(list, file);)
        if (!file.empty()) seeds.push_back(ReadFile(file));
    return seeds;
}

/// The byte of two hexadecimal digits.
char ByteOf(std::string_view digits) { return static_cast<char>(std::stoi(std::string(digits), nullptr, 16)); }

/// Texts that mean something to the target, from the lines of a dictionary as libFuzzer takes it.
std::vector<std::string> ReadWords() {
    std::vector<std::string> words;
    std::ifstream stream(KY_FUZZ_WORDS);
    for (std::string line; std::getline(stream, line);) {
        if (line.size() < 2 || line.front() != '"') continue;
        std::string word;
        for (std::size_t at = 1; at + 1 < line.size(); ++at) {
            const bool isByte = line.compare(at, 2, "\\x") == 0;
            if (line[at] == '\\' && !isByte) ++at;
            word += isByte ? ByteOf(std::string_view(line).substr(at + 2, 2)) : line[at];
            if (isByte) at += 3;
        }
        words.push_back(word);
    }
    // Numbers that sizes and counts stumble over.
    for (const std::string_view number : {std::string_view("\0\0\0\0", 4), std::string_view("\xFF\xFF\xFF\xFF", 4),
                                          std::string_view("\xFF\xFF\xFF\x7F", 4), std::string_view("\0\0\0\x80", 4)})
        words.emplace_back(number);
    return words;
}

void RunOn(const std::string& bytes) {
    // A copy of exactly this size, so that the address checks see a step beyond it.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
}

class Changes {
  public:
    Changes(std::uint32_t seed, const std::vector<std::string>& words) : m_random(seed), m_words(words) {}

    std::string Apply(std::string bytes) {
        for (std::size_t count = 1 + Below(4); count > 0; --count) ApplyOne(bytes);
        return bytes;
    }

  private:
    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    void ApplyOne(std::string& bytes) {
        const std::size_t at = Below(bytes.size() + 1);
        const std::string& word = m_words[Below(m_words.size())];
        switch (Below(6)) {
        case 0: bytes.insert(at, word); break;
        case 1: bytes.replace(at, word.size(), word); break;
        case 2: bytes.erase(at, 1 + Below(16)); break;
        case 3: bytes.insert(at, bytes.substr(Below(bytes.size() + 1), Below(40))); break;
        default:
            if (at < bytes.size()) bytes[at] = static_cast<char>(m_random());
        }
    }

    std::mt19937 m_random;
    const std::vector<std::string>& m_words;
};

TEST(FuzzTarget, HoldsForEverySeedAndItsChanges) {
    const std::vector<std::string> seeds = ReadSeeds();
    ASSERT_GE(seeds.size(), 4U);
    const std::vector<std::string> words = ReadWords();
    const std::size_t changesPerSeed = 1 + KY_FUZZ_CHANGES / seeds.size();
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        RunOn(seeds[i]);
        Changes changes(static_cast<std::uint32_t>(i), words);
        for (std::size_t change = 0; change < changesPerSeed; ++change) RunOn(changes.Apply(seeds[i]));
    }
}

} // namespace
