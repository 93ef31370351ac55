// A Qt host: its own window with the two panels and a slider and edit pair in it, and a button for the modal dialog.
// Prints what was chosen when the window is closed.
#include <cstdio>

#include <QApplication>
#include <QPushButton>
#include <QVBoxLayout>

#include <kyfocus/kyfocus.h>
#include <kyfocus/resource.h>
#include <kyfocus/ui/gpu_setting_control.h>
#include <kyfocus/ui/link_slider.h>
#include <kyfocus/ui/param_control.h>
#include <kyfocus/ui/set_parameter.h>
#include <kyfocus/ui/slider_edit.h>

namespace {

class HostWindow : public QWidget, public IChangedFCSettingDelegate {
  public:
    HostWindow() {
        setWindowTitle(QStringLiteral("Host"));
        auto* const rows = new QVBoxLayout(this);
        MakePanels(*rows);
        MakePair(*rows);
        auto* const button = new QPushButton(QStringLiteral("All in one &dialog"), this);
        button->setObjectName(QStringLiteral("dialog"));
        connect(button, &QPushButton::clicked, this, &HostWindow::OpenDialog);
        rows->addWidget(button);
    }

    void OnChangedAlgType(KyfAlgorithmType type) override {
        ++m_changes;
        m_gpuPanel.SetAlgType(type);
        m_gpuPanel.SetEnableControls();
    }

    void Print() const {
        const CKyfFocusCompositionSetting& setting = m_panel.GetData();
        int lift = -1;
        m_lift.GetValue(lift);
        std::printf("AlgType %d CompSize %d changes %d lift %d\n", setting.GetAlgType(), setting.GetCompSize(),
                    m_changes, lift);
    }

  private:
    void MakePanels(QVBoxLayout& rows) {
        m_panel.CreateControl(this);
        m_panel.SetChangedFCDelegate(this);
        rows.addWidget(&m_panel);
        m_gpuPanel.Create(this);
        m_gpuPanel.SetEnableControls();
        rows.addWidget(&m_gpuPanel);
    }

    void MakePair(QVBoxLayout& rows) {
        m_slider.setObjectName(QStringLiteral("lift"));
        m_lift.SetSlideLink(&m_slider);
        m_lift.SetParams(0, 50, 10);
        m_lift.SetPer(1);
        m_lift.SetValue(8);
        rows.addWidget(&m_slider);
        rows.addWidget(&m_lift);
    }

    void OpenDialog() {
        KyfFocusCompositionParameter parameter = m_panel.GetData().Get();
        if (KyfSetFocusCompositionParameter(&parameter, nullptr) != 0)
            m_panel.SetData(CKyfFocusCompositionSetting(parameter));
    }

    CKyfFocusCompParamControl m_panel;
    CKyfFocusCompGpuSettingControl m_gpuPanel;
    CKyfLinkSlider m_slider{Qt::Horizontal};
    CKyfSliderEdit m_lift;
    int m_changes = 0;
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    KyfSetLanguageType(0);           // English
    const CKYFocusResource resource; // its texts are in force while the panels live
    HostWindow window;
    window.show();
    const int result = QApplication::exec();
    window.Print();
    return result;
}
