// soak_takes takes|growth|valgrind [TAKES [SEED]]: recordings back to back in one process, with presets, faults and
// stops from outside at random. Each saved take is held against its pictures' own bar codes; at the end the process has
// as many threads, descriptors and bytes as at its start. "growth": the same takes again and again; the heap stays as
// it is. "valgrind": as "takes", but the bytes are valgrind's to count.
#include "platform/imaging/mjpeg_video.h"
#include "process_state.h"
#include "random_session.h"
#include "session.h"
#include "support/bar_code_videos.h"
#include "support/decoded_video.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <unistd.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kRealFilesEvery = 8; ///< takes of which one goes through the real writer and a decoder of others

int g_iTakes = 10;
unsigned int g_uiSeed = 1;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
bool g_bCountsMemory = false; // a sanitizer keeps what was given back
#else
bool g_bCountsMemory = true;
#endif

/// Writers that are exchanged from take to take.
class ChangingVideos : public VideoWriters {
public:
    void Begin(bool bReal)
    {
        m_barCodes = std::make_unique<BarCodeVideos>();
        m_pNow = bReal ? m_real.get() : m_barCodes.get();
    }
    bool IsReal() const { return m_pNow == m_real.get(); }
    std::vector<BarCodeFile> BarCodes() const { return m_barCodes->Files(); }
    std::unique_ptr<FlyCapture2Video> Create() override { return m_pNow->Create(); }
    Error ReadBack(const std::string& strFile, int& iFrames) override { return m_pNow->ReadBack(strFile, iFrames); }

private:
    std::unique_ptr<VideoWriters> m_real = MakeVideoWriters();
    std::unique_ptr<BarCodeVideos> m_barCodes;
    VideoWriters* m_pNow = nullptr;
};

/// What the takes came to.
struct Tally {
    int iTakes = 0; ///< recordings that were begun
    int iSaved = 0;
    int iRealFiles = 0; ///< of those, decoded from real files
    int iSessions = 0;
    int iFaulty = 0; ///< sessions with faults
    long long llFrames = 0; ///< whose bar code was read
    std::map<std::string, int> ends;
    std::map<std::string, int> verdicts;
};

class Takes : public testing::Test {
protected:
    /// Until the tally has `iTakes`.
    void RunSession(RandomSession& random, int iTakes);
    bool RunTake(Session& session, RandomSession& random, bool& bLive);
    bool Record(Session& session, RandomSession& random, StopKind eStop);
    void CheckSaved(Session& session, const RandomSession& random, const TakeReport& report, StopKind eStop);
    std::vector<std::vector<std::uint32_t>> CodesOf(const TakeReport& report) const;

    void ClearFolder() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
            std::filesystem::remove(entry.path());
    }

    TemporaryFolder m_folder { TemporaryFolder::Place::Memory };
    ChangingVideos m_videos;
    Tally m_tally;
};

void Takes::RunSession(RandomSession& random, int iTakes)
{
    SCOPED_TRACE(random.strSource + " '" + random.strFaults + "'");
    ++m_tally.iSessions;
    m_tally.iFaulty += random.strFaults.empty() ? 0 : 1;
    m_videos.Begin(false);
    Session session(random.strSource, random.strFaults, m_videos);
    const bool bOpened = session.Open();
    EXPECT_TRUE(bOpened || random.MayRefuse()) << testing::PrintToString(session.Messages());
    EXPECT_TRUE(bOpened || !session.Messages().empty()) << "a refusal without a word";
    bool bLive = false; // a complete save has armed the next recording
    for (int i = 0; bOpened && i < random.iTakes && m_tally.iTakes < iTakes; ++i)
        if (!RunTake(session, random, bLive))
            break;
    EXPECT_TRUE(!random.strFaults.empty() || session.Messages().empty()) << testing::PrintToString(session.Messages());
}

/// For who looks for the reason of a failure.
std::string Counters(const FrameStore& store, std::size_t uiCameras, StopKind eStop)
{
    std::string strText = "stop " + std::to_string(static_cast<int>(eStop)) + ", target "
        + std::to_string(store.m_iRecordTarget) + ", cut from " + std::to_string(store.m_iCutFrom);
    for (std::size_t c = 0; c < uiCameras; ++c)
        strText += "; " + std::to_string(store.m_isaveFrameCount[c]) + (store.m_bRecordDone[c] ? " done" : "");
    return strText;
}

