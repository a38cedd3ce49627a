// soak_takes takes|growth|valgrind [TAKES [SEED]]: recordings back to back in one process, with presets, faults and
// stops from outside at random. Each saved take is held against its pictures' own bar codes; at the end the process has
// as many threads, descriptors and bytes as at its start. "growth": the same takes again and again; the heap stays as
// it is. "valgrind": as "takes", but the bytes are valgrind's to count.
#include "picture_gaps.h"
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

constexpr int kWarmingTakes = 20;
constexpr int kTakesWithGaps = 100; ///< so many always have some
constexpr int kRealFilesEvery = 8; ///< saved takes; one of them goes through the real writer and a decoder of others

constexpr double kClockErrorUs = 50.0; ///< what clocks that are laid over each other may be wrong by
constexpr int kAlignReach = 9; ///< frames that cameras which run free may begin apart
constexpr double kOutsideHalfPeriodUs = 5e5 / RandomSession::kOutsideHz;

int g_iTakes = 10;
unsigned int g_uiSeed = 1;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
bool g_bCountsMemory = false; // a sanitizer keeps what was given back
#else
bool g_bCountsMemory = true;
#endif

/// The frames behind the losses.
std::vector<int> Places(const std::vector<Gap>& gaps)
{
    std::vector<int> places;
    for (const Gap& gap : gaps)
        places.push_back(gap.iFrame);
    return places;
}

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
    int iGaps = 0; ///< that they showed, and the report told
    std::map<std::string, int> ends;
    std::map<std::string, int> verdicts;
};

