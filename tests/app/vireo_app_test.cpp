#include "app/vireo_app.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vireo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kCommandLine = "Marten 1 640 480 30 500 0 10 C:\\a.avi";

/// A lock that another program may hold.
class FakeLock : public InstanceLock {
public:
    Result m_eResult = Result::Acquired;
    bool m_bHeld = false;

    Result Acquire() override
    {
        m_bHeld = m_eResult == Result::Acquired;
        return m_eResult;
    }
    void Release() override { m_bHeld = false; }
    std::string Reason() const override { return "no lock file"; }
};

class StartUp : public testing::Test {
protected:
    StartUp() { m_test.m_paths.m_strApplicationData = m_folder / "config"; }
    std::string SettingsFile() const { return m_folder / "config/norvane/Quill/Cooperations/Tessel.ini"; }

    test::TemporaryFolder m_folder;
    test::TestPlatform m_test;
    FakeLock m_lock;
    CVireoApp m_app { m_test.m_platform };
};

TEST_F(StartUp, MakesTheSettingsFolderWithAllParentsAndAnEmptyFile)
{
    EXPECT_TRUE(m_app.InitInstance(m_lock, ""));
    EXPECT_TRUE(std::filesystem::is_regular_file(SettingsFile()));
    EXPECT_EQ(std::filesystem::file_size(SettingsFile()), 0U);
    EXPECT_EQ(m_app.IniFolder(), m_folder / "config/norvane/Quill/Cooperations/");
    EXPECT_THAT(m_test.m_window.MessageTexts(), IsEmpty());
}

TEST_F(StartUp, MakesItsFoldersForThisUserAloneAndLeavesOthersAsTheyAre)
{
    namespace fs = std::filesystem;
    fs::create_directory(m_folder / "config");
    fs::permissions(m_folder / "config", fs::perms(0755));
    EXPECT_TRUE(m_app.InitInstance(m_lock, ""));
    EXPECT_EQ(fs::status(m_folder / "config").permissions(), fs::perms(0755));
    for (const char* pFolder : { "config/norvane", "config/norvane/Quill", "config/norvane/Quill/Cooperations" })
        EXPECT_EQ(fs::status(m_folder / pFolder).permissions(), fs::perms(0700)) << pFolder;
}

TEST_F(StartUp, KeepsAnExistingSettingsFile)
{
    ASSERT_TRUE(m_app.InitInstance(m_lock, ""));
    test::WriteFile(SettingsFile(), "[A]\r\nb=1\r\n");
    CVireoApp next(m_test.m_platform);
    EXPECT_TRUE(next.InitInstance(m_lock, ""));
    EXPECT_EQ(test::ReadFile(SettingsFile()), "[A]\r\nb=1\r\n");
    EXPECT_EQ(next.ReadIniInt("A", "b", 0), 1);
}

TEST_F(StartUp, ASecondCopyEndsWithoutTouchingTheSettings)
{
    m_lock.m_eResult = InstanceLock::Result::HeldByOther;
    EXPECT_FALSE(m_app.InitInstance(m_lock, kCommandLine));
    EXPECT_THAT(m_test.m_window.MessageTexts(), ElementsAre("既に起動しています。"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "config"));
    EXPECT_EQ(m_app.ExitInstance(0, false), 1);
}

TEST_F(StartUp, WithoutALockFileTheReasonIsShown)
{
    m_lock.m_eResult = InstanceLock::Result::Failed;
    EXPECT_FALSE(m_app.InitInstance(m_lock, ""));
    EXPECT_THAT(m_test.m_window.MessageTexts(), ElementsAre("no lock file"));
}

TEST_F(StartUp, WithoutAWorkingDirectoryTheProgramEnds)
{
    m_test.m_paths.m_strWorkingDirectory.reset();
    EXPECT_FALSE(m_app.InitInstance(m_lock, ""));
    EXPECT_THAT(m_test.m_window.MessageTexts(), ElementsAre("Error Get Current Working Directory: _getcwd"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "config")) << "the folder is made after that check";
    EXPECT_EQ(m_app.ExitInstance(0, false), 1);
    EXPECT_FALSE(m_lock.m_bHeld);
}

TEST_F(StartUp, ASettingsFolderThatCannotBeMadeIsShownOnceAndStartUpGoesOn)
{
    test::WriteFile(m_folder / "config", "a file where the folder should be");
    EXPECT_TRUE(m_app.InitInstance(m_lock, ""));
    EXPECT_THAT(m_test.m_window.MessageTexts(), ElementsAre("Error ini file open"));
    m_test.m_window.Clear();
    EXPECT_EQ(m_app.ReadIniInt("A", "b", 5), 0);
    EXPECT_THAT(m_test.m_window.MessageTexts(), ElementsAre("Read File Open Error ini File"));
}

TEST_F(StartUp, WithoutAFolderForApplicationDataNothingIsWrittenElsewhere)
{
    m_test.m_paths.m_strApplicationData.clear();
    EXPECT_TRUE(m_app.InitInstance(m_lock, ""));
    EXPECT_THAT(m_test.m_window.MessageTexts(), ElementsAre("Error ini file open"));
    EXPECT_FALSE(std::filesystem::exists("/norvane"));
}

TEST_F(StartUp, ReadsThePartnersRequest)
{
    EXPECT_TRUE(m_app.InitInstance(m_lock, kCommandLine));
    EXPECT_TRUE(m_app.Request().CooperationMode);
    EXPECT_EQ(m_app.Request().PartnerTitle, "Marten");
    EXPECT_EQ(m_app.WindowCount(), 0U) << "no camera has been found yet";
}

