#pragma once
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "capture/avi_export.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <fstream>
#include <gtest/gtest.h>

namespace vireo::test {

inline constexpr int kFrames = 30; ///< recorded by each camera

/// A document with simulated cameras whose store holds a recording made by hand: byte 0 of a frame is its
/// camera, byte 1 its number. No thread runs.
class AviExport : public ::testing::Test {
protected:
    explicit AviExport(unsigned int uiCameras = 2)
    {
        SimulatedSetup setup;
        for (unsigned int c = 0; c < uiCameras; ++c)
            setup.cameras.push_back({ "FL3-U3-13Y3M", 13000001 + c });
        m_library = MakeSimulatedLibrary(m_clock, setup);
        m_test = std::make_unique<TestPlatform>(TestPlatformParts { .pClock = &m_clock, .pCameras = m_library.get() });
        m_app = std::make_unique<CVireoApp>(m_test->m_platform);
        m_app->SetIniFolder(m_folder.Path() + "/");
        std::ofstream(m_folder.Path() + "/Tessel.ini");
        m_doc = std::make_unique<CVireoDoc>(*m_app);
        EXPECT_TRUE(OnNewDocument(*m_doc));
        StopGrab(*m_doc);
        m_doc->m_naming.m_strSaveFolder = m_folder.Path();
        m_doc->m_naming.m_strFileTitle = "take";
        FillStore();
        m_test->m_window.Clear();
    }
    ~AviExport() override { OnCloseDocument(*m_doc); }

    void FillStore()
    {
        FrameStore& store = m_doc->m_store;
        store.m_geometry.uiRows = 480;
        store.m_geometry.uiCols = 640;
        store.m_geometry.uiStride = 640;
        store.m_geometry.uiDataSize = 640 * 480;
        store.m_geometry.uiPixelFormat = static_cast<std::uint32_t>(PixelFormat::Raw8);
        store.m_geometry.uiBayerTile = 0;
        store.m_iRecordTarget = kFrames;
        for (unsigned int c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c) {
            store.m_istartFrame[c] = 0;
            store.m_isaveFrameCount[c] = kFrames + 6;
            store.m_bRecordDone[c] = true;
            for (int i = 0; i < kFrames; ++i)
                Mark(c, i, i);
        }
    }
    void Mark(unsigned int uiCamera, int iSlot, int iFrame)
    {
        std::uint8_t* pSlot = m_doc->m_store.Slot(uiCamera, iSlot);
        pSlot[0] = static_cast<std::uint8_t>(uiCamera);
        pSlot[1] = static_cast<std::uint8_t>(iFrame);
    }
    static std::vector<int> FrameNumbers(const RecordedVideo& video)
    {
        std::vector<int> numbers;
        for (const auto& frame : video.frames)
            numbers.push_back(frame[1]);
        return numbers;
    }
    static std::vector<int> Range(int iFirst, int iLast)
    {
        std::vector<int> numbers;
        for (int i = iFirst; i <= iLast; ++i)
            numbers.push_back(i);
        return numbers;
    }
    std::string Path(const std::string& strName) const { return m_folder.Path() + "/" + strName; }
    std::vector<std::string> Messages() const { return m_test->m_window.MessageTexts(); }
    std::vector<RecordedVideo> Videos() const { return m_test->m_video.Videos(); }
    bool IsKept() const { return m_doc->m_store.m_bRecordDone[0]; }

    VirtualClock m_clock;
    TemporaryFolder m_folder;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_test;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<CVireoDoc> m_doc;
};

} // namespace vireo::test
