// Bitmaps of frames and the file system: how often it is asked, and a disk that is full. A binary of its own: it takes
// the place of the system's writes, and mounts a disk.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <omp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"

namespace {

std::atomic<int> g_largeWrites{0};
constexpr std::size_t kLargeWrite = 2000; // bytes: a header is less, a frame more

template <typename Function> Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
void Count(std::size_t bytes) {
    if (bytes >= kLargeWrite) ++g_largeWrites;
}

} // namespace

// Seen by the shared library too.
[[gnu::visibility("default")]] ssize_t pwrite(int file, const void* from, std::size_t bytes, off_t offset) {
    static auto* const original = Original<ssize_t(int, const void*, std::size_t, off_t)>("pwrite");
    Count(bytes);
    return original(file, from, bytes, offset);
}

[[gnu::visibility("default")]] ssize_t write(int file, const void* from, std::size_t bytes) {
    static auto* const original = Original<ssize_t(int, const void*, std::size_t)>("write");
    Count(bytes);
    return original(file, from, bytes);
}

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kWidth = 64;
constexpr std::int32_t kHeight = 48;

KyfResult Add(KyfFocusComposition& session, std::int32_t frame, std::int32_t format = KyiFormatBgr24) {
    const test::Image image = test::ReliefFrame(kWidth, kHeight, format, frame, 8, 1);
    return KyfFocusAddImageWithHeight(&session, image.get(), 10.0 * frame, 0, nullptr);
}

TEST(FrameFiles, AreWrittenInOnePiece) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::TemporaryFolder folder;
        const test::Session session = test::StartStack({}, folder.Path());
        g_largeWrites = 0;
        for (int i = 0; i < 3; ++i) ASSERT_EQ(Add(*session, i, format), KyfResultOk);
        EXPECT_EQ(g_largeWrites, 3) << format;
    }
}

/// A disk with room for `bytes`, seen by this process only. False where the system does not let us.
bool MountSmallDisk(const fs::path& place, std::size_t bytes) {
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    const std::string size = "size=" + std::to_string(bytes);
    return mount("tmpfs", place.c_str(), "tmpfs", 0, size.c_str()) == 0;
}

constexpr int kNoMount = 77;

std::vector<std::string> NamesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

// Three frames of 9 KiB go onto a disk of 32 KiB, and the fourth does not. Room is made, the add is given again, and
// the stack goes its way to the end.
int FillASmallDisk(const fs::path& place) {
    if (!MountSmallDisk(place, 32768)) return kNoMount;
    omp_set_num_threads(1); // no threads of the parent's come along
    const test::Session session = test::StartStack({}, place);
    const auto fails = [](bool isAsExpected, const char* what) {
        if (!isAsExpected) std::fprintf(stderr, "not so: %s\n", what);
        return !isAsExpected;
    };
    std::int32_t added = 0;
    KyfResult result = KyfResultOk;
    while (added < 8 && (result = Add(*session, added)) == KyfResultOk) ++added;
    bool isFailed = fails(added >= 2 && added < 8, "some frames find room and some do not");
    isFailed |= fails(result == KyfResultFailFile, "the add tells that the file failed");
    isFailed |= fails(session->State3D.FrameCount == added, "the frame is not counted");
    isFailed |= fails(NamesIn(place).size() == static_cast<std::size_t>(added), "nothing is left of its bitmap");
    isFailed |= fails(Add(*session, added) == KyfResultFailFile, "it fails again while the disk is full");
    isFailed |= fails(mount("tmpfs", place.c_str(), "tmpfs", MS_REMOUNT, "size=131072") == 0, "the disk grows");
    for (; added < 8; ++added) isFailed |= fails(Add(*session, added) == KyfResultOk, "there is room again");
    isFailed |= fails(KyfFocusMakeCompImage(session.get(), 0, nullptr) == KyfResultOk, "the stack is made");
    isFailed |= fails(session->State3D.HeightDataMap != nullptr, "it has heights");
    KyfFocusTerminate(session.get());
    isFailed |= fails(NamesIn(place).empty(), "the bitmaps are swept away");
    return isFailed ? 1 : 0;
}

TEST(FrameFiles, FailOnAFullDiskAndGoOnWhenThereIsRoomAgain) {
    const test::TemporaryFolder folder;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(FillASmallDisk(folder.Path())); // its mount goes with it
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kNoMount) GTEST_SKIP() << "no disk may be mounted here; AddFrame has one with a limit";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
