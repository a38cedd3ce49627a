// soak_disk [FRAMES [CAMERAS]]: saves one recording again and again to a real file system that is full at each
// 64 KiB boundary in turn. Each time the operator is told once, what was written plays, and the recording stands in
// memory as before: it is then saved elsewhere in full.
#include "platform/imaging/avi_file.h"
#include "platform/imaging/avi_reader.h"
#include "platform/imaging/mjpeg_video.h"
#include "programs/take_sidecar.h"
#include "session.h"
#include "support/decoded_video.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr std::uint64_t kStep = 64 << 10;
int g_iFrames = 20;
unsigned int g_uiCameras = 2;

/// A mount namespace of the process's own. Before any thread runs. False when the machine does not allow one.
bool EnterOwnMounts()
{
    const auto writeTo = [](const char* pPath, const std::string& strText) {
        const int iFile = open(pPath, O_WRONLY | O_CLOEXEC);
        const bool bDone = iFile >= 0 && write(iFile, strText.data(), strText.size()) > 0;
        close(iFile);
        return bDone;
    };
    const std::string strUser = "0 " + std::to_string(geteuid()) + " 1";
    const std::string strGroup = "0 " + std::to_string(getegid()) + " 1";
    const bool bIn = unshare(CLONE_NEWNS) == 0
        || (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && writeTo("/proc/self/setgroups", "deny")
            && writeTo("/proc/self/uid_map", strUser) && writeTo("/proc/self/gid_map", strGroup));
    return bIn && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// A file system in memory that has as much room as is asked for.
class SmallDisk {
public:
    explicit SmallDisk(const std::string& strFolder)
        : m_strFolder(strFolder)
    {
        m_bMounted = mount("tessel", m_strFolder.c_str(), "tmpfs", 0, "size=1g") == 0;
    }
    ~SmallDisk()
    {
        if (m_bMounted)
            umount2(m_strFolder.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool IsMounted() const { return m_bMounted; }
    /// Empties it and gives it `uiBytes`.
    bool Prepare(std::uint64_t uiBytes) const
    {
        for (const auto& entry : std::filesystem::directory_iterator(m_strFolder))
            std::filesystem::remove_all(entry.path());
        const std::string strSize = "size=" + std::to_string(uiBytes);
        return mount("tessel", m_strFolder.c_str(), "tmpfs", MS_REMOUNT, strSize.c_str()) == 0;
    }

private:
    const std::string m_strFolder;
    bool m_bMounted = false;
};

/// What a file takes of the disk.
std::uint64_t InPages(std::uint64_t uiBytes) { return (uiBytes + 4095) / 4096 * 4096; }

std::uint64_t BytesIn(const std::string& strFolder)
{
    std::uint64_t uiBytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(strFolder))
        uiBytes += InPages(entry.file_size());
    return uiBytes;
}

/// Where each frame of a whole file ends.
std::vector<std::uint64_t> FrameEnds(const std::string& strFile)
{
    const std::string strBytes = ReadFile(strFile);
    std::vector<std::uint64_t> ends;
    for (std::size_t uiAt = AviFile::kHeaderBytes; strBytes.compare(uiAt, 4, "00dc") == 0;) {
        std::uint32_t uiSize = 0;
        std::memcpy(&uiSize, strBytes.data() + uiAt + 4, sizeof uiSize);
        uiAt += 8 + uiSize + uiSize % 2;
        ends.push_back(uiAt);
    }
    return ends;
}

class FullDiskSweep : public testing::Test {
protected:
    void SetUp() override
    {
        const std::string strSource = "simulated:" + std::to_string(g_uiCameras) + "xFL3-U3-13Y3M";
        m_session = std::make_unique<Session>(strSource, "", *m_video);
        m_sidecar = MakeTakeSidecar("", m_log);
        m_session->App().SetSidecar(m_sidecar.get());
        ASSERT_TRUE(m_session->Open());
        RecordingPreset preset;
        preset.FrameRate = 400;
        ASSERT_TRUE(ApplyPresetValues(Doc(), preset));
        ASSERT_TRUE(m_session->WaitLive());
        ASSERT_TRUE(Start(Doc()));
        ASSERT_TRUE(m_session->WaitFor(10 * kNsPerSecond, [this] { return !Doc().m_capture.m_bCapturing; }));
        StopGrab(Doc());
        ASSERT_TRUE(m_session->AllDone());
        Doc().m_capture.m_iSaveLastFrame = g_iFrames - 1;
        for (std::size_t c = 0; c < g_uiCameras; ++c) {
            m_codes.emplace_back();
            for (int i = 0; i < g_iFrames; ++i)
                m_codes[c].push_back(ReadBarCode(SavedFrame(c, i)).value_or(0));
        }
    }
    CVireoDoc& Doc() { return m_session->Doc(); }
    Image SavedFrame(std::size_t c, int i)
    {
        const FrameStore& store = m_session->Store();
        return store.SlotImage(c, RingSlot(store.m_istartFrame[c], i, store.m_iBufferFrames));
    }
    /// Of every byte that is to be saved.
    std::uint64_t StoreHash()
    {
        std::uint64_t uiHash = 14695981039346656037ULL;
        for (std::size_t c = 0; c < g_uiCameras; ++c)
            for (int i = 0; i < g_iFrames; ++i) {
                const Image frame = SavedFrame(c, i);
                for (std::uint32_t b = 0; b < frame.GetDataSize(); ++b)
                    uiHash = (uiHash ^ frame.GetData()[b]) * 1099511628211ULL;
            }
        return uiHash;
    }
    ExportResult SaveTo(const std::string& strFolder) { return SaveAviAs(Doc(), strFolder + "/take"); }
    /// A complete save frees the recording for the next one; the sweep wants it once more.
    void KeepRecordingAgain()
    {
        for (std::size_t c = 0; c < g_uiCameras; ++c)
            m_session->Store().m_bRecordDone[c] = true;
        m_session->Store().m_uiDoneCameras = g_uiCameras;
        Doc().m_capture.m_iSaveLastFrame = g_iFrames - 1;
    }
    std::string File(const std::string& strFolder, std::size_t c) const
    {
        return strFolder + "/take" + CameraSuffix(g_uiCameras, static_cast<int>(c) + 1) + "-0000.avi";
    }
    void ExpectWhole(const std::string& strFolder)
    {
        for (std::size_t c = 0; c < g_uiCameras; ++c) {
            AviReader reader;
            EXPECT_TRUE(reader.Open(File(strFolder, c)).IsOk());
            EXPECT_EQ(reader.FrameCount(), static_cast<std::uint32_t>(g_iFrames));
            EXPECT_EQ(DecodedBarCodes(File(strFolder, c)), m_codes[c]);
        }
    }
    /// A number in a file's header.
    static std::uint32_t Field(const std::string& strFile, std::size_t uiOffset)
    {
        std::uint32_t uiValue = 0;
        const std::string strBytes = ReadFile(strFile);
        if (strBytes.size() >= uiOffset + sizeof uiValue)
            std::memcpy(&uiValue, strBytes.data() + uiOffset, sizeof uiValue);
        return uiValue;
    }
    /// What a disk of `uiRoom` bytes left when it was full: whole files, then one that holds the first frames, as many
    /// as there was room for, and says so, then none.
    void ExpectPlayable(const std::string& strFolder, std::size_t uiReached, std::uint64_t uiRoom)
    {
        for (std::size_t c = 0; c < g_uiCameras; ++c) {
            const std::string strFile = File(strFolder, c);
            if (!std::filesystem::exists(strFile)) {
                EXPECT_GE(c + 1, uiReached) << strFile << " is gone";
                continue;
            }
            const std::uint32_t uiPromised = Field(strFile, 48);
            EXPECT_EQ(std::filesystem::file_size(strFile), Field(strFile, 4) + 8U) << "something hangs behind the end";
            const auto uiFit = static_cast<std::uint32_t>(std::count_if(
                m_ends[c].begin(), m_ends[c].end(), [=](std::uint64_t uiEnd) { return uiEnd <= uiRoom; }));
            ASSERT_EQ(uiPromised, uiFit) << strFile << " has room for " << uiRoom << " bytes";
            uiRoom -= std::min(uiRoom, InPages(std::filesystem::file_size(strFile)));
            if (uiPromised == 0)
                continue; // nothing to play, and nothing is promised
            std::vector<std::uint32_t> expected = m_codes[c];
            expected.resize(uiPromised);
            EXPECT_EQ(DecodedBarCodes(strFile), expected) << strFile;
            EXPECT_EQ(FramesByFfprobe(strFile), "400/1," + std::to_string(uiPromised) + "\n");
            m_uiPlayed += uiPromised;
        }
        for (const auto& entry : std::filesystem::directory_iterator(strFolder))
            EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << entry.path() << " is left over";
    }

    RecordedLog m_log;
    std::unique_ptr<VideoWriters> m_video = MakeVideoWriters();
    std::unique_ptr<TakeSidecar> m_sidecar;
    std::unique_ptr<Session> m_session;
    std::vector<std::vector<std::uint32_t>> m_codes; ///< of every frame that is saved
    std::vector<std::vector<std::uint64_t>> m_ends; ///< of the frames in a file that is whole
    std::uint64_t m_uiPlayed = 0;
};

TEST_F(FullDiskSweep, EachBoundaryIsToldOnceAndTheRecordingIsSavedElsewhereInFull)
{
    const TemporaryFolder small;
    const SmallDisk disk(small.Path());
    ASSERT_TRUE(disk.IsMounted()) << std::strerror(errno);
    const std::uint64_t uiStored = StoreHash();
    ASSERT_TRUE(SaveTo(small.Path()).bComplete);
    ExpectWhole(small.Path());
    const std::uint64_t uiFull = BytesIn(small.Path());
    for (std::size_t c = 0; c < g_uiCameras; ++c) {
        m_ends.push_back(FrameEnds(File(small.Path(), c)));
        ASSERT_EQ(m_ends[c].size(), static_cast<std::size_t>(g_iFrames));
    }
    KeepRecordingAgain();

    int iLimits = 0;
    std::map<std::string, int> told;
    for (std::uint64_t uiRoom = kStep; uiRoom < uiFull; uiRoom += kStep) {
        SCOPED_TRACE(uiRoom);
        ASSERT_TRUE(disk.Prepare(uiRoom)) << std::strerror(errno);
        const std::size_t uiBefore = m_session->Messages().size();
        const ExportResult failed = SaveTo(small.Path());
        const std::vector<std::string> messages = m_session->Messages();
        if (failed.bComplete) { // only the table beside the files found no room
            EXPECT_EQ(messages.size(), uiBefore);
            ExpectWhole(small.Path());
            KeepRecordingAgain();
            ++told["(the files fit)"];
            ++iLimits;
            continue;
        }
        ASSERT_EQ(messages.size(), uiBefore + 1) << testing::PrintToString(messages);
        std::string strText = messages.back();
        ++told[strText.substr(0, strText.find(small.Path()))];
        EXPECT_TRUE(m_session->HasRecording());
        EXPECT_EQ(StoreHash(), uiStored);
        ExpectPlayable(small.Path(), failed.cameras.size(), uiRoom);

        const TemporaryFolder elsewhere;
        const ExportResult saved = SaveTo(elsewhere.Path());
        EXPECT_TRUE(saved.bComplete) << testing::PrintToString(m_session->Messages());
        ExpectWhole(elsewhere.Path());
        KeepRecordingAgain();
        ++iLimits;
    }
    std::printf("disk: %d limits of 64 KiB below %llu bytes, %llu frames played from files that were cut\n", iLimits,
        static_cast<unsigned long long>(uiFull), static_cast<unsigned long long>(m_uiPlayed));
    for (const auto& [strText, iTimes] : told)
        std::printf("disk: %4d x %s\n", iTimes, strText.c_str());
    EXPECT_GT(iLimits, 5);
    EXPECT_GT(m_uiPlayed, 0U);
}

} // namespace

int main(int iCount, char** ppArguments)
{
    testing::InitGoogleTest(&iCount, ppArguments);
    if (iCount > 1)
        g_iFrames = std::clamp(std::atoi(ppArguments[1]), 1, 400);
    if (iCount > 2)
        g_uiCameras = static_cast<unsigned int>(std::clamp(std::atoi(ppArguments[2]), 1, 4));
    if (!EnterOwnMounts()) {
        const bool bMust = std::getenv("CI") != nullptr || geteuid() == 0;
        std::printf("no file system of its own can be mounted here: %s\n", std::strerror(errno));
        return bMust ? 1 : 77;
    }
    return RUN_ALL_TESTS();
}
