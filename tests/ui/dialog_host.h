/// A host of the parameter panel.
#ifndef KYFOCUS_TESTS_UI_DIALOG_HOST_H
#define KYFOCUS_TESTS_UI_DIALOG_HOST_H

#include <memory>
#include <vector>

#include <QBoxLayout>
#include <kyfocus/ui/param_control.h>

#include "ui/dialog_driver.h"

namespace test {

using Setting = CKyfFocusCompositionSetting;

/// With automatic positioning.
inline Setting SettingWith(KyfAlgorithmType type, std::int32_t parameterSet = 3) {
    Setting setting;
    setting.SetAlgType(type);
    setting.Set2DSelectionFocusCompositionMode(parameterSet);
    setting.SetAutoPos(1);
    return setting;
}

/// A dialog of the host with a panel in it and a button that Enter would press.
class HostWindow : public QDialog {
  public:
    explicit HostWindow(const Setting& setting) {
        Panel->SetData(setting);
        EXPECT_EQ(Panel->CreateControl(this), 1);
        auto* const rows = new QVBoxLayout(this);
        rows->addWidget(Panel.get());
        auto* const button = new QPushButton(QStringLiteral("Run"), this);
        button->setDefault(true);
        connect(button, &QPushButton::clicked, this, [this] { ++Pressed; });
        rows->addWidget(button);
    }
    std::unique_ptr<CKyfFocusCompParamControl> Panel = std::make_unique<CKyfFocusCompParamControl>();
    int Pressed = 0;
};

class Listener : public IChangedFCSettingDelegate {
  public:
    void OnChangedAlgType(KyfAlgorithmType type) override {
        Types.push_back(type);
        if (Act) Act();
    }
    std::vector<KyfAlgorithmType> Types;
    std::function<void()> Act;
};

} // namespace test

#endif
