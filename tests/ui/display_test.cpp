// Whether dialogs can be shown: told before Qt would end the process for want of a display.
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include <QApplication>
#include <gtest/gtest.h>
#include <kyfocus/ui/display.h>

#include "ui/display/display.h"

namespace {

/// Without a display and a wish for a platform; put back at the end.
class Display : public testing::Test {
  protected:
    Display() {
        for (const char* name :
             {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "XDG_RUNTIME_DIR"}) {
            const char* const value = std::getenv(name);
            m_before[name] = value ? std::optional<std::string>(value) : std::nullopt;
            unsetenv(name);
        }
    }
    ~Display() override {
        for (const auto& [name, value] : m_before)
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }

  private:
    std::map<std::string, std::optional<std::string>> m_before;
};

TEST_F(Display, IsAskedForOnThePlatformThatIsWanted) {
    EXPECT_EQ(kyfui::WantedPlatforms(), (QByteArrayList{"xcb"}));
    setenv("XDG_SESSION_TYPE", "wayland", 1);
    EXPECT_EQ(kyfui::WantedPlatforms(), (QByteArrayList{"wayland", "xcb"}));
    setenv("QT_QPA_PLATFORM", "Offscreen:a=b;;xcb", 1);
    EXPECT_EQ(kyfui::WantedPlatforms(), (QByteArrayList{"offscreen", "xcb"}));
}

TEST_F(Display, IsThereOffscreen) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    EXPECT_EQ(KyfCanShowDialogs(), 1);
    setenv("QT_QPA_PLATFORM", "nowhere;offscreen", 1);
    EXPECT_EQ(KyfCanShowDialogs(), 1);
}

TEST_F(Display, IsNotThereWithoutAPlugin) {
    setenv("QT_QPA_PLATFORM", "nowhere", 1);
    EXPECT_EQ(KyfCanShowDialogs(), 0);
}

TEST_F(Display, IsNotThereWithoutAServer) {
    EXPECT_EQ(KyfCanShowDialogs(), 0);
    setenv("DISPLAY", ":4711", 1);
    EXPECT_EQ(KyfCanShowDialogs(), 0);
    setenv("DISPLAY", "no display", 1);
    EXPECT_EQ(KyfCanShowDialogs(), 0);
    setenv("XDG_SESSION_TYPE", "wayland", 1);
    setenv("WAYLAND_DISPLAY", "wayland-4711", 1);
    EXPECT_EQ(KyfCanShowDialogs(), 0);
}

TEST_F(Display, IsNotUsedByAnApplicationWithoutWindows) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    EXPECT_EQ(KyfCanShowDialogs(), 0);
}

TEST_F(Display, BelongsToTheThreadOfTheApplication) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QApplication application(count, arguments);
    EXPECT_EQ(KyfCanShowDialogs(), 1);
    KyiBool onAnotherThread = 1;
    std::thread([&] { onAnotherThread = KyfCanShowDialogs(); }).join();
    EXPECT_EQ(onAnotherThread, 0);
}

} // namespace
