#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "platform/modules.h"

namespace {

TEST(Modules, FindWhatAModuleExports) {
    void* const module = platform::OpenModule(L"libc.so.6");
    ASSERT_NE(module, nullptr);
    auto* const length = reinterpret_cast<std::size_t (*)(const char*)>(platform::FindEntryPoint(module, "strlen"));
    ASSERT_NE(length, nullptr);
    EXPECT_EQ(length("kyfocus"), 7u);
    EXPECT_EQ(platform::FindEntryPoint(module, "no such entry point"), nullptr);
    platform::CloseModule(module);
}

TEST(Modules, AreNullWhereThereIsNone) {
    EXPECT_EQ(platform::OpenModule(L"libkyfocus-has-no-such-module.so.1"), nullptr);
    EXPECT_EQ(platform::FindEntryPoint(nullptr, "strlen"), nullptr);
    platform::CloseModule(nullptr);
}

TEST(Modules, AnAddressIsFoundInItsFile) {
    static const int own = 0;
    EXPECT_EQ(platform::PathOfAddress(&own), platform::ProgramPath());
    void* const module = platform::OpenModule(L"libc.so.6");
    const std::string library = platform::PathOfAddress(platform::FindEntryPoint(module, "strlen"));
    platform::CloseModule(module);
    EXPECT_TRUE(library.starts_with("/") && library.ends_with("/libc.so.6")) << library;
    int onTheStack = 0;
    EXPECT_EQ(platform::PathOfAddress(&onTheStack), "");
    EXPECT_EQ(platform::PathOfAddress(nullptr), "");
}

TEST(Modules, ProgramPathIsTheRunningProgram) {
    EXPECT_TRUE(platform::ProgramPath().ends_with("/test_platform")) << platform::ProgramPath();
}

} // namespace
