#include "platform/linux/new_file.h"
#include "support/other_user.h"
#include "support/temporary_folder.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vireo;
using namespace vireo::test;

namespace {

class NewFile : public testing::Test {
protected:
    /// Everything in the folder, hidden files included.
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
            names.push_back(entry.path().filename());
        return names;
    }
    static MoveFunction Refusing(int iErrno)
    {
        return [iErrno](const char*, const char*) {
            errno = iErrno;
            return -1;
        };
    }

    TemporaryFolder m_folder;
};

TEST_F(NewFile, HoldsEveryByteAndLeavesNothingElse)
{
    const std::string strText(100'000, 'x');
    EXPECT_TRUE(WriteNewFile(m_folder / "take.csv", strText).IsOk());
    EXPECT_EQ(ReadFile(m_folder / "take.csv"), strText);
    EXPECT_EQ(Entries(), std::vector<std::string> { "take.csv" });
}

TEST_F(NewFile, HasTheRightsOfAnyOther)
{
    const mode_t before = umask(022);
    EXPECT_TRUE(WriteNewFile(m_folder / "take.csv", "x").IsOk());
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat((m_folder / "take.csv").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

TEST_F(NewFile, NeverReplacesOneThatExists)
{
    // Also where the file system cannot move without replacing.
    for (const MoveFunction& move : { MoveWithoutReplacing(), Refusing(EINVAL) }) {
        WriteFile(m_folder / "take.csv", "an older take");
        const Error error = WriteNewFile(m_folder / "take.csv", "new", move);
        EXPECT_EQ(error.GetType(), ErrorType::FileCloseFailed);
        EXPECT_EQ(error.GetDescription(), m_folder / "take.csv" + ": File exists");
        EXPECT_EQ(ReadFile(m_folder / "take.csv"), "an older take");
        EXPECT_EQ(Entries().size(), 1U);
    }
}

TEST_F(NewFile, NeitherReplacesNorFollowsALinkThatLeadsNowhere)
{
    std::filesystem::create_symlink(m_folder / "nowhere", m_folder / "take.csv");
    EXPECT_FALSE(WriteNewFile(m_folder / "take.csv", "new").IsOk());
    EXPECT_EQ(Entries(), std::vector<std::string> { "take.csv" });
}

TEST_F(NewFile, IsWrittenWhereTheFileSystemCannotMoveWithoutReplacing)
{
    for (const int iErrno : { EINVAL, ENOSYS, EOPNOTSUPP }) {
        const std::string strName = "take" + std::to_string(iErrno) + ".csv";
        EXPECT_TRUE(WriteNewFile(m_folder / strName, "new", Refusing(iErrno)).IsOk());
        EXPECT_EQ(ReadFile(m_folder / strName), "new");
    }
    EXPECT_EQ(Entries().size(), 3U);
}

TEST_F(NewFile, IsNotThereWhenItCannotBeMoved)
{
    const Error error = WriteNewFile(m_folder / "take.csv", "new", Refusing(EIO));
    EXPECT_EQ(error.GetDescription(), m_folder / "take.csv" + ": Input/output error");
    EXPECT_TRUE(Entries().empty());
}

TEST_F(NewFile, IsNotThereWhenItCannotBeWrittenInFull)
{
    // In a process of its own: a limit of the file size stands for the full disk.
    EXPECT_TRUE(RunAsOtherUser([] {
        const TemporaryFolder folder;
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit { 1000, 1000 };
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        const Error error = WriteNewFile(folder / "take.csv", std::string(5000, 'x'));
        EXPECT_EQ(error.GetType(), ErrorType::FileWriteFailed);
        EXPECT_EQ(error.GetDescription(), folder / "take.csv" + ": File too large");
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }));
}

TEST_F(NewFile, NeedsAFolderThatCanBeWritten)
{
    const Error missing = WriteNewFile(m_folder / "no/take.csv", "x");
    EXPECT_EQ(missing.GetType(), ErrorType::FileOpenFailed);
    EXPECT_EQ(missing.GetDescription(), m_folder / "no/take.csv" + ": No such file or directory");
    std::filesystem::create_directory(m_folder / "closed");
    std::filesystem::permissions(m_folder / "closed", std::filesystem::perms(0555));
    EXPECT_TRUE(RunAsOtherUser([this] {
        EXPECT_NE(WriteNewFile(m_folder / "closed/take.csv", "x").GetDescription().find("ermission denied"),
            std::string::npos);
    }));
}

TEST_F(NewFile, PassesOverWhatAKilledProgramLeftBehind)
{
    WriteFile(m_folder / (".tessel-" + std::to_string(getpid()) + "-0"), "half");
    EXPECT_TRUE(WriteNewFile(m_folder / "take.csv", "new").IsOk());
    EXPECT_EQ(ReadFile(m_folder / "take.csv"), "new");
    EXPECT_EQ(ReadFile(m_folder / (".tessel-" + std::to_string(getpid()) + "-0")), "half");
}

TEST_F(NewFile, MayHaveTheLongestNameThereIs)
{
    const std::string strName = std::string(251, 'n') + ".csv";
    EXPECT_TRUE(WriteNewFile(m_folder / strName, "new").IsOk());
    EXPECT_EQ(ReadFile(m_folder / strName), "new");
}

} // namespace
