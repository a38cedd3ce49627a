#include "desktop_run.h"
#include "peers/network_test.h"
#include "peers/peer_process.h"
#include "support/decoded_video.h"

#include <csignal>
#include <sstream>

// The desktop program with cameras that speak the real protocol: live, recorded, saved, and lost.

namespace vireo {
namespace {

constexpr std::size_t kFrames = 1000; ///< ten seconds
constexpr std::uint32_t kStep = 10000; ///< us from frame to frame

class DesktopRealCameras : public test::DesktopRun<peers::NetworkTest> {
protected:
    DesktopRealCameras()
        : DesktopRun("FrameRate=100\nRecTime=10\n"
                     // The views in their own size, and nothing over them.
                     "[MAIN_WINDOW]\nleft=0\ntop=0\nright=1334\nbottom=1120\nshowCmd=0\n"
                     "[CAM_CONTROL_DLG]\nleft=1360\ntop=20\nright=1725\nbottom=521\n")
    {
    }
    void StartPeer(const std::vector<std::string>& arguments)
    {
        m_peer.reset(); // its addresses come free
        m_peer = std::make_unique<peers::PeerProcess>(arguments);
        ASSERT_TRUE(m_peer->Ready());
    }
    /// The bar codes that stand in the views now, one a line with their place.
    std::vector<std::string> CodesOnScreen() const
    {
        const std::string strCommand =
            "import -silent -window " + m_strMain + " -colorspace Gray -depth 8 pgm:- | " TESSEL_SCREEN_BAR_CODES;
        std::istringstream lines(XTool({ "sh", "-c", strCommand }));
        std::vector<std::string> codes;
        for (std::string strLine; std::getline(lines, strLine);)
            codes.push_back(strLine);
        return codes;
    }
    /// Waits until the views show both cameras, and another moment than `before`.
    std::vector<std::string> WaitForViews(const std::vector<std::string>& before = {}) const
    {
        const auto patience = std::chrono::steady_clock::now() + test::RunningProgram::kPatience;
        while (!m_program->HasEnded() && std::chrono::steady_clock::now() < patience) {
            const std::vector<std::string> codes = CodesOnScreen();
            if (codes.size() == 2 && codes != before)
                return codes;
        }
        ADD_FAILURE() << "the views stand still: " << m_program->Err();
        return {};
    }
    /// A message that the program shows, confirmed.
    void ConfirmMessage() { Press(Window("Tessel$"), "Return"); }
    /// Both files hold the same exposures without a gap. @return how many.
    std::size_t ExpectWholeFiles() const
    {
        const std::vector<std::uint32_t> first = test::DecodedBarCodes(Work("-cam1-0000.avi"));
        EXPECT_EQ(test::DecodedBarCodes(Work("-cam2-0000.avi")), first);
        EXPECT_EQ(test::FramesByFfprobe(Work("-cam1-0000.avi")), "100/1," + std::to_string(first.size()) + "\n");
        for (std::size_t i = 1; i < first.size(); i++)
            EXPECT_EQ(first[i] - first[i - 1], kStep) << "frame " << i;
        return first.size();
    }
    void Save() { Press(m_strMain, "ctrl+s"); }
    /// Confirms whatever is told before and meanwhile; a message keeps the keys to itself.
    void SaveUnderMessages()
    {
        const auto patience = std::chrono::steady_clock::now() + test::RunningProgram::kPatience;
        while (!std::filesystem::exists(Work("-cam2-0000.avi")) && std::chrono::steady_clock::now() < patience) {
            const std::string strMessage = XTool({ "xdotool", "search", "--onlyvisible", "--name", "^Tessel$" });
            if (strMessage.empty())
                Save();
            else
                Press(strMessage.substr(0, strMessage.find('\n')), "Return");
        }
        WaitForLamp(kIdle);
    }

    std::unique_ptr<peers::PeerProcess> m_peer;
};

TEST_F(DesktopRealCameras, AreShownRecordedAndSaved)
{
    StartPeer({ "--count", "2" });
    BeginLive("genicam:lo");
    WaitForViews(WaitForViews());
    Record();
    Save();
    WaitForLamp(kIdle);
    EXPECT_EQ(ExpectWholeFiles(), kFrames);
    m_program->Signal(SIGTERM);
    ExpectGoodEnd();
}

TEST_F(DesktopRealCameras, KilledWhileLiveAreNamedAndTheNextStartWorks)
{
    StartPeer({ "--count", "2" });
    BeginLive("genicam:lo");
    WaitForViews();
    m_peer->Kill();
    EXPECT_TRUE(m_program->WaitForErr("camera 15000001: it does not answer"));
    ConfirmMessage();
    m_program->Signal(SIGTERM);
    ExpectGoodEnd();
    StartPeer({ "--count", "2" });
    BeginLive("genicam:lo");
    WaitForViews();
}

TEST_F(DesktopRealCameras, KilledWhileRecordingLeaveARecordingThatCanBeSaved)
{
    StartPeer({ "--count", "2" });
    BeginLive("genicam:lo");
    Press(m_strPanel, "F9");
    WaitForLamp(kRecording);
    m_peer->Kill();
    EXPECT_TRUE(m_program->WaitForErr(": it does not answer"));
    ConfirmMessage();
    WaitForLamp(kRecorded);
    SaveUnderMessages();
    EXPECT_GT(ExpectWholeFiles(), 0U);
    m_program->Signal(SIGTERM);
    ExpectGoodEnd();
}

} // namespace
} // namespace vireo
