// The panel of the graphics processor in windows of a host.
#include <kyfocus/ui/gpu_setting_control.h>

#include "ui/dialog_driver.h"
#include "ui/resources/resources.h"

namespace {

using namespace kyfui;

TEST(ProcessorPanel, ShowsTheNameOnlyWhileTheProcessorIsUsed) {
    CKyfFocusCompGpuSettingControl panel;
    panel.SetEnableGPU(1);
    panel.SetProcessorNameId(kIdOpenClName);
    panel.SetEnableControls(); // before there is a window: nothing to show
    EXPECT_EQ(panel.Create(nullptr), 1);
    EXPECT_EQ(panel.Create(nullptr), 0);
    test::Open(panel);
    const auto& name = test::Find<QLabel>(panel, kIdProcessorText);
    EXPECT_EQ(name.text(), Text(kIdOpenClName));
    test::ClickCheck(panel, kIdDisableGpu, true);
    EXPECT_EQ(name.text(), Text(kIdNoGpuName));
    EXPECT_EQ(panel.GetDisableGPU(), 1);
    panel.SetDisableGPU(0);
    panel.SetAlgType(0);
    panel.SetEnableControls();
    EXPECT_EQ(name.text(), Text(kIdNoGpuName));
    EXPECT_FALSE(test::Find(panel, kIdDisableGpu).isEnabled());
    EXPECT_EQ(panel.GetDisableGPU(), 0);
}

TEST(ProcessorPanel, IsAsWideForOneNameAsForAnother) {
    int width = 0;
    for (const int id : {kIdCudaName, kIdOpenClName, kIdNoGpuName}) {
        CKyfFocusCompGpuSettingControl panel;
        panel.SetEnableGPU(1);
        panel.SetProcessorNameId(id);
        panel.Create(nullptr);
        EXPECT_TRUE(width == 0 || panel.sizeHint().width() == width);
        width = panel.sizeHint().width();
    }
}

TEST(ProcessorPanel, WithoutAProcessorItIsRefusedFromTheStart) {
    CKyfFocusCompGpuSettingControl panel;
    EXPECT_EQ(panel.GetDisableGPU(), 0);
    panel.Create(nullptr);
    EXPECT_EQ(panel.GetDisableGPU(), 1);
    EXPECT_TRUE(test::Find<QCheckBox>(panel, kIdDisableGpu).isChecked());
    EXPECT_FALSE(test::Find(panel, kIdDisableGpu).isEnabled());
}

TEST(ProcessorPanel, TheCheckIsSetBeforeItIsShownOnlyWithoutAProcessor) {
    for (const std::int32_t enabled : {0, 1})
        for (const std::int32_t disable : {0, 1, -7}) {
            CKyfFocusCompGpuSettingControl panel;
            panel.SetEnableGPU(enabled);
            panel.SetDisableGPU(disable);
            panel.Create(nullptr);
            EXPECT_EQ(panel.GetDisableGPU(), enabled == 0 ? 1 : disable);
            EXPECT_EQ(test::Find<QCheckBox>(panel, kIdDisableGpu).isChecked(), enabled == 0 || disable != 0);
        }
}

TEST(ProcessorPanel, EnterAndEscapeStayInside) {
    QDialog host;
    CKyfFocusCompGpuSettingControl panel;
    panel.SetEnableGPU(1);
    panel.Create(&host);
    test::Open(host);
    QWidget& check = test::Find(host, kIdDisableGpu);
    check.setFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) QTest::keyClick(&check, key);
    EXPECT_TRUE(host.isVisible());
    EXPECT_EQ(panel.GetDisableGPU(), 0);
}

} // namespace
