#include "parameter_dialog.h"

#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>
#include <kyfocus/session.h>
#include <kyfocus/ui/display.h>
#include <kyfocus/ui/set_parameter.h>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

namespace fs = std::filesystem;

/// Folder of the focus library, with links resolved: the dialog's library is installed there and looked for nowhere
/// else.
fs::path LibraryFolder() {
    Dl_info info{};
    void* const call = dlsym(RTLD_DEFAULT, "KyfSetLanguageType");
    if (!call || dladdr(call, &info) == 0 || !info.dli_fname) throw Failure("the folder of the libraries is not known");
    return fs::canonical(info.dli_fname).parent_path();
}

template <typename Function> Function* Find(void* library, const char* name) {
    void* const call = dlsym(library, name);
    if (!call) throw Failure(std::string("no parameter dialog: the library lacks ") + name);
    return reinterpret_cast<Function*>(call);
}

/// Stays open until the program ends, as toolkits want it.
void* OpenLibrary() {
    const fs::path file = LibraryFolder() / KYFOCUS_UI_LIBRARY;
    std::error_code error;
    if (!fs::exists(file, error))
        throw Failure("no parameter dialog: " + DisplayPath(file) + " is not installed; it needs Qt 6");
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw Failure(std::string("no parameter dialog: ") + dlerror());
    return library;
}

std::string WantedDisplay() {
    for (const char* name : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"})
        if (const char* const value = std::getenv(name); value && *value)
            return std::string(" (") + name + " is " + value + ")";
    return " (DISPLAY is not set)";
}

} // namespace

const std::map<std::string, int>& DialogLanguages() {
    static const std::map<std::string, int> languages = {
        {"eng", 0}, {"jpn", 1}, {"kor", 2}, {"zh-hant", 3}, {"zh-hans", 4}};
    return languages;
}

int LanguageOfLocale(std::string_view locale) {
    const std::string_view language = locale.substr(0, locale.find_first_of("_-.@"));
    if (language == "ja") return 1;
    if (language == "ko") return 2;
    if (language != "zh") return 0;
    if (locale.find("Hans") != std::string_view::npos) return 4;
    for (const char* const region : {"TW", "HK", "MO", "Hant"})
        if (locale.find(region) != std::string_view::npos) return 3;
    return 4;
}

std::string MessageLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* const value = std::getenv(name); value && *value) return value;
    return {};
}

bool EditParameters(KyfFocusCompositionParameter& settings, int language) {
    void* const library = OpenLibrary();
    const auto canShow = Find<decltype(KyfCanShowDialogs)>(library, "KyfCanShowDialogs");
    const auto show = Find<decltype(KyfSetFocusCompositionParameter)>(library, "KyfSetFocusCompositionParameter");
    if (!canShow()) throw Failure("no parameter dialog: no display can be opened" + WantedDisplay());
    KyfSetLanguageType(language);
    return show(&settings, nullptr) != 0;
}

} // namespace app
