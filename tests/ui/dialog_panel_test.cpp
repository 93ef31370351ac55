// The parameter panel in windows of a host: what it takes from it, what it tells it, and what it keeps from it.
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "ui/dialog_host.h"
#include "ui/rules/panel_rules.h"

namespace {

using namespace kyfui;
using test::HostWindow;
using test::Listener;
using test::Setting;
using test::SettingWith;

TEST(ParameterPanel, BothPagesTakeTheSameRoom) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    const QSize size = host.sizeHint();
    const QPoint speed = test::Find(host, kIdSpeed).mapTo(&host, QPoint());
    test::Click(host, kIdAlgorithm3D);
    QTest::qWait(1);
    EXPECT_EQ(host.sizeHint(), size);
    EXPECT_EQ(test::Find(host, kIdSpeed).mapTo(&host, QPoint()), speed);
}

TEST(ParameterPanel, GrowsWithTheHostsFont) {
    HostWindow host(SettingWith(1));
    test::Open(host);
    const QSize size = host.sizeHint();
    const QSize picture = test::Find<QToolButton>(host, kIdPlaneTopButton).iconSize();
    QFont font = host.font();
    font.setPointSizeF(2 * font.pointSizeF());
    host.setFont(font);
    QTest::qWait(1);
    EXPECT_GT(host.sizeHint().height(), 5 * size.height() / 4); // margins stay
    EXPECT_GT(test::Find<QToolButton>(host, kIdPlaneTopButton).iconSize().height(), 3 * picture.height() / 2);
}

TEST(ParameterPanel, EveryControlTellsWhatItIs) {
    HostWindow host(SettingWith(0));
    for (const int id : kPanelControls) {
        const QWidget& control = test::Find(host, id);
        EXPECT_FALSE(control.accessibleName().isEmpty()) << ObjectName(id).toStdString();
        EXPECT_FALSE(control.toolTip().isEmpty()) << ObjectName(id).toStdString();
    }
}

TEST(ParameterPanel, ShowsWhatTheHostSetsWhileItIsOpen) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    host.Panel->SetData(SettingWith(1));
    EXPECT_TRUE(test::Find(host, kIdPlaneTop).isVisible());
    EXPECT_FALSE(test::Find(host, kIdSetFine).isVisible());
    host.Panel->SetMicroscopeType(2);
    EXPECT_FALSE(test::Find(host, kIdAutoPosition).isEnabled());
    EXPECT_EQ(host.Panel->GetData().GetMicroscopeType(), 2);
    host.Panel->SetAutoPositioningDisabled(1);
    EXPECT_TRUE(test::Find(host, kIdAutoPosition).isVisible()); // it comes before the controls
}

TEST(ParameterPanel, AHostWithoutPositioningGivesItNoRoom) {
    CKyfFocusCompParamControl panel;
    panel.SetData(SettingWith(0));
    panel.SetAutoPositioningDisabled(1);
    panel.CreateControl(nullptr);
    test::Open(panel);
    for (const int id : {kIdAlgorithm2D, kIdAlgorithm3D}) {
        test::Click(panel, id);
        for (const int hidden : {kIdAutoPosition, kIdPositioningButton, kIdPositioningGroup})
            EXPECT_FALSE(test::Find(panel, hidden).isVisible());
    }
}

TEST(ParameterPanel, NumbersWithoutAControlShowAsNoneChosen) {
    for (const std::int32_t value :
         {std::numeric_limits<std::int32_t>::min(), -1, 4, std::numeric_limits<std::int32_t>::max()}) {
        Setting setting = SettingWith(value, value);
        setting.SetSpeed(value);
        setting.SetPlaneType(value);
        HostWindow host(setting);
        test::Open(host);
        for (const QRadioButton* const radio : host.findChildren<QRadioButton*>()) EXPECT_FALSE(radio->isChecked());
        EXPECT_EQ(test::Find<QComboBox>(host, kIdSpeed).currentIndex(), -1);
        test::Click(host, kIdComplex);
        test::Click(host, kIdComplex);
        EXPECT_EQ(host.Panel->GetData().GetAlgType(), value);
        EXPECT_EQ(host.Panel->GetData().GetSpeed(), value);
        test::Click(host, kIdAlgorithm3D);
        test::Click(host, kIdPlaneBottom);
        EXPECT_EQ(host.Panel->GetData().GetPlaneType(), 0);
    }
}

TEST(ParameterPanel, AnySwitchThatIsNotZeroShowsAsOn) {
    for (const std::int32_t value : {-1, 2}) {
        Setting setting = SettingWith(0);
        setting.SetAutoPos(value);
        HostWindow host(setting);
        test::Open(host);
        EXPECT_EQ(test::Find<QCheckBox>(host, kIdAutoPosition).checkState(), Qt::Checked);
        test::Click(host, kIdSetFine);
        EXPECT_EQ(host.Panel->GetData().GetAutoPos(), value);
        test::Click(host, kIdAutoPosition);
        EXPECT_EQ(host.Panel->GetData().GetAutoPos(), 0);
    }
}