// False when the cameras are gone for this session.
bool Takes::RunTake(Session& session, RandomSession& random, bool& bLive)
{
    if (!bLive) {
        RecordingPreset preset;
        do {
            preset = random.Preset();
        } while (!session.Allows(preset));
        const std::size_t uiTold = session.Messages().size();
        if (!ApplyPresetValues(session.Doc(), preset) || (random.bTrigger && !Prepare(session.Doc(), true))) {
            EXPECT_TRUE(random.MayRefuse()) << testing::PrintToString(session.Messages());
            EXPECT_GT(session.Messages().size(), uiTold) << "a refusal without a word";
            return false;
        }
    }
    m_videos.Begin(m_tally.iTakes % kRealFilesEvery == kRealFilesEvery - 1);
    ++m_tally.iTakes;
    SCOPED_TRACE(testing::Message() << "take " << m_tally.iTakes << ", " << session.Doc().m_parameters.m_iFps
                                    << " fps, size " << session.Doc().m_parameters.m_iImageSizeIndex
                                    << (random.bTrigger ? ", trigger" : ""));
    bLive = false;
    const StopKind eStop = random.Stop();
    if (!Record(session, random, eStop)) {
        ++m_tally.ends["no recording"];
        EXPECT_TRUE(eStop == StopKind::Break || eStop == StopKind::Keep || random.MayEndEarly())
            << testing::PrintToString(session.Messages());
        return session.m_bExitPosted ? false : true;
    }
    ++m_tally.ends[session.Store().m_iCutFrom > 0 ? "cut by a failure" : eStop == StopKind::None ? "whole" : "stopped"];
    unsigned int uiDone = 0;
    std::size_t uiSilent = 0; // cameras that fell silent before the recording began
    for (std::size_t c = 0; c < session.Cameras(); ++c) {
        uiDone += session.Store().m_bRecordDone[c] ? 1 : 0;
        uiSilent += session.Store().m_isaveFrameCount[c] < 1 ? 1 : 0;
    }
    EXPECT_EQ(session.Store().m_uiDoneCameras, uiDone) << "cameras counted as done";
    // Who gives a recording up may do so between the last frames of the first camera and those of the others.
    if (eStop != StopKind::Break) {
        EXPECT_EQ(uiDone + uiSilent, session.Cameras()) << Counters(session.Store(), session.Cameras(), eStop);
    }
    EXPECT_TRUE(uiSilent == 0 || random.MayEndEarly());

    TakeReport report = ReportTake(session.Doc());
    ExportResult saved;
    const bool bRearm = random.Chance(50) && session.Store().m_iCutFrom == 0;
    const std::string strTitle = "take" + std::to_string(m_tally.iTakes);
    if (bRearm) {
        session.Doc().m_naming.m_strSaveFolder = m_folder.Path();
        session.Doc().m_naming.m_strFileTitle = strTitle;
        saved = SaveAviAndRearm(session.Doc());
        bLive = !random.bTrigger && session.Doc().m_capture.m_bCapturing;
    } else {
        saved = SaveAviAs(session.Doc(), m_folder / strTitle);
    }
    EXPECT_EQ(saved.bComplete, uiSilent == 0) << testing::PrintToString(session.Messages());
    EXPECT_NE(session.HasRecording(), saved.bComplete) << "what is not in files stays";
    AddExport(report, saved);
    if (uiSilent > 0) {
        ++m_tally.ends["with a camera that has no frames"];
        EXPECT_EQ(report.eVerdict, Verdict::FramesMissed) << report.strReason;
        EXPECT_NE(session.Messages().back().find("の録画ﾃﾞｰﾀがありません"), std::string::npos);
        ClearFolder();
        return true;
    }
    CheckSaved(session, random, report, eStop);
    ClearFolder();
    return true;
}

