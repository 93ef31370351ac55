// The exported modal dialog: OK, Cancel, what a host hands over, and what it must not notice.
#include <cstring>
#include <limits>
#include <thread>

#include <QSignalSpy>
#include <kyfocus/composition_setting.h>
#include <kyfocus/kyfocus.h>
#include <kyfocus/resource.h>
#include <kyfocus/ui/set_parameter.h>

#include "ui/dialog_driver.h"
#include "ui/resources/loaded_modules.h"
#include "ui/resources/resources.h"

extern "C" int32_t (*CallSeenFromC(void))(KyfFocusCompositionParameter*, const int32_t*);

namespace {

using namespace kyfui;
using Parameter = KyfFocusCompositionParameter;

Parameter Defaults() { return CKyfFocusCompositionSetting().Get(); }

bool SameRecord(const Parameter& left, const Parameter& right) {
    return std::memcmp(&left, &right, sizeof left) == 0; // all members are 32 bits wide: no padding
}

TEST(SetParameter, OKWritesWhatWasClicked) {
    Parameter parameter = Defaults();
    const test::InNextDialog act([](QDialog& dialog) {
        test::Click(dialog, kIdAlgorithm2D);
        test::Click(dialog, kIdSetCoarse);
        test::Choose(dialog, kIdSpeed, 2);
        test::Click(dialog, kIdOk);
    });
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 1);
    Parameter expected = Defaults();
    expected.AlgType = 0;
    expected.CompParamSetType = 2;
    expected.CompSize = 15;
    expected.Speed = 2;
    expected.DisableGPU = 1; // no processor here
    EXPECT_TRUE(SameRecord(parameter, expected));
}

TEST(SetParameter, CancelAndEscapeLeaveTheRecordAsItWas) {
    for (const bool escape : {false, true}) {
        Parameter parameter = Defaults();
        const test::InNextDialog act([escape](QDialog& dialog) {
            test::Click(dialog, kIdAlgorithm2D);
            if (!escape) test::Click(dialog, kIdCancel);
            if (escape) QTest::keyClick(&test::Find(dialog, kIdOk), Qt::Key_Escape);
        });
        EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 0);
        EXPECT_TRUE(SameRecord(parameter, Defaults()));
    }
}

TEST(SetParameter, EnterAndEscapeWorkAsItOpens) {
    Parameter parameter = Defaults();
    const test::InNextDialog act([](QDialog& dialog) { QTest::keyClick(dialog.focusWidget(), Qt::Key_Return); });
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 1);
}

TEST(SetParameter, TheHostsSwitchLeavesPositioningOut) {
    for (const std::int32_t disabled : {0, 1, -7}) {
        Parameter parameter = Defaults();
        const test::InNextDialog act([disabled](QDialog& dialog) {
            EXPECT_EQ(test::Find(dialog, kIdAutoPosition).isVisible(), disabled == 0);
            test::Click(dialog, kIdCancel);
        });
        KyfSetFocusCompositionParameter(&parameter, &disabled);
    }
}

TEST(SetParameter, ADialogWithinTheDialogHandsItsValuesOver) {
    Parameter parameter = Defaults();
    const test::InNextDialog act([](QDialog& dialog) {
        {
            const test::InNextDialog detail([](QDialog& inner) {
                test::Type(inner, kIdNoiseEdit, QStringLiteral("9"));
                test::ClickCheck(inner, kIdHalation, false);
                test::Click(inner, kIdOk);
            });
            test::Click(dialog, kIdDetailButton);
        }
        test::Click(dialog, kIdOk);
    });
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 1);
    EXPECT_EQ(parameter.ProjectionNoiseRemove, 9);
    EXPECT_EQ(parameter.HalationMeasures, 0);
}

TEST(SetParameter, NumbersThatNoControlStandsForPassThrough) {
    for (const std::int32_t value :
         {std::numeric_limits<std::int32_t>::min(), -1, std::numeric_limits<std::int32_t>::max()}) {
        Parameter parameter;
        for (std::size_t i = 0; i < sizeof parameter / sizeof value; ++i)
            std::memcpy(reinterpret_cast<char*>(&parameter) + i * sizeof value, &value, sizeof value);
        Parameter expected = parameter;
        expected.DisableGPU = 1; // no processor here
        const test::InNextDialog act([](QDialog& dialog) { test::Click(dialog, kIdOk); });
        EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 1);
        EXPECT_TRUE(SameRecord(parameter, expected));
    }
}

