#include "camera/operator_actions.h"
#include "support/camera_document.h"
#include "support/fake_grab_threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vireo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the partner, its keys and the end of its run do to a document, whose capture is only said to run.

constexpr int kStopped = 0;
constexpr int kLive = capture_state::kLive;
constexpr int kRecording = capture_state::kRecording;

class PartnerActions : public testing::Test {
protected:
    PartnerActions() { Request(true, true, 0); }
    void Request(bool bCooperation, bool bPartner, int iSwitches)
    {
        CooperationRequest request;
        request.CooperationMode = bCooperation;
        request.PartnerPresent = bPartner;
        request.PartnerTitle = "Marten";
        request.CoopSwitches = iSwitches;
        m_bench = std::make_unique<CameraDocument>("simulated:FL3-U3-13Y3M", request);
        m_bench->m_test.m_partner.Open("Marten");
    }
    CVireoDoc& In(int iState)
    {
        CVireoDoc& doc = m_bench->Doc();
        doc.m_capture.m_bCapturing = iState != kStopped;
        doc.m_capture.m_iCaptureState = iState == kRecording ? kRecording : kLive;
        return doc;
    }
    /// "start", "stop", "exit", "cancelled", in this order, for what has been asked since the document was made.
    std::string Asked()
    {
        std::string strAsked;
        if (m_bench->Doc().m_store.m_bStartRequest)
            strAsked += "start ";
        if (m_bench->Doc().m_store.m_bStopRequest)
            strAsked += "stop ";
        for (const int iCommand : m_bench->m_test.m_window.Record().commands)
            strAsked += iCommand == command::kExit ? "exit " : "? ";
        if (m_bench->m_app.CooperationResult() == cooperation_result::kCancelled)
            strAsked += "cancelled ";
        return strAsked;
    }
    std::vector<int> Told() const
    {
        std::vector<int> commands;
        for (const FakePartnerLink::Sent& sent : m_bench->m_test.m_partner.Messages())
            commands.push_back(sent.iCommand);
        return commands;
    }

    std::unique_ptr<CameraDocument> m_bench;
};

TEST_F(PartnerActions, CopyDataStartsStopsAndCloses)
{
    const struct {
        int iIdentifier;
        const char* pText;
        int iState;
        const char* pAsked;
    } kRows[] = {
        { 1081, "1", kLive, "exit " },
        { 1081, "1", kRecording, "stop " },
        { 1081, "1", kStopped, "" },
        { 1081, "2", kLive, "start " },
        { 1081, "2", kRecording, "" },
        { 1081, "2", kStopped, "" },
        { 1081, " 2x", kLive, "start " },
        { 1081, "0", kLive, "" },
        { 1081, "", kLive, "" },
        { 1081, "", kRecording, "" },
        { 1081, "one", kRecording, "" },
        { 1081, "12", kLive, "" },
        { 1081, "-1", kRecording, "" },
        { 1081, "99999999999999999999", kLive, "" },
        { 1082, "1", kLive, "" },
        { 1082, "1", kRecording, "" },
        { 1080, "2", kLive, "" },
        { 0, "2", kLive, "" },
    };
    for (const auto& row : kRows) {
        Request(true, true, 0);
        HandlePartnerCopyData(In(row.iState), row.iIdentifier, row.pText);
        EXPECT_EQ(Asked(), row.pAsked) << row.iIdentifier << " \"" << row.pText << "\" in state " << row.iState;
    }
}

TEST_F(PartnerActions, CopyDataIsForARunWithAPartnerOnly)
{
    for (const auto& [bCooperation, bPartner] :
        { std::pair(false, false), std::pair(false, true), std::pair(true, false) })
        for (const int iState : { kLive, kRecording })
            for (const char* pText : { "1", "2" }) {
                Request(bCooperation, bPartner, 0);
                HandlePartnerCopyData(In(iState), partner::kCopyDataIdentifier, pText);
                EXPECT_EQ(Asked(), "") << bCooperation << bPartner << iState << pText;
            }
}