// True when there is something to save. Ends stopped.
bool Takes::Record(Session& session, RandomSession& random, StopKind eStop)
{
    CVireoDoc& doc = session.Doc();
    if (!random.bTrigger) {
        session.WaitLive();
        session.WaitFor(random.Between(0, 200) * kNsPerMs, [] { return false; });
        if (!Start(doc)) {
            EXPECT_TRUE(random.MayEndEarly());
        }
    }
    const ClockTime stopAt =
        eStop == StopKind::None ? kForever : session.m_clock.Now() + random.Between(0, 1500) * kNsPerMs;
    const ClockTime begin = session.m_clock.Now();
    const auto ended = [&] {
        return session.AllDone() || !doc.m_capture.m_bCapturing || session.m_clock.Now() >= stopAt;
    };
    EXPECT_TRUE(session.WaitFor(30 * kNsPerSecond, ended)) << "hangs";
    if (!session.AllDone() && doc.m_capture.m_bCapturing) {
        if (eStop == StopKind::Request) {
            doc.m_store.m_bStopRequest = true;
            session.WaitFor(4 * kNsPerSecond, [&] { return session.AllDone() || !doc.m_capture.m_bCapturing; });
        }
        if (eStop != StopKind::Break && !session.AllDone())
            doc.m_grabThreads->KeepRecording();
    }
    // The checks at the end of a recording are camera 0's thread's own.
    if (session.AllDone()) {
        const bool bEnded = session.WaitFor(10 * kNsPerSecond, [&] { return !doc.m_capture.m_bCapturing; });
        EXPECT_TRUE(bEnded) << "hangs";
    }
    StopGrab(doc);
    EXPECT_LT(session.m_clock.Now() - begin, 40 * kNsPerSecond);
    return session.HasRecording();
}

std::vector<std::vector<std::uint32_t>> Takes::CodesOf(const TakeReport& report) const
{
    std::vector<std::vector<std::uint32_t>> codes;
    if (m_videos.IsReal())
        for (const CameraReport& camera : report.cameras)
            codes.push_back(camera.files.empty() ? std::vector<std::uint32_t>() : DecodedBarCodes(camera.files[0]));
    else
        for (const BarCodeFile& file : m_videos.BarCodes())
            codes.push_back(file.exposuresUs);
    return codes;
}

// The pictures are the judge: what the report says must be what they show.
void Takes::CheckSaved(Session& session, const RandomSession& random, const TakeReport& report, StopKind eStop)
{
    ++m_tally.iSaved;
    m_tally.iRealFiles += m_videos.IsReal() ? 1 : 0;
    ++m_tally.verdicts[VerdictText(report.eVerdict)];
    const auto codes = CodesOf(report);
    ASSERT_EQ(codes.size(), session.Cameras());
    const auto uiFrames = static_cast<std::size_t>(report.iFrames);
    double dLargestUs = 0.0;
    for (std::size_t c = 0; c < codes.size(); ++c) {
        ASSERT_EQ(codes[c].size(), uiFrames) << "camera " << c;
        EXPECT_EQ(report.cameras[c].iReadBack, report.iFrames) << "camera " << c;
        for (std::size_t i = 0; i < uiFrames; ++i) {
            ASSERT_NE(codes[c][i], 0U) << "camera " << c << ", frame " << i << " cannot be read";
            ASSERT_TRUE(i == 0 || codes[c][i] >= codes[c][i - 1]) << "camera " << c << ", frame " << i;
            dLargestUs =
                std::max(dLargestUs, std::abs(static_cast<double>(codes[c][i]) - static_cast<double>(codes[0][i])));
        }
        m_tally.llFrames += static_cast<long long>(uiFrames);
    }
    if (eStop == StopKind::None && !random.MayEndEarly()) {
        EXPECT_EQ(report.iFrames, session.Doc().m_parameters.m_iFps) << "one second was asked for";
    }
    EXPECT_TRUE(random.MayEndEarly() || session.Store().m_iCutFrom == 0);
    if (random.strFaults.empty()) {
        EXPECT_NE(report.eVerdict, Verdict::FramesMissed) << report.strReason;
        EXPECT_NE(report.eVerdict, Verdict::OutOfSync) << report.strReason;
    }
    const double dHalfPeriodUs = 5e5 / report.iFpsRequested;
    if (report.eVerdict == Verdict::InSync) {
        EXPECT_LE(dLargestUs, dHalfPeriodUs) << "the pictures are apart";
    }
    if (report.eVerdict == Verdict::InSync && random.IsExact()) {
        EXPECT_EQ(dLargestUs, 0.0);
    }
}

