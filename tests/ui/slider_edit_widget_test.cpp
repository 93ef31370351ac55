// What a user does to the edit field of a pair.
#include <algorithm>

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QMenu>
#include <QMimeData>

#include <gtest/gtest.h>

#include "ui/slider_window.h"

namespace {

using test::SliderWindow;

QString Text(const SliderWindow& window) { return window.Edit.text(); }

/// Whether the drop was taken.
bool Drop(QWidget& widget, const QMimeData& data) {
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &drop);
    return drop.isAccepted();
}

TEST(SliderEditWidget, TypingMovesTheSliderAndLeavesTheTextAlone) {
    SliderWindow window;
    window.Open();
    window.Type(QStringLiteral("07"));
    EXPECT_EQ(Text(window), QStringLiteral("07"));
    EXPECT_EQ(window.Slider.value(), 7);
    EXPECT_EQ(window.Slider.GetSlidePos(), 7);
    EXPECT_EQ(window.Edit.Refusals, 0);
}

TEST(SliderEditWidget, RefusesKeysOfOtherClasses) {
    SliderWindow window;
    window.Open();
    window.Type(QStringLiteral("1x.-5"));
    EXPECT_EQ(Text(window), QStringLiteral("15"));
    EXPECT_EQ(window.Edit.Refusals, 3);
}

TEST(SliderEditWidget, LetsEditingKeysThrough) {
    SliderWindow window;
    window.Open();
    window.Type(QStringLiteral("15"));
    QTest::keyClick(&window.Edit, Qt::Key_Backspace);
    EXPECT_EQ(Text(window), QStringLiteral("1"));
    QTest::keyClick(&window.Edit, Qt::Key_Home);
    QTest::keyClick(&window.Edit, Qt::Key_Delete);
    EXPECT_EQ(Text(window), QString());
    QTest::keyClick(&window.Edit, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Text(window), QStringLiteral("1"));
    EXPECT_EQ(window.Edit.Refusals, 0);
}

TEST(SliderEditWidget, PutsAValueBeyondTheRangeBackAtItsLimit) {
    SliderWindow window;
    window.Open();
    window.Type(QStringLiteral("25"));
    EXPECT_EQ(Text(window), QStringLiteral("20"));
    EXPECT_EQ(window.Slider.value(), 20);
    EXPECT_EQ(window.Edit.Refusals, 1);
}

TEST(SliderEditWidget, RewritesAnEmptyFieldWhenItIsLeft) {
    SliderWindow window;
    window.Open(1, 21);
    window.Type(QString());
    window.Edit.Refusals = 0;
    window.Leave();
    EXPECT_EQ(Text(window), QStringLiteral("1"));
    EXPECT_EQ(window.Slider.value(), 1);
}

TEST(SliderEditWidget, ReadsALoneMinusSignAsZeroUntilTheFieldIsLeft) {
    SliderWindow window;
    window.Open(-20, 20);
    window.Type(QStringLiteral("-"));
    EXPECT_EQ(Text(window), QStringLiteral("-"));
    EXPECT_EQ(window.Slider.value(), 0);
    EXPECT_EQ(window.Edit.Refusals, 0);
    window.Leave();
    EXPECT_EQ(Text(window), QStringLiteral("0"));
}

TEST(SliderEditWidget, KeepsItsTextWhileItsMenuIsOpen) {
    SliderWindow window;
    window.Open();
    window.Edit.clear();
    QFocusEvent popup(QEvent::FocusOut, Qt::PopupFocusReason);
    QApplication::sendEvent(&window.Edit, &popup);
    EXPECT_EQ(Text(window), QString());
    QFocusEvent left(QEvent::FocusOut, Qt::MouseFocusReason);
    QApplication::sendEvent(&window.Edit, &left);
    EXPECT_EQ(Text(window), QStringLiteral("0"));
}

TEST(SliderEditWidget, PastesWhatItAcceptsAndNothingOfTheRest) {
    SliderWindow window;
    window.Open();
    window.Edit.selectAll();
    QApplication::clipboard()->setText(QStringLiteral(" 12\n"));
    QTest::keyClick(&window.Edit, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Text(window), QStringLiteral("12"));
    EXPECT_EQ(window.Slider.value(), 12);
    window.Edit.selectAll();
    QApplication::clipboard()->setText(QStringLiteral("1,5"));
    QTest::keyClick(&window.Edit, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Text(window), QStringLiteral("12"));
    EXPECT_EQ(window.Edit.Refusals, 1);
}

