#include "platform/linux/linux_paths.h"
#include "support/environment.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vireo {
namespace {

namespace fs = std::filesystem;

class LinuxPathsTest : public testing::Test {
protected:
    std::optional<std::string> Drive(char cLetter) { return m_paths.Drive(cLetter, m_strError); }

    test::TemporaryFolder m_folder;
    test::EnvironmentVariable m_home { "HOME", m_folder.Path() };
    test::EnvironmentVariable m_config { "XDG_CONFIG_HOME", std::nullopt };
    test::EnvironmentVariable m_driveC { "TESSEL_DRIVE_C", std::nullopt };
    test::EnvironmentVariable m_driveD { "TESSEL_DRIVE_D", std::nullopt };
    LinuxPaths m_paths;
    std::string m_strError;
};

TEST_F(LinuxPathsTest, ApplicationDataIsTheConfigurationFolder)
{
    EXPECT_EQ(m_paths.ApplicationData(), m_folder / ".config");
    m_config.Set("/etc/xdg/");
    EXPECT_EQ(m_paths.ApplicationData(), "/etc/xdg");
    m_config.Set("relative");
    EXPECT_EQ(m_paths.ApplicationData(), m_folder / ".config") << "only a whole path counts";
    m_config.Set("");
    EXPECT_EQ(m_paths.ApplicationData(), m_folder / ".config");
}

TEST_F(LinuxPathsTest, WithoutAHomeVariableTheUserRecordTellsIt)
{
    m_home.Set(std::nullopt);
    const std::string strFolder = m_paths.ApplicationData();
    EXPECT_TRUE(strFolder.starts_with('/')) << strFolder;
    EXPECT_TRUE(strFolder.ends_with("/.config")) << strFolder;
}

TEST_F(LinuxPathsTest, DriveCIsTheFolderForVideosMadeWhenMissing)
{
    EXPECT_EQ(Drive('c'), m_folder / "Videos");
    EXPECT_TRUE(fs::is_directory(m_folder / "Videos"));
    EXPECT_EQ(Drive('c'), m_folder / "Videos") << "and found again";
}

TEST_F(LinuxPathsTest, TheFolderForVideosIsTheDesktopsSetting)
{
    fs::create_directory(m_folder / ".config");
    const std::string strFile = m_folder / ".config/user-dirs.dirs";
    const struct {
        std::string strLine;
        std::string strFolder;
    } kRows[] = {
        { "XDG_VIDEOS_DIR=\"$HOME/ビデオ\"", m_folder / "ビデオ" },
        { "XDG_VIDEOS_DIR=\"" + m_folder / "disk/films/" + "\"", m_folder / "disk/films" },
        { "XDG_MUSIC_DIR=\"$HOME/Music\"", m_folder / "Videos" },
        { "XDG_VIDEOS_DIR=\"relative\"", m_folder / "Videos" },
        { "XDG_VIDEOS_DIR=\"", m_folder / "Videos" },
        { "# XDG_VIDEOS_DIR=\"$HOME/no\"", m_folder / "Videos" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strLine);
        test::WriteFile(strFile, "# comment\n" + row.strLine + "\n");
        EXPECT_EQ(Drive('c'), row.strFolder);
        EXPECT_TRUE(fs::is_directory(row.strFolder));
    }
}

TEST_F(LinuxPathsTest, AFolderForVideosThatCannotBeMadeIsAnErrorThatNamesTheDrive)
{
    test::WriteFile(m_folder / "Videos", "a file");
    EXPECT_EQ(Drive('c'), std::nullopt);
    EXPECT_NE(m_strError.find("c:"), std::string::npos) << m_strError;
    EXPECT_NE(m_strError.find(m_folder / "Videos"), std::string::npos) << m_strError;
}

TEST_F(LinuxPathsTest, DrivesAreWhatTheEnvironmentSays)
{
    m_driveC.Set("/srv/takes/");
    m_driveD.Set("/mnt/d");
    EXPECT_EQ(Drive('c'), "/srv/takes");
    EXPECT_EQ(Drive('d'), "/mnt/d");
    EXPECT_FALSE(fs::exists(m_folder / "Videos")) << "the default is not made then";
    m_driveD.Set("/");
    EXPECT_EQ(Drive('d'), "") << "what follows brings its own separator";
}

TEST_F(LinuxPathsTest, AnyOtherDriveNeedsItsVariable)
{
    EXPECT_EQ(Drive('d'), std::nullopt);
    EXPECT_NE(m_strError.find("d:"), std::string::npos) << m_strError;
    EXPECT_NE(m_strError.find("TESSEL_DRIVE_D"), std::string::npos) << m_strError;
    m_driveD.Set("");
    EXPECT_EQ(Drive('d'), std::nullopt);
}

class WorkingDirectory : public LinuxPathsTest {
protected:
    void SetUp() override { m_before = fs::current_path(); }
    void TearDown() override { fs::current_path(m_before); }
    /// A folder whose whole path has that many characters; steps down to keep each name short enough.
    void Enter(std::size_t uiCharacters, const std::string& strLetter)
    {
        fs::current_path(m_folder.Path());
        std::size_t uiHave = fs::current_path().string().size();
        while (uiHave < uiCharacters) {
            const std::size_t uiName = std::min<std::size_t>(uiCharacters - uiHave - 1, 50);
            // a last piece of one character would leave no room for its separator
            const std::size_t uiLength = uiCharacters - uiHave - 1 - uiName == 1 ? uiName - 1 : uiName;
            std::string strName;
            for (std::size_t i = 0; i < uiLength; ++i)
                strName += strLetter;
            fs::create_directory(strName);
            fs::current_path(strName);
            uiHave += 1 + uiLength;
        }
    }

    fs::path m_before;
};

TEST_F(WorkingDirectory, IsTheProcesssOwn)
{
    fs::current_path(m_folder.Path());
    EXPECT_EQ(m_paths.WorkingDirectory(), fs::current_path().string());
}

TEST_F(WorkingDirectory, HasAtMost255Characters)
{
    Enter(255, "x");
    EXPECT_TRUE(m_paths.WorkingDirectory().has_value());
    Enter(256, "y");
    EXPECT_EQ(m_paths.WorkingDirectory(), std::nullopt);
}

TEST_F(WorkingDirectory, CountsCharactersNotBytes)
{
    Enter(255, "計");
    EXPECT_TRUE(m_paths.WorkingDirectory().has_value());
}

TEST_F(WorkingDirectory, IsNoneWhenItIsGone)
{
    const std::string strGone = m_folder / "gone";
    fs::create_directory(strGone);
    fs::current_path(strGone);
    fs::remove(strGone);
    EXPECT_EQ(m_paths.WorkingDirectory(), std::nullopt);
}

} // namespace
} // namespace vireo
