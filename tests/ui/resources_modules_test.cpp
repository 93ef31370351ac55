// Language modules: how they are found, loaded in scopes, and refused.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/case_files.h"
#include "ui/resources/resource_check.h"
#include "ui/resources/resources.h"
#include "ui/resources/text_ids.h"
#include "ui/resources_support.h"

namespace {

namespace fs = std::filesystem;
using namespace kyfui;
using Bytes = std::vector<std::uint8_t>;

const QString kEnglish = QStringLiteral("Focus composition");
const QString kJapanese = QStringLiteral("焦点合成");
const QString kKorean = QStringLiteral("초점 합성");

Bytes ReadBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteBytes(const fs::path& file, const Bytes& bytes) {
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

class Modules : public test::WithModules {};

TEST_F(Modules, GiveTheirLanguageWhileTheirScopeLasts) {
    const std::vector<QString> titles = {kEnglish, kJapanese, kKorean, QStringLiteral("景深合成"),
                                         QStringLiteral("景深合成")};
    for (int language = 0; language < 5; ++language) {
        KyfSetLanguageType(language);
        const CKYFocusResource resource;
        EXPECT_NE(KyfGetCurrentResource(), nullptr) << language;
        EXPECT_EQ(Text(kIdParameterDialog), titles[static_cast<std::size_t>(language)]);
        EXPECT_FALSE(Picture(kIdBottomPicture).isNull());
    }
    EXPECT_EQ(KyfGetCurrentResource(), nullptr);
    EXPECT_EQ(Text(kIdParameterDialog), kEnglish);
}

TEST_F(Modules, AreJapaneseWithoutAName) {
    const CKYFocusResource resource;
    EXPECT_EQ(Text(kIdParameterDialog), kJapanese);
}

TEST_F(Modules, NestInEachOther) {
    KyfSetLanguageType(1);
    const CKYFocusResource outer;
    {
        KyfSetLanguageType(2);
        const CKYFocusResource inner;
        EXPECT_EQ(Text(kIdParameterDialog), kKorean);
        {
            const CKYFocusResource again;
            EXPECT_EQ(Text(kIdParameterDialog), kKorean);
        }
        EXPECT_EQ(Text(kIdParameterDialog), kKorean);
    }
    EXPECT_EQ(Text(kIdParameterDialog), kJapanese);
}

TEST_F(Modules, LeaveTheBuiltInTextsInForceWhereThereAreNone) {
    for (const wchar_t* name : {L"KYFResourceXYZ.dll", L"/etc/passwd", L".", L"..", L"\xD800", L"x\n.dll"}) {
        KyfSetResourceName(name);
        const CKYFocusResource resource;
        EXPECT_EQ(KyfGetCurrentResource(), nullptr);
        EXPECT_EQ(Text(kIdParameterDialog), kEnglish);
    }
}

TEST_F(Modules, LeaveTheOuterOneInForceWhereThereIsNoInnerOne) {
    const CKYFocusResource japanese;
    KyfSetResourceName(L"KYFResourceXYZ.dll");
    const CKYFocusResource none;
    EXPECT_EQ(Text(kIdParameterDialog), kJapanese);
}

TEST_F(Modules, MayBeUnloadedTwice) {
    KyfSetLanguageType(1);
    void* const first = LoadModule(L"KYFResourceJPN.dll");
    ASSERT_NE(first, nullptr);
    UnloadModule(first);
    const CKYFocusResource japanese;
    UnloadModule(first); // as by a host that has copied a scope
    EXPECT_NE(KyfGetCurrentResource(), first);
    EXPECT_EQ(Text(kIdParameterDialog), kJapanese);
    UnloadModule(nullptr);
    UnloadModule(KyfGetCurrentResource());
    EXPECT_EQ(Text(kIdParameterDialog), kEnglish);
}

TEST_F(Modules, OfAnotherLoaderAreNotLookedInto) {
    static char s_module = 0;
    KyfSetResourceLoader([](const wchar_t*) -> void* { return &s_module; }, nullptr);
    {
        const CKYFocusResource foreign;
        EXPECT_NE(KyfGetCurrentResource(), nullptr);
        EXPECT_EQ(Text(kIdParameterDialog), kEnglish);
    }
    KyfSetResourceLoader(&LoadModule, &UnloadModule);
}

TEST_F(Modules, LackingEntriesAreCompletedFromTheBuiltInOnes) {
    SetModuleFolders({KY_TEST_MODULES});
    KyfSetResourceName(L"partial.dll"); // compressed, in the latest format
    const CKYFocusResource partial;
    EXPECT_EQ(Text(kIdSpeedFull), QStringLiteral("Langsam"));
    EXPECT_EQ(ToolTip(kIdSpeedFull), QStringLiteral("Zwei\nZeilen und ein \\"));
    EXPECT_EQ(Text(kIdSpeedHalf), QStringLiteral("Standard"));
    EXPECT_EQ(AccessibleName(kIdSpeed), QStringLiteral("Speed"));
    EXPECT_FALSE(Picture(kIdTopPicture).isNull());
}

TEST(ModuleNames, BecomeFilesOfTheModulesFolderAlone) {
    EXPECT_EQ(ModuleFileName(L"KYFResourceJPN.dll"), "KYFResourceJPN.rcc");
    EXPECT_EQ(ModuleFileName(L"KYFResourceJPN"), "KYFResourceJPN.rcc");
    EXPECT_EQ(ModuleFileName(L"a.b.dll"), "a.b.rcc");
    for (const wchar_t* name : {L"", L"/", L"../KYFResourceJPN.dll", L"a/b.dll", L"a\\b.dll", L"\\a.dll", L".dll",
                                L"..", L".hidden.dll", L"C:\\a.dll"})
        EXPECT_EQ(ModuleFileName(name), "");
    EXPECT_EQ(LoadModule(nullptr), nullptr);
}

TEST(ModuleFolders, AreThoseOfTheLibraryAndItsInstallation) {
    const std::vector<std::string> folders = ModuleFolders();
    ASSERT_EQ(folders.size(), 2U);
    EXPECT_EQ(fs::path(folders[0]), fs::read_symlink("/proc/self/exe").parent_path());
    EXPECT_TRUE(folders[1].starts_with(folders[0] + "/..") && folders[1].ends_with("/share/kyfocus")) << folders[1];
}

TEST_F(Modules, AreTakenFromTheFirstFolderThatHasASoundOne) {
    const test::TemporaryFolder first;
    const test::TemporaryFolder second;
    SetModuleFolders({first.Path(), second.Path()});
    KyfSetLanguageType(1);
    fs::copy_file(test::ModuleFile("KOR"), second.Path() / "KYFResourceJPN.rcc");
    {
        const CKYFocusResource resource;
        EXPECT_EQ(Text(kIdParameterDialog), kKorean);
    }
    WriteBytes(first.Path() / "KYFResourceJPN.rcc", {'q', 'r', 'e', 's'});
    {
        const CKYFocusResource resource;
        EXPECT_EQ(Text(kIdParameterDialog), kKorean);
    }
    fs::copy_file(test::ModuleFile("JPN"), first.Path() / "KYFResourceJPN.rcc", fs::copy_options::overwrite_existing);
    const CKYFocusResource resource;
    EXPECT_EQ(Text(kIdParameterDialog), kJapanese);
}

TEST(DamagedModules, AreRefusedWhereverTheyEnd) {
    const Bytes whole = ReadBytes(test::ModuleFile("JPN"));
    ASSERT_TRUE(IsSoundResource(whole));
    for (std::size_t size = 0; size < whole.size(); ++size)
        ASSERT_FALSE(IsSoundResource(std::span(whole).first(size))) << size;
}

TEST(DamagedModules, DoNoHarmWhateverByteIsWrong) {
    const test::TemporaryFolder folder;
    const std::string file = folder.Path() / "damaged.rcc";
    // Qt tells of every content that cannot be unpacked.
    const QtMessageHandler before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    for (const char* name : {KY_TEST_MODULES "/partial.rcc", KY_TEST_MODULES "/plain.rcc"}) {
        const Bytes whole = ReadBytes(name);
        ASSERT_GT(whole.size(), 100U);
        for (std::size_t at = 0; at < whole.size(); ++at) {
            for (const int change : {0x01, 0x80, 0xFF}) {
                Bytes damaged = whole;
                damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ change);
                WriteBytes(file, damaged);
                const auto module = ReadModule(file); // refused, or with another letter
                EXPECT_TRUE(!module || module->Words.Texts.size() <= 2) << at;
            }
        }
    }
    qInstallMessageHandler(before);
}

void PutBig(Bytes& bytes, std::uint64_t value, int count) {
    while (count-- > 0) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * count)));
}

