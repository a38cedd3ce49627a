#include "app/settings_records.h"
#include "platform/linux/code_page_932.h"
#include "support/golden.h"
#include "support/test_platform.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vireo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SettingsRecords : public testing::Test {
protected:
    SettingsRecords()
    {
        m_app.SetIniFolder(m_folder.Path() + "/");
        SetFile("");
    }
    void SetFile(const std::string& strBytes) { test::WriteFile(m_folder / "Tessel.ini", strBytes); }
    std::string File() const { return test::ReadFile(m_folder / "Tessel.ini"); }

    test::TemporaryFolder m_folder;
    CodePage932 m_encoding;
    test::TestPlatform m_test { { .pEncoding = &m_encoding } };
    CVireoApp m_app { m_test.m_platform };
};

RecordingPreset UnusualPreset()
{
    RecordingPreset preset;
    preset.ButtonLabel = "高速 ソース";
    preset.FrameRate = 400;
    preset.Shutter = -1;
    preset.WindowSize = 2;
    preset.Gain = 2.5F;
    preset.GainSetAll = false;
    preset.RecTime = 12;
    preset.Path = "d:\\計測データ\\ー表示予備";
    preset.WindowSizeX = 1280;
    preset.WindowSizeY = 1024;
    preset.MonoColor = 1;
    preset.TriggerLowHigh = true;
    preset.SyncPath = "e:\\never written";
    preset.IsMaster = false;
    preset.InitialCameraNumber = 5;
    return preset;
}

TEST_F(SettingsRecords, AnEmptyFileGivesAPresetOfDefaults)
{
    const RecordingPreset preset = LoadRecordingPreset(m_app, 1);
    EXPECT_EQ(preset.ButtonLabel, "");
    EXPECT_EQ(preset.FrameRate, 30);
    EXPECT_EQ(preset.Shutter, 500);
    EXPECT_EQ(preset.WindowSize, 0);
    EXPECT_EQ(preset.Gain, 0.0F);
    EXPECT_TRUE(preset.GainSetAll);
    EXPECT_EQ(preset.RecTime, 1);
    EXPECT_EQ(preset.Path, "c:\\");
    EXPECT_EQ(preset.WindowSizeX, 640);
    EXPECT_EQ(preset.WindowSizeY, 480);
    EXPECT_EQ(preset.MonoColor, 0);
    EXPECT_FALSE(preset.TriggerLowHigh);
    EXPECT_EQ(preset.SyncPath, "c:\\");
    EXPECT_TRUE(preset.IsMaster);
    EXPECT_EQ(preset.InitialCameraNumber, 1);
}

TEST_F(SettingsRecords, APresetIsSavedInTheOrderOfItsKeysInCodePage932)
{
    SaveRecordingPreset(m_app, 2, UnusualPreset());
    EXPECT_EQ(File(), test::Golden("preset_saved.ini"));
}

TEST_F(SettingsRecords, APresetComesBackAsHighAsItIsWide)
{
    SaveRecordingPreset(m_app, 2, UnusualPreset());
    RecordingPreset expected = UnusualPreset();
    expected.WindowSizeY = 1280; // the height's own key is never read
    expected.SyncPath = "c:\\"; // never written
    EXPECT_EQ(LoadRecordingPreset(m_app, 2), expected);
}

TEST_F(SettingsRecords, TheHeightIsTheDefaultOnlyWithoutAnyWidthInOrAfterTheSection)
{
    SetFile("[CAM_PROPERTY_DATA1]\r\nFrameRate=60\r\n[CAM_PROPERTY_DATA2]\r\nWindowSizeX=1920\r\n");
    EXPECT_EQ(LoadRecordingPreset(m_app, 1).WindowSizeY, 1920);
    EXPECT_EQ(LoadRecordingPreset(m_app, 3).WindowSizeY, 480);
}

TEST_F(SettingsRecords, AMasterIsStoredAsZero)
{
    RecordingPreset preset;
    preset.IsMaster = true;
    SaveRecordingPreset(m_app, 1, preset);
    EXPECT_EQ(m_app.ReadIniInt("CAM_PROPERTY_DATA1", "MasterOrSlave", 9), 0);
    EXPECT_TRUE(LoadRecordingPreset(m_app, 1).IsMaster);
    m_app.WriteIniInt("CAM_PROPERTY_DATA1", "MasterOrSlave", 2);
    EXPECT_FALSE(LoadRecordingPreset(m_app, 1).IsMaster) << "any other value is a slave";
}

