#include "camera/vireo_doc.h"
#include "support/test_platform.h"

#include <gtest/gtest.h>
#include <sstream>

namespace vireo {
namespace {

template <typename Value> std::string Text(const Value& value)
{
    std::ostringstream text;
    text << std::boolalpha << value;
    return text.str();
}

class NewDocument : public testing::Test {
protected:
    NewDocument()
    {
        m_test.m_clock.SleepUntil(1234567);
        m_doc = std::make_unique<CVireoDoc>(m_app);
    }
    test::TestPlatform m_test;
    CVireoApp m_app { m_test.m_platform };
    std::unique_ptr<CVireoDoc> m_doc;
};

TEST_F(NewDocument, HasItsDefaults)
{
    const CaptureParameters& parameters = m_doc->m_parameters;
    const Naming& naming = m_doc->m_naming;
    const Windows& windows = m_doc->m_windows;
    const FrameStore& store = m_doc->m_store;
    const CaptureFlags& capture = m_doc->m_capture;
    const CameraSlots& cameras = m_doc->m_cameras;
    const struct {
        const char* pField;
        std::string strValue, strDefault;
    } rows[] = {
        { "cameras", Text(cameras.m_uiNumCameras.load()), "0" },
        { "connected", Text(cameras.m_bCameraConnected), "false" },
        { "owners", Text(cameras.m_owners.size()), "0" },
        { "common cameras", Text(cameras.m_ppCameraBase.size()), "0" },
        { "USB and IEEE 1394 cameras", Text(cameras.m_ppCamera.size()), "0" },
        { "GigE cameras", Text(cameras.m_ppGigECamera.size()), "0" },
        { "buffer frames", Text(store.m_iBufferFrames.load()), "0" },
        { "start mark", Text(store.m_iStartMark.load()), "-1" },
        { "stop mark", Text(store.m_iStopMark.load()), "-1" },
        { "start request", Text(store.m_bStartRequest.load()), "false" },
        { "stop request", Text(store.m_bStopRequest.load()), "false" },
        { "done cameras", Text(store.m_uiDoneCameras.load()), "0" },
        { "record time", Text(parameters.m_iRecordSec), "1" },
        { "frame rate", Text(parameters.m_iFps), "30" },
        { "image size", Text(parameters.m_iImageSizeIndex), "0" },
        { "highest rate of the model", Text(parameters.m_iModelMaxFps), "400" },
        { "shutter", Text(parameters.m_iShutter), "500" },
        { "gain", Text(parameters.m_fGain), "3" },
        { "least gain", Text(parameters.m_iGainMinDb), "-6" },
        { "most gain", Text(parameters.m_iGainMaxDb), "30" },
        { "width", Text(parameters.m_iImageWidth), "640" },
        { "height", Text(parameters.m_iImageHeight), "480" },
        { "trigger level", Text(parameters.TriggerLowHigh), "false" },
        { "master", Text(parameters.IsMaster), "false" },
        { "first camera number", Text(parameters.InitialCameraNumber), "0" },
        { "preset", Text(parameters.PresetIndex), "0" },
        { "imposed values", Text(parameters.m_bCooperation), "false" },
        { "fixed rate", Text(parameters.m_bRateFixed), "false" },
        { "weight of the old rate", Text(capture.m_dFpsAlpha), "0.9" },
        { "view switch", Text(windows.m_iViewSwitch), "1" },
        { "panel shown", Text(windows.m_bControlPanelShown.load()), "false" },
        { "views", Text(windows.m_iViewCount), "0" },
        { "frame shown", Text(windows.m_iCurFrame), "0" },
        { "folder", naming.m_strSaveFolder, "c:\\" },
        { "title", naming.m_strFileTitle, "untitle" },
        { "path", naming.m_strFilePath, "c:\\\\untitle" },
        { "running number", naming.m_strSerialSuffix, "1" },
        { "number appended", Text(naming.m_bSerialSuffix), "false" },
        { "titles used", Text(naming.m_astrFileHistory.size()), "0" },
        { "second list", Text(naming.m_astrFileList.size()), "0" },
        { "clock frequency", Text(m_doc->m_llClockFrequency), "1000000000" },
        { "clock base", Text(m_doc->m_llClockBase), "1234567" },
        { "capturing", Text(capture.m_bCapturing.load()), "false" },
        { "monitor runs", Text(capture.m_bKeyWaitRun.load()), "false" },
        { "state", Text(capture.m_iCaptureState.load()), "2" },
        { "saving", Text(capture.m_bSaving.load()), "false" },
        { "playback", Text(capture.m_bPlayback.load()), "false" },
        { "saved range's last", Text(capture.m_iSaveLastFrame.load()), "-1" },
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.strValue, row.strDefault) << row.pField;
    EXPECT_EQ(parameters.m_iMaxRecordSec, (std::array<int, 10> { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }));
}

TEST_F(NewDocument, HasNineIdleSlots)
{
    for (std::size_t c = 0; c < 9; ++c) {
        SCOPED_TRACE(c);
        EXPECT_FALSE(m_doc->m_cameras.m_bIsGigE[c]);
        EXPECT_EQ(m_doc->m_cameras.m_uiSerialNumber[c], 0U);
        EXPECT_EQ(m_doc->m_cameras.m_whiteBalance[c].GR, 645U);
        EXPECT_EQ(m_doc->m_cameras.m_whiteBalance[c].GB, 715U);
        EXPECT_EQ(m_doc->m_cameras.m_whiteBalance[c].R, 80U);
        EXPECT_EQ(m_doc->m_cameras.m_whiteBalance[c].B, 90U);
        EXPECT_EQ(m_doc->m_store.m_iendFrame[c], 0);
        EXPECT_EQ(m_doc->m_store.m_istartFrame[c], 0);
        EXPECT_EQ(m_doc->m_store.m_iLastFrame[c], 0);
        EXPECT_EQ(m_doc->m_store.m_isaveFrameCount[c], -10);
        EXPECT_FALSE(m_doc->m_store.m_bRecordDone[c]);
        EXPECT_FALSE(m_doc->m_capture.m_bGrabRun[c]);
        EXPECT_TRUE(m_doc->m_capture.m_bThreadEnded[c]);
        EXPECT_EQ(m_doc->m_capture.m_view[c].m_viewImage.GetData(), nullptr);
    }
}

} // namespace
} // namespace vireo
