#include "app/vireo_app.h"
#include "platform/linux/instance_lock.h"
#include "support/environment.h"
#include "support/other_user.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vireo {
namespace {

using Result = InstanceLock::Result;

class FileInstanceLockTest : public testing::Test {
protected:
    test::TemporaryFolder m_folder;
    test::EnvironmentVariable m_runtime { "XDG_RUNTIME_DIR", m_folder.Path() };
};

TEST_F(FileInstanceLockTest, OneHoldsItUntilItIsReleased)
{
    FileInstanceLock first;
    FileInstanceLock second;
    EXPECT_EQ(first.Acquire(), Result::Acquired);
    EXPECT_EQ(first.Acquire(), Result::Acquired) << "it is ours already";
    EXPECT_EQ(second.Acquire(), Result::HeldByOther);
    first.Release();
    first.Release(); // harmless
    EXPECT_EQ(second.Acquire(), Result::Acquired);
    EXPECT_EQ(first.Acquire(), Result::HeldByOther);
}

TEST_F(FileInstanceLockTest, ItsFileLiesBesideTheSockets)
{
    FileInstanceLock lock;
    ASSERT_EQ(lock.Acquire(), Result::Acquired);
    EXPECT_TRUE(std::filesystem::is_regular_file(m_folder / "tessel/Vireo.lock"));
    lock.Release();
    EXPECT_TRUE(std::filesystem::exists(m_folder / "tessel/Vireo.lock")) << "the next one finds the same file";
}

TEST_F(FileInstanceLockTest, TheDestructorReleasesIt)
{
    {
        FileInstanceLock lock;
        ASSERT_EQ(lock.Acquire(), Result::Acquired);
    }
    FileInstanceLock next;
    EXPECT_EQ(next.Acquire(), Result::Acquired);
}

TEST_F(FileInstanceLockTest, WithoutAPlaceForItsFileItSaysWhy)
{
    m_runtime.Set(m_folder / "missing");
    FileInstanceLock lock;
    EXPECT_EQ(lock.Acquire(), Result::Failed);
    EXPECT_NE(lock.Reason().find("missing"), std::string::npos) << lock.Reason();
}

TEST_F(FileInstanceLockTest, ALinkInItsPlaceIsNotFollowed)
{
    std::filesystem::create_directory(m_folder / "tessel");
    std::filesystem::create_symlink(m_folder / "target", m_folder / "tessel/Vireo.lock");
    FileInstanceLock lock;
    EXPECT_EQ(lock.Acquire(), Result::Failed);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "target"));
}

TEST_F(FileInstanceLockTest, AFileThatMayNotBeOpenedIsAFailureNotASecondHolder)
{
    std::filesystem::create_directory(m_folder / "tessel");
    test::WriteFile(m_folder / "tessel/Vireo.lock", "");
    chmod((m_folder / "tessel/Vireo.lock").c_str(), 0);
    chmod(m_folder.Path().c_str(), 0755);
    const bool bGiven = geteuid() != 0 || chown((m_folder / "tessel").c_str(), test::kOtherUser, test::kOtherUser) == 0;
    ASSERT_TRUE(bGiven);
    EXPECT_TRUE(test::RunAsOtherUser([] {
        FileInstanceLock lock;
        EXPECT_EQ(lock.Acquire(), Result::Failed);
        EXPECT_NE(lock.Reason().find("Vireo.lock"), std::string::npos) << lock.Reason();
    }));
}

/// What fighting processes write down, in memory that they share.
struct FightRecord {
    std::atomic<int> iReady = 0;
    std::atomic<int> iHolders = 0;
    std::atomic<int> iTaken = 0;
    std::atomic<int> iOverlaps = 0;
    std::atomic<int> iRefused = 0;
    std::atomic<int> iFailed = 0;
};
constexpr int kFights = 1000;

void Fight(FightRecord& record)
{
    ++record.iReady;
    while (record.iReady < 2)
        sched_yield();
    FileInstanceLock lock;
    while (record.iTaken < kFights) {
        const Result eResult = lock.Acquire();
        if (eResult == Result::HeldByOther) {
            ++record.iRefused;
        } else if (eResult == Result::Failed) {
            ++record.iFailed;
            return;
        } else {
            if (++record.iHolders != 1)
                ++record.iOverlaps;
            ++record.iTaken;
            sched_yield(); // gives the other one its chance to break in
            --record.iHolders;
            lock.Release();
        }
    }
}

TEST_F(FileInstanceLockTest, TwoProcessesThatFightForItNeverHoldItBoth)
{
    void* pShared = mmap(nullptr, sizeof(FightRecord), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pShared, MAP_FAILED);
    FightRecord& record = *new (pShared) FightRecord;
    pid_t children[2];
    for (pid_t& child : children) {
        child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            Fight(record);
            _exit(0);
        }
    }
    for (const pid_t child : children) {
        int iStatus = 0;
        ASSERT_EQ(waitpid(child, &iStatus, 0), child);
        EXPECT_EQ(iStatus, 0);
    }
    EXPECT_GE(record.iTaken, kFights);
    EXPECT_EQ(record.iOverlaps, 0);
    EXPECT_EQ(record.iFailed, 0);
    EXPECT_GT(record.iRefused, 0) << "they never met";
    munmap(pShared, sizeof(FightRecord));
}

TEST_F(FileInstanceLockTest, AKilledHolderLeavesItToTheNext)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        FileInstanceLock lock;
        const char cHeld = lock.Acquire() == Result::Acquired ? 'y' : 'n';
        if (write(ends[1], &cHeld, 1) == 1)
            pause();
        _exit(0);
    }
    char cHeld = 'n';
    ASSERT_EQ(read(ends[0], &cHeld, 1), 1);
    ASSERT_EQ(cHeld, 'y');
    FileInstanceLock lock;
    EXPECT_EQ(lock.Acquire(), Result::HeldByOther);
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(lock.Acquire(), Result::Acquired);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(FileInstanceLockTest, ASecondStartEndsWithoutTouchingTheSettings)
{
    test::TestPlatform test;
    test.m_paths.m_strApplicationData = m_folder.Path();
    CVireoApp first(test.m_platform);
    FileInstanceLock firstLock;
    ASSERT_TRUE(first.InitInstance(firstLock, ""));
    std::filesystem::remove(first.IniFolder() + kIniFileName);

    CVireoApp second(test.m_platform);
    FileInstanceLock secondLock;
    EXPECT_FALSE(second.InitInstance(secondLock, ""));
    EXPECT_EQ(test.m_window.MessageTexts(), std::vector<std::string> { "既に起動しています。" });
    EXPECT_FALSE(std::filesystem::exists(first.IniFolder() + kIniFileName));
    EXPECT_EQ(second.ExitInstance(0, false), 1);

    first.ExitInstance(0, true);
    CVireoApp third(test.m_platform);
    EXPECT_TRUE(third.InitInstance(secondLock, ""));
}

} // namespace
} // namespace vireo
