// The bad days of the writer: a full disk, a folder that takes nothing, a process that is killed.
#include "forked.h"
#include "platform/imaging/mjpeg_video.h"
#include "support/temporary_folder.h"
#include "video_checks.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr std::size_t kRiffSizeOffset = 4;
constexpr std::size_t kFlagsOffset = 44;
constexpr std::uint32_t kFlagHasIndex = 0x10;

std::uint32_t FieldOf(const std::string& strBytes, std::size_t uiOffset)
{
    std::uint32_t uiValue = 0;
    std::memcpy(&uiValue, &strBytes.at(uiOffset), sizeof uiValue);
    return uiValue;
}

/// A disk where a file can have `uiRoom` bytes.
WriteFunction DiskWithRoom(std::uint64_t uiRoom)
{
    return [uiRoom](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) -> ssize_t {
        const auto uiOffset = static_cast<std::uint64_t>(iOffset);
        if (uiOffset >= uiRoom) {
            errno = ENOSPC;
            return -1;
        }
        return pwrite(iFile, pBytes, std::min(uiBytes, static_cast<std::size_t>(uiRoom - uiOffset)), iOffset);
    };
}

/// A finished file after a full disk: whole frames only, a true header, plays without complaint.
void ExpectWholeFrames(const std::string& strFile)
{
    const std::string strBytes = ReadFile(strFile);
    ASSERT_GE(strBytes.size(), AviFile::kHeaderBytes);
    EXPECT_EQ(FieldOf(strBytes, kRiffSizeOffset), strBytes.size() - 8);
    const std::uint32_t uiFrames = FieldOf(strBytes, AviFile::kTotalFramesOffset);
    ASSERT_GT(uiFrames, 0U);
    const bool bIndexed = (FieldOf(strBytes, kFlagsOffset) & kFlagHasIndex) != 0;
    const std::uint32_t uiFramesEnd = FieldOf(strBytes, AviFile::kHeaderBytes - 8) + AviFile::kHeaderBytes - 4;
    EXPECT_EQ(strBytes.size(), uiFramesEnd + (bIndexed ? 8 + 16 * uiFrames : 0));
    ExpectPlays(strFile, static_cast<int>(uiFrames));
}

/// Appends until a failure is told, and checks that it stays. Returns the failure.
Error AppendUntilFailure(FlyCapture2Video& video, const Footage& footage)
{
    for (std::size_t i = 0; i < 10'000; ++i) {
        const Error error = video.Append(footage.Frame(i));
        if (!error.IsOk()) {
            EXPECT_EQ(video.Append(footage.Frame(i)).GetType(), error.GetType()) << "a failure stays";
            EXPECT_EQ(video.Append(footage.Frame(i)).GetDescription(), error.GetDescription());
            return error;
        }
    }
    ADD_FAILURE() << "the disk never filled";
    return {};
}

void ExpectFullDiskIsTold(VideoWriterSettings settings, const std::string& strFolder, const Footage& footage)
{
    const auto writers = MakeVideoWriters(std::move(settings));
    const auto video = writers->Create();
    ASSERT_TRUE(video->Open(strFolder + "/take.avi", { 10.0F, 75 }).IsOk());
    const Error error = AppendUntilFailure(*video, footage);
    EXPECT_EQ(error.GetType(), ErrorType::FileWriteFailed);
    EXPECT_NE(error.GetDescription().find("take-0000.avi"), std::string::npos) << error.GetDescription();
    // The index may find no room either; that is all that Close may add.
    const Error closed = video->Close();
    EXPECT_TRUE(closed.IsOk() || closed == ErrorType::FileCloseFailed) << closed.GetDescription();
    ExpectWholeFrames(strFolder + "/take-0000.avi");
}

TEST(FullDisk, LeavesWholeFramesWhereverItStrikes)
{
    const Footage footage(48, 64, false, 7);
    for (std::uint64_t uiRoom = 20'000; uiRoom < 21'600; uiRoom += 61) {
        SCOPED_TRACE(uiRoom);
        const TemporaryFolder folder;
        VideoWriterSettings settings;
        settings.write = DiskWithRoom(uiRoom);
        ExpectFullDiskIsTold(settings, folder.Path(), footage);
    }
}

