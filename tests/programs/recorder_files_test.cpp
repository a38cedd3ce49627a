#include "camera/operator_actions.h"
#include "capture/grab_threads.h"
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/video_checks.h"
#include "support/camera_document.h"
#include "take.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>

using namespace vireo;
using namespace vireo::test;

// Recordings of simulated cameras in real files; a player that is not ours reads them.

namespace {

using Texts = std::vector<std::string>;

constexpr int kFrames = 30; ///< of one second at the rate that a document opens with

/// A document that has recorded kFrames frames of each camera.
class RecordedDocument {
public:
    explicit RecordedDocument(VideoWriters& video)
        : m_bench("simulated:2xFL3-U3-13Y3M", {}, &m_clock, &video)
    {
        EXPECT_TRUE(m_bench.Open());
        m_clock.SleepMs(500);
        EXPECT_TRUE(Start(Doc()));
        for (int i = 0; i < 5000 && Doc().m_capture.m_bCapturing; ++i)
            m_clock.SleepMs(1);
        StopGrab(Doc());
        EXPECT_TRUE(Doc().m_store.m_bRecordDone[0] && Doc().m_store.m_bRecordDone[1]);
        Doc().m_naming.m_strSaveFolder = m_folder.Path();
        Doc().m_naming.m_strFileTitle = "take";
    }
    CVireoDoc& Doc() { return m_bench.Doc(); }

    VirtualClock m_clock;
    TemporaryFolder m_folder;
    CameraDocument m_bench;
};

/// Real writers that tell when a file is opened.
class WatchedVideos : public VideoWriters {
public:
    std::function<void()> m_onOpen;
    std::unique_ptr<FlyCapture2Video> Create() override
    {
        if (m_onOpen)
            m_onOpen();
        return m_inner->Create();
    }
    Error ReadBack(const std::string& strFile, int& iFrames) override { return m_inner->ReadBack(strFile, iFrames); }

private:
    std::unique_ptr<VideoWriters> m_inner = MakeVideoWriters();
};

} // namespace

TEST(RecordedFiles, ATakeInSeveralPartsPlaysInEachAndAddsUp)
{
    constexpr std::uint64_t kLimit = 600'000;
    const auto video = MakeVideoWriters({ .uiPartLimitBytes = kLimit });
    Take take("simulated:2xFL3-U3-13Y3M", "", At(100, 1), { .pVideo = video.get() });
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    ASSERT_EQ(outcome.report.cameras.size(), 2U);
    for (const CameraReport& camera : outcome.report.cameras) {
        ASSERT_GE(camera.files.size(), 2U);
        int iFrames = 0;
        for (std::size_t i = 0; i < camera.files.size(); ++i) {
            EXPECT_TRUE(camera.files[i].ends_with(
                "-cam" + std::to_string(camera.iNumber) + "-000" + std::to_string(i) + ".avi"));
            EXPECT_LE(std::filesystem::file_size(camera.files[i]), kLimit);
            const Probed probed = Probe(camera.files[i]);
            EXPECT_EQ(probed.strComplaints, "");
            EXPECT_EQ(probed.strRate, "100/1");
            EXPECT_EQ(probed.iPromised, probed.iFrames);
            EXPECT_GT(probed.iFrames, 0);
            iFrames += probed.iFrames;
        }
        EXPECT_EQ(iFrames, 100);
    }
}

TEST(RecordedFiles, ARecordingThatFilledTheDiskIsSavedInFullElsewhere)
{
    std::atomic<bool> bFull = true;
    std::atomic<std::uint64_t> uiWritten = 0;
    VideoWriterSettings settings;
    settings.write = [&, plain = PlainWrite()](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) {
        if (bFull && (uiWritten += uiBytes) > 200'000) {
            errno = ENOSPC;
            return ssize_t { -1 };
        }
        return plain(iFile, pBytes, uiBytes, iOffset);
    };
    const auto video = MakeVideoWriters(settings);
    RecordedDocument recorded(*video);
    CVireoDoc& doc = recorded.Doc();

    Save(doc);
    // Encoders run ahead: where there are many the last append may come before the failed write.
    EXPECT_THAT(recorded.m_bench.Messages(),
        testing::ElementsAre(testing::AnyOf("AVIﾌｧｲﾙの作成に失敗しました。\n", "AVIﾌｧｲﾙのｸﾛｰｽﾞに失敗しました。\n")));
    EXPECT_TRUE(recorded.m_bench.m_test.m_log.Contains(std::strerror(ENOSPC)));
    EXPECT_EQ(recorded.m_bench.m_app.CooperationResult(), cooperation_result::kWriteFailed);
    EXPECT_TRUE(doc.m_store.m_bRecordDone[0]) << "the recording stays in memory";
    EXPECT_FALSE(doc.m_capture.m_bCapturing) << "nothing may overwrite it";
    const Probed cut = Probe(recorded.m_folder / "take-cam1-0000.avi");
    EXPECT_EQ(cut.strComplaints, "") << "what was written plays";
    EXPECT_GT(cut.iFrames, 0);
    EXPECT_LT(cut.iFrames, kFrames);

    bFull = false;
    const TemporaryFolder elsewhere;
    doc.m_naming.m_strSaveFolder = elsewhere.Path();
    Save(doc);
    EXPECT_EQ(recorded.m_bench.Messages().size(), 1U);
    ExpectPlays(elsewhere / "take-cam1-0000.avi", kFrames);
    ExpectPlays(elsewhere / "take-cam2-0000.avi", kFrames);
    EXPECT_FALSE(doc.m_store.m_bRecordDone[0]);
    EXPECT_TRUE(doc.m_capture.m_bCapturing) << "ready for the next one";
}

TEST(RecordedFiles, ACameraThatIsUnpluggedWhileItIsSavedLosesNothing)
{
    WatchedVideos video;
    RecordedDocument recorded(video);
    video.m_onOpen = [&recorded] {
        for (std::size_t i = 0; i < kOperationCount; ++i)
            recorded.m_bench.m_library.Fail({ .eOperation = static_cast<Operation>(i),
                .eType = ErrorType::Disconnected,
                .iCamera = 1,
                .iCalls = kEveryCall });
    };
    Save(recorded.Doc());
    ExpectPlays(recorded.m_folder / "take-cam1-0000.avi", kFrames);
    ExpectPlays(recorded.m_folder / "take-cam2-0000.avi", kFrames);
    EXPECT_EQ(Probe(recorded.m_folder / "take-cam2-0000.avi").strRate, "30/1") << "as it was recorded";
    // Only then the next recording cannot be prepared.
    EXPECT_EQ(recorded.m_bench.Messages(), Texts { "ｶﾒﾗ情報の取得に失敗しました。(12)\n" });
    EXPECT_EQ(recorded.m_bench.m_test.m_window.Record().commands, std::vector<int> { command::kExit });
}
