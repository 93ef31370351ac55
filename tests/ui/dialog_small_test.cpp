// The three small dialogs as a user finds them: keys, mouse, what stands in the way of OK, and values from a bad file.
#include <limits>

#include "ui/dialog_driver.h"
#include "ui/dialogs/dlg_set_2d_selection_param.h"
#include "ui/dialogs/dlg_set_auto_positioning_param.h"
#include "ui/dialogs/dlg_set_detail_param.h"

namespace {

using namespace kyfui;

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

TEST(ManualDialog, TypingMovesTheSliderAndFindsThePreset) {
    CDlgSet2DSelectionParam dialog({3, 3}, nullptr);
    test::Open(dialog);
    EXPECT_EQ(test::Find<QComboBox>(dialog, kIdPreset).currentIndex(), -1);
    test::Type(dialog, kIdCompSizeEdit, QStringLiteral("15"));
    test::Type(dialog, kIdSmoothingEdit, QStringLiteral("6"));
    EXPECT_EQ(test::Find<QSlider>(dialog, kIdCompSizeSlider).value(), 15);
    EXPECT_EQ(test::Find<QComboBox>(dialog, kIdPreset).currentIndex(), 2);
    EXPECT_EQ(dialog.Values(), (Preset{15, 6}));
}

TEST(ManualDialog, LettersAreRefusedAndNumbersLimited) {
    CDlgSet2DSelectionParam dialog({8, 6}, nullptr);
    test::Open(dialog);
    test::Type(dialog, kIdCompSizeEdit, QStringLiteral("1x-2"));
    EXPECT_EQ(test::Find<QLineEdit>(dialog, kIdCompSizeEdit).text(), QStringLiteral("12"));
    test::Type(dialog, kIdSmoothingEdit, QStringLiteral("11"));
    EXPECT_EQ(test::Find<QLineEdit>(dialog, kIdSmoothingEdit).text(), QStringLiteral("10"));
    EXPECT_EQ(dialog.Values(), (Preset{12, 10}));
}

TEST(ManualDialog, KeysOnASliderChangeItsField) {
    CDlgSet2DSelectionParam dialog({8, 6}, nullptr);
    test::Open(dialog);
    QWidget& slider = test::Find(dialog, kIdCompSizeSlider);
    slider.setFocus();
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(test::Find<QLineEdit>(dialog, kIdCompSizeEdit).text(), QStringLiteral("9"));
    EXPECT_EQ(test::Find<QComboBox>(dialog, kIdPreset).currentIndex(), -1);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(test::Find<QComboBox>(dialog, kIdPreset).currentIndex(), 1);
}

TEST(ManualDialog, EnterInAFieldTakesWhatStandsThere) {
    CDlgSet2DSelectionParam dialog({8, 6}, nullptr);
    test::Open(dialog);
    test::Type(dialog, kIdCompSizeEdit, QString());
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.Values(), (Preset{0, 6})); // an empty field reads as 0
}

TEST(ManualDialog, AnyPairOfLimitedValuesComesOutAsItWentIn) {
    for (const Preset values : {Preset{0, 0}, Preset{20, 10}, Preset{0, 10}, Preset{20, 0}}) {
        CDlgSet2DSelectionParam dialog(values, nullptr);
        test::Open(dialog);
        test::Click(dialog, kIdOk);
        EXPECT_EQ(dialog.result(), QDialog::Accepted);
        EXPECT_EQ(dialog.Values(), values);
    }
}

TEST(DetailDialog, ANumberOutOfRangeIsSelectedSoThatTheNextKeyReplacesIt) {
    CDlgSetDetailParam dialog({}, nullptr);
    test::Open(dialog);
    auto& field = test::Find<QLineEdit>(dialog, kIdNoiseEdit);
    test::Type(dialog, kIdNoiseEdit, QStringLiteral("11"));
    EXPECT_EQ(field.selectedText(), QStringLiteral("11"));
    EXPECT_EQ(dialog.Values()[DetailField::NoiseRemove], 1); // of the first key
    QTest::keyClicks(&field, QStringLiteral("7"));
    EXPECT_EQ(field.text(), QStringLiteral("7"));
    EXPECT_EQ(test::Find<QSlider>(dialog, kIdNoiseSlider).value(), 7);
}

