// Where the library of dialogs takes language modules from: its own folder and the data folder of its installation,
// whatever is planted elsewhere. The library is opened as a host opens it.
#include <cstdlib>
#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>
#include <kyfocus/resource.h>

#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kLibrary = "libkyfocus_ui.so";
constexpr const char* kModule = "KYFResourceJPN.rcc";
constexpr const wchar_t* kName = L"KYFResourceJPN.dll";

/// A library of its own without modules, and a folder of somebody else's with one, which is the working folder and the
/// one that the environment names.
class ModulePlaces : public testing::Test {
  protected:
    ModulePlaces() {
        for (const fs::path& folder : {OwnFolder(), DataFolder(), Planted(), Planted() / "lib"})
            fs::create_directories(folder);
        fs::copy_file(KY_UI_LIBRARY, OwnFolder() / kLibrary);
        for (const fs::path& folder : {Planted(), Planted() / "lib"}) fs::copy_file(Module(), folder / kModule);
        fs::current_path(Planted());
        for (const char* const name : kVariables) setenv(name, Planted().c_str(), 1);
    }
    ~ModulePlaces() override {
        for (const char* const name : kVariables) unsetenv(name);
        KyfSetResourceName(nullptr);
        fs::current_path(m_before);
    }

    fs::path Root() const { return fs::canonical(m_folder.Path()); }
    fs::path OwnFolder() const { return Root() / "own/deep/lib"; }
    fs::path DataFolder() const { return (OwnFolder() / KY_DATA_FROM_LIBRARY).lexically_normal(); }
    fs::path Planted() const { return Root() / "planted"; }
    static fs::path Module() { return fs::path(KY_UI_LIBRARY).parent_path() / kModule; }

    /// Makes a copy of the library the loader of modules. It stays until the program ends, as toolkits want it.
    static void Open(const fs::path& library) {
        ASSERT_NE(dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    }
    static bool IsFound(const std::wstring& name = kName) {
        KyfSetResourceName(name.c_str());
        const CKYFocusResource resource;
        return KyfGetCurrentResource() != nullptr;
    }

  private:
    static constexpr const char* kVariables[] = {
        "LD_LIBRARY_PATH", "PATH",          "HOME",          "PWD", "XDG_DATA_HOME",
        "XDG_CONFIG_HOME", "XDG_DATA_DIRS", "QT_PLUGIN_PATH"};
    const test::TemporaryFolder m_folder;
    const fs::path m_before = fs::current_path();
};

TEST_F(ModulePlaces, AreTheFolderOfTheLibraryAndItsDataFolder) {
    Open(OwnFolder() / kLibrary);
    EXPECT_FALSE(IsFound());
    for (const fs::path& folder : {OwnFolder(), DataFolder()}) {
        fs::copy_file(Module(), folder / kModule);
        EXPECT_TRUE(IsFound()) << folder;
        fs::remove(folder / kModule);
    }
    EXPECT_FALSE(IsFound());
}

TEST_F(ModulePlaces, AreNotLeftByANameWithAPath) {
    Open(OwnFolder() / kLibrary);
    fs::create_directory(OwnFolder() / "inner");
    fs::copy_file(Module(), OwnFolder() / "inner" / kModule);
    const std::wstring planted = Planted().wstring();
    for (const std::wstring& name : {planted + L"/" + kName, L"/" + planted + L"/" + kName, L"./" + std::wstring(kName),
                                     L"../../../planted/" + std::wstring(kName), L"inner/" + std::wstring(kName),
                                     L"inner/../../../../planted/" + std::wstring(kName)})
        EXPECT_FALSE(IsFound(name)) << fs::path(name);
    // Nor when the path ends where modules are.
    fs::copy_file(Module(), OwnFolder() / kModule);
    EXPECT_TRUE(IsFound());
    EXPECT_FALSE(IsFound(L"./" + std::wstring(kName)));
    EXPECT_FALSE(IsFound((OwnFolder() / kModule).wstring()));
}

TEST_F(ModulePlaces, StayWhenALibraryWasOpenedByARelativeNameAndTheWorkingFolderChanges) {
    fs::current_path(OwnFolder().parent_path());
    Open(fs::path("lib") / kLibrary);
    fs::current_path(Planted());
    EXPECT_FALSE(IsFound());
    fs::copy_file(Module(), OwnFolder() / kModule);
    EXPECT_TRUE(IsFound());
}

TEST_F(ModulePlaces, AreNotTheFolderOfALinkToTheLibrary) {
    fs::create_symlink(OwnFolder() / kLibrary, Planted() / kLibrary);
    Open(Planted() / kLibrary);
    EXPECT_FALSE(IsFound());
    fs::copy_file(Module(), OwnFolder() / kModule);
    EXPECT_TRUE(IsFound());
}

// Who may make a link there may put a module there: it is followed to a file, and leads to nothing else.
TEST_F(ModulePlaces, MayHoldLinks) {
    Open(OwnFolder() / kLibrary);
    const fs::path link = OwnFolder() / kModule;
    for (const fs::path& target : {Root() / "nowhere", link, Planted(), fs::path("/dev/zero")}) {
        fs::create_symlink(target, link);
        EXPECT_FALSE(IsFound()) << target;
        fs::remove(link);
    }
    fs::create_symlink(Module(), link);
    EXPECT_TRUE(IsFound());
}

} // namespace
