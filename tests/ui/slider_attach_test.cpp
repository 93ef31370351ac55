// How hosts put a pair into their windows.
#include <memory>

#include <QIntValidator>
#include <QLabel>
#include <QPointer>

#include <gtest/gtest.h>

#include <kyfocus/ui/control_id.h>

#include "ui/slider_window.h"

namespace {

/// A label, a plain line edit with a number, and a slider with a number.
struct HostWindow : QWidget {
    HostWindow() {
        auto* const layout = new QVBoxLayout(this);
        auto* const label = new QLabel(QStringLiteral("&Size"), this);
        auto* const place = new QLineEdit(QStringLiteral("8"), this);
        auto* const slider = new CKyfLinkSlider(Qt::Horizontal, this);
        KyfSetControlId(place, 0x1008);
        KyfSetControlId(slider, 0x1007);
        label->setBuddy(place);
        place->setToolTip(QStringLiteral("Percent"));
        for (QWidget* const widget : std::initializer_list<QWidget*>{label, place, slider}) layout->addWidget(widget);
        Label = label;
        Slider = slider;
    }
    QLabel* Label;
    CKyfLinkSlider* Slider;
};

TEST(SliderAttach, TakesThePlaceOfTheLineEditWithItsNumber) {
    HostWindow host;
    auto* const edit = new CKyfSliderEdit;
    ASSERT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1);
    EXPECT_EQ(KyfFindControl<QLineEdit>(&host, 0x1008), edit);
    EXPECT_EQ(host.layout()->itemAt(1)->widget(), edit);
    EXPECT_EQ(host.Label->buddy(), edit);
    EXPECT_EQ(edit->toolTip(), QStringLiteral("Percent"));
    EXPECT_EQ(edit->text(), QStringLiteral("8"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(host.findChildren<QLineEdit*>().size(), 1);
    EXPECT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1) << "where it is already";
}

TEST(SliderAttach, TakesTheLooksAndTheFocusOfTheLineEdit) {
    HostWindow host;
    auto* const place = KyfFindControl<QLineEdit>(&host, 0x1008);
    QFont font = place->font();
    font.setPointSize(font.pointSize() + 7);
    QPalette palette = place->palette();
    palette.setColor(QPalette::Text, Qt::darkRed);
    place->setFont(font);
    place->setPalette(palette);
    place->setLocale(QLocale(QLocale::Japanese));
    place->setEchoMode(QLineEdit::PasswordEchoOnEdit);
    host.show();
    host.activateWindow();
    place->setFocus();
    QCoreApplication::processEvents();
    auto* const edit = new CKyfSliderEdit;
    ASSERT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1);
    EXPECT_EQ(edit->font().pointSize(), font.pointSize());
    EXPECT_EQ(edit->palette().color(QPalette::Text), QColor(Qt::darkRed));
    EXPECT_EQ(edit->locale().language(), QLocale::Japanese);
    EXPECT_EQ(edit->echoMode(), QLineEdit::PasswordEchoOnEdit);
    EXPECT_TRUE(edit->hasFocus());
}

TEST(SliderAttach, TakesTheFocusBeforeTheWindowIsShown) {
    HostWindow host;
    KyfFindControl<QLineEdit>(&host, 0x1008)->setFocus();
    auto* const edit = new CKyfSliderEdit;
    ASSERT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1);
    EXPECT_EQ(host.focusWidget(), edit);
}

TEST(SliderAttach, TakesTheStyleSheetAndTheInputMaskOfTheLineEdit) {
    HostWindow host;
    auto* const place = KyfFindControl<QLineEdit>(&host, 0x1008);
    place->setStyleSheet(QStringLiteral("QLineEdit { color: red }"));
    place->setInputMask(QStringLiteral("009"));
    auto* const edit = new CKyfSliderEdit;
    ASSERT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1);
    EXPECT_EQ(edit->styleSheet(), QStringLiteral("QLineEdit { color: red }"));
    EXPECT_EQ(edit->inputMask(), QStringLiteral("009"));
    EXPECT_EQ(edit->text(), QStringLiteral("8"));
}

