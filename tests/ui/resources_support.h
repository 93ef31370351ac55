/// What the tests of texts and modules share.
#ifndef KYFOCUS_TESTS_UI_RESOURCES_SUPPORT_H
#define KYFOCUS_TESTS_UI_RESOURCES_SUPPORT_H

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>
#include <kyfocus/resource.h>

#include "ui/resources/language_module.h"
#include "ui/resources/loaded_modules.h"

namespace test {

/// Names of the five languages, at their numbers.
inline const std::vector<std::string> kLanguages = {"Eng", "JPN", "KOR", "ZhHant", "ZhHans"};

inline std::string ModuleFile(const std::string& language) { return KY_MODULES "/KYFResource" + language + ".rcc"; }

inline kyfui::LanguageModule Module(const std::string& language) {
    std::optional<kyfui::LanguageModule> module = kyfui::ReadModule(ModuleFile(language));
    EXPECT_TRUE(module) << language;
    return module.value_or(kyfui::LanguageModule());
}

/// The built modules for the time of a test; no name is set before and after.
class WithModules : public testing::Test {
  protected:
    WithModules() {
        KyfSetResourceName(nullptr);
        kyfui::SetModuleFolders({KY_MODULES});
    }
    ~WithModules() override {
        kyfui::SetModuleFolders({});
        KyfSetResourceName(nullptr);
    }
};

} // namespace test

#endif
