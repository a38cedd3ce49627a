#include "app/ini_store.h"
#include "support/fakes.h"
#include "support/recorded_window.h"
#include "support/temporary_folder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace vireo {
namespace {

std::string FileWith(int iNumber)
{
    std::string strFile;
    for (int i = 0; i < 2000; ++i)
        strFile += "line " + std::to_string(i) + " of a file that takes a while to write\r\n";
    return strFile + "[A]\r\nkey=" + std::to_string(iNumber) + "\r\n";
}

/// Rewrites the settings until it is killed; says when it has begun.
[[noreturn]] void RewriteForEver(const std::string& strFolder, int iBegun, int iNumber)
{
    test::RecordedWindow window;
    const test::Utf8Encoding encoding;
    IniStore store(window, encoding);
    store.SetFolder(strFolder);
    for (;;) {
        if (!store.WriteInt("A", "key", ++iNumber))
            _exit(1);
        if (write(iBegun, "x", 1) != 1)
            _exit(1);
    }
}

TEST(IniStoreKill, TheOldOrTheNewFileIsWholeWheneverTheProgramIsKilled)
{
    const test::TemporaryFolder folder(test::TemporaryFolder::Place::Memory);
    const std::string strFile = folder / "Tessel.ini";
    test::WriteFile(strFile, FileWith(0));
    std::minstd_rand random(1);
    int iNumber = 0;
    int iHalfWritten = 0;
    for (int iRound = 0; iRound < 300; ++iRound) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            RewriteForEver(folder.Path() + "/", ends[1], iNumber);
        close(ends[1]);
        char cBegun = 0;
        ASSERT_EQ(read(ends[0], &cBegun, 1), 1);
        usleep(static_cast<useconds_t>(random() % 2000)); // when it dies is up to chance
        kill(child, SIGKILL);
        int iStatus = 0;
        ASSERT_EQ(waitpid(child, &iStatus, 0), child);
        ASSERT_TRUE(WIFSIGNALED(iStatus)) << "a write failed";
        close(ends[0]);

        const std::string strNow = test::ReadFile(strFile);
        const std::size_t uiKey = strNow.rfind("key=");
        ASSERT_NE(uiKey, std::string::npos);
        const int iNow = std::stoi(strNow.substr(uiKey + 4));
        ASSERT_GT(iNow, iNumber);
        ASSERT_EQ(strNow, FileWith(iNow));
        iNumber = iNow;
        const std::string strTemporary = test::ReadFile(folder / "TempTesselIni");
        iHalfWritten += !strTemporary.empty() && strTemporary.size() < strNow.size() ? 1 : 0;
    }
    EXPECT_GT(iHalfWritten, 0) << "no kill has hit a write: the test has shown nothing";
}

} // namespace
} // namespace vireo
