// A plugin that sits at the keyboard: once the parameter dialog is shown, it takes the next slower speed and leaves the
// dialog. QT_QPA_GENERIC_PLUGINS=kyuser:ok or kyuser:cancel; with kyuser:stay it does nothing.
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QGenericPlugin>
#include <QTest>
#include <QTimer>
#include <kyfocus/ui/control_id.h>

class UserPlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "user_plugin.json")
  public:
    QObject* create(const QString&, const QString& specification) override {
        auto* const timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this, [timer, specification] {
            QWidget* const dialog = QApplication::activeModalWidget();
            if (!dialog) return;
            timer->stop();
            if (specification == QLatin1String("stay")) return;
            QTest::keyClick(KyfFindControl<QComboBox>(dialog, 0xFB0), Qt::Key_Down);
            QTest::keyClick(dialog, specification == QLatin1String("ok") ? Qt::Key_Return : Qt::Key_Escape);
        });
        timer->start(20);
        return timer;
    }
};

#include "user_plugin.moc"
