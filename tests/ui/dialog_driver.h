/// What a user does to a window: clicks, keys, choices, and what is done in a dialog that opens on the way.
#ifndef KYFOCUS_TESTS_UI_DIALOG_DRIVER_H
#define KYFOCUS_TESTS_UI_DIALOG_DRIVER_H

#include <functional>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QSlider>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include "ui/dialogs/widgets.h"

namespace test {

/// A control by its number. Ends the process when there is none: a test cannot go on then.
template <class Control = QWidget> Control& Find(const QWidget& window, int id) {
    auto* const control = window.findChild<Control*>(kyfui::ObjectName(id));
    if (control == nullptr) qFatal("no control %s", qPrintable(kyfui::ObjectName(id)));
    return *control;
}

/// Shows a window and gives it the focus.
inline void Open(QWidget& window) {
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
}

/// A click where the text begins: a check does not take those beside it. A control that is not shown is clicked as an
/// accessibility tool would.
inline void Click(QAbstractButton& button) {
    if (button.isVisible())
        QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(button.height() / 2, button.height() / 2));
    else
        button.click();
}

inline void Click(const QWidget& window, int id) { Click(Find<QAbstractButton>(window, id)); }

/// A click after which the check is on, or off.
inline void ClickCheck(const QWidget& window, int id, bool on) {
    auto& check = Find<QAbstractButton>(window, id);
    if (check.isChecked() == on) check.setChecked(!on);
    Click(check);
    EXPECT_EQ(check.isChecked(), on);
}

/// Chooses an entry from the list that a combo box drops.
inline void Choose(const QWidget& window, int id, int index) {
    auto& combo = Find<QComboBox>(window, id);
    combo.showPopup();
    combo.view()->setCurrentIndex(combo.model()->index(index, 0));
    QTest::keyClick(combo.view(), Qt::Key_Return);
    EXPECT_EQ(combo.currentIndex(), index);
}

/// Replaces the text of a field, key by key.
inline void Type(const QWidget& window, int id, const QString& text) {
    auto& field = Find<QLineEdit>(window, id);
    field.setFocus();
    field.selectAll();
    if (text.isEmpty()) QTest::keyClick(&field, Qt::Key_Delete);
    QTest::keyClicks(&field, text);
}

/// One notch of the wheel towards the user, over the middle of a control.
inline void TurnWheel(QWidget& control) {
    const QPointF place = control.rect().center();
    QWheelEvent event(place, control.mapToGlobal(place), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&control, &event);
}

/// Acts on the next modal dialog as soon as it is shown, and cancels it if that has left it open.
class InNextDialog {
  public:
    explicit InNextDialog(std::function<void(QDialog&)> act)
        : m_before(QApplication::activeModalWidget()), m_act(std::move(act)) {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { Look(); });
        m_timer.start(0);
    }
    ~InNextDialog() { EXPECT_TRUE(m_done) << "no dialog has opened"; }
    InNextDialog(const InNextDialog&) = delete;
    InNextDialog& operator=(const InNextDialog&) = delete;

  private:
    void Look() {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog == m_before || !dialog->isVisible() || m_done) return;
        m_done = true;
        m_timer.stop();
        const QPointer<QDialog> alive(dialog);
        m_act(*dialog);
        if (!alive || !alive->isVisible()) return;
        ADD_FAILURE() << "the dialog has stayed open";
        alive->reject();
    }

    QWidget* m_before;
    std::function<void(QDialog&)> m_act;
    QTimer m_timer;
    bool m_done = false;
};

/// The controls that Tab leads to, in its order, from the one that has the focus until it comes round. A control that
/// keeps the focus for some keys counts once.
inline QList<QWidget*> TabChain(QWidget& window) {
    QList<QWidget*> chain;
    for (int keys = 0; keys < 100; ++keys) {
        QWidget* const focus = window.focusWidget();
        if (focus == nullptr || (chain.contains(focus) && focus != chain.last())) break;
        if (!chain.contains(focus)) chain.append(focus);
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    return chain;
}

} // namespace test

#endif