TEST(SliderEditWidget, FiltersWhatItsMenuPastes) {
    SliderWindow window;
    window.Open();
    QApplication::clipboard()->setText(QStringLiteral("abc"));
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), window.Edit.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&window.Edit, &event);
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    const QList<QAction*> actions = menu->actions();
    const auto paste = std::ranges::find_if(
        actions, [](const QAction* action) { return action->text().startsWith(QLineEdit::tr("&Paste")); });
    ASSERT_NE(paste, actions.end());
    (*paste)->trigger();
    menu->close();
    EXPECT_EQ(Text(window), QStringLiteral("10"));
    EXPECT_EQ(window.Edit.Refusals, 1);
}

TEST(SliderEditWidget, FiltersWhatIsDropped) {
    SliderWindow window;
    window.Open();
    QMimeData data;
    data.setText(QStringLiteral("abc"));
    EXPECT_FALSE(Drop(window.Edit, data));
    EXPECT_EQ(Text(window), QStringLiteral("10"));
    EXPECT_EQ(window.Edit.Refusals, 1);
    window.Edit.clear();
    data.setText(QStringLiteral("7"));
    EXPECT_TRUE(Drop(window.Edit, data));
    EXPECT_EQ(Text(window), QStringLiteral("7"));
}

TEST(SliderEditWidget, DropsLoseTheBlanksAroundThem) {
    SliderWindow window;
    window.Open();
    window.Edit.clear();
    QMimeData data;
    data.setText(QStringLiteral(" 12\n"));
    EXPECT_TRUE(Drop(window.Edit, data));
    EXPECT_EQ(Text(window), QStringLiteral("12"));
    EXPECT_EQ(window.Slider.value(), 12);
    EXPECT_EQ(window.Edit.Refusals, 0);
}

TEST(SliderEditWidget, AReadOnlyFieldIsQuiet) {
    SliderWindow window;
    window.Open();
    window.Edit.setReadOnly(true);
    QMimeData data;
    data.setText(QStringLiteral("abc"));
    EXPECT_FALSE(Drop(window.Edit, data));
    QInputMethodEvent event;
    event.setCommitString(QStringLiteral("1あ"));
    QApplication::sendEvent(&window.Edit, &event);
    QTest::keyClicks(&window.Edit, QStringLiteral("x"));
    EXPECT_EQ(Text(window), QStringLiteral("10"));
    EXPECT_EQ(window.Edit.Refusals, 0);
}

TEST(SliderEditWidget, FiltersWhatAnInputMethodHandsOver) {
    SliderWindow window;
    window.Open();
    window.Edit.clear();
    window.Edit.selectAll();
    QInputMethodEvent event;
    event.setCommitString(QStringLiteral("1あ"));
    QApplication::sendEvent(&window.Edit, &event);
    EXPECT_EQ(window.Edit.Refusals, 1);
    EXPECT_EQ(window.Slider.value(), 1);
}

TEST(SliderEditWidget, ReadsDigitsOfFullWidth) {
    SliderWindow window;
    window.Open();
    window.Edit.selectAll();
    QInputMethodEvent event;
    event.setCommitString(QStringLiteral("１５"));
    QApplication::sendEvent(&window.Edit, &event);
    EXPECT_EQ(window.Slider.value(), 15);
    int value = 0;
    EXPECT_EQ(window.Edit.GetValue(value), 1);
    EXPECT_EQ(value, 15);
    EXPECT_EQ(window.Edit.Refusals, 0);
}

TEST(SliderEditWidget, ShowsRealValuesWithAFullStop) {
    SliderWindow window;
    window.Edit.SetParams(0.0, 1.0, 10, L"%.2f", 2);
    window.Edit.SetPer(1);
    window.Show();
    EXPECT_EQ(window.Edit.UpdateEdit(37), 1);
    EXPECT_EQ(Text(window), QStringLiteral("0.37"));
    EXPECT_EQ(window.Edit.UpdateEdit(37), window.Slider.value() == 37 ? 0 : 1);
    EXPECT_EQ(window.Slider.maximum(), 100);
    window.Type(QStringLiteral("0.5"));
    double value = 0.0;
    EXPECT_EQ(window.Edit.GetValue(value), 1);
    EXPECT_EQ(value, 0.5);
    EXPECT_EQ(window.Slider.value(), 50);
}

} // namespace
