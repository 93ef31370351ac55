/// The file calls: what they refuse, what they tell, and what stays on the disk.
#include "imaging/codec_files.h"

#include <csignal>
#include <fstream>
#include <thread>

#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::Image;

std::vector<std::string> Names(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    return names;
}

/// Files of the process grow to this many bytes at most, as on a disk that is nearly full.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit m_before{};
    void (*m_handler)(int);
};

TEST(FileTypeFromFileName, IsToldByTheExtensionInAnyCase) {
    const std::vector<std::pair<const wchar_t*, int>> names{
        {L"a.bmp", 1},  {L"/x.png/A.BMP", 1}, {L"a.jpg", 2},     {L"a.JPeG", 2}, {L"a.tif", 3},
        {L"a.TIFF", 3}, {L"a.png", 4},        {L"a.png.bmp", 1}, {L"a.pnga", 0}, {L"bmp", 0},
        {L"", 0},       {L"a.bmp ", 0},       {L"a.", 0},        {nullptr, 0}};
    for (const auto& [name, type] : names)
        EXPECT_EQ(type, KyiGetFileTypeFromFileName(name)) << (name ? fs::path(name).string() : "null");
}

TEST(LoadImageData, RefusesWhatIsNoImageFile) {
    const test::TemporaryFolder folder;
    const auto refused = [](const fs::path& file, const std::string& reason) {
        EXPECT_FALSE(test::LoadFile(file));
        EXPECT_NE(test::LastReason().find(reason), std::string::npos) << "said: " << test::LastReason();
    };
    refused(folder.Path() / "none.png", "No such file");
    refused(folder.Path(), "directory");
    refused("/dev/null", "pipes and devices");
    refused("", "no file name");
    test::WriteFile(folder.Path() / "empty", {});
    refused(folder.Path() / "empty", "empty");
    const std::string text = "Lorem ipsum dolor sit amet";
    test::WriteFile(folder.Path() / "text.png", Bytes(text.begin(), text.end()));
    refused(folder.Path() / "text.png", "not a bitmap, TIFF, PNG or JPEG");
    ASSERT_EQ(0, mkfifo((folder.Path() / "pipe").c_str(), 0600));
    refused(folder.Path() / "pipe", "pipes and devices");
}

TEST(LoadImageData, StandsNullArguments) {
    KyiImageData* image = nullptr;
    EXPECT_EQ(0, KyiLoadImageData(nullptr, &image));
    EXPECT_EQ(0, KyiLoadImageData(L"a.png", nullptr));
    EXPECT_EQ(0, KyiLoadBitmap32(nullptr, nullptr));
    EXPECT_NE("", test::LastReason());
}

TEST(LoadBitmap32, TakesBitmapsOnly) {
    const test::TemporaryFolder folder;
    ASSERT_TRUE(test::SaveFile(folder.Path() / "a.png", *test::RandomImage(3, 3, KyiFormatBgr24, 1)));
    KyiImageData* image = nullptr;
    EXPECT_EQ(0, KyiLoadBitmap32((folder.Path() / "a.png").wstring().c_str(), &image));
    EXPECT_EQ(nullptr, image);
    EXPECT_EQ("the file is not a bitmap", test::LastReason());
}

TEST(SaveImageData, RefusesWhatItCannotSave) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(3, 3, KyiFormatBgr24, 1);
    EXPECT_EQ(0, KyiSaveImageData((folder.Path() / "a.png").wstring().c_str(), nullptr, 0));
    EXPECT_EQ(0, KyiSaveImageData(nullptr, image.get(), 0));
    EXPECT_FALSE(test::SaveFile(folder.Path() / "a.gif", *image));
    EXPECT_NE(test::LastReason().find(".bmp, .tif"), std::string::npos);
    EXPECT_FALSE(test::SaveFile(folder.Path() / "none" / "a.png", *image));
    EXPECT_NE(test::LastReason().find("No such file"), std::string::npos);
    KyiImageData record = *image;
    record.Format = 99;
    EXPECT_FALSE(test::SaveFile(folder.Path() / "a.png", record));
    record = *image;
    record.LineBytes += 4;
    EXPECT_FALSE(test::SaveFile(folder.Path() / "a.png", record));
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(SaveImageData, DoesNotReplaceFoldersOrDevices) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(3, 3, KyiFormatBgr24, 1);
    fs::create_directory(folder.Path() / "a.png");
    EXPECT_FALSE(test::SaveFile(folder.Path() / "a.png", *image));
    ASSERT_EQ(0, mkfifo((folder.Path() / "b.png").c_str(), 0600));
    EXPECT_FALSE(test::SaveFile(folder.Path() / "b.png", *image));
    EXPECT_EQ(2u, Names(folder.Path()).size());
}

TEST(SaveImageData, TellsOfAFolderThatCannotBeWritten) {
    const test::TemporaryFolder folder;
    fs::permissions(folder.Path(), fs::perms::owner_read | fs::perms::owner_exec);
    const int user = setfsuid(65534); // a superuser may write everywhere; this thread is somebody else for now
    const bool saved = test::SaveFile(folder.Path() / "a.png", *test::RandomImage(3, 3, KyiFormatBgr24, 1));
    setfsuid(static_cast<uid_t>(user));
    EXPECT_FALSE(saved);
    EXPECT_EQ("the file cannot be created: Permission denied", test::LastReason());
    fs::permissions(folder.Path(), fs::perms::owner_all);
}