TEST_F(StartUp, HoldsTheLockUntilExit)
{
    ASSERT_TRUE(m_app.InitInstance(m_lock, ""));
    EXPECT_TRUE(m_lock.m_bHeld);
    m_app.ExitInstance(0, true);
    EXPECT_FALSE(m_lock.m_bHeld);
}

TEST(ExitStatus, IsThePartnersResultInCooperationMode)
{
    const struct {
        const char* strName;
        bool bCooperation;
        int iResult, iFramework;
        bool bStarted;
        int iStatus;
    } kRows[] = {
        { "normal end", false, 0, 0, true, 0 },
        { "the framework's own status", false, 0, 3, true, 3 },
        { "a result without a partner counts nothing", false, -2, 0, true, 0 },
        { "start-up failed", false, 0, 0, false, 1 },
        { "cooperation went well", true, 0, 3, true, 0 },
        { "no camera", true, cooperation_result::kNoCamera, 0, false, -1 },
        { "cancelled", true, cooperation_result::kCancelled, 0, true, -4 },
        { "start-up failed before any result", true, 0, 0, false, 1 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strName);
        test::TestPlatform test;
        CVireoApp app(test.m_platform);
        CooperationRequest request;
        request.CooperationMode = row.bCooperation;
        app.SetRequest(request);
        app.SetCooperationResult(row.iResult);
        EXPECT_EQ(app.ExitInstance(row.iFramework, row.bStarted), row.iStatus);
    }
}

class Notification : public testing::Test {
protected:
    Notification() { m_app.SetRequest(ParseCooperation(SplitCommandLine(kCommandLine))); }
    test::TestPlatform m_test;
    CVireoApp m_app { m_test.m_platform };
};

TEST_F(Notification, TheStartIsPostedAndTheEndIsSent)
{
    m_test.m_partner.Open("Marten");
    EXPECT_TRUE(m_app.FindPartnerWindow());
    EXPECT_TRUE(m_app.NotifyPartner(false));
    EXPECT_TRUE(m_app.NotifyPartner(true));
    using Sent = test::FakePartnerLink::Sent;
    EXPECT_THAT(
        m_test.m_partner.Messages(), ElementsAre(Sent { "Marten", 32781, false }, Sent { "Marten", 32782, true }));
}

TEST_F(Notification, WithoutAWindowThereIsNone)
{
    EXPECT_FALSE(m_app.NotifyPartner(false)) << "never looked up";
    EXPECT_FALSE(m_app.FindPartnerWindow());
    EXPECT_FALSE(m_app.NotifyPartner(false));
}

TEST_F(Notification, TheWindowIsLookedUpAfreshEachTime)
{
    m_test.m_partner.Open("Marten");
    EXPECT_TRUE(m_app.FindPartnerWindow());
    m_test.m_partner.Close("Marten");
    EXPECT_FALSE(m_app.FindPartnerWindow());
    EXPECT_FALSE(m_app.NotifyPartner(true));
    EXPECT_THAT(m_test.m_partner.Messages(), IsEmpty());
}

TEST_F(Notification, NobodyIsLookedForWithoutAPartner)
{
    m_test.m_partner.Open("NONE");
    CooperationRequest request = m_app.Request();
    request.PartnerTitle = "NONE";
    request.PartnerPresent = false;
    m_app.SetRequest(request);
    EXPECT_FALSE(m_app.FindPartnerWindow());
    EXPECT_THAT(m_test.m_partner.Lookups(), IsEmpty());
}

TEST_F(Notification, FailsWhenTheMessageCannotBeHandedOver)
{
    m_test.m_partner.Open("Marten");
    ASSERT_TRUE(m_app.FindPartnerWindow());
    m_test.m_partner.m_bDelivers = false;
    EXPECT_FALSE(m_app.NotifyPartner(false));
    EXPECT_FALSE(m_app.NotifyPartner(true));
}

TEST_F(Notification, AWaitForABusyPartnerCanBeEndedFromAnotherThread)
{
    m_test.m_partner.Open("Marten");
    ASSERT_TRUE(m_app.FindPartnerWindow());
    std::atomic<bool> bWaiting = false;
    m_test.m_partner.OnSend([&](int) {
        bWaiting = true;
        bWaiting.notify_all();
        while (m_test.m_partner.Cancels() == 0)
            std::this_thread::yield();
    });
    std::thread waiting([&] { m_app.NotifyPartner(true); });
    bWaiting.wait(false);
    m_app.CancelNotify();
    waiting.join();
    EXPECT_EQ(m_test.m_partner.Cancels(), 1);
}

TEST_F(Notification, EveryOneThatWaitsHasAWindowOfItsOwnAndIsEnded)
{
    m_test.m_partner.Open("Marten");
    ASSERT_TRUE(m_app.FindPartnerWindow());
    std::atomic<int> iWaiting = 0;
    std::atomic<bool> bGo = false;
    m_test.m_partner.OnSend([&](int) {
        ++iWaiting;
        iWaiting.notify_all();
        bGo.wait(false);
    });
    std::thread first([&] { m_app.NotifyPartner(true); });
    iWaiting.wait(0);
    std::thread second([&] { m_app.NotifyPartner(true); });
    iWaiting.wait(1);
    EXPECT_EQ(m_test.m_partner.Lookups().size(), 2U);
    EXPECT_TRUE(m_app.FindPartnerWindow()) << "while both wait";
    m_app.CancelNotify();
    EXPECT_EQ(m_test.m_partner.Cancels(), 3) << "both, and the one that was found and may be next";
    bGo = true;
    bGo.notify_all();
    first.join();
    second.join();
    m_app.CancelNotify();
    EXPECT_EQ(m_test.m_partner.Cancels(), 4) << "those that have ended are left alone";
}

TEST_F(Notification, CancellingWithoutAWindowIsHarmless) { m_app.CancelNotify(); }

} // namespace
} // namespace vireo
