#include "app/settings_records.h"
#include "camera/document_settings.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

class DocumentSettings : public testing::Test {
protected:
    DocumentSettings()
    {
        m_app.SetIniFolder(m_folder.Path() + "/");
        test::WriteFile(m_folder / "Tessel.ini", "");
    }
    std::string File() const { return test::ReadFile(m_folder / "Tessel.ini"); }

    test::TemporaryFolder m_folder;
    test::TestPlatform m_test;
    CVireoApp m_app { m_test.m_platform };
    CVireoDoc m_doc { m_app };
};

TEST_F(DocumentSettings, APresetBecomesTheDocumentsSettings)
{
    const RecordingPreset preset { .ButtonLabel = "fast",
        .FrameRate = 400,
        .Shutter = 2000,
        .WindowSize = 3,
        .Gain = 4.5F,
        .GainSetAll = false,
        .RecTime = 7,
        .Path = "d:\\",
        .WindowSizeX = 1920,
        .WindowSizeY = 1080,
        .MonoColor = 2,
        .TriggerLowHigh = true,
        .SyncPath = "e:\\",
        .IsMaster = true,
        .InitialCameraNumber = 9 };
    ApplyPreset(m_doc, preset);
    EXPECT_EQ(m_doc.m_parameters.m_strPresetName, "fast");
    EXPECT_EQ(m_doc.m_parameters.m_iFps, 400);
    EXPECT_EQ(m_doc.m_parameters.m_iShutter, 2000);
    EXPECT_EQ(m_doc.m_parameters.m_iImageSizeIndex, 3);
    EXPECT_EQ(m_doc.m_parameters.m_fGain, 4.5F);
    EXPECT_FALSE(m_doc.m_parameters.GainSetAll);
    EXPECT_EQ(m_doc.m_parameters.m_iRecordSec, 7);
    EXPECT_EQ(m_doc.m_naming.m_strSaveFolder, "d:\\");
    EXPECT_EQ(m_doc.m_parameters.m_iImageWidth, 1920);
    EXPECT_EQ(m_doc.m_parameters.m_iImageHeight, 1080);
    EXPECT_EQ(m_doc.m_parameters.MonoColor, 2);
    EXPECT_TRUE(m_doc.m_parameters.TriggerLowHigh);
    EXPECT_EQ(m_doc.m_parameters.SyncPath, "e:\\");
    EXPECT_TRUE(m_doc.m_parameters.IsMaster);
    EXPECT_EQ(m_doc.m_parameters.InitialCameraNumber, 9);
    EXPECT_EQ(CurrentPreset(m_doc), preset);
}

TEST_F(DocumentSettings, AreLoadedFromAndSavedToThePresetChosen)
{
    m_doc.m_parameters.PresetIndex = 3;
    m_doc.m_parameters.m_iFps = 250;
    m_doc.m_parameters.m_strPresetName = "third";
    EXPECT_TRUE(SaveRecordingPreset(m_doc));
    EXPECT_EQ(LoadRecordingPreset(m_app, 3).FrameRate, 250);

    m_doc.m_parameters.PresetIndex = 4;
    EXPECT_TRUE(LoadRecordingPreset(m_doc));
    EXPECT_EQ(m_doc.m_parameters.m_iFps, 30);
    m_doc.m_parameters.PresetIndex = 3;
    EXPECT_TRUE(LoadRecordingPreset(m_doc));
    EXPECT_EQ(m_doc.m_parameters.m_iFps, 250);
    EXPECT_EQ(m_doc.m_parameters.m_strPresetName, "third");
    EXPECT_EQ(m_doc.m_parameters.PresetIndex, 3);
}

TEST_F(DocumentSettings, TheFirstLoadFromAnEmptyFileChangesGainCameraNumberAndMaster)
{
    EXPECT_TRUE(LoadRecordingPreset(m_doc));
    EXPECT_EQ(m_doc.m_parameters.m_fGain, 0.0F);
    EXPECT_EQ(m_doc.m_parameters.InitialCameraNumber, 1);
    EXPECT_TRUE(m_doc.m_parameters.IsMaster);
}

TEST_F(DocumentSettings, ViewTransformsAreKeptForNineViews)
{
    for (int i = 0; i < 9; ++i) {
        m_doc.m_windows.m_affine[static_cast<std::size_t>(i)]._31 = static_cast<float>(i + 1);
        SaveViewAffine(m_doc, i, AffineSection(ViewSection(i + 1)));
    }
    m_doc.m_windows.m_affine.fill({});
    for (int i = 0; i < 9; ++i) {
        LoadViewAffine(m_doc, i, AffineSection(ViewSection(i + 1)));
        EXPECT_EQ(m_doc.m_windows.m_affine[static_cast<std::size_t>(i)]._31, static_cast<float>(i + 1));
    }
}

TEST_F(DocumentSettings, AViewOutsideTheNineIsNeitherLoadedNorSaved)
{
    m_app.WriteIniString("CAM00_AFFINE", "AFFINE_11", "7");
    const std::string strBefore = File();
    for (const int iView : { -1, 9, 22 }) {
        SCOPED_TRACE(iView);
        LoadViewAffine(m_doc, iView, "CAM00_AFFINE");
        SaveViewAffine(m_doc, iView, "CAM00_AFFINE");
    }
    for (const AffineTransform& affine : m_doc.m_windows.m_affine)
        EXPECT_EQ(affine, AffineTransform {});
    EXPECT_EQ(File(), strBefore);
}

TEST_F(DocumentSettings, WhiteBalanceFollowsTheCamerasSerialNumber)
{
    m_doc.m_cameras.m_uiSerialNumber[2] = 17000002;
    m_app.WriteIniInt("17000002", "WhiteBalanceR", 33);
    LoadWhiteBalance(m_doc, 2);
    EXPECT_EQ(m_doc.m_cameras.m_whiteBalance[2].R, 33U);
    EXPECT_EQ(m_doc.m_cameras.m_whiteBalance[2].GB, 715U);
    LoadWhiteBalance(m_doc, 1000); // no such slot
}

TEST_F(DocumentSettings, AtMostFiveNamesAreStored)
{
    m_doc.m_naming.m_astrFileHistory = { "1", "2", "3", "4", "5", "6", "7" };
    SaveFileList(m_doc);
    EXPECT_EQ(File(), "[FILENAME]\r\nfile1=1\r\nfile2=2\r\nfile3=3\r\nfile4=4\r\nfile5=5\r\n");
}

} // namespace
} // namespace vireo
