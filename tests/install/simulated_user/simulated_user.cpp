// A user who goes through steps, joined by "+", in whatever window is in front: the object name of a control clicks it,
// the name of a key ("Return", "Right") presses it, "close" closes the window. One who waits in vain ends the program.
#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QGenericPlugin>
#include <QKeySequence>
#include <QTest>
#include <QTimer>

namespace {

constexpr int kTickMs = 20;
constexpr int kTicksOfPatience = 1000;

[[noreturn]] void GiveUp(const QString& why) {
    std::fprintf(stderr, "simulated user: %s\n", qPrintable(why));
    std::_Exit(3);
}

QWidget* WindowInFront() {
    if (QWidget* const modal = QApplication::activeModalWidget()) return modal->isVisible() ? modal : nullptr;
    for (QWidget* const window : QApplication::topLevelWidgets())
        if (window->isVisible() && !window->isHidden()) return window;
    return nullptr;
}

void PressKey(QWidget& window, const QString& name) {
    const QKeySequence key = QKeySequence::fromString(name, QKeySequence::PortableText);
    if (key.count() != 1 || key[0].key() == Qt::Key_unknown) GiveUp("no control and no key " + name);
    QWidget* const focus = window.focusWidget();
    QTest::keyClick(focus != nullptr ? focus : &window, key[0].key(), key[0].keyboardModifiers());
}

void Do(const QString& step, QWidget& window) {
    if (step == QLatin1String("close")) {
        window.close();
    } else if (auto* const control = window.findChild<QWidget*>(step)) {
        if (!control->isVisible() || !control->isEnabled()) GiveUp("cannot use " + step);
        control->setFocus(Qt::MouseFocusReason);
        // At the left: a radio button takes clicks on its mark and text alone.
        QTest::mouseClick(control, Qt::LeftButton, {}, QPoint(control->height() / 2, control->height() / 2));
    } else
        PressKey(window, step);
}

} // namespace

class SimulatedUser : public QObject {
    Q_OBJECT
  public:
    explicit SimulatedUser(const QString& steps) : m_steps(steps.split(QLatin1Char('+'))) {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, &SimulatedUser::GoOn);
        m_timer.start(kTickMs);
    }

  private:
    /// The next step is on its way before this one, which may open a dialog and come back after it.
    void GoOn() {
        QWidget* const window = WindowInFront();
        if (window == nullptr) {
            if (++m_ticks > kTicksOfPatience) GiveUp(QStringLiteral("no window to use"));
            return m_timer.start(kTickMs);
        }
        m_ticks = 0;
        const QString step = m_steps.takeFirst();
        if (!m_steps.isEmpty()) m_timer.start(kTickMs);
        Do(step, *window);
    }

    QStringList m_steps;
    QTimer m_timer;
    int m_ticks = 0;
};

class SimulatedUserPlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "simulated_user.json")
  public:
    QObject* create(const QString&, const QString& steps) override {
        // Qt forgets its plugins before the process ends, and deletes them only where the QApplication is deleted.
        static SimulatedUser* user;
        user = new SimulatedUser(steps);
        return user;
    }
};

#include "simulated_user.moc"
