// The parameter panel under keyboard and wheel.
#include <vector>

#include "ui/dialog_host.h"
#include "ui/rules/panel_rules.h"

namespace {

using namespace kyfui;
using test::HostWindow;
using test::Listener;
using test::SettingWith;

TEST(ParameterPanel, EnterAndEscapeDoNothingAndStayInside) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    for (const int id : kPanelControls) {
        QWidget& control = test::Find(host, id);
        if (!control.isVisible()) continue;
        control.setFocus();
        const auto* const button = qobject_cast<QAbstractButton*>(&control);
        const bool pressed = button != nullptr && !button->isCheckable();
        QTest::keyClick(&control, Qt::Key_Escape);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter})
            if (!pressed) QTest::keyClick(&control, key);
        EXPECT_TRUE(host.isVisible()) << ObjectName(id).toStdString();
        EXPECT_EQ(host.Pressed, 0);
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    }
}

TEST(ParameterPanel, EnterPressesTheButtonThatHasTheFocus) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    for (const int id : {kIdManualButton, kIdPositioningButton}) {
        const test::InNextDialog opened([](QDialog& dialog) { dialog.reject(); });
        test::Find(host, id).setFocus();
        QTest::keyClick(&test::Find(host, id), Qt::Key_Return);
    }
    test::Click(host, kIdAlgorithm3D);
    test::Find(host, kIdPlaneOtherButton).setFocus();
    QTest::keyClick(&test::Find(host, kIdPlaneOtherButton), Qt::Key_Enter);
    EXPECT_EQ(host.Panel->GetData().GetPlaneType(), 2);
    EXPECT_EQ(host.Pressed, 0);
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

TEST(ParameterPanel, TheWheelTurnsOnlyWhatHasTheFocus) {
    HostWindow host(SettingWith(0));
    test::Open(host);
    QWidget& speed = test::Find(host, kIdSpeed);
    test::Find(host, kIdAlgorithm2D).setFocus();
    test::TurnWheel(speed);
    EXPECT_EQ(host.Panel->GetData().GetSpeed(), 1);
    speed.setFocus();
    test::TurnWheel(speed);
    EXPECT_EQ(host.Panel->GetData().GetSpeed(), 2);
}

} // namespace
