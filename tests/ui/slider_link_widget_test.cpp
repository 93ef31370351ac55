// What a user does to the slider of a pair.
#include <QAccessible>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpontaneKeyEvent>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include "ui/slider_window.h"

namespace {

using test::SliderWindow;

QRect Thumb(const QSlider& slider) {
    struct Open : QSlider {
        using QSlider::initStyleOption;
    };
    QStyleOptionSlider option;
    (slider.*static_cast<void (QSlider::*)(QStyleOptionSlider*) const>(&Open::initStyleOption))(&option);
    return slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider);
}

void Drag(QSlider& slider, QPoint to) {
    const QPoint from = Thumb(slider).center();
    QTest::mousePress(&slider, Qt::LeftButton, {}, from);
    QTest::mouseMove(&slider, from + (to - from) / 2);
    QTest::mouseMove(&slider, to);
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, to);
}

/// In eighths of a degree, as touchpads report it; a notch of a wheel is 120.
void Turn(QWidget& widget, int delta) {
    const QPointF at = QPointF(widget.rect().center());
    QWheelEvent event(at, widget.mapToGlobal(at), {}, QPoint(0, delta), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
    QSpontaneKeyEvent::setSpontaneous(&event); // from outside: what a widget ignores goes on to its parent
    qApp->notify(&widget, &event);
}

void Wheel(QWidget& widget, int notches) { Turn(widget, 120 * notches); }

int Shown(const SliderWindow& window) {
    int value = -1;
    EXPECT_EQ(window.Edit.GetValue(value), 1);
    EXPECT_EQ(window.Slider.value(), value) << "text and thumb disagree";
    return value;
}

class BothWays : public testing::TestWithParam<Qt::Orientation> {};

TEST_P(BothWays, ArrowKeysMoveByOne) {
    SliderWindow window(GetParam());
    window.Open();
    QTest::keyClick(&window.Slider, Qt::Key_Up);
    EXPECT_EQ(Shown(window), 11);
    QTest::keyClick(&window.Slider, Qt::Key_Right);
    EXPECT_EQ(Shown(window), 12);
    QTest::keyClick(&window.Slider, Qt::Key_Down);
    QTest::keyClick(&window.Slider, Qt::Key_Left);
    QTest::keyClick(&window.Slider, Qt::Key_Down);
    EXPECT_EQ(Shown(window), 9);
}

TEST_P(BothWays, PageKeysMoveByAFifthOfTheRange) {
    SliderWindow window(GetParam());
    window.Open();
    QTest::keyClick(&window.Slider, Qt::Key_PageUp);
    EXPECT_EQ(Shown(window), 14);
    QTest::keyClick(&window.Slider, Qt::Key_PageDown);
    QTest::keyClick(&window.Slider, Qt::Key_PageDown);
    EXPECT_EQ(Shown(window), 6);
}

TEST_P(BothWays, HomeAndEndReachTheLimits) {
    SliderWindow window(GetParam());
    window.Open();
    QTest::keyClick(&window.Slider, Qt::Key_End);
    EXPECT_EQ(Shown(window), 20);
    QTest::keyClick(&window.Slider, Qt::Key_Home);
    EXPECT_EQ(Shown(window), 0);
}

TEST_P(BothWays, WheelMovesTheValue) {
    SliderWindow window(GetParam());
    window.Open();
    window.Slider.setFocus();
    Wheel(window.Slider, 1);
    const int up = Shown(window);
    EXPECT_GT(up, 10);
    Wheel(window.Slider, -2);
    EXPECT_LT(Shown(window), 10);
}

TEST_P(BothWays, WheelOverASliderWithoutFocusScrollsTheWindow) {
    SliderWindow window(GetParam());
    window.Open();
    QScrollArea area;
    auto* const tall = new QWidget;
    tall->setFixedSize(300, 2000);
    window.Slider.setParent(tall);
    area.setWidget(tall);
    area.resize(400, 400);
    area.show();
    window.Slider.show();
    area.setFocus();
    QCoreApplication::processEvents();
    Wheel(window.Slider, -1);
    EXPECT_EQ(Shown(window), 10);
    EXPECT_GT(area.verticalScrollBar()->value(), 0);
    EXPECT_FALSE(window.Slider.hasFocus());
    EXPECT_EQ(window.Slider.focusPolicy(), Qt::StrongFocus);
    window.Slider.setParent(nullptr);
}

TEST_P(BothWays, ClickBesideTheThumbMovesByAPage) {
    SliderWindow window(GetParam());
    window.Open();
    const bool vertical = GetParam() == Qt::Vertical;
    const QPoint middle = window.Slider.rect().center();
    const QPoint high = vertical ? QPoint(middle.x(), 4) : QPoint(window.Slider.width() - 4, middle.y());
    QTest::mouseClick(&window.Slider, Qt::LeftButton, {}, high);
    EXPECT_EQ(Shown(window), 14);
}

TEST_P(BothWays, DraggingTheThumbPassesThroughTheValues) {
    SliderWindow window(GetParam());
    window.Open();
    const bool vertical = GetParam() == Qt::Vertical;
    Drag(window.Slider,
         vertical ? QPoint(window.Slider.width() / 2, 0) : QPoint(window.Slider.width(), window.Slider.height() / 2));
    EXPECT_EQ(Shown(window), 20);
    Drag(window.Slider,
         vertical ? QPoint(window.Slider.width() / 2, window.Slider.height()) : QPoint(0, window.Slider.height() / 2));
    EXPECT_EQ(Shown(window), 0);
}

TEST_P(BothWays, ValueSetFromOutsideReachesTheText) {
    SliderWindow window(GetParam());
    window.Open();
    window.Slider.setValue(3);
    EXPECT_EQ(Shown(window), 3);
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&window.Slider);
    ASSERT_NE(accessible, nullptr);
    ASSERT_NE(accessible->valueInterface(), nullptr);
    accessible->valueInterface()->setCurrentValue(17);
    EXPECT_EQ(Shown(window), 17);
}