TEST_F(SettingsRecords, SwitchesAreReadEachByItsOwnRule)
{
    SetFile("[CAM_PROPERTY_DATA1]\r\nGainSetAll=2\r\nTriggerLowHigh=2\r\n");
    const RecordingPreset preset = LoadRecordingPreset(m_app, 1);
    EXPECT_FALSE(preset.GainSetAll) << "only 1 is true";
    EXPECT_TRUE(preset.TriggerLowHigh) << "everything but 0 is true";
}

TEST_F(SettingsRecords, TheGainIsTextWithSixDecimals)
{
    RecordingPreset preset;
    preset.Gain = 2.5F;
    SaveRecordingPreset(m_app, 1, preset);
    EXPECT_EQ(m_app.ReadIniString("CAM_PROPERTY_DATA1", "Gain", ""), "2.500000");
    m_app.WriteIniString("CAM_PROPERTY_DATA1", "Gain", "much");
    EXPECT_EQ(LoadRecordingPreset(m_app, 1).Gain, 0.0F);
}

TEST_F(SettingsRecords, ASyncPathComesFromTheFileAlone)
{
    // "Path" is found in "SyncPath" too: only behind its own line does the other one survive a save.
    SetFile("[CAM_PROPERTY_DATA1]\r\nPath=c:\\\r\nSyncPath=d:\\sync\r\n");
    EXPECT_EQ(LoadRecordingPreset(m_app, 1).SyncPath, "d:\\sync");
    SaveRecordingPreset(m_app, 1, UnusualPreset());
    EXPECT_EQ(LoadRecordingPreset(m_app, 1).SyncPath, "d:\\sync");
}

TEST_F(SettingsRecords, AnUnreadableFileGivesZeroesEverywhere)
{
    std::filesystem::remove(m_folder / "Tessel.ini");
    const RecordingPreset preset = LoadRecordingPreset(m_app, 1);
    EXPECT_EQ(preset.FrameRate, 0);
    EXPECT_EQ(preset.RecTime, 0);
    EXPECT_EQ(preset.Path, "");
    EXPECT_FALSE(preset.GainSetAll);
    EXPECT_TRUE(preset.IsMaster);
    EXPECT_EQ(m_test.m_window.MessageTexts(), std::vector<std::string>(15, "Read File Open Error ini File"));
    WindowRect rect { 1, 2, 3, 4 };
    EXPECT_FALSE(LoadViewRect(m_app, "CAM01", rect));
    EXPECT_EQ(rect, WindowRect {});
}

TEST_F(SettingsRecords, AClosingProgramLeavesItsWindowsAndNames)
{
    SaveControlPanelRect(m_app, { 10, -20, 330, 700 });
    SaveViewRect(m_app, ViewSection(1), { 0, 0, 640, 530 });
    SaveViewAffine(m_app, AffineSection(ViewSection(1)), { 1.5F, 0.0F, 0.0F, 1.5F, -12.25F, 1.0F / 3.0F });
    SaveFileList(m_app, std::vector<std::string> { "投球", "打撃", "c", "d", "e", "f", "g" });
    SaveMainWindowPlacement(m_app, { { 100, 50, 1380, 1010 }, true });
    EXPECT_EQ(File(), test::Golden("session_saved.ini"));
}

TEST_F(SettingsRecords, AFileEditedByHandKeepsWhatIsNotWritten)
{
    SetFile(test::Golden("edited_before.ini"));
    m_app.WriteIniString("CAM_PROPERTY_DATA1", "button", "ｶﾒﾗ２");
    m_app.WriteIniString("CAM_PROPERTY_DATA1", "Gain", "3.000000"); // takes the line of "GainSetAll"
    m_app.WriteIniInt("CAM_PROPERTY_DATA1", "FrameRate", 60);
    m_app.WriteIniInt("MAIN_WINDOW", "showCmd", 0);
    m_app.WriteIniInt("MAIN_WINDOW", "left", -5);
    m_app.WriteIniString("FILENAME", "file1", "能力");
    EXPECT_EQ(File(), test::Golden("edited_after.ini"));
}

TEST_F(SettingsRecords, AShorterListOfNamesLeavesTheOldRest)
{
    SaveFileList(m_app, std::vector<std::string> { "a", "b", "c" });
    SaveFileList(m_app, std::vector<std::string> { "z" });
    EXPECT_EQ(File(), "[FILENAME]\r\nfile1=z\r\nfile2=b\r\nfile3=c\r\n");
}