TEST_F(PartnerActions, KeysDependOnTheHundredsOfTheSwitchesAndOnTheState)
{
    const struct {
        bool bCooperation;
        int iSwitches;
        int iState;
        bool bEnterTaken, bEscapeTaken;
        const char* pEnter;
        const char* pEscape;
    } kRows[] = {
        { true, 99, kLive, false, false, "", "" },
        { true, 99, kRecording, false, false, "", "" },
        { true, 11, kLive, false, false, "", "" },
        { true, -100, kLive, false, false, "", "" },
        { true, 100, kLive, true, true, "start ", "exit cancelled " },
        { true, 100, kRecording, true, true, "stop ", "" },
        { true, 100, kStopped, true, true, "", "" },
        { true, 111, kLive, true, true, "start ", "exit cancelled " },
        { true, 1000, kRecording, true, true, "stop ", "" },
        { false, 111, kLive, false, false, "", "" },
        { false, 111, kRecording, false, false, "", "" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.iSwitches << " in state " << row.iState);
        Request(row.bCooperation, true, row.iSwitches);
        EXPECT_EQ(HandleCooperationEnter(In(row.iState)), row.bEnterTaken);
        EXPECT_EQ(Asked(), row.pEnter);
        EXPECT_EQ(!Told().empty(), Asked() == "start ") << "the partner is told of a start by the key";
        Request(row.bCooperation, true, row.iSwitches);
        EXPECT_EQ(HandleCooperationEscape(In(row.iState)), row.bEscapeTaken);
        EXPECT_EQ(Asked(), row.pEscape);
        EXPECT_THAT(Told(), IsEmpty());
    }
}

TEST_F(PartnerActions, KeysNeedNoPartner)
{
    Request(true, false, 111);
    EXPECT_TRUE(HandleCooperationEnter(In(kLive)));
    EXPECT_EQ(Asked(), "start ");
    EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(PartnerActions, RedrawTimersServeTheirOwnState)
{
    for (const int iState : { kStopped, kLive, kRecording })
        for (const int iTimer : { timer::kRefreshLive, timer::kRefreshSlow }) {
            Request(false, false, 0);
            CVireoDoc& doc = In(iState);
            doc.m_cameras.m_uiNumCameras = 1;
            doc.m_store.m_iendFrame[0] = 5;
            HandleTimer(doc, iTimer);
            doc.m_cameras.m_uiNumCameras = 0;
            const bool bRedrawn = !m_bench->m_test.m_window.Record().redraws.empty();
            EXPECT_EQ(bRedrawn, iState == (iTimer == timer::kRefreshLive ? kLive : kRecording)) << iState << iTimer;
        }
}

TEST_F(PartnerActions, TheEndOfARunStopsPausesAndCloses)
{
    GrabThreadsAsked() = {};
    HandleTimer(In(kLive), timer::kExit);
    EXPECT_EQ(GrabThreadsAsked().iStops, 1);
    EXPECT_THAT(m_bench->m_test.m_window.Record().settleMs, ElementsAre(500));
    EXPECT_EQ(Asked(), "exit ");
    EXPECT_THAT(Told(), IsEmpty()) << "nothing was recorded";
}

TEST_F(PartnerActions, TheEndOfARunWaitsForASaveThatRuns)
{
    GrabThreadsAsked() = {};
    CVireoDoc& doc = In(kLive);
    doc.m_capture.m_bSaving = true;
    HandleTimer(doc, timer::kExit);
    doc.m_capture.m_bSaving = false;
    EXPECT_EQ(GrabThreadsAsked().iStops, 0);
    EXPECT_EQ(Asked(), "");
    EXPECT_EQ(m_bench->m_test.m_window.Record().iExitTimers, 1) << "asked again later";
}

TEST_F(PartnerActions, ARunWithoutAPartnerProgramHasNoEndOfItsOwn)
{
    Request(false, false, 0);
    HandleTimer(In(kLive), timer::kExit);
    EXPECT_EQ(Asked(), "");
    EXPECT_TRUE(m_bench->Doc().m_capture.m_bCapturing);
}

TEST_F(PartnerActions, ThePartnerIsToldOfTheEndOfARecordingThatAFailureCutShort)
{
    for (const bool bTold : { false, true }) {
        Request(true, true, 0);
        CVireoDoc& doc = In(kLive);
        doc.m_store.m_bRecordDone[0] = true;
        doc.m_capture.m_bEndNotified = bTold;
        HandleTimer(doc, timer::kExit);
        if (bTold)
            EXPECT_THAT(Told(), IsEmpty()) << "not twice";
        else
            EXPECT_THAT(Told(), ElementsAre(partner::kRecordingFinished));
    }
}

} // namespace
} // namespace vireo::test
