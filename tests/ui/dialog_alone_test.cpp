// The exported dialog in a process that knows nothing of the toolkit. These tests run in their order: what one of them
// makes stays.
#include <clocale>
#include <string>
#include <thread>

#include <QApplication>
#include <QTimer>
#include <gtest/gtest.h>
#include <kyfocus/composition_setting.h>
#include <kyfocus/ui/set_parameter.h>

#include "ui/dialogs/widgets.h"

namespace {

/// Presses OK in the dialog that is open, as soon as there is one.
void PressOK() {
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer] {
        const QWidget* const dialog = QApplication::activeModalWidget();
        if (dialog == nullptr) return;
        timer->deleteLater();
        dialog->findChild<QPushButton*>(kyfui::ObjectName(kyfui::kIdOk))->click();
    });
    timer->start(0);
}

TEST(Alone, WithoutADisplayNothingIsShownOrMade) {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    const QByteArray display = qgetenv("DISPLAY");
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DISPLAY", ":9999");
    KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 0);
    EXPECT_EQ(QCoreApplication::instance(), nullptr);
    qputenv("QT_QPA_PLATFORM", platform);
    if (display.isEmpty())
        qunsetenv("DISPLAY");
    else
        qputenv("DISPLAY", display);
}

TEST(Alone, AnApplicationThatShowsNoWindowsIsNotEnough) {
    int count = 1;
    char program[] = "host";
    char* words[] = {program, nullptr};
    const QCoreApplication application(count, words);
    KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 0);
}

TEST(Alone, AnApplicationIsMadeOnceAndKept) {
    KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8"); // which the toolkit would take
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    qAddPreRoutine(PressOK); // runs when the application has been made
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 1);
    QCoreApplication* const made = QCoreApplication::instance();
    EXPECT_NE(made, nullptr);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    PressOK();
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 1);
    EXPECT_EQ(QCoreApplication::instance(), made);
    std::int32_t elsewhere = -1;
    std::thread([&] { elsewhere = KyfSetFocusCompositionParameter(&parameter, nullptr); }).join();
    EXPECT_EQ(elsewhere, 0);
}

} // namespace
