/// A window with a slider and edit pair, shown and active, for tests that simulate a user.
#ifndef KYFOCUS_TESTS_UI_SLIDER_WINDOW_H
#define KYFOCUS_TESTS_UI_SLIDER_WINDOW_H

#include <initializer_list>

#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

#include <kyfocus/ui/link_slider.h>
#include <kyfocus/ui/slider_edit.h>

namespace test {

/// Counts refusals in the place of a beep.
class CountingEdit : public CKyfSliderEdit {
  public:
    using CKyfSliderEdit::CKyfSliderEdit;
    void OnBadInput() override { ++Refusals; }
    int Refusals = 0;
};

class SliderWindow : public QWidget {
  public:
    explicit SliderWindow(Qt::Orientation orientation = Qt::Horizontal) : Slider(orientation) {
        auto* const layout = new QVBoxLayout(this);
        for (QWidget* const widget : std::initializer_list<QWidget*>{&Slider, &Edit, &Other}) layout->addWidget(widget);
        Edit.SetSlideLink(&Slider);
        resize(400, 400);
    }

    /// Integers 0 to 20 unless told otherwise, at 10, with the edit field focused.
    void Open(int min = 0, int max = 20, int per = 1) {
        Edit.SetParams(min, max, 5);
        Edit.SetPer(per);
        Edit.SetValue(10);
        Show();
    }

    void Show() {
        show();
        activateWindow();
        Edit.setFocus();
        QCoreApplication::processEvents();
    }

    /// Leaves the field as the tabulator key does.
    void Leave() { Other.setFocus(Qt::TabFocusReason); }

    /// Replaces the text by keys.
    void Type(const QString& text) {
        Edit.selectAll();
        QTest::keyClick(&Edit, Qt::Key_Delete);
        QTest::keyClicks(&Edit, text);
    }

    // Members: destroyed before the window, which then has no children left.
    CKyfLinkSlider Slider;
    CountingEdit Edit;
    QLineEdit Other;
};

} // namespace test

#endif
