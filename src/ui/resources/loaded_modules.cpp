#include "ui/resources/loaded_modules.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <utility>

#include <kyfocus/resource.h>

#include "platform/modules.h"
#include "platform/text.h"

namespace kyfui {

namespace {

/// Numbers are never used twice: one that has been unloaded twice does no harm to a module that came later.
struct Modules {
    std::map<std::uintptr_t, LanguageModule> Loaded;
    std::uintptr_t LastNumber = 0;
    std::vector<std::string> OtherFolders;
};

Modules& AllModules() {
    static Modules modules;
    return modules;
}

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::uintptr_t Load(const std::string& fileName) {
    Modules& modules = AllModules();
    for (const std::string& folder : ModuleFolders()) {
        std::optional<LanguageModule> module = ReadModule(std::string(folder).append("/").append(fileName));
        if (!module) continue;
        const std::uintptr_t number = modules.LastNumber + 1;
        modules.Loaded.emplace(number, *std::move(module));
        return modules.LastNumber = number;
    }
    return 0;
}

/// Makes this library the loader while it is there.
struct Registration {
    Registration() { KyfSetResourceLoader(&LoadModule, &UnloadModule); }
    ~Registration() { KyfSetResourceLoader(nullptr, nullptr); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
};
const Registration g_registration;

} // namespace

std::vector<std::string> ModuleFolders() {
    if (!AllModules().OtherFolders.empty()) return AllModules().OtherFolders;
    const std::string library = platform::PathOfAddress(&g_registration);
    if (library.empty()) return {};
    return {FolderOf(library), FolderOf(library) + "/" KYF_DATA_FOLDER_FROM_LIBRARY};
}

void SetModuleFolders(std::vector<std::string> folders) { AllModules().OtherFolders = std::move(folders); }

std::string ModuleFileName(const wchar_t* name) {
    std::string file = platform::ToUtf8(name);
    if (file.empty() || file.front() == '.' || file.find_first_of("/\\") != std::string::npos) return {};
    file.erase(std::min(file.rfind('.'), file.size()));
    return file + ".rcc";
}

void* LoadModule(const wchar_t* name) noexcept {
    if (!name) return nullptr;
    try {
        const std::string file = ModuleFileName(name);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): never followed
        return file.empty() ? nullptr : reinterpret_cast<void*>(Load(file));
    } catch (const std::exception&) { // out of memory: as without the module
        return nullptr;
    }
}

void UnloadModule(void* module) noexcept { AllModules().Loaded.erase(reinterpret_cast<std::uintptr_t>(module)); }

const LanguageModule* CurrentModule() noexcept {
    const auto& loaded = AllModules().Loaded;
    const auto module = loaded.find(reinterpret_cast<std::uintptr_t>(KyfGetCurrentResource()));
    return module == loaded.end() ? nullptr : &module->second;
}

} // namespace kyfui