TEST(SaveImageData, ReplacesALinkAndNotWhatItPointsTo) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder.Path() / "other", Bytes{1, 2, 3});
    fs::create_symlink(folder.Path() / "other", folder.Path() / "a.png");
    EXPECT_TRUE(test::SaveFile(folder.Path() / "a.png", *test::RandomImage(3, 3, KyiFormatBgr24, 1)));
    EXPECT_FALSE(fs::is_symlink(folder.Path() / "a.png"));
    EXPECT_EQ((Bytes{1, 2, 3}), test::ReadFile(folder.Path() / "other"));
}

TEST(SaveImageData, KeepsThePermissionsOfTheFileThatItReplaces) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Path() / "a.bmp";
    const Image image = test::RandomImage(3, 3, KyiFormatBgr24, 1);
    const mode_t before = umask(027);
    ASSERT_TRUE(test::SaveFile(file, *image));
    EXPECT_EQ(0640u, static_cast<unsigned>(fs::status(file).permissions()));
    fs::permissions(file, static_cast<fs::perms>(0604));
    ASSERT_TRUE(test::SaveFile(file, *image));
    EXPECT_EQ(0604u, static_cast<unsigned>(fs::status(file).permissions()));
    umask(before);
}

TEST(SaveImageData, FillsAnEmptyFileThatOnlyItsOwnerMayOpen) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Path() / "a.bmp";
    test::WriteFile(file, {});
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    const Image image = test::RandomImage(3, 3, KyiFormatBgr24, 1);
    ASSERT_TRUE(test::SaveFile(file, *image)) << test::LastReason();
    EXPECT_EQ(0600u, static_cast<unsigned>(fs::status(file).permissions()));
    EXPECT_TRUE(test::SameImage(*image, *test::LoadFile(file)));
    EXPECT_EQ(1u, Names(folder.Path()).size());
}

TEST(SaveImageData, TakesNamesAsLongAsTheSystemDoes) {
    const test::TemporaryFolder folder;
    EXPECT_TRUE(test::SaveFile(folder.Path() / (std::string(251, 'n') + ".bmp"), *test::RandomImage(3, 3, 3, 1)))
        << test::LastReason();
}

TEST(SaveImageData, LeavesTheOldFileAndNothingElseOnAFullDisk) {
    const Image image = test::RandomImage(300, 200, KyiFormatBgr24, 1);
    for (const char* extension : {".bmp", ".tif", ".png", ".jpg"}) {
        for (const rlim_t limit : {0u, 10u, 1000u, 30000u}) {
            SCOPED_TRACE(testing::Message() << extension << ", full after " << limit << " bytes");
            const test::TemporaryFolder folder;
            const fs::path file = folder.Path() / (std::string("a") + extension);
            test::WriteFile(file, Bytes{1, 2, 3});
            {
                const FullDisk full(limit);
                EXPECT_FALSE(test::SaveFile(file, *image));
            }
            EXPECT_EQ("the file cannot be written: File too large", test::LastReason());
            EXPECT_EQ((Bytes{1, 2, 3}), test::ReadFile(file));
            EXPECT_EQ(1u, Names(folder.Path()).size());
        }
    }
}

TEST(LastFileError, IsEmptyAfterASuccessAndEachThreadsOwn) {
    EXPECT_FALSE(test::LoadFile("none.png"));
    const std::string reason = test::LastReason();
    EXPECT_NE("", reason);
    std::thread([] { EXPECT_EQ("", test::LastReason()); }).join();
    EXPECT_EQ(reason, test::LastReason());
    EXPECT_TRUE(test::SaveAndLoad(*test::RandomImage(1, 1, 3, 1), ".bmp"));
    EXPECT_EQ("", test::LastReason());
}

TEST(TraceLog, HoldsPathAndReasonOfAFailedLoad) {
    const test::TemporaryFolder folder;
    KyiSetTraceLogFolder(folder.Path().wstring().c_str());
    KyiSetPuttingTraceLog(1);
    EXPECT_FALSE(test::LoadFile("missing-here.png"));
    KyiSetPuttingTraceLog(0);
    const Bytes log = test::ReadFile(folder.Path() / "kyimaging.log");
    const std::string text(log.begin(), log.end());
    EXPECT_NE(text.find("missing-here.png: the file cannot be opened"), std::string::npos) << text;
}

TEST(FileCalls, PutNothingOnTheConsole) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    for (const char* name : {"tiff_gray8_lzw", "tiff_bilevel_miniswhite_g3", "png_palette", "jpeg_progressive"}) {
        const test::Case stored = test::LoadCase("codecs", name);
        const Bytes good = test::ReadFile(stored.File(stored.Json.at("file")));
        for (std::size_t at = 4; at < good.size(); ++at) {
            Bytes changed = good;
            changed[at] ^= 0xff;
            test::LoadBytes(changed);
        }
    }
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(FileCalls, GiveEveryThreadItsImage) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(97, 61, KyiFormatBgr24, 8);
    const auto work = [&](int number) {
        for (int round = 0; round < 20; ++round) {
            for (const char* extension : {".bmp", ".tif", ".png"}) {
                const fs::path file = folder.Path() / (std::to_string(number) + extension);
                ASSERT_TRUE(test::SaveFile(file, *image)) << test::LastReason();
                const Image loaded = test::LoadFile(file);
                ASSERT_TRUE(loaded) << test::LastReason();
                ASSERT_TRUE(test::SameImage(*image, *loaded));
            }
            ASSERT_FALSE(test::LoadFile(folder.Path() / "none"));
            ASSERT_TRUE(test::SaveFile(folder.Path() / "shared.jpg", *image)); // all threads replace one file
            ASSERT_TRUE(test::LoadFile(folder.Path() / "shared.jpg")) << test::LastReason();
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(13u, Names(folder.Path()).size());
}

} // namespace
