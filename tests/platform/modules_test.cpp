#include <cstddef>

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

TEST(Modules, ProgramPathIsTheRunningProgram) {
    EXPECT_TRUE(platform::ProgramPath().ends_with("/test_platform")) << platform::ProgramPath();
}

} // namespace