INSTANTIATE_TEST_SUITE_P(Sliders, BothWays, testing::Values(Qt::Horizontal, Qt::Vertical), [](const auto& parameter) {
    return parameter.param == Qt::Horizontal ? "Horizontal" : "Vertical";
});

TEST(VerticalSlider, HasItsHighestValueAtTheTop) {
    SliderWindow window(Qt::Vertical);
    window.Open();
    window.Edit.SetValue(20);
    const int top = Thumb(window.Slider).center().y();
    window.Edit.SetValue(0);
    const int bottom = Thumb(window.Slider).center().y();
    EXPECT_LT(top, bottom);
    EXPECT_EQ(window.Slider.GetSlidePos(), 20) << "positions of its own operations count from the top";
}

TEST(HorizontalSlider, StopsAtMultiplesOfItsStep) {
    SliderWindow window;
    window.Open(0, 20, 5);
    QTest::keyClick(&window.Slider, Qt::Key_Right);
    EXPECT_EQ(Shown(window), 15);
    QTest::keyClick(&window.Slider, Qt::Key_Left);
    EXPECT_EQ(Shown(window), 10);
    QTest::keyClick(&window.Slider, Qt::Key_PageUp);
    EXPECT_EQ(Shown(window), 15);
}

/// 0.29 reads back as position 28 of 100, so that one position up shows 0.29 again.
TEST(HorizontalSlider, ArrowKeysGetPastValuesThatRoundDown) {
    SliderWindow window;
    window.Edit.SetParams(0.0, 1.0, 10, L"%.2f", 2);
    window.Edit.SetPer(1);
    window.Edit.SetValue(0.0);
    window.Show();
    for (int i = 0; i < 100; ++i) QTest::keyClick(&window.Slider, Qt::Key_Right);
    EXPECT_EQ(window.Edit.text(), QStringLiteral("1.00"));
}

TEST(HorizontalSlider, LeavesAValueThatWasSetInTheDirectionOfTheMove) {
    SliderWindow window;
    window.Open(0, 20, 5);
    QTest::keyClick(&window.Slider, Qt::Key_PageDown);
    EXPECT_EQ(Shown(window), 5) << "the first move of all";
    QTest::keyClick(&window.Slider, Qt::Key_End);
    window.Edit.SetValue(7);
    QTest::keyClick(&window.Slider, Qt::Key_Right);
    EXPECT_EQ(Shown(window), 10);
    QTest::keyClick(&window.Slider, Qt::Key_Home);
    window.Type(QStringLiteral("13"));
    QTest::keyClick(&window.Slider, Qt::Key_Left);
    EXPECT_EQ(Shown(window), 10);
    window.Type(QStringLiteral("8"));
    window.Slider.setFocus();
    Wheel(window.Slider, -1);
    EXPECT_EQ(Shown(window), 5);
}

/// A page of a short range is one position, and 0.03 reads back as position 2 of 7.
TEST(HorizontalSlider, PagesGetPastValuesThatRoundDown) {
    SliderWindow window;
    window.Edit.SetParams(0.0, 0.07, 10, L"%.2f", 2);
    window.Edit.SetPer(1);
    window.Edit.SetValue(0.0);
    window.Show();
    ASSERT_EQ(window.Slider.pageStep(), 1);
    for (int i = 0; i < 7; ++i) QTest::keyClick(&window.Slider, Qt::Key_PageUp);
    EXPECT_EQ(window.Edit.text(), QStringLiteral("0.07"));
}

/// A touchpad gives less than a notch at a time: one position here.
TEST(HorizontalSlider, TurnsOfOnePositionGetPastValuesThatRoundDown) {
    const int oneLine = 120 / QApplication::wheelScrollLines();
    for (const int direction : {1, -1}) {
        SliderWindow window;
        window.Edit.SetParams(0.0, 1.0, 10, L"%.2f", 2);
        window.Edit.SetPer(1);
        window.Edit.SetValue(direction > 0 ? 0.0 : 1.0);
        window.Show();
        window.Slider.setFocus();
        for (int i = 0; i < 100; ++i) Turn(window.Slider, direction * oneLine);
        EXPECT_EQ(window.Edit.text(), direction > 0 ? QStringLiteral("1.00") : QStringLiteral("0.00"));
    }
}

TEST(HorizontalSlider, FollowsAChangeOfOrientation) {
    SliderWindow window;
    window.Open();
    window.Slider.setOrientation(Qt::Vertical);
    QTest::keyClick(&window.Slider, Qt::Key_Up);
    EXPECT_EQ(Shown(window), 11);
    window.Edit.SetValue(4);
    EXPECT_EQ(Shown(window), 4);
}

} // namespace