TEST_F(Takes, BackToBackAreEachWhatTheirReportSays)
{
    RandomSession random(g_uiSeed);
    std::printf("takes: seed %u\n", g_uiSeed);
    const ProcessState before = ReadProcessState();
    while (m_tally.iTakes < g_iTakes && !HasFailure()) {
        random.Draw();
        RunSession(random, g_iTakes);
    }
    const ProcessState after = ReadProcessState();
    EXPECT_EQ(after.iThreads, before.iThreads);
    EXPECT_EQ(after.iDescriptors, before.iDescriptors);
    if (g_bCountsMemory) {
        EXPECT_LE(after.uiResidentKiB, before.uiResidentKiB + kResidentSlackKiB);
    }
    std::printf("takes: %d in %d sessions (%d with faults), %d saved, %d of them decoded from real files, %lld bar "
                "codes\n",
        m_tally.iTakes, m_tally.iSessions, m_tally.iFaulty, m_tally.iSaved, m_tally.iRealFiles, m_tally.llFrames);
    for (const auto& [strEnd, iTimes] : m_tally.ends)
        std::printf("takes: %4d %s\n", iTimes, strEnd.c_str());
    for (const auto& [strVerdict, iTimes] : m_tally.verdicts)
        std::printf("takes: %4d told as \"%s\"\n", iTimes, strVerdict.c_str());
    std::printf("takes: threads %d -> %d, descriptors %d -> %d, resident %llu -> %llu KiB\n", before.iThreads,
        after.iThreads, before.iDescriptors, after.iDescriptors, static_cast<unsigned long long>(before.uiResidentKiB),
        static_cast<unsigned long long>(after.uiResidentKiB));
}

TEST_F(Takes, TheSameOnesAgainTakeNoMoreMemory)
{
    constexpr int kRounds = 5;
    std::vector<std::size_t> heap; // bytes in use after each round
    for (int iRound = 1; iRound <= kRounds && !HasFailure(); ++iRound) {
        RandomSession random(g_uiSeed);
        while (m_tally.iTakes < g_iTakes * iRound / kRounds && !HasFailure()) {
            random.Draw();
            RunSession(random, g_iTakes * iRound / kRounds);
        }
        m_tally.ends.clear();
        m_tally.verdicts.clear();
        m_videos.Begin(false);
        heap.push_back(HeapInUse());
    }
    std::printf("growth: %d takes in %d rounds of the same ones, seed %u; bytes in use after each:", m_tally.iTakes,
        kRounds, g_uiSeed);
    for (const std::size_t uiBytes : heap)
        std::printf(" %zu", uiBytes);
    std::printf("\n");
    // What is kept for good is taken once, in whichever round first needs it; what leaks is taken in each.
    ASSERT_EQ(heap.size(), static_cast<std::size_t>(kRounds));
    std::ptrdiff_t iLeastGrowth = std::numeric_limits<std::ptrdiff_t>::max();
    for (std::size_t i = 1; i < heap.size(); ++i)
        iLeastGrowth = std::min(iLeastGrowth, static_cast<std::ptrdiff_t>(heap[i] - heap[i - 1]));
    EXPECT_LE(iLeastGrowth, kHeapSlackBytes);
}

} // namespace

int main(int iCount, char** ppArguments)
{
    testing::InitGoogleTest(&iCount, ppArguments);
    const std::string strMode = iCount > 1 ? ppArguments[1] : "";
    if (strMode != "takes" && strMode != "growth" && strMode != "valgrind") {
        std::fprintf(stderr, "soak_takes takes|growth|valgrind [TAKES [SEED]]\n");
        return 2;
    }
    // Small blocks that threads keep for their next use would be counted as in use.
    if (strMode == "growth" && std::getenv("GLIBC_TUNABLES") == nullptr) {
        setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
        execv("/proc/self/exe", ppArguments);
    }
    g_bCountsMemory = g_bCountsMemory && strMode != "valgrind";
    GTEST_FLAG_SET(filter, strMode == "growth" ? "Takes.TheSame*" : "Takes.BackToBack*");
    if (iCount > 2)
        g_iTakes = std::max(5, std::atoi(ppArguments[2]));
    if (iCount > 3)
        g_uiSeed = static_cast<unsigned int>(std::strtoul(ppArguments[3], nullptr, 10));
    return RUN_ALL_TESTS();
}
