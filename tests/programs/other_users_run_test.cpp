// Another user of the same machine, and the real program: nothing of its running is his to use or to read.
#include "cooperation_run.h"
#include "platform/linux/partner_link_fixture.h"
#include "support/other_user.h"

#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace vireo {
namespace {

using test::CooperationRun;
using test::RawPeer;
using test::RunTool;

class OtherUsersRun : public CooperationRun {
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs two users";
        // The folders above are as open as an administrator may have left them; the program's own are its own.
        for (const std::filesystem::path& path :
            { std::filesystem::path(RuntimeFolder()).parent_path(), std::filesystem::path(RuntimeFolder()),
                std::filesystem::path(RuntimeFolder()).parent_path() / "config" })
            ASSERT_EQ(chmod(path.c_str(), 0777), 0);
        StartPartner();
        m_program = Tessel(Tokens("1 640 480 350 500 0 0", 4));
        while (!m_program->HasEnded() && !RawPeer(Socket()).IsConnected()) { }
        ASSERT_FALSE(m_program->HasEnded()) << m_program->Err();
    }
    std::string Folder() const { return RuntimeFolder() + "/tessel"; }
    std::string Socket() const { return Folder() + "/" + PartnerSocketName("Tessel"); }
    std::unique_ptr<test::RunningProgram> m_program;
};

TEST_F(OtherUsersRun, CanNeitherStartNorStopNorReadIt)
{
    EXPECT_TRUE(test::RunAsOtherUser([this] {
        EXPECT_FALSE(RawPeer(Socket()).IsConnected());
        for (const char* pVerb : { "start", "stop" }) {
            const test::ToolResult told = Ctl(pVerb);
            EXPECT_NE(told.iExit, 0);
            EXPECT_FALSE(told.strErr.empty());
        }
        EXPECT_EQ(opendir(Folder().c_str()), nullptr);
        for (const std::string& strFile : { Folder() + "/Vireo.lock", Folder() + "/sockets.lock", SettingsFile() }) {
            for (const int iMode : { O_RDONLY, O_WRONLY, O_RDWR | O_CREAT }) {
                EXPECT_EQ(open(strFile.c_str(), iMode, 0600), -1) << strFile;
                EXPECT_EQ(errno, EACCES);
            }
            EXPECT_NE(unlink(strFile.c_str()), 0);
            EXPECT_NE(rename(strFile.c_str(), (strFile + "-").c_str()), 0);
        }
        EXPECT_EQ(open((Folder() + "/planted").c_str(), O_WRONLY | O_CREAT, 0600), -1);
        for (const int iSignal : { SIGTERM, SIGKILL, SIGSTOP }) {
            EXPECT_EQ(kill(m_program->Id(), iSignal), -1);
            EXPECT_EQ(errno, EPERM);
        }
    }));
    EXPECT_EQ(Ctl("start").iExit, 0) << "its own user can";
    EXPECT_EQ(m_program->WaitForEnd(), 0) << m_program->Err();
    EXPECT_EQ(m_partner->Out(), "command 32781\ncommand 32782\n");
    EXPECT_EQ(Files().size(), 4U);
}

TEST_F(OtherUsersRun, CannotTakeItsPlaceBeforeItStarts)
{
    EXPECT_EQ(Ctl("stop").iExit, 0);
    EXPECT_EQ(m_program->WaitForEnd(), 0) << m_program->Err();
    std::filesystem::remove_all(Folder());
    ASSERT_TRUE(std::filesystem::create_directory(Folder()));
    ASSERT_EQ(chown(Folder().c_str(), test::kOtherUser, test::kOtherUser), 0);
    ASSERT_EQ(chmod(Folder().c_str(), 0777), 0);
    // The message names the folder and waits for the operator.
    const auto refused = Tessel(Tokens("1 640 480 350 500 0 0", 4));
    EXPECT_EQ(CloseBoxesUntilTheEnd(*refused), 1) << refused->Err();
    EXPECT_TRUE(std::filesystem::is_empty(Folder())) << "nothing was left in a stranger's folder";
}

} // namespace
} // namespace vireo