TEST_F(SettingsRecords, APanelAtZeroIsNotStored)
{
    WindowRect rect { 1, 2, 3, 4 };
    EXPECT_FALSE(LoadControlPanelRect(m_app, rect));
    SaveControlPanelRect(m_app, { 0, 0, 300, 700 });
    EXPECT_TRUE(LoadControlPanelRect(m_app, rect));
    EXPECT_EQ(rect, (WindowRect { 0, 0, 300, 700 }));
    SaveControlPanelRect(m_app, {});
    EXPECT_FALSE(LoadControlPanelRect(m_app, rect));
}

TEST_F(SettingsRecords, AViewRectangleIsTheDefaultUntilOneIsStored)
{
    WindowRect rect;
    EXPECT_FALSE(LoadViewRect(m_app, "CAM01", rect));
    EXPECT_EQ(rect, (WindowRect { 0, 0, 640, 530 }));
    SaveViewRect(m_app, "CAM01", { 0, 10, 20, 30 });
    EXPECT_TRUE(LoadViewRect(m_app, "CAM01", rect)) << "a stored 0 is stored";
    EXPECT_EQ(rect, (WindowRect { 0, 10, 20, 30 }));
    EXPECT_FALSE(LoadViewRect(m_app, "CAM02", rect));
}

TEST_F(SettingsRecords, SixZeroesAreTheIdentityTransform)
{
    EXPECT_EQ(LoadViewAffine(m_app, "CAM01_AFFINE"), AffineTransform {});
    SetFile("[CAM01_AFFINE]\r\nAFFINE_11=0.000000\r\nAFFINE_22=0\r\n");
    EXPECT_EQ(LoadViewAffine(m_app, "CAM01_AFFINE"), AffineTransform {});
    SetFile("[CAM01_AFFINE]\r\nAFFINE_31=12.5\r\n");
    EXPECT_EQ(LoadViewAffine(m_app, "CAM01_AFFINE"), (AffineTransform { 0, 0, 0, 0, 12.5F, 0 }))
        << "one other value keeps all six as stored";
}

TEST_F(SettingsRecords, WhiteBalanceIsKeptUnderTheSerialNumberAndNeverWritten)
{
    EXPECT_EQ(LoadWhiteBalance(m_app, 13000001), (WhiteBalance { 715, 645, 90, 80 }));
    SetFile("[4294967295]\r\nWhiteBalanceGB=1\r\nWhiteBalanceGR=2\r\nWhiteBalanceB=3\r\nWhiteBalanceR=4\r\n");
    EXPECT_EQ(LoadWhiteBalance(m_app, 4294967295U), (WhiteBalance { 1, 2, 3, 4 }));
}

TEST_F(SettingsRecords, TheMainWindowBeginsAtTheTopLeft)
{
    EXPECT_EQ(LoadMainWindowPlacement(m_app), (MainWindowPlacement { { 0, 0, 800, 600 }, false }));
}

TEST_F(SettingsRecords, TheMainWindowIsStoredMaximisedAsOneElseZero)
{
    SaveMainWindowPlacement(m_app, { { 1, 2, 3, 4 }, true });
    EXPECT_EQ(m_app.ReadIniInt("MAIN_WINDOW", "showCmd", 9), 1);
    EXPECT_EQ(LoadMainWindowPlacement(m_app), (MainWindowPlacement { { 1, 2, 3, 4 }, true }));
    SaveMainWindowPlacement(m_app, { { 1, 2, 3, 4 }, false }); // so also when minimised
    EXPECT_EQ(m_app.ReadIniInt("MAIN_WINDOW", "showCmd", 9), 0);
    m_app.WriteIniInt("MAIN_WINDOW", "showCmd", 3);
    EXPECT_TRUE(LoadMainWindowPlacement(m_app).bMaximized) << "everything but 0 is maximised";
}

TEST(SectionNames, CarryNumbersWithTwoDigits)
{
    EXPECT_EQ(PresetSection(0), "CAM_PROPERTY_DATA0");
    EXPECT_EQ(ViewSection(1), "CAM01");
    EXPECT_EQ(ViewSection(12), "CAM12");
    EXPECT_EQ(ViewSection(123), "CAM123");
    EXPECT_EQ(ViewSection(-1), "CAM-1");
    EXPECT_EQ(AffineSection(ViewSection(1)), "CAM01_AFFINE");
}

} // namespace
} // namespace vireo
