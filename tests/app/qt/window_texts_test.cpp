#include "app/qt/application_look.h"
#include "app/qt/icons.h"
#include "app/settings_records.h"
#include "platform/qt/camera_selection_dlg.h"
#include "support/camera_document.h"
#include "support/cut_texts.h"
#include "support/qt_tools.h"
#include "ui/about_dlg.h"
#include "ui/cam_control_dlg.h"
#include "ui/panel_widgets.h"
#include "ui/property_set_dlg.h"
#include "ui/save_progress_bar.h"

#include <QApplication>
#include <QScreen>

namespace vireo {
namespace {

/// Makes and shows the window in every look: each of its texts is whole, in Japanese letters.
void ExpectWholeTexts(const std::function<std::unique_ptr<QWidget>()>& make)
{
    for (const ApplicationLook& look : ApplicationLooks()) {
        SCOPED_TRACE(look.iId);
        ApplyLook(*qApp, look);
        const std::unique_ptr<QWidget> window = make();
        window->show();
        test::Pump();
        EXPECT_TRUE(test::ShowsJapanese(*window));
        const QStringList cut = test::CutTexts(*window, [](const QWidget& widget) {
            return dynamic_cast<const ElidedLabel*>(&widget) != nullptr
                || dynamic_cast<const PresetButton*>(&widget) != nullptr
                || dynamic_cast<const IndicatorBox*>(&widget) != nullptr;
        });
        EXPECT_TRUE(cut.isEmpty()) << cut.join(QLatin1Char('\n')).toStdString();
        EXPECT_TRUE(QRect(QPoint(0, 0), window->screen()->size()).contains(QRect(QPoint(0, 0), window->size())));
    }
}

RecordingPreset Preset(const char* pName)
{
    RecordingPreset preset;
    preset.ButtonLabel = pName;
    preset.FrameRate = 120;
    preset.Path = "/home/operator/ビデオ/高速度撮影/2026年/実験その１";
    return preset;
}

class WindowTexts : public testing::Test {
protected:
    void SetUp() override
    {
        for (int iPreset = 1; iPreset <= 4; ++iPreset)
            SaveRecordingPreset(m_document.m_app, iPreset, Preset("ｽﾛｰ再生用"));
        ASSERT_TRUE(m_document.Open());
    }
    void TearDown() override { ApplyLook(*qApp, LookOf(kDefaultLook)); }

    test::CameraDocument m_document { "simulated:2xGS3-U3-23S6M" };
};

TEST_F(WindowTexts, OfThePanelAreWhole)
{
    ExpectWholeTexts([this] {
        auto panel =
            std::make_unique<CamControlDlg>(m_document.Doc(), [](const std::function<void()>& action) { action(); });
        panel->Open();
        panel->adjustSize();
        return panel;
    });
}

TEST_F(WindowTexts, OfTheSettingsAreWhole)
{
    ExpectWholeTexts([this] { return std::make_unique<PropertySetDlg>(m_document.Doc(), 1, nullptr); });
}

TEST_F(WindowTexts, OfTheAboutBoxAreWhole)
{
    ExpectWholeTexts([] { return std::make_unique<CAboutDlg2>(ProgramIcon(), QStringLiteral("10.20.30")); });
}

std::vector<CameraInfo> Cameras(const char* pVendor)
{
    std::vector<CameraInfo> cameras(2);
    cameras[0].serialNumber = 4294967295U;
    cameras[0].interfaceType = InterfaceType::Ieee1394;
    cameras[0].modelName = "GS3-PGE-23S6C";
    cameras[0].vendorName = pVendor;
    cameras[1].modelName = "FL3-U3-13Y3M";
    cameras[1].vendorName = "Simulated";
    return cameras;
}

TEST_F(WindowTexts, OfTheCameraConfirmationAreWhole)
{
    ExpectWholeTexts([] { return std::make_unique<CameraSelectionDlg>(Cameras("Acme")); });
}

TEST_F(WindowTexts, OfTheCameraConfirmationMakeItWiderAsFarAsTheScreenGoes)
{
    CameraSelectionDlg usual(Cameras("Acme"));
    CameraSelectionDlg wider(Cameras("A maker of cameras whose name is as long as a whole address"));
    CameraSelectionDlg widest(Cameras(std::string(1000, 'x').c_str()));
    EXPECT_LT(usual.width(), wider.width());
    EXPECT_LE(widest.width(), widest.screen()->availableSize().width());
}

TEST_F(WindowTexts, OfTheSaveProgressAreWhole)
{
    ExpectWholeTexts([] { return std::make_unique<SaveProgressBar>(); });
}

} // namespace
} // namespace vireo
