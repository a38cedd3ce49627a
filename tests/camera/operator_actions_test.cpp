#include "camera/operator_actions.h"
#include "platform/time/virtual_clock.h"
#include "support/camera_document.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

// With the real grab threads, in virtual time.

class StartOfARecording : public testing::Test {
protected:
    StartOfARecording()
    {
        CooperationRequest request;
        request.CooperationMode = true;
        request.PartnerPresent = true;
        request.PartnerTitle = "Marten";
        request.CoopSwitches = 100;
        m_bench = std::make_unique<CameraDocument>("simulated:2xFL3-U3-13Y3M", request, &m_clock);
        m_bench->m_test.m_partner.Open("Marten");
        EXPECT_TRUE(m_bench->Open());
        m_clock.SleepMs(200);
        EXPECT_TRUE(m_bench->Doc().m_capture.m_bCapturing);
    }
    void RunShort()
    {
        m_bench->m_test.m_memory.State().m_bRunsShort = true;
        m_bench->Doc().m_store.m_arena->StartTouching(0, 0, [] {});
    }
    int Told() const { return static_cast<int>(m_bench->m_test.m_partner.Messages().size()); }
    bool Recording()
    {
        m_clock.SleepMs(200);
        return m_bench->Doc().m_capture.m_iCaptureState == capture_state::kRecording;
    }

    VirtualClock m_clock;
    std::unique_ptr<CameraDocument> m_bench;
};

TEST_F(StartOfARecording, IsAskedForByTheButton)
{
    EXPECT_TRUE(Start(m_bench->Doc()));
    EXPECT_TRUE(Recording());
    EXPECT_EQ(Told(), 1);
}

TEST_F(StartOfARecording, IsRefusedToTheButtonWhileMemoryIsShort)
{
    RunShort();
    EXPECT_FALSE(Start(m_bench->Doc()));
    EXPECT_FALSE(m_bench->Doc().m_store.m_bStartRequest);
    EXPECT_FALSE(Recording());
}

TEST_F(StartOfARecording, IsRefusedToTheEnterKeyWhileMemoryIsShortAndThePartnerHearsNothing)
{
    RunShort();
    EXPECT_TRUE(HandleCooperationEnter(m_bench->Doc())) << "the key is taken all the same";
    EXPECT_FALSE(m_bench->Doc().m_store.m_bStartRequest);
    EXPECT_FALSE(Recording());
    EXPECT_EQ(Told(), 0);
}

TEST_F(StartOfARecording, IsRefusedToThePartnerWhileMemoryIsShort)
{
    RunShort();
    HandlePartnerCopyData(m_bench->Doc(), partner::kCopyDataIdentifier, "2");
    EXPECT_FALSE(Recording());
    EXPECT_FALSE(m_bench->Doc().m_store.m_bStartRequest);
    EXPECT_EQ(Told(), 0);
}

TEST_F(StartOfARecording, IsToldOnceHoweverOftenEnterIsPressed)
{
    EXPECT_TRUE(HandleCooperationEnter(m_bench->Doc()));
    EXPECT_TRUE(HandleCooperationEnter(m_bench->Doc())) << "before a frame has come";
    EXPECT_TRUE(Recording());
    const FakePartnerLink::Sent started { "Marten", partner::kRecordingStarted, false };
    EXPECT_EQ(m_bench->m_test.m_partner.Messages(), std::vector<FakePartnerLink::Sent> { started });
}

TEST_F(StartOfARecording, IsToldByTheFirstFrameWhenEnterFoundNobody)
{
    m_bench->m_test.m_partner.Close("Marten");
    EXPECT_TRUE(HandleCooperationEnter(m_bench->Doc()));
    m_bench->m_test.m_partner.Open("Marten");
    EXPECT_TRUE(Recording());
    EXPECT_EQ(Told(), 1);
}

} // namespace
} // namespace vireo::test
