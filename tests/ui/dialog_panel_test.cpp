// The parameter panel in windows of a host: what it takes from it, what it keeps from it, and how it is reached.
#include <limits>
#include <memory>
#include <vector>

#include <QBoxLayout>
#include <QWheelEvent>
#include <kyfocus/ui/param_control.h>

#include "ui/dialog_driver.h"
#include "ui/rules/panel_rules.h"

namespace {

using namespace kyfui;
using Setting = CKyfFocusCompositionSetting;

Setting SettingWith(KyfAlgorithmType type, std::int32_t parameterSet = 3) {
    Setting setting;
    setting.SetAlgType(type);
    setting.Set2DSelectionFocusCompositionMode(parameterSet);
    setting.SetAutoPos(1);
    return setting;
}

/// A dialog of the host with a panel in it and a button that Enter would press.
class HostWindow : public QDialog {
  public:
    explicit HostWindow(const Setting& setting) {
        Panel->SetData(setting);
        EXPECT_EQ(Panel->CreateControl(this), 1);
        auto* const rows = new QVBoxLayout(this);
        rows->addWidget(Panel.get());
        auto* const button = new QPushButton(QStringLiteral("Run"), this);
        button->setDefault(true);
        connect(button, &QPushButton::clicked, this, [this] { ++Pressed; });
        rows->addWidget(button);
    }
    std::unique_ptr<CKyfFocusCompParamControl> Panel = std::make_unique<CKyfFocusCompParamControl>();
    int Pressed = 0;
};

class Listener : public IChangedFCSettingDelegate {
  public:
    void OnChangedAlgType(KyfAlgorithmType type) override {
        Types.push_back(type);
        if (Act) Act();
    }
    std::vector<KyfAlgorithmType> Types;
    std::function<void()> Act;
};

TEST(ParameterPanel, EnterAndEscapeDoNothingAndStayInside) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    for (const int id : kPanelControls) {
        QWidget& control = test::Find(host, id);
        if (!control.isVisible()) continue;
        control.setFocus();
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) QTest::keyClick(&control, key);
        EXPECT_TRUE(host.isVisible()) << ObjectName(id).toStdString();
        EXPECT_EQ(host.Pressed, 0);
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    }
}

TEST(ParameterPanel, TabReachesEveryControlInTheOrderOfTheRows) {
    for (const KyfAlgorithmType type : {0, 1}) {
        HostWindow host(SettingWith(type));
        test::Open(host);
        test::Find(host, type == 0 ? kIdAlgorithm2D : kIdAlgorithm3D).setFocus();
        const QList<QWidget*> chain = test::TabChain(host);
        std::vector<int> expected = {type == 0 ? kIdAlgorithm2D : kIdAlgorithm3D, kIdComplex};
        if (type == 0)
            expected.insert(expected.end(), {kIdSetManual, kIdManualButton, kIdAutoPosition, kIdPositioningButton});
        if (type == 1)
            expected.insert(expected.end(), {kIdPlaneTop, kIdPlaneBottomButton, kIdPlaneTopButton, kIdPlaneOtherButton,
                                             kIdDetailButton, kIdAutoPosition});
        expected.push_back(kIdSpeed);
        ASSERT_EQ(chain.size(), static_cast<qsizetype>(expected.size() + 1)); // and the host's button
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(chain.at(static_cast<qsizetype>(i))->objectName(), ObjectName(expected[i])) << i;
    }
}

TEST(ParameterPanel, ArrowKeysChooseAndWriteThrough) {
    HostWindow host(SettingWith(0));
    Listener listener;
    host.Panel->SetChangedFCDelegate(&listener);
    test::Open(host);
    test::Find(host, kIdAlgorithm2D).setFocus();
    QTest::keyClick(&test::Find(host, kIdAlgorithm2D), Qt::Key_Right);
    EXPECT_EQ(host.Panel->GetData().GetAlgType(), 1);
    EXPECT_EQ(listener.Types, std::vector<KyfAlgorithmType>{1});
    EXPECT_TRUE(test::Find(host, kIdDetailButton).isVisible());
    test::Find(host, kIdSpeed).setFocus();
    QTest::keyClick(&test::Find(host, kIdSpeed), Qt::Key_Down);
    EXPECT_EQ(host.Panel->GetData().GetSpeed(), 2);
    test::Find(host, kIdPlaneOtherButton).setFocus();
    QTest::keyClick(&test::Find(host, kIdPlaneOtherButton), Qt::Key_Space);
    EXPECT_EQ(host.Panel->GetData().GetPlaneType(), 2);
    EXPECT_TRUE(test::Find<QRadioButton>(host, kIdPlaneOther).isChecked());
}

TEST(ParameterPanel, MnemonicsChooseAndWriteThrough) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    const auto press = [&host](Qt::Key key) { QTest::keyClick(&host, key, Qt::AltModifier); };
    const auto alg = [&host] { return host.Panel->GetData().GetAlgType(); };
    press(Qt::Key_3); // the button is seen going down and up: that takes its time
    EXPECT_TRUE(QTest::qWaitFor([&] { return alg() == 1; }));
    press(Qt::Key_B);
    EXPECT_TRUE(QTest::qWaitFor([&] { return host.Panel->GetData().GetPlaneType() == 0; }));
    press(Qt::Key_C);
    EXPECT_TRUE(QTest::qWaitFor([&] { return alg() == 2; }));
    press(Qt::Key_E);
    EXPECT_TRUE(test::Find(host, kIdSpeed).hasFocus());
}

void TurnWheel(QWidget& control) {
    const QPointF place = control.rect().center();
    QWheelEvent event(place, control.mapToGlobal(place), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&control, &event);
}

TEST(ParameterPanel, TheWheelTurnsOnlyWhatHasTheFocus) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    QWidget& speed = test::Find(host, kIdSpeed);
    test::Find(host, kIdAlgorithm2D).setFocus();
    TurnWheel(speed);
    EXPECT_EQ(host.Panel->GetData().GetSpeed(), 1);
    speed.setFocus();
    TurnWheel(speed);
    EXPECT_EQ(host.Panel->GetData().GetSpeed(), 2);
}

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

TEST(ParameterPanel, TheListenerMayTakeTheWindowDown) {
    auto host = std::make_unique<HostWindow>(SettingWith(0));
    Listener listener;
    listener.Act = [&] { host->Panel.reset(); };
    host->Panel->SetChangedFCDelegate(&listener);
    test::Open(*host);
    test::Find<QAbstractButton>(*host, kIdAlgorithm3D).click();
    EXPECT_EQ(listener.Types, std::vector<KyfAlgorithmType>{1});
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