TEST(FullDisk, IsToldByCloseWhenNoAppendFollows)
{
    const TemporaryFolder folder;
    const Footage footage(48, 64, false, 7);
    VideoWriterSettings settings;
    settings.write = DiskWithRoom(3'000);
    const auto writers = MakeVideoWriters(settings);
    const auto video = writers->Create();
    ASSERT_TRUE(video->Open(folder / "take.avi", {}).IsOk());
    // Fewer frames than are held on the way to the file: whether an Append meets the failure is open.
    bool bTold = false;
    for (std::size_t i = 0; i < 5; ++i)
        bTold = !video->Append(footage.Frame(i)).IsOk() || bTold;
    const Error closed = video->Close();
    if (!bTold) {
        EXPECT_EQ(closed.GetType(), ErrorType::FileWriteFailed);
    }
    EXPECT_TRUE(video->Close().IsOk()) << "told once";
    ExpectWholeFrames(folder / "take-0000.avi");
}

TEST(FullDisk, IsToldWithTheSystemsReasonOnARealOne)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "a small file system can be mounted by root only";
    const TemporaryFolder folder;
    const Footage footage(240, 320, true, 5);
    ExpectInChild([&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || mount("none", folder.Path().c_str(), "tmpfs", 0, "size=256k") != 0) {
            std::printf("no mount here (%s): nothing was tested\n", std::strerror(errno));
            return;
        }
        const auto writers = MakeVideoWriters();
        const auto video = writers->Create();
        ASSERT_TRUE(video->Open(folder / "take.avi", {}).IsOk());
        const Error error = AppendUntilFailure(*video, footage);
        EXPECT_NE(error.GetDescription().find("No space left on device"), std::string::npos) << error.GetDescription();
        (void)video->Close();
        ExpectWholeFrames(folder / "take-0000.avi");
    });
}

TEST(FullDisk, IsToldAtALimitOfTheFileSize)
{
    const TemporaryFolder folder;
    const Footage footage(240, 320, false, 5);
    ExpectInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit { 150'001, 150'001 };
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        ExpectFullDiskIsTold({}, folder.Path(), footage);
    });
}

TEST(FullDisk, StopsAPartThatCannotBeCompleted)
{
    // Room for the frames of the first part, none for its index.
    const TemporaryFolder folder;
    const Footage footage(48, 64, false, 7);
    VideoWriterSettings settings;
    settings.uiPartLimitBytes = 20'000;
    settings.write = DiskWithRoom(19'000);
    ExpectFullDiskIsTold(settings, folder.Path(), footage);
    EXPECT_FALSE(std::filesystem::exists(folder / "take-0001.avi"));
}

TEST(ReadOnlyFolder, IsToldWithTheSystemsReason)
{
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.Path().c_str(), 0555), 0);
    ExpectInChild([&] {
        BecomeNobody();
        const auto writers = MakeVideoWriters();
        const auto video = writers->Create();
        const Error error = video->Open(folder / "take.avi", {});
        EXPECT_EQ(error.GetType(), ErrorType::FileOpenFailed);
        EXPECT_NE(error.GetDescription().find("Permission denied"), std::string::npos) << error.GetDescription();
    });
    ASSERT_EQ(chmod(folder.Path().c_str(), 0700), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

/// What a writing child tells its parent, also after it was killed.
struct Told {
    std::atomic<std::uint32_t> uiFlushedFrames;
};

/// Passes writes on, notes what each header write made true, and sends a byte for each write.
WriteFunction TellingWrite(Told& told, int iPipe)
{
    return [&told, iPipe](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) {
        const ssize_t iWritten = pwrite(iFile, pBytes, uiBytes, iOffset);
        if (iOffset == 0) {
            std::uint32_t uiFrames = 0;
            std::memcpy(&uiFrames, static_cast<const char*>(pBytes) + AviFile::kTotalFramesOffset, sizeof uiFrames);
            told.uiFlushedFrames = uiFrames;
        }
        [[maybe_unused]] const ssize_t iSent = write(iPipe, "", 1);
        return iWritten;
    };
}

/// A child that writes frames for ever and is killed after it has written `iWrites` times.
void WriteUntilKilled(const std::string& strFile, const Footage& footage, Told& told, int iWrites)
{
    detail::Pipe progress;
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        VideoWriterSettings settings;
        settings.write = TellingWrite(told, progress.ends[1]);
        const auto writers = MakeVideoWriters(settings);
        const auto video = writers->Create();
        if (!video->Open(strFile, { 10.0F, 75 }).IsOk())
            _exit(1);
        for (std::size_t i = 0; video->Append(footage.Frame(i)).IsOk(); ++i) { }
        _exit(1);
    }
    progress.CloseEnd(1);
    char byte = 0;
    for (int i = 0; i < iWrites; ++i) {
        if (read(progress.ends[0], &byte, 1) != 1)
            break;
    }
    kill(pid, SIGKILL);
    int iStatus = 0;
    waitpid(pid, &iStatus, 0);
    ASSERT_TRUE(WIFSIGNALED(iStatus)) << "the child gave up by itself";
}