TEST(SetParameter, NothingIsShownForANullRecordOrOnAnotherThread) {
    EXPECT_EQ(KyfSetFocusCompositionParameter(nullptr, nullptr), 0);
    Parameter parameter = Defaults();
    std::int32_t result = -1;
    std::thread([&] { result = KyfSetFocusCompositionParameter(&parameter, nullptr); }).join();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(SameRecord(parameter, Defaults()));
}

TEST(SetParameter, AHostWithoutOtherWindowsGoesOn) {
    QSignalSpy lastClosed(qApp, &QGuiApplication::lastWindowClosed);
    Parameter parameter = Defaults();
    const test::InNextDialog act([](QDialog& dialog) { test::Click(dialog, kIdOk); });
    KyfSetFocusCompositionParameter(&parameter, nullptr);
    QTest::qWait(10);
    EXPECT_EQ(lastClosed.count(), 0);
}

TEST(SetParameter, TheHostsActiveWindowIsTheParentAndMayGo) {
    auto host = std::make_unique<QWidget>();
    test::Open(*host);
    Parameter parameter = Defaults();
    const test::InNextDialog act([&](QDialog& dialog) {
        EXPECT_EQ(dialog.parentWidget(), host.get());
        host.reset();
    });
    EXPECT_EQ(KyfSetFocusCompositionParameter(&parameter, nullptr), 0);
    EXPECT_TRUE(SameRecord(parameter, Defaults()));
}

TEST(SetParameter, TheLanguageIsInForceDuringTheCallOnly) {
    const QString builtIn = Text(kIdCancel);
    SetModuleFolders({KY_MODULES});
    KyfSetLanguageType(1);
    Parameter parameter = Defaults();
    QString shown, title;
    const test::InNextDialog act([&](QDialog& dialog) {
        shown = test::Find<QPushButton>(dialog, kIdCancel).text();
        title = Text(kIdCancel);
        test::Click(dialog, kIdCancel);
    });
    KyfSetFocusCompositionParameter(&parameter, nullptr);
    EXPECT_EQ(shown, title);
    EXPECT_NE(shown, builtIn);
    EXPECT_EQ(Text(kIdCancel), builtIn);
    KyfSetResourceName(L"no such module.dll");
    const test::InNextDialog again([&](QDialog& dialog) {
        EXPECT_EQ(test::Find<QPushButton>(dialog, kIdCancel).text(), builtIn);
        test::Click(dialog, kIdCancel);
    });
    KyfSetFocusCompositionParameter(&parameter, nullptr);
    SetModuleFolders({});
}

/// What the exported dialog's Cancel button says.
QString ShownCancel() {
    Parameter parameter = Defaults();
    QString shown;
    const test::InNextDialog act([&](QDialog& dialog) {
        shown = test::Find<QPushButton>(dialog, kIdCancel).text();
        test::Click(dialog, kIdCancel);
    });
    KyfSetFocusCompositionParameter(&parameter, nullptr);
    return shown;
}

TEST(SetParameter, WithoutANameTheLanguageIsJapaneseAndThePreviousOneComesBack) {
    const QString builtIn = Text(kIdCancel);
    SetModuleFolders({KY_MODULES});
    QString japanese;
    KyfSetResourceName(L"KYFResourceJPN.dll");
    {
        const CKYFocusResource resource;
        japanese = Text(kIdCancel);
    }
    EXPECT_NE(japanese, builtIn);
    KyfSetLanguageType(2);
    {
        const CKYFocusResource outer;
        const QString korean = Text(kIdCancel);
        EXPECT_NE(korean, japanese);
        KyfSetResourceName(nullptr);
        EXPECT_EQ(ShownCancel(), japanese);
        EXPECT_EQ(Text(kIdCancel), korean);
        KyfSetResourceName(L"no such module.dll");
        EXPECT_EQ(ShownCancel(), korean); // a module that cannot be loaded leaves the present one in force
    }
    EXPECT_EQ(Text(kIdCancel), builtIn);
    SetModuleFolders({});
}

TEST(SetParameter, IsThereForCHosts) { EXPECT_EQ(CallSeenFromC(), &KyfSetFocusCompositionParameter); }

} // namespace
