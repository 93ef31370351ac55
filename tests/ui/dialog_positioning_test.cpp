// The automatic positioning dialog as a user finds it: mouse, keys, colours, and numbers from a bad file.
#include <limits>

#include "ui/dialog_driver.h"
#include "ui/dialogs/dlg_set_auto_positioning_param.h"

namespace {

using namespace kyfui;

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

Areas AreasOf(KyfAreaNo number) {
    Areas areas;
    SetAreaPattern(2, areas);
    SetAreaPattern(number, areas);
    return areas;
}

class AreasOnScreen {
  public:
    explicit AreasOnScreen(const Areas& areas) : Dialog(areas, nullptr), Picture(test::Find(Dialog, kIdAreaPicture)) {
        Picture.setFixedSize(400, 300);
        test::Open(Dialog);
    }
    const KyPoint& Place(std::size_t index) const { return Dialog.Values().AreaPos[index]; }
    void Key(Qt::Key key) { QTest::keyClick(&Picture, key); }

    CDlgSetAutoPositioningParam Dialog;
    QWidget& Picture;
};

TEST(PositioningDialog, ASquareIsDraggedWithTheMouse) {
    AreasOnScreen screen(AreasOf(0));
    QTest::mousePress(&screen.Picture, Qt::LeftButton, {}, QPoint(100, 150));
    for (const QPoint place : {QPoint(104, 152), QPoint(110, 156), QPoint(115, 160)})
        QTest::mouseMove(&screen.Picture, place);
    QTest::mouseRelease(&screen.Picture, Qt::LeftButton, {}, QPoint(115, 160));
    EXPECT_EQ(screen.Place(0).x, 30); // 120 of 400
    EXPECT_EQ(screen.Place(0).y, 55); // 165 of 300
    QTest::mouseMove(&screen.Picture, QPoint(110, 156));
    EXPECT_EQ(screen.Place(0).x, 30);
}

TEST(PositioningDialog, OtherButtonsDragNothing) {
    AreasOnScreen screen(AreasOf(0));
    QTest::mousePress(&screen.Picture, Qt::RightButton, {}, QPoint(100, 150));
    QTest::mouseMove(&screen.Picture, QPoint(105, 155));
    EXPECT_EQ(screen.Place(0).x, 25);
}

TEST(PositioningDialog, TabGoesFromSquareToSquareAndThenOn) {
    AreasOnScreen screen(AreasOf(1));
    screen.Picture.setFocus(Qt::TabFocusReason);
    screen.Key(Qt::Key_Right);
    EXPECT_EQ(screen.Place(0).x, 51);
    screen.Key(Qt::Key_Tab);
    screen.Key(Qt::Key_Up);
    EXPECT_EQ(screen.Place(1).y, 74);
    screen.Key(Qt::Key_Tab);
    screen.Key(Qt::Key_Left);
    screen.Key(Qt::Key_Down);
    EXPECT_EQ(screen.Place(2).x, 24);
    EXPECT_EQ(screen.Place(2).y, 76);
    EXPECT_TRUE(screen.Picture.hasFocus());
    screen.Key(Qt::Key_Tab);
    EXPECT_FALSE(screen.Picture.hasFocus());
    QTest::keyClick(screen.Dialog.focusWidget(), Qt::Key_Backtab);
    screen.Key(Qt::Key_Left);
    EXPECT_EQ(screen.Place(2).x, 23);
}

TEST(PositioningDialog, KeysStopWhereTheMouseDoes) {
    AreasOnScreen screen(AreasOf(0));
    screen.Picture.setFocus(Qt::TabFocusReason);
    for (int i = 0; i < 100; ++i) screen.Key(Qt::Key_Left);
    EXPECT_EQ(screen.Place(0).x, 4); // pixel 16: the square begins at 3; 3 percent would be pixel 12
}

TEST(PositioningDialog, TheChosenSquareIsMarkedAndDescribed) {
    AreasOnScreen screen(AreasOf(0));
    const QImage before = screen.Picture.grab().toImage();
    screen.Picture.setFocus(Qt::TabFocusReason);
    EXPECT_NE(screen.Picture.grab().toImage(), before);
    EXPECT_TRUE(screen.Picture.accessibleDescription().contains(QStringLiteral("25")));
    screen.Key(Qt::Key_Right);
    EXPECT_TRUE(screen.Picture.accessibleDescription().contains(QStringLiteral("26")));
}

TEST(PositioningDialog, TheButtonPutsTheSquaresBack) {
    AreasOnScreen screen(AreasOf(2));
    screen.Picture.setFocus(Qt::TabFocusReason);
    screen.Key(Qt::Key_Right);
    test::Click(screen.Dialog, kIdAreaReset);
    EXPECT_EQ(screen.Place(0).x, 50);
    EXPECT_EQ(screen.Dialog.Values().AreaNo, 2);
}

TEST(PositioningDialog, ThePictureIsWhiteInDarkPalettesToo) {
    QPalette dark(Qt::black);
    dark.setColor(QPalette::Base, Qt::black);
    const QPalette before = QApplication::palette();
    QApplication::setPalette(dark);
    AreasOnScreen screen(AreasOf(0));
    const QImage image = screen.Picture.grab().toImage();
    EXPECT_EQ(image.pixelColor(1, 1), QColor(Qt::white));
    EXPECT_EQ(image.pixelColor(100 - 13, 150 - 13), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(100 + 12, 150 + 12), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(100 + 13, 150 + 13), QColor(Qt::white));
    QApplication::setPalette(before);
}

TEST(PositioningDialog, NumbersFromABadFileAreShownAsFarAsTheyCanBe) {
    for (const std::int32_t number : {kMin, -2, -1, 3, kMax}) {
        Areas areas;
        areas.AreaNo = number;
        areas.AreaPos = {{{kMin, kMax}, {kMax, kMin}, {-5, 105}, {50, 50}}};
        AreasOnScreen screen(areas);
        EXPECT_EQ(test::Find<QComboBox>(screen.Dialog, kIdAreaCount).currentIndex(), -1);
        screen.Picture.grab();
        screen.Picture.setFocus(Qt::TabFocusReason);
        for (int i = 0; i < 3; ++i)
            for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Down, Qt::Key_Up}) screen.Key(key);
        QTest::mousePress(&screen.Picture, Qt::LeftButton, {}, QPoint(100, 150));
        QTest::mouseMove(&screen.Picture, QPoint(105, 155));
        test::Click(screen.Dialog, kIdAreaReset);
        test::Click(screen.Dialog, kIdOk);
        EXPECT_EQ(screen.Dialog.Values().AreaNo, number);
    }
}

} // namespace
