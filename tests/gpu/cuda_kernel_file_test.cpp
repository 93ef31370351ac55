// The compiled kernels: a container of images, one of machine code for each architecture and one of portable code.
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t kMagic = 0xBA55ED50;
constexpr std::uint16_t kPortable = 1;
constexpr std::uint16_t kMachineCode = 2;

struct Entry {
    std::uint16_t Kind;
    std::uint32_t Architecture;
    std::string Content;
};

template <typename T> T Read(const std::string& bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.substr(at, sizeof(T)).data(), sizeof(T));
    return value;
}

// Entries follow the head: kind at 0, length of the entry's own head at 4, of its content at 8, architecture at 28.
std::vector<Entry> ReadEntries() {
    std::ifstream file(KY_KERNEL_FILE, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::vector<Entry> entries;
    if (bytes.size() < 16 || Read<std::uint32_t>(bytes, 0) != kMagic) return entries;
    for (std::size_t at = Read<std::uint16_t>(bytes, 6); at + 64 <= bytes.size();) {
        const auto head = Read<std::uint32_t>(bytes, at + 4);
        const auto length = static_cast<std::size_t>(Read<std::uint64_t>(bytes, at + 8));
        entries.push_back(
            {Read<std::uint16_t>(bytes, at), Read<std::uint32_t>(bytes, at + 28), bytes.substr(at + head, length)});
        at += head + length;
    }
    return entries;
}

std::set<std::uint32_t> ArchitecturesOfTheCompiler() {
    std::istringstream list(KY_CUDA_ARCHITECTURES);
    return {std::istream_iterator<std::uint32_t>(list), {}};
}

TEST(CudaKernelFileContent, HasMachineCodeForEveryArchitectureThatTheCompilerKnows) {
    std::set<std::uint32_t> architectures;
    for (const Entry& entry : ReadEntries())
        if (entry.Kind == kMachineCode) architectures.insert(entry.Architecture);
    EXPECT_EQ(architectures, ArchitecturesOfTheCompiler());
    EXPECT_FALSE(architectures.empty());
}

TEST(CudaKernelFileContent, HasPortableCodeFromTuringOn) {
    int count = 0;
    for (const Entry& entry : ReadEntries()) {
        if (entry.Kind != kPortable) continue;
        ++count;
        EXPECT_EQ(entry.Architecture, 75U);
        EXPECT_NE(entry.Content.find(".target sm_75"), std::string::npos);
    }
    EXPECT_EQ(count, 1);
}

TEST(CudaKernelFileContent, HasEveryKernelByItsName) {
    for (const Entry& entry : ReadEntries()) {
        for (const char* const name :
             {"reduction_down_ave", "copy_green", "multi_filter", "high_pass_filter", "total_data", "middle_filter"}) {
            const std::string mark =
                entry.Kind == kPortable ? ".entry " + std::string(name) + "(" : ".text." + std::string(name);
            EXPECT_NE(entry.Content.find(mark), std::string::npos) << name << ", architecture " << entry.Architecture;
        }
    }
}

// Doubles are divided and rooted by the rule, and no multiplication is joined with an addition.
TEST(CudaKernelFileContent, RoundsAfterEveryOperation) {
    for (const Entry& entry : ReadEntries()) {
        if (entry.Kind != kPortable) continue;
        for (const char* const wanted : {"mul.rn.f64", "add.rn.f64", "div.rn.f64", "sqrt.rn.f64"})
            EXPECT_NE(entry.Content.find(wanted), std::string::npos) << wanted;
        EXPECT_EQ(entry.Content.find("fma."), std::string::npos);
        EXPECT_EQ(entry.Content.find("mad.f"), std::string::npos);
    }
}

} // namespace