int FramesThatGStreamerPlays(const std::string& strFile, const std::string& strRaw, std::size_t uiFrameBytes)
{
    const ToolResult played = RunTool({ "gst-launch-1.0", "-q", "filesrc", "location=" + strFile, "!", "avidemux", "!",
        "jpegdec", "!", "filesink", "location=" + strRaw });
    EXPECT_EQ(played.iExit, 0);
    EXPECT_EQ(played.strErr, "");
    const std::size_t uiBytes = std::filesystem::file_size(strRaw);
    EXPECT_EQ(uiBytes % (uiFrameBytes * 3 / 2), 0U);
    return static_cast<int>(uiBytes / (uiFrameBytes * 3 / 2));
}

TEST(KilledWriter, LeavesAFileThatPlaysUpToTheLastFlush)
{
    const Footage footage(240, 320, false, 10);
    void* pShared = mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pShared, MAP_FAILED);
    Told& told = *new (pShared) Told {};
    std::mt19937 random(4711);
    for (int i = 0; i < 12; ++i) {
        const int iWrites = std::uniform_int_distribution(4, 300)(random);
        SCOPED_TRACE(iWrites);
        const TemporaryFolder folder;
        told.uiFlushedFrames = 0;
        WriteUntilKilled(folder / "take.avi", footage, told, iWrites);
        const auto iFlushed = static_cast<int>(told.uiFlushedFrames);
        EXPECT_GT(iFlushed, 0);
        const std::string strFile = folder / "take-0000.avi";
        const Probed probed = Probe(strFile);
        EXPECT_EQ(probed.strComplaints, "");
        EXPECT_GE(probed.iPromised, iFlushed);
        EXPECT_GE(probed.iFrames, probed.iPromised);
        EXPECT_EQ(probed.strRate, "10/1");
        EXPECT_GE(FramesThatGStreamerPlays(strFile, folder / "raw", footage.scene.FrameBytes()), iFlushed);
        EXPECT_EQ(FieldOf(ReadFile(strFile), kFlagsOffset) & kFlagHasIndex, 0U);
    }
    munmap(pShared, sizeof(Told));
}

std::uint64_t StatusKiB(const std::string& strField)
{
    std::ifstream status("/proc/self/status");
    for (std::string strLine; std::getline(status, strLine);) {
        if (strLine.starts_with(strField + ":"))
            return std::stoull(strLine.substr(strField.size() + 1));
    }
    return 0;
}

TEST(WriterMemory, StaysBelow64MiBBesideTheFrames)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's own memory would be measured";
#endif
    // Noise over the whole range: no camera's picture compresses worse.
    std::vector<std::uint8_t> pixels(1920 * 1080);
    std::mt19937 random(1);
    for (std::uint8_t& pixel : pixels)
        pixel = static_cast<std::uint8_t>(random());
    const TemporaryFolder folder;
    const struct {
        BayerTileFormat eTiles;
        unsigned int uiQuality;
    } kRows[] = { { BayerTileFormat::None, 75 }, { BayerTileFormat::Rggb, 75 }, { BayerTileFormat::Rggb, 100 } };
    for (const auto& row : kRows) {
        ExpectInChild([&] {
            VideoWriterSettings settings;
            settings.uiThreads = 16;
            const auto writers = MakeVideoWriters(settings);
            const auto video = writers->Create();
            std::ofstream("/proc/self/clear_refs") << "5"; // the peak counts from here
            const std::uint64_t uiBefore = StatusKiB("VmRSS");
            ASSERT_TRUE(video->Open(folder / "take.avi", { 30.0F, row.uiQuality }).IsOk());
            const Image frame(1080, 1920, 1920, pixels.data(), static_cast<std::uint32_t>(pixels.size()),
                PixelFormat::Raw8, row.eTiles);
            for (int i = 0; i < 100; ++i)
                ASSERT_TRUE(video->Append(frame).IsOk());
            ASSERT_TRUE(video->Close().IsOk());
            EXPECT_LE(StatusKiB("VmHWM") - uiBefore, 64U << 10);
            std::filesystem::remove(video->GetFiles()[0]);
        });
    }
}

} // namespace