TEST(DetailDialog, AFailingFieldStandsInTheWayOfOK) {
    CDlgSetDetailParam dialog({}, nullptr);
    test::Open(dialog);
    test::Type(dialog, kIdShapeEdit, QStringLiteral("x"));
    test::Click(dialog, kIdOk);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(test::Find(dialog, kIdShapeEdit).hasFocus());
    test::Type(dialog, kIdShapeEdit, QStringLiteral("10"));
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.Values()[DetailField::ShapeSmoothing], 10);
}

TEST(DetailDialog, AnEmptyFieldKeepsItsValue) {
    CDlgSetDetailParam dialog({1, 1, {3, 4, 5}}, nullptr);
    test::Open(dialog);
    test::Type(dialog, kIdSensitivityEdit, QString());
    EXPECT_EQ(test::Find<QSlider>(dialog, kIdSensitivitySlider).value(), 3);
    test::Click(dialog, kIdOk);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.Values(), (DetailValues{1, 1, {3, 4, 5}}));
}

TEST(DetailDialog, KeysOnASliderGoByOneAndRewriteTheFields) {
    CDlgSetDetailParam dialog({}, nullptr);
    test::Open(dialog);
    test::Type(dialog, kIdNoiseEdit, QStringLiteral("99"));
    QWidget& slider = test::Find(dialog, kIdSensitivitySlider);
    slider.setFocus();
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(test::Find<QLineEdit>(dialog, kIdSensitivityEdit).text(), QStringLiteral("6"));
    EXPECT_EQ(test::Find<QLineEdit>(dialog, kIdNoiseEdit).text(), QStringLiteral("9"));
    QTest::keyClick(&slider, Qt::Key_End);
    EXPECT_EQ(dialog.Values()[DetailField::Sensitivity], 10);
}

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

TEST(SmallDialogs, TabReachesEveryControl) {
    CDlgSet2DSelectionParam manual({8, 6}, nullptr);
    CDlgSetDetailParam detail({}, nullptr);
    CDlgSetAutoPositioningParam areas(AreasOf(0), nullptr);
    const std::pair<QDialog*, std::vector<int>> dialogs[] = {
        {&manual,
         {kIdPreset, kIdCompSizeSlider, kIdCompSizeEdit, kIdSmoothingSlider, kIdSmoothingEdit, kIdOk, kIdCancel}},
        {&detail,
         {kIdHalation, kIdPeakPosition, kIdSensitivitySlider, kIdSensitivityEdit, kIdNoiseSlider, kIdNoiseEdit,
          kIdShapeSlider, kIdShapeEdit, kIdDetailDefaults, kIdOk, kIdCancel}},
        {&areas, {kIdAreaCount, kIdAreaReset, kIdAreaPicture, kIdOk, kIdCancel}}};
    for (const auto& [dialog, ids] : dialogs) {
        test::Open(*dialog);
        test::Find(*dialog, ids.front()).setFocus();
        const QList<QWidget*> chain = test::TabChain(*dialog);
        ASSERT_EQ(chain.size(), static_cast<qsizetype>(ids.size())) << dialog->windowTitle().toStdString();
        for (std::size_t i = 0; i < ids.size(); ++i)
            EXPECT_EQ(chain.at(static_cast<qsizetype>(i))->objectName(), ObjectName(ids[i])) << i;
        for (const int id : ids) {
            EXPECT_FALSE(test::Find(*dialog, id).accessibleName().isEmpty()) << ObjectName(id).toStdString();
            if (id == kIdOk || id == kIdCancel) continue;
            EXPECT_FALSE(test::Find(*dialog, id).toolTip().isEmpty()) << ObjectName(id).toStdString();
        }
        dialog->hide();
    }
}

} // namespace