/// A module of `count` entries which share one name and one content.
Bytes SharingModule(std::uint32_t count, std::uint32_t nameLetters, const QByteArray& content, bool isCompressed) {
    constexpr std::uint32_t kHeader = 20;
    constexpr std::uint32_t kNode = 14;
    const std::uint32_t data = kHeader + kNode * (count + 1);
    const std::uint32_t names = data + 4 + static_cast<std::uint32_t>(content.size());
    Bytes file = {'q', 'r', 'e', 's'};
    for (const std::uint32_t number : {1U, kHeader, data, names}) PutBig(file, number, 4);
    PutBig(file, 0, 4);
    PutBig(file, 2, 2); // a folder
    PutBig(file, count, 4);
    PutBig(file, 1, 4); // its first node
    for (std::uint32_t i = 0; i < count; ++i) {
        PutBig(file, 0, 4);
        PutBig(file, isCompressed ? 1 : 0, 2);
        PutBig(file, 0, 4);
        PutBig(file, 0, 4);
    }
    PutBig(file, static_cast<std::uint64_t>(content.size()), 4);
    file.insert(file.end(), content.begin(), content.end());
    PutBig(file, nameLetters, 2);
    PutBig(file, 0, 4);
    for (std::uint32_t i = 0; i < nameLetters; ++i) PutBig(file, 'n', 2);
    return file;
}

