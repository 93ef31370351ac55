// The manual and the detail dialog as a user finds them: keys, and what stands in the way of OK; Tab in all three.
#include <utility>
#include <vector>

#include <QToolTip>

#include "ui/dialog_driver.h"
#include "ui/dialogs/dlg_set_2d_selection_param.h"
#include "ui/dialogs/dlg_set_auto_positioning_param.h"
#include "ui/dialogs/dlg_set_detail_param.h"
#include "ui/resources/resources.h"

namespace {

using namespace kyfui;

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

TEST(ManualDialog, SlidersHaveTheirTicksAndStopAtEveryNumber) {
    CDlgSet2DSelectionParam dialog({0, 0}, nullptr);
    test::Open(dialog);
    struct Expected {
        int Slider, Field, Max, TickInterval;
    };
    for (const Expected& expected :
         {Expected{kIdCompSizeSlider, kIdCompSizeEdit, 20, 4}, Expected{kIdSmoothingSlider, kIdSmoothingEdit, 10, 1}}) {
        auto& slider = test::Find<QSlider>(dialog, expected.Slider);
        EXPECT_EQ(slider.minimum(), 0);
        EXPECT_EQ(slider.maximum(), expected.Max);
        EXPECT_EQ(slider.tickInterval(), expected.TickInterval); // 5 and 10 intervals
        slider.setSliderDown(true);
        for (int position = 1; position <= expected.Max; ++position) {
            slider.setSliderPosition(position);
            EXPECT_EQ(test::Find<QLineEdit>(dialog, expected.Field).text(), QString::number(position));
        }
        slider.setSliderDown(false);
    }
}

TEST(ManualDialog, LeavingAFieldThatComposesKeepsTheNumbers) {
    CDlgSet2DSelectionParam dialog({8, 6}, nullptr);
    test::Open(dialog);
    auto& field = test::Find<QLineEdit>(dialog, kIdCompSizeEdit);
    field.setFocus();
    QInputMethodEvent composing(QStringLiteral("1"), {});
    QApplication::sendEvent(&field, &composing);
    QTest::keyClick(&field, Qt::Key_Tab);
    test::Type(dialog, kIdSmoothingEdit, QStringLiteral("7"));
    EXPECT_EQ(dialog.Values(), (Preset{8, 7}));
    test::Click(dialog, kIdOk);
    EXPECT_EQ(dialog.Values(), (Preset{8, 7}));
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

TEST(DetailDialog, ANumberOutOfRangeIsToldAtItsField) {
    CDlgSetDetailParam dialog({}, nullptr);
    test::Open(dialog);
    test::Type(dialog, kIdShapeEdit, QStringLiteral("-"));
    EXPECT_EQ(QToolTip::text(), Text(kIdRangeError));
    QToolTip::hideText();
}

TEST(DetailDialog, DigitsOfAnInputMethodAreNumbersToo) {
    CDlgSetDetailParam dialog({}, nullptr);
    test::Open(dialog);
    auto& field = test::Find<QLineEdit>(dialog, kIdNoiseEdit);
    field.setFocus();
    field.selectAll();
    QInputMethodEvent typed;
    typed.setCommitString(QString::fromUtf8("\xEF\xBC\x91\xEF\xBC\x90")); // full-width 10
    QApplication::sendEvent(&field, &typed);
    EXPECT_FALSE(field.hasSelectedText());
    EXPECT_EQ(dialog.Values()[DetailField::NoiseRemove], 10);
    EXPECT_EQ(test::Find<QSlider>(dialog, kIdNoiseSlider).value(), 10);
    test::Click(dialog, kIdOk);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

class HeardDetailDialog : public CDlgSetDetailParam {
  public:
    HeardDetailDialog() : CDlgSetDetailParam({}, nullptr) {}
    int Beeps = 0;

  protected:
    void Beep() override { ++Beeps; }
};

TEST(DetailDialog, ANumberOutOfRangeBeepsAndIsScrolledIntoView) {
    HeardDetailDialog dialog;
    test::Open(dialog);
    auto& field = test::Find<QLineEdit>(dialog, kIdNoiseEdit);
    test::Type(dialog, kIdNoiseEdit, QStringLiteral("10"));
    EXPECT_EQ(dialog.Beeps, 0);
    EXPECT_FALSE(QToolTip::isVisible());
    test::Find(dialog, kIdOk).setFocus();
    field.setText(QString(100, QLatin1Char('7')));
    EXPECT_EQ(dialog.Beeps, 1);
    EXPECT_TRUE(field.hasFocus());
    EXPECT_EQ(field.selectedText().size(), 100);
    EXPECT_EQ(QToolTip::text(), Text(kIdRangeError));
    field.grab(); // scrolls
    EXPECT_TRUE(field.rect().contains(field.inputMethodQuery(Qt::ImCursorRectangle).toRectF().center().toPoint()));
    test::Click(dialog, kIdOk);
    EXPECT_EQ(dialog.Beeps, 2);
    EXPECT_TRUE(dialog.isVisible());
    QToolTip::hideText();
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

/// The wheel over each slider: without the focus it changes nothing, with it its field by one.
void TurnOverSliders(QDialog& dialog, std::initializer_list<std::pair<int, int>> slidersAndFields) {
    test::Open(dialog);
    for (const auto& [sliderId, fieldId] : slidersAndFields) {
        auto& slider = test::Find<QSlider>(dialog, sliderId);
        const auto& field = test::Find<QLineEdit>(dialog, fieldId);
        const int value = slider.value();
        test::Find(dialog, kIdOk).setFocus();
        test::TurnWheel(slider);
        EXPECT_FALSE(slider.hasFocus());
        EXPECT_EQ(slider.value(), value) << ObjectName(sliderId).toStdString();
        EXPECT_EQ(field.text(), QString::number(value));
        slider.setFocus();
        for (int below = value - 1; below >= value - 3; --below) {
            test::TurnWheel(slider);
            EXPECT_EQ(slider.value(), below) << ObjectName(sliderId).toStdString();
            EXPECT_EQ(field.text(), QString::number(below));
        }
    }
}

TEST(SmallDialogs, TheWheelTurnsOnlyTheSliderThatHasTheFocus) {
    const int lines = QApplication::wheelScrollLines();
    QApplication::setWheelScrollLines(1);
    CDlgSet2DSelectionParam manual({8, 6}, nullptr);
    TurnOverSliders(manual, {{kIdCompSizeSlider, kIdCompSizeEdit}, {kIdSmoothingSlider, kIdSmoothingEdit}});
    manual.hide();
    CDlgSetDetailParam detail({}, nullptr);
    TurnOverSliders(
        detail,
        {{kIdSensitivitySlider, kIdSensitivityEdit}, {kIdNoiseSlider, kIdNoiseEdit}, {kIdShapeSlider, kIdShapeEdit}});
    QApplication::setWheelScrollLines(lines);
}

TEST(SmallDialogs, TabReachesEveryControl) {
    CDlgSet2DSelectionParam manual({8, 6}, nullptr);
    CDlgSetDetailParam detail({}, nullptr);
    CDlgSetAutoPositioningParam areas({.AreaNo = 0, .AreaPos = {{{25, 50}, {75, 50}}}}, nullptr);
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
