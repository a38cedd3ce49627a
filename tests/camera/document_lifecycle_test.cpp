#include "camera/document_lifecycle.h"
#include "support/camera_document.h"
#include "support/fake_grab_threads.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

TEST(OnCloseDocument, StopsTheCaptureBeforeItDisconnectsTheCameras)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Open());
    bench.Forget();
    const int iStops = GrabThreadsAsked().iStops;
    OnCloseDocument(bench.Doc());
    EXPECT_EQ(GrabThreadsAsked().iStops, iStops + 1);
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);

    std::vector<Operation> order;
    for (const LibraryCall& call : bench.m_library.Calls())
        if (call.eOperation == Operation::StopCapture || call.eOperation == Operation::Disconnect)
            order.push_back(call.eOperation);
    EXPECT_EQ(order,
        (std::vector<Operation> {
            Operation::StopCapture, Operation::StopCapture, Operation::Disconnect, Operation::Disconnect }));
}

TEST(OnCloseDocument, ReleasesCamerasStoreAndPanelAndKeepsTheTitles)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Open());
    bench.Doc().m_naming.m_astrFileHistory = { "walk", "run" };
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.Doc().m_cameras.m_owners.empty());
    EXPECT_FALSE(bench.Doc().m_cameras.m_bCameraConnected);
    EXPECT_EQ(bench.Doc().m_cameras.m_uiNumCameras, 0U);
    EXPECT_FALSE(bench.Doc().m_store.Exists());
    EXPECT_FALSE(bench.Doc().m_windows.m_bControlPanelShown);
    EXPECT_EQ(bench.m_test.m_window.Record().panelShown, (std::vector<bool> { true, false }));
    EXPECT_EQ(bench.m_app.ReadIniString("FILENAME", "file1", ""), "walk");
    EXPECT_EQ(bench.m_app.ReadIniString("FILENAME", "file2", ""), "run");
}

TEST(OnCloseDocument, DisconnectsNothingThatWasNeverConnected)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    bench.Doc().m_naming.m_astrFileHistory = { "walk" };
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.m_library.Calls().empty());
    EXPECT_TRUE(bench.Messages().empty());
    EXPECT_EQ(bench.m_app.ReadIniString("FILENAME", "file1", ""), "walk") << "all the same it is closed";
}

TEST(OnCloseDocument, IsHarmlessWhenRepeated)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Open());
    OnCloseDocument(bench.Doc());
    bench.Forget();
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.m_library.Calls().empty());
    EXPECT_TRUE(bench.m_test.m_window.Record().panelShown.empty());
}

TEST(OnCloseDocument, TracesAFailedDisconnectAndGoesOn)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Open());
    bench.Forget();
    bench.m_library.Fail({ .eOperation = Operation::Disconnect, .eType = ErrorType::Disconnected, .iCamera = 0 });
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.m_test.m_log.Contains("Disconnect: error 12"));
    EXPECT_EQ(bench.m_library.Calls(Operation::Disconnect).size(), 2U);
    EXPECT_TRUE(bench.Messages().empty());
    EXPECT_TRUE(bench.Doc().m_cameras.m_owners.empty());
}

TEST(OnCloseDocument, LetsTheDocumentBeOpenedAgain)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Open());
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.Open());
    EXPECT_TRUE(bench.Doc().m_capture.m_bCapturing);
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(ToggleControlPanel, OpensThePanelAndClosesItTheSecondTime)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ToggleControlPanel(bench.Doc());
    EXPECT_TRUE(bench.Doc().m_windows.m_bControlPanelShown);
    EXPECT_EQ(bench.m_test.m_window.Record().iPanelRefreshes, 1);
    ToggleControlPanel(bench.Doc());
    EXPECT_FALSE(bench.Doc().m_windows.m_bControlPanelShown);
    EXPECT_EQ(bench.m_test.m_window.Record().panelShown, (std::vector<bool> { true, false }));
    EXPECT_EQ(bench.m_test.m_window.Record().iPanelRefreshes, 1);
}

} // namespace
} // namespace vireo::test