TEST(DamagedModules, ThatBecomeLargeWhenTheyAreReadAreRefused) {
    constexpr int kMiB = 1 << 20;
    const QByteArray zeros = qCompress(QByteArray(4 * kMiB - 8, '\0'), 9);
    ASSERT_LT(zeros.size(), 8192);
    EXPECT_TRUE(IsSoundResource(SharingModule(4, 4, zeros, true)));
    EXPECT_FALSE(IsSoundResource(SharingModule(4, 5, zeros, true)));
    EXPECT_FALSE(IsSoundResource(SharingModule(4000, 4, zeros, true)));
    const QByteArray plain(kMiB / 2 - 8, 'x');
    EXPECT_TRUE(IsSoundResource(SharingModule(32, 4, plain, false)));
    EXPECT_FALSE(IsSoundResource(SharingModule(33, 4, plain, false)));
    EXPECT_TRUE(IsSoundResource(SharingModule(256, 32768, QByteArray(), false)));
    EXPECT_FALSE(IsSoundResource(SharingModule(257, 32768, QByteArray(), false)));
    EXPECT_FALSE(IsSoundResource(SharingModule(1, 4, qCompress(QByteArray(16 * kMiB, '\0'), 9), true)));
}

TEST(DamagedModules, WithoutTextsAreRefused) {
    EXPECT_FALSE(ReadModule(KY_TEST_MODULES "/nothing.rcc"));
    EXPECT_FALSE(ReadModule(KY_TEST_MODULES));
    EXPECT_FALSE(ReadModule(KY_TEST_MODULES "/missing.rcc"));
    EXPECT_FALSE(ReadModule("/dev/zero"));
    const test::TemporaryFolder folder;
    const std::string pipe = folder.Path() / "pipe.rcc";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(ReadModule(pipe));
    Bytes large = ReadBytes(test::ModuleFile("JPN"));
    large.resize(kLargestResource + 1);
    WriteBytes(folder.Path() / "large.rcc", large);
    EXPECT_FALSE(ReadModule(folder.Path() / "large.rcc"));
}

} // namespace