TEST(SliderAttach, KeepsAValidatorThatTheLineEditOwned) {
    HostWindow host;
    auto* const place = KyfFindControl<QLineEdit>(&host, 0x1008);
    place->setValidator(new QIntValidator(1, 50, place));
    const QPointer<const QValidator> validator = place->validator();
    auto* const edit = new CKyfSliderEdit;
    ASSERT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(validator.isNull());
    EXPECT_EQ(edit->validator(), validator.data());
    EXPECT_TRUE(edit->hasAcceptableInput());
}

TEST(SliderAttach, FollowsTheFontOfItsWindowWhereTheLineEditDid) {
    HostWindow host;
    auto* const edit = new CKyfSliderEdit;
    ASSERT_EQ(edit->SubclassEdit(0x1008, &host, 0x01), 1);
    QFont font = host.font();
    font.setPointSize(font.pointSize() + 7);
    host.setFont(font);
    EXPECT_EQ(edit->font().pointSize(), font.pointSize());
    EXPECT_FALSE(edit->hasFocus());
}

TEST(SliderAttach, FindsNothingUnderOtherNumbers) {
    HostWindow host;
    CKyfSliderEdit edit;
    EXPECT_EQ(edit.SubclassEdit(0x1009, &host, 0x01), 0);
    EXPECT_EQ(edit.SubclassEdit(0x1007, &host, 0x01), 0) << "a slider is no line edit";
    EXPECT_EQ(edit.SubclassEdit(0x1008, nullptr, 0x01), 0);
    EXPECT_EQ(edit.SetSlideLink(&host, 0x1008), 0);
    EXPECT_EQ(edit.InitSlider(), 0);
}

TEST(SliderAttach, LinksToTheSliderWithItsNumberBothWays) {
    HostWindow host;
    auto* const edit = new CKyfSliderEdit(&host);
    ASSERT_EQ(edit->SetSlideLink(&host, 0x1007), 1);
    edit->SetParams(0, 20, 5);
    edit->SetPer(1);
    EXPECT_EQ(edit->SetValue(8), 1);
    EXPECT_EQ(host.Slider->value(), 8);
    QTest::keyClick(host.Slider, Qt::Key_Right);
    EXPECT_EQ(edit->text(), QStringLiteral("9"));
}

TEST(SliderAttach, EitherHalfMayGoFirst) {
    auto slider = std::make_unique<CKyfLinkSlider>(Qt::Horizontal);
    auto edit = std::make_unique<CKyfSliderEdit>();
    edit->SetSlideLink(slider.get());
    edit->SetParams(0, 20, 5);
    slider.reset();
    EXPECT_EQ(edit->SetValue(7), 1);
    EXPECT_EQ(edit->text(), QStringLiteral("7"));
    EXPECT_EQ(edit->InitSlider(), 0);

    slider = std::make_unique<CKyfLinkSlider>(Qt::Horizontal);
    edit->SetSlideLink(slider.get());
    edit.reset();
    QTest::keyClick(slider.get(), Qt::Key_Right);
    EXPECT_EQ(slider->value(), 1) << "a slider without a field is a slider";
}

TEST(SliderAttach, ASliderThatIsLinkedAnewLeavesItsOldField) {
    CKyfLinkSlider slider(Qt::Horizontal);
    CKyfSliderEdit first;
    CKyfSliderEdit second;
    first.SetSlideLink(&slider);
    first.SetParams(0, 20, 5);
    second.SetSlideLink(&slider);
    second.SetParams(0, 20, 5);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(second.text(), QStringLiteral("1"));
    EXPECT_EQ(first.text(), QString());
    first.SetValue(9);
    EXPECT_EQ(slider.value(), 1);
}

TEST(SliderAttach, NullFormatsAndTablesAreHarmless) {
    CKyfSliderEdit edit;
    edit.SetParams(0, 20, 0);
    edit.SetFormatString(nullptr);
    EXPECT_EQ(edit.SetValue(5), 1);
    EXPECT_EQ(edit.text(), QStringLiteral("5"));
    EXPECT_EQ(edit.SetParams(0.0, 1.0, nullptr, 3, 1, L"%g"), 0);
    const double table[] = {1.0, 2.0};
    EXPECT_EQ(edit.SetParams(0.0, 1.0, table, 0, 1, L"%g"), 0);
    EXPECT_EQ(edit.SetParams(1.0, 2.0, table, 2, 1, nullptr), 1);
    EXPECT_EQ(edit.SetValue(1.5), 1);
    EXPECT_EQ(edit.text(), QStringLiteral("1.5"));
}

} // namespace