TEST(ParameterPanel, WorksWithoutAWindowAndMakesOnlyOne) {
    CKyfFocusCompParamControl panel;
    EXPECT_EQ(panel.GetData().GetAlgType(), 1);
    panel.SetData(SettingWith(2));
    panel.SetMicroscopeType(3);
    EXPECT_EQ(panel.GetData().GetAlgType(), 2);
    EXPECT_EQ(panel.GetData().GetMicroscopeType(), 3);
    EXPECT_EQ(panel.CreateControl(nullptr), 1);
    EXPECT_EQ(panel.CreateControl(nullptr), 0);
    EXPECT_TRUE(test::Find<QCheckBox>(panel, kIdComplex).isChecked());
}

TEST(ParameterPanel, TheListenerFindsTheWindowAsTheClickHasLeftIt) {
    HostWindow host(SettingWith(0));
    Listener listener;
    std::vector<bool> shown;
    listener.Act = [&] {
        shown = {test::Find(host, kIdDetailButton).isVisible(), test::Find(host, kIdPlaneGroup).isVisible(),
                 test::Find(host, kIdSetFine).isVisible(), test::Find(host, kIdPositioningButton).isVisible()};
    };
    host.Panel->SetChangedFCDelegate(&listener);
    test::Open(host);
    test::Click(host, kIdAlgorithm3D);
    EXPECT_EQ(shown, (std::vector<bool>{true, true, false, false}));
    test::Click(host, kIdAlgorithm2D);
    EXPECT_EQ(shown, (std::vector<bool>{false, false, true, true}));
}

TEST(ParameterPanel, WhatTheListenerSetsStays) {
    HostWindow host(SettingWith(0));
    Listener listener;
    listener.Act = [&] { host.Panel->SetData(SettingWith(0)); };
    host.Panel->SetChangedFCDelegate(&listener);
    test::Open(host);
    test::Click(host, kIdAlgorithm3D);
    EXPECT_TRUE(test::Find<QRadioButton>(host, kIdAlgorithm2D).isChecked());
    EXPECT_TRUE(test::Find(host, kIdSetFine).isVisible());
}

TEST(ParameterPanel, TheListenerMayTakeTheWindowDown) {
    auto host = std::make_unique<HostWindow>(SettingWith(0));
    Listener listener;
    listener.Act = [&] { host->Panel.reset(); };
    host->Panel->SetChangedFCDelegate(&listener);
    test::Open(*host);
    test::Find<QAbstractButton>(*host, kIdAlgorithm3D).click();
    EXPECT_EQ(listener.Types, std::vector<KyfAlgorithmType>{1});
}

TEST(ParameterPanel, OKInThePositioningDialogTakesTheNumberAndAllPlaces) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    const test::InNextDialog areas([](QDialog& dialog) {
        test::Choose(dialog, kIdAreaCount, 2);
        QWidget& picture = test::Find(dialog, kIdAreaPicture);
        QTest::mouseClick(&picture, Qt::LeftButton, {}, QPoint(1, 1));
        QTest::keyClick(&picture, Qt::Key_Right); // the first key after a click only chooses
        for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Tab, Qt::Key_Up, Qt::Key_Tab, Qt::Key_Down, Qt::Key_Tab})
            QTest::keyClick(&picture, key);
        QTest::keyClick(&picture, Qt::Key_Left);
        test::Click(dialog, kIdOk);
    });
    test::Click(host, kIdPositioningButton);
    const KyfFocusCompositionParameter& taken = host.Panel->GetData().Get();
    EXPECT_EQ(taken.AreaNo, 2);
    const KyPoint expected[] = {{51, 25}, {75, 49}, {50, 76}, {24, 50}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(taken.AreaPos[i].x, expected[i].x) << i;
        EXPECT_EQ(taken.AreaPos[i].y, expected[i].y) << i;
    }
}

TEST(ParameterPanel, ACancelledDialogLeavesTheSettingAsItWas) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    const Setting before = host.Panel->GetData();
    {
        const test::InNextDialog manual([](QDialog& dialog) {
            test::Choose(dialog, kIdPreset, 2);
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        test::Click(host, kIdManualButton);
    }
    {
        const test::InNextDialog areas([](QDialog& dialog) {
            test::Choose(dialog, kIdAreaCount, 2);
            test::Click(dialog, kIdCancel);
        });
        test::Click(host, kIdPositioningButton);
    }
    {
        const test::InNextDialog detail([](QDialog& dialog) {
            test::Type(dialog, kIdNoiseEdit, QStringLiteral("1"));
            test::Click(dialog, kIdCancel);
        });
        test::Click(host, kIdDetailButton);
    }
    EXPECT_EQ(std::memcmp(&before.Get(), &host.Panel->GetData().Get(), sizeof(KyfFocusCompositionParameter)), 0);
}

TEST(ParameterPanel, AHostMayDestroyItWhileADialogIsOpen) {
    auto host = std::make_unique<HostWindow>(SettingWith(0));
    test::Open(*host);
    QPointer<QDialog> opened;
    const test::InNextDialog manual([&](QDialog& dialog) {
        opened = &dialog;
        host->Panel.reset();
    });
    test::Find<QAbstractButton>(*host, kIdManualButton).click();
    EXPECT_TRUE(opened.isNull());
}

} // namespace
