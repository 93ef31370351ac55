// Where a program takes the CUDA kernels from: beside itself, by whatever name and from whatever place it is started.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kKernels = "CUDAKernels.cu.fatbin";

/// A program of its own in one folder, kernels of somebody else's in another one, which is the working folder and the
/// one that the environment names.
class KernelPlace : public testing::Test {
  protected:
    KernelPlace() {
        for (const char* const name : {"own", "planted"}) {
            fs::create_directory(Path(name));
            std::ofstream(Path(name) / kKernels) << name;
        }
        fs::copy_file(KY_PROGRAM, Own());
        fs::create_symlink(Own(), Path("planted") / "kyfocus");
    }

    fs::path Path(const std::string& name) const { return fs::canonical(m_folder.Path()) / name; }
    fs::path Own() const { return Path("own") / "kyfocus"; }

    /// Runs `kyfocus devices`. @param file  What is executed; without a slash it is looked for in PATH.
    /// @param name  What the program is told to be called.
    /// @return the module files that the driver was asked for, a line each.
    std::string KernelsOf(const std::string& file, const std::string& name) const {
        const pid_t process = fork();
        if (process == 0) Become(file, name);
        int status = -1;
        waitpid(process, &status, 0);
        EXPECT_EQ(status, 0);
        std::ifstream report(Path("report"));
        return {std::istreambuf_iterator<char>(report), std::istreambuf_iterator<char>()};
    }
    std::string OwnKernels() const { return (Path("own") / kKernels).native() + "\n"; }

  private:
    [[noreturn]] void Become(const std::string& file, const std::string& name) const {
        const std::string planted = Path("planted");
        const char* const before = std::getenv("LD_LIBRARY_PATH");
        const std::string libraries = planted + ":" KY_FAKE_CUDA_FOLDER ":" KY_NO_OPENCL_FOLDER;
        setenv("LD_LIBRARY_PATH", (libraries + (before ? std::string(":") + before : "")).c_str(), 1);
        for (const char* const variable : {"CUDA_PATH", "CUDA_HOME", "CUDA_CACHE_PATH", "HOME", "XDG_CACHE_HOME",
                                           "XDG_CONFIG_HOME", "XDG_DATA_HOME", "TMPDIR", "PWD", "OLDPWD"})
            setenv(variable, planted.c_str(), 1);
        setenv("_", (planted + "/kyfocus").c_str(), 1);
        setenv("PATH", Path("own").c_str(), 1);
        setenv("KY_FAKE_CUDA_REPORT", Path("report").c_str(), 1);
        if (chdir(planted.c_str()) != 0) _exit(126);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        execlp(file.c_str(), name.c_str(), "devices", nullptr);
        _exit(127);
    }

    test::TemporaryFolder m_folder;
};

TEST_F(KernelPlace, IsTheFolderOfTheProgramByItsFullName) { EXPECT_EQ(KernelsOf(Own(), Own()), OwnKernels()); }

TEST_F(KernelPlace, IsTheFolderOfTheProgramByARelativeName) {
    EXPECT_EQ(KernelsOf("../own/../planted/../own/kyfocus", "../own/kyfocus"), OwnKernels());
}

TEST_F(KernelPlace, IsTheFolderOfTheProgramInTheSearchPath) {
    EXPECT_EQ(KernelsOf("kyfocus", "kyfocus"), OwnKernels());
}

TEST_F(KernelPlace, IsNotTheFolderOfALinkToTheProgram) {
    EXPECT_EQ(KernelsOf(Path("planted") / "kyfocus", Path("planted") / "kyfocus"), OwnKernels());
}

TEST_F(KernelPlace, IsNotWhereTheProgramIsToldToBe) {
    for (const std::string& name : {std::string("./kyfocus"), std::string(""), Path("planted/kyfocus").native()}) {
        fs::remove(Path("report"));
        EXPECT_EQ(KernelsOf(Own(), name), OwnKernels()) << name;
    }
}

} // namespace
