#include "platform/linux/runtime_folder.h"
#include "support/environment.h"
#include "support/other_user.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vireo {
namespace {

class RuntimeFolderTest : public testing::Test {
protected:
    static mode_t Mode(const std::string& strPath)
    {
        struct stat status = {};
        EXPECT_EQ(lstat(strPath.c_str(), &status), 0) << strPath;
        return status.st_mode & 0777U;
    }

    test::TemporaryFolder m_folder;
    test::EnvironmentVariable m_runtime { "XDG_RUNTIME_DIR", m_folder.Path() };
    std::string m_strError;
};

TEST_F(RuntimeFolderTest, IsMadeForItsOwnerAlone)
{
    const mode_t before = umask(0);
    EXPECT_EQ(RuntimeFolder(m_strError), m_folder / "tessel");
    umask(before);
    EXPECT_EQ(Mode(m_folder / "tessel"), 0700U);
    EXPECT_EQ(RuntimeFolder(m_strError), m_folder / "tessel") << "and found again";
}

TEST_F(RuntimeFolderTest, OneThatIsOpenToOthersIsClosed)
{
    std::filesystem::create_directory(m_folder / "tessel");
    chmod((m_folder / "tessel").c_str(), 0777);
    EXPECT_EQ(RuntimeFolder(m_strError), m_folder / "tessel");
    EXPECT_EQ(Mode(m_folder / "tessel"), 0700U);
}

TEST_F(RuntimeFolderTest, ALinkIsRefused)
{
    std::filesystem::create_directory(m_folder / "elsewhere");
    std::filesystem::create_directory_symlink(m_folder / "elsewhere", m_folder / "tessel");
    EXPECT_EQ(RuntimeFolder(m_strError), "");
    EXPECT_NE(m_strError.find(m_folder / "tessel"), std::string::npos) << m_strError;
}

TEST_F(RuntimeFolderTest, AFolderOfAnotherUserIsRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    std::filesystem::create_directory(m_folder / "tessel");
    chmod(m_folder.Path().c_str(), 0777);
    for (const mode_t mode : { 0700U, 0777U }) {
        SCOPED_TRACE(mode);
        chmod((m_folder / "tessel").c_str(), mode);
        EXPECT_TRUE(test::RunAsOtherUser([&] {
            EXPECT_EQ(RuntimeFolder(m_strError), "");
            EXPECT_NE(m_strError.find(m_folder / "tessel"), std::string::npos) << m_strError;
        }));
        EXPECT_EQ(Mode(m_folder / "tessel"), mode) << "and left as it is";
    }
}

TEST_F(RuntimeFolderTest, AFolderThatCannotBeMadeIsAnErrorThatNamesIt)
{
    chmod(m_folder.Path().c_str(), 0555);
    EXPECT_TRUE(test::RunAsOtherUser([&] {
        EXPECT_EQ(RuntimeFolder(m_strError), "");
        EXPECT_NE(m_strError.find(m_folder / "tessel"), std::string::npos) << m_strError;
    }));
    chmod(m_folder.Path().c_str(), 0700);
}

TEST_F(RuntimeFolderTest, WithoutTheSessionsFolderItIsOneOfTheUsersInTmp)
{
    m_runtime.Set(std::nullopt);
    const std::string strExpected = "/tmp/tessel-" + std::to_string(geteuid());
    EXPECT_EQ(RuntimeFolder(m_strError), strExpected) << m_strError;
    m_runtime.Set("relative");
    EXPECT_EQ(RuntimeFolder(m_strError), strExpected) << "only a whole path counts";
    rmdir(strExpected.c_str()); // stays when somebody uses it
}

} // namespace
} // namespace vireo