class Takes : public testing::Test {
protected:
    /// The first `iTakes` of a seed, and as many more as it takes until a real file is among them.
    void RunTakes(unsigned int uiSeed, int iTakes);
    bool AreEnough(int iTakes) const { return m_tally.iTakes >= iTakes && m_tally.iRealFiles > 0; }
    void RunSession(RandomSession& random, int iTakes);
    bool RunTake(Session& session, RandomSession& random, bool& bLive);
    bool Record(Session& session, RandomSession& random, StopKind eStop);
    void CheckSaved(Session& session, const RandomSession& random, const TakeReport& report, StopKind eStop,
        const std::vector<bool>& done);
    bool CheckGaps(
        const RandomSession& random, const TakeReport& report, const std::vector<std::vector<std::uint32_t>>& codes);
    void CheckVerdict(const RandomSession& random, const TakeReport& report, bool bMissed, double dLargestUs);
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

void Takes::RunTakes(unsigned int uiSeed, int iTakes)
{
    RandomSession random(uiSeed);
    m_tally = {};
    while (!AreEnough(iTakes) && !HasFailure()) {
        random.Draw();
        RunSession(random, iTakes);
    }
    m_videos.Begin(false);
}

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
    for (int i = 0; bOpened && i < random.iTakes && !AreEnough(iTakes); ++i)
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
    m_videos.Begin(m_tally.iSaved % kRealFilesEvery == 0);
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
    std::vector<bool> done;
    std::size_t uiSilent = 0; // cameras that fell silent before the recording began
    for (std::size_t c = 0; c < session.Cameras(); ++c) {
        done.push_back(session.Store().m_bRecordDone[c]);
        uiSilent += session.Store().m_isaveFrameCount[c] < 1 ? 1 : 0;
    }
    const auto uiDone = static_cast<unsigned int>(std::count(done.begin(), done.end(), true));
    EXPECT_EQ(session.Store().m_uiDoneCameras, uiDone) << "cameras counted as done";
    // Who gives a recording up may do so between the last frames of the first camera and those of the others. So may
    // who keeps it, when a camera has none: then there is nothing that all of them have.
    if (eStop == StopKind::None || (eStop != StopKind::Break && uiSilent == 0)) {
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
    CheckSaved(session, random, report, eStop, done);
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
void Takes::CheckSaved(Session& session, const RandomSession& random, const TakeReport& report, StopKind eStop,
    const std::vector<bool>& done)
{
    ++m_tally.iSaved;
    m_tally.iRealFiles += m_videos.IsReal() ? 1 : 0;
    ++m_tally.verdicts[VerdictText(report.eVerdict)];
    const auto codes = CodesOf(report);
    ASSERT_EQ(codes.size(), session.Cameras());
    double dLargestUs = 0.0;
    bool bMissed = session.Store().m_iCutFrom > report.iFrames;
    for (std::size_t c = 0; c < codes.size(); ++c) {
        const auto uiFrames = static_cast<std::size_t>(report.cameras[c].iFrames);
        // Given up between the last frames of the first camera and those of a later one.
        const bool bShort = eStop == StopKind::Break && !done[c];
        if (!bShort) {
            ASSERT_EQ(report.cameras[c].iFrames, report.iFrames) << "camera " << c;
        }
        bMissed = bMissed || report.cameras[c].iFrames < report.iFrames;
        ASSERT_EQ(codes[c].size(), uiFrames) << "camera " << c;
        EXPECT_EQ(report.cameras[c].iReadBack, report.cameras[c].iFrames) << "camera " << c;
        for (std::size_t i = 0; i < uiFrames; ++i) {
            ASSERT_NE(codes[c][i], 0U) << "camera " << c << ", frame " << i << " cannot be read";
            ASSERT_TRUE(i == 0 || codes[c][i] >= codes[c][i - 1]) << "camera " << c << ", frame " << i;
            if (i < codes[0].size())
                dLargestUs =
                    std::max(dLargestUs, std::abs(static_cast<double>(codes[c][i]) - static_cast<double>(codes[0][i])));
        }
        m_tally.llFrames += static_cast<long long>(uiFrames);
    }
    if (eStop == StopKind::None && !random.MayEndEarly()) {
        EXPECT_EQ(report.iFrames, session.Doc().m_parameters.m_iFps) << "one second was asked for";
    }
    EXPECT_TRUE(random.MayEndEarly() || session.Store().m_iCutFrom == 0);
    bMissed = CheckGaps(random, report, codes) || bMissed;
    CheckVerdict(random, report, bMissed, dLargestUs);
}

// True when the pictures show that one is missing.
bool Takes::CheckGaps(
    const RandomSession& random, const TakeReport& report, const std::vector<std::vector<std::uint32_t>>& codes)
{
    bool bMissed = false;
    for (std::size_t c = 0; c < codes.size(); ++c) {
        // A trigger from outside has a pace of its own, and nothing else goes wrong with it.
        const std::vector<Gap> shown =
            random.HasOutsidePace() ? std::vector<Gap>() : GapsBetweenPictures(codes[c], 1e6 / report.iFpsRequested);
        const std::vector<Gap>& told = report.cameras[c].gaps;
        EXPECT_EQ(Places(shown), Places(told)) << "camera " << c;
        // A camera that paces itself is slower: how many it would have taken in the meantime is nobody's to say.
        if (!random.LosesItsTrigger()) {
            EXPECT_EQ(shown, told) << "camera " << c;
        }
        bMissed = bMissed || !shown.empty();
        m_tally.iGaps += static_cast<int>(shown.size());
    }
    return bMissed;
}

// What the pictures show has one name only.
void Takes::CheckVerdict(const RandomSession& random, const TakeReport& report, bool bMissed, double dLargestUs)
{
    if (bMissed) {
        EXPECT_EQ(report.eVerdict, Verdict::FramesMissed) << report.strReason;
        return;
    }
    const double dHalfPeriodUs = report.dOffsetLimitUs;
    const bool bOutsidePace = random.HasOutsidePace() && report.iFrames > 1; // one frame has no pace
    EXPECT_NEAR(dHalfPeriodUs, bOutsidePace ? kOutsideHalfPeriodUs : 5e5 / report.iFpsRequested, kClockErrorUs);
    // Whose clocks cannot be laid over each other is not judged; that is not for others to hide behind.
    if (report.eVerdict == Verdict::NotChecked && random.MayBeUnchecked())
        return;
    if (std::abs(dLargestUs - dHalfPeriodUs) > kClockErrorUs) { // else it is either
        EXPECT_EQ(report.eVerdict, dLargestUs < dHalfPeriodUs ? Verdict::InSync : Verdict::OutOfSync)
            << report.strReason << "; the pictures are " << dLargestUs << " us apart";
    }
    // What nothing moves apart is the same moment, to the microsecond. Cameras that run free are aligned behind the
    // recording, unless it was broken off before there was enough of it, or one lost the frame that the others begin
    // at.
    const bool bAligned =
        random.IsInStep() ? !random.MayLoseTheFirst() : random.strFaults.empty() && report.iFrames > kAlignReach;
    if (random.IsExact() && (report.eVerdict == Verdict::InSync || bAligned)) {
        EXPECT_EQ(dLargestUs, 0.0);
    }
}

TEST_F(Takes, BackToBackAreEachWhatTheirReportSays)
{
    std::printf("takes: seed %u\n", g_uiSeed);
    // What libraries take with their first use and keep is not the takes'.
    if (g_bCountsMemory)
        RunTakes(g_uiSeed + 1, std::min(g_iTakes, kWarmingTakes));
    const ProcessState before = ReadProcessState();
    RunTakes(g_uiSeed, g_iTakes);
    const ProcessState after = ReadProcessState();
    EXPECT_EQ(after.iThreads, before.iThreads);
    EXPECT_EQ(after.iDescriptors, before.iDescriptors);
    if (g_iTakes >= kTakesWithGaps && !HasFailure()) {
        EXPECT_GT(m_tally.iGaps, 0) << "no loss was there to be told";
    }
    if (g_bCountsMemory) {
        EXPECT_LE(after.uiResidentKiB, before.uiResidentKiB + kResidentSlackKiB);
    }
    std::printf("takes: %d in %d sessions (%d with faults), %d saved, %d of them decoded from real files, %lld bar "
                "codes, %d gaps\n",
        m_tally.iTakes, m_tally.iSessions, m_tally.iFaulty, m_tally.iSaved, m_tally.iRealFiles, m_tally.llFrames,
        m_tally.iGaps);
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
    const int iTakes = std::max(g_iTakes / kRounds, 5);
    std::vector<std::size_t> heap; // bytes in use after each round
    int iAll = 0;
    std::printf("growth: %d rounds of the same %d takes, seed %u; bytes in use after each:", kRounds, iTakes, g_uiSeed);
    for (int iRound = 1; iRound <= kRounds && !HasFailure(); ++iRound) {
        RunTakes(g_uiSeed, iTakes);
        EXPECT_GT(m_tally.iRealFiles, 0) << "the real writer has no part in round " << iRound;
        iAll += m_tally.iTakes;
        m_tally = {};
        heap.push_back(HeapInUse());
        std::printf(" %zu", heap.back());
    }
    std::printf("\ngrowth: %d takes\n", iAll);
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
    // What is free goes back to the system: else the free stretches of the heap would pass for growth.
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, 128 << 10);
    g_bCountsMemory = g_bCountsMemory && strMode != "valgrind";
    GTEST_FLAG_SET(filter, strMode == "growth" ? "Takes.TheSame*" : "Takes.BackToBack*");
    if (iCount > 2)
        g_iTakes = std::max(5, std::atoi(ppArguments[2]));
    if (iCount > 3)
        g_uiSeed = static_cast<unsigned int>(std::strtoul(ppArguments[3], nullptr, 10));
    return RUN_ALL_TESTS();
}
