#include "app/ini_store.h"
#include "platform/linux/code_page_932.h"
#include "support/other_user.h"
#include "support/recorded_window.h"
#include "support/temporary_folder.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vireo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class IniStoreTest : public testing::Test {
protected:
    IniStoreTest()
    {
        m_store.SetFolder(m_folder.Path() + "/");
        SetFile("");
    }
    void SetFile(const std::string& strBytes) { test::WriteFile(m_folder / "Tessel.ini", strBytes); }
    std::string File() const { return test::ReadFile(m_folder / "Tessel.ini"); }
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
            names.push_back(entry.path().filename());
        return names;
    }
    std::vector<std::string> Shown() const { return m_window.MessageTexts(); }

    test::TemporaryFolder m_folder;
    test::RecordedWindow m_window;
    CodePage932 m_encoding;
    IniStore m_store { m_window, m_encoding };
};

TEST_F(IniStoreTest, AnEmptyFileGivesDefaults)
{
    EXPECT_EQ(m_store.ReadInt("A", "key", 42), 42);
    EXPECT_EQ(m_store.ReadString("A", "key", "default"), "default");
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(IniStoreTest, TheFirstWriteYieldsHeaderAndEntry)
{
    EXPECT_TRUE(m_store.WriteInt("MAIN_WINDOW", "left", -8));
    EXPECT_EQ(File(), "[MAIN_WINDOW]\r\nleft=-8\r\n");
    EXPECT_THAT(Entries(), ElementsAre("Tessel.ini")) << "the temporary file is gone";
}

TEST_F(IniStoreTest, ANewKeyIsPutBeforeTheNextSection)
{
    SetFile("[A]\r\nx=1\r\n[B]\r\ny=2\r\n");
    EXPECT_TRUE(m_store.WriteString("A", "z", "3"));
    EXPECT_EQ(File(), "[A]\r\nx=1\r\nz=3\r\n[B]\r\ny=2\r\n");
}

TEST_F(IniStoreTest, ANewKeyOfTheLastSectionIsAppended)
{
    SetFile("[A]\r\nx=1\r\n[B]\r\ny=2\r\n");
    EXPECT_TRUE(m_store.WriteInt("B", "z", 3));
    EXPECT_EQ(File(), "[A]\r\nx=1\r\n[B]\r\ny=2\r\nz=3\r\n");
}

TEST_F(IniStoreTest, ReadersCrossSectionsAndWritersDoNot)
{
    SetFile("[A]\r\nx=1\r\n[B]\r\nkey=2\r\n");
    EXPECT_EQ(m_store.ReadInt("A", "key", 9), 2);
    EXPECT_TRUE(m_store.WriteInt("A", "key", 3));
    EXPECT_EQ(File(), "[A]\r\nx=1\r\nkey=3\r\n[B]\r\nkey=2\r\n");
    EXPECT_EQ(m_store.ReadInt("A", "key", 9), 3);
}

TEST_F(IniStoreTest, ReadersDoNotLookBeforeTheirSection)
{
    SetFile("[A]\r\nkey=1\r\n[B]\r\nx=2\r\n");
    EXPECT_EQ(m_store.ReadInt("B", "key", 9), 9);
}

TEST_F(IniStoreTest, TheFirstLineThatContainsTheKeyIsTheEntry)
{
    SetFile("[P]\r\nWindowSizeX=1280\r\nWindowSize=2\r\nWindowSizeY=720\r\n");
    EXPECT_EQ(m_store.ReadInt("P", "WindowSize", 0), 1280);
    EXPECT_TRUE(m_store.WriteInt("P", "WindowSize", 1));
    EXPECT_EQ(File(), "[P]\r\nWindowSize=1\r\nWindowSize=2\r\nWindowSizeY=720\r\n");
    EXPECT_EQ(m_store.ReadInt("P", "WindowSizeY", 0), 720);
}

TEST_F(IniStoreTest, AKeyInsideAValueIsFoundToo)
{
    SetFile("[P]\r\nPath=D:\\Gain\r\nGain=3\r\n");
    EXPECT_EQ(m_store.ReadString("P", "Gain", ""), "D:\\Gain");
    EXPECT_TRUE(m_store.WriteString("P", "Gain", "4"));
    EXPECT_EQ(File(), "[P]\r\nGain=4\r\nGain=3\r\n");
}

TEST_F(IniStoreTest, ALaterHeaderThatContainsTheKeyIsAnEntryForReaders)
{
    SetFile("[A]\r\nx=1\r\n[key]\r\nkey=2\r\n");
    EXPECT_EQ(m_store.ReadString("A", "key", ""), "[key]");
}

TEST_F(IniStoreTest, ALineWithoutAnEqualSignIsTheWholeValue)
{
    SetFile("[A]\r\n17 keys\r\n");
    EXPECT_EQ(m_store.ReadString("A", "key", ""), "17 keys");
    EXPECT_EQ(m_store.ReadInt("A", "key", 5), 17);
    SetFile("[A]\r\nkey\r\n");
    EXPECT_EQ(m_store.ReadInt("A", "key", 5), 0);
}

TEST_F(IniStoreTest, TheValueBeginsAfterTheFirstEqualSignAndIsNotTrimmed)
{
    SetFile("[A]\r\nkey= a = b \r\n");
    EXPECT_EQ(m_store.ReadString("A", "key", ""), " a = b ");
}

TEST_F(IniStoreTest, NumbersEndAtTheFirstOtherCharacter)
{
    const struct {
        const char* strValue;
        std::int32_t iValue;
    } kRows[] = { { "abc", 0 }, { "12abc", 12 }, { " -5", -5 }, { "", 0 }, { "99999999999", 2147483647 },
        { "-99999999999", -2147483647 - 1 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strValue);
        SetFile(std::string("[A]\r\nkey=") + row.strValue + "\r\n");
        EXPECT_EQ(m_store.ReadInt("A", "key", 77), row.iValue);
    }
}

TEST_F(IniStoreTest, AHeaderMustBeTheWholeLine)
{
    for (const char* strHeader : { "[A] ", " [A]", "[A", "[A]]", "[a]", "x[A]" }) {
        SCOPED_TRACE(strHeader);
        SetFile(std::string(strHeader) + "\r\nkey=1\r\n");
        EXPECT_EQ(m_store.ReadInt("A", "key", 9), 9);
        EXPECT_TRUE(m_store.WriteInt("A", "key", 2));
        EXPECT_EQ(File(), std::string(strHeader) + "\r\nkey=1\r\n[A]\r\nkey=2\r\n");
    }
}

TEST_F(IniStoreTest, KeysAreCaseSensitive)
{
    SetFile("[A]\r\nKey=1\r\n");
    EXPECT_EQ(m_store.ReadInt("A", "key", 9), 9);
}

TEST_F(IniStoreTest, AValueWithABracketEndsTheSectionForWriters)
{
    SetFile("[A]\r\nPath=c:\\[old]\r\nkey=1\r\n");
    EXPECT_TRUE(m_store.WriteInt("A", "key", 2));
    EXPECT_EQ(File(), "[A]\r\nkey=2\r\nPath=c:\\[old]\r\nkey=1\r\n");
    EXPECT_TRUE(m_store.WriteString("A", "Path", "d:\\"));
    EXPECT_EQ(File(), "[A]\r\nkey=2\r\nPath=d:\\\r\nPath=c:\\[old]\r\nkey=1\r\n");
}

TEST_F(IniStoreTest, TheSecondOfTwoEqualSectionsIsReachedByReadersOnly)
{
    SetFile("[A]\r\nx=1\r\n[A]\r\nkey=2\r\n");
    EXPECT_EQ(m_store.ReadInt("A", "key", 9), 2);
    EXPECT_TRUE(m_store.WriteInt("A", "key", 3));
    EXPECT_EQ(File(), "[A]\r\nx=1\r\nkey=3\r\n[A]\r\nkey=2\r\n");
}

TEST_F(IniStoreTest, LineEndsBecomeCrLfAndOtherLinesStay)
{
    SetFile("; comment\n\n[A]\nx=1\r\nlone\rreturn\r\r\n[B]\nlast");
    EXPECT_TRUE(m_store.WriteInt("A", "x", 2));
    EXPECT_EQ(File(), "; comment\r\n\r\n[A]\r\nx=2\r\nlone\rreturn\r\r\n[B]\r\nlast\r\n");
}

TEST_F(IniStoreTest, AFileWithoutAFinalLineEndIsReadToItsEnd)
{
    SetFile("[A]\nkey=5");
    EXPECT_EQ(m_store.ReadInt("A", "key", 0), 5);
    SetFile("[A]\nlast\r");
    EXPECT_TRUE(m_store.WriteInt("A", "key", 6));
    EXPECT_EQ(File(), "[A]\r\nlast\r\r\nkey=6\r\n") << "a lone return is a part of its line";
    SetFile("[A]");
    EXPECT_TRUE(m_store.WriteInt("A", "key", 6));
    EXPECT_EQ(File(), "[A]\r\nkey=6\r\n");
}

TEST_F(IniStoreTest, LineEndsAreTakenOutOfWhatIsWritten)
{
    EXPECT_TRUE(m_store.WriteString("A\r\nB", "k\ne\ry", "one\r\n[C]\ntwo"));
    EXPECT_EQ(File(), "[AB]\r\nkey=one[C]two\r\n");
}

TEST_F(IniStoreTest, AWriteOfTheSameValueStillNormalisesTheFile)
{
    SetFile("[A]\nkey=1\n");
    EXPECT_TRUE(m_store.WriteInt("A", "key", 1));
    EXPECT_EQ(File(), "[A]\r\nkey=1\r\n");
}

TEST_F(IniStoreTest, JapaneseTextIsCodePage932OnDisk)
{
    EXPECT_TRUE(m_store.WriteString("CAM_PROPERTY_DATA1", "button", "高速ｶﾒﾗ"));
    EXPECT_EQ(File(), "[CAM_PROPERTY_DATA1]\r\nbutton=\x8D\x82\x91\xAC\xB6\xD2\xD7\r\n");
    EXPECT_EQ(m_store.ReadString("CAM_PROPERTY_DATA1", "button", ""), "高速ｶﾒﾗ");
}

TEST_F(IniStoreTest, TheSecondByteOfACharacterIsNoBracketAndNoKey)
{
    // "ー" is 81 5B and "ソ" 83 5C: as bytes they would end the section and split the path.
    SetFile("[A]\r\nPath=c:\\\x83\x5C\x81\x5B\x83\x58\r\nkey=1\r\n");
    EXPECT_EQ(m_store.ReadString("A", "Path", ""), "c:\\ソース");
    EXPECT_TRUE(m_store.WriteInt("A", "key", 2));
    EXPECT_EQ(File(), "[A]\r\nPath=c:\\\x83\x5C\x81\x5B\x83\x58\r\nkey=2\r\n");
    EXPECT_EQ(m_store.ReadString("A", "[", "none"), "none");
    EXPECT_EQ(m_store.ReadString("A", "X", "none"), "none") << "\"ス\" is 83 58, and 58 alone is X";
}

TEST_F(IniStoreTest, BytesThatAreNoTextSurviveARewrite)
{
    using namespace std::string_literals;
    const std::string strOdd = "[A]\r\nodd=\x80\xA0\xFD\xFF\x81 \xEB\x9F\0\x1A end\r\n"s;
    SetFile(strOdd + "key=1\r\n");
    EXPECT_TRUE(m_store.WriteInt("A", "key", 2));
    EXPECT_EQ(File(), strOdd + "key=2\r\n");
    const std::string strValue = m_store.ReadString("A", "odd", "");
    EXPECT_TRUE(m_store.WriteString("A", "odd", strValue));
    EXPECT_EQ(File(), strOdd + "key=2\r\n") << "a value that was read comes back byte by byte";
}

TEST_F(IniStoreTest, TextThatCodePage932LacksIsRefusedAndTheFileStays)
{
    SetFile("[A]\nkey=1\n");
    EXPECT_FALSE(m_store.WriteString("A", "key", "한국"));
    EXPECT_FALSE(m_store.WriteString("A", "key\U0001F3A5", "1"));
    EXPECT_FALSE(m_store.WriteString("한", "key", "1"));
    EXPECT_FALSE(m_store.WriteString("A", "key", "cut off \xE3\x81"));
    EXPECT_EQ(File(), "[A]\nkey=1\n");
    EXPECT_THAT(Entries(), ElementsAre("Tessel.ini"));
    ASSERT_EQ(Shown().size(), 4U);
    const OperatorMessage message = m_window.Record().messages[0];
    EXPECT_EQ(message.strText, "文字の変換に失敗しました");
    EXPECT_EQ(message.strTitle, "エラー");
}

TEST_F(IniStoreTest, AMissingFileGivesZeroAndEmptyNotTheDefault)
{
    std::filesystem::remove(m_folder / "Tessel.ini");
    EXPECT_EQ(m_store.ReadInt("A", "key", 42), 0);
    EXPECT_EQ(m_store.ReadString("A", "key", "default"), "");
    EXPECT_FALSE(m_store.WriteInt("A", "key", 1));
    EXPECT_THAT(Shown(), testing::Each("Read File Open Error ini File"));
    EXPECT_EQ(Shown().size(), 3U);
    EXPECT_THAT(Entries(), IsEmpty());
}

TEST_F(IniStoreTest, WhatIsNoRegularFileCannotBeOpened)
{
    const auto expectRefused = [&] {
        EXPECT_EQ(m_store.ReadInt("A", "key", 42), 0);
        EXPECT_EQ(m_store.ReadString("A", "key", "default"), "");
        EXPECT_FALSE(m_store.WriteInt("A", "key", 1));
        EXPECT_THAT(Shown(), testing::Each("Read File Open Error ini File"));
        EXPECT_EQ(Shown().size(), 3U);
        m_window.Clear();
    };
    const std::string strFile = m_folder / "Tessel.ini";
    std::filesystem::remove(strFile);
    std::filesystem::create_directory(strFile);
    expectRefused();
    std::filesystem::remove(strFile);
    ASSERT_EQ(mkfifo(strFile.c_str(), S_IRUSR | S_IWUSR), 0);
    expectRefused();
}

TEST_F(IniStoreTest, ATemporaryFileThatCannotBeMadeLeavesTheFile)
{
    SetFile("[A]\nkey=1\n");
    std::filesystem::create_directory(m_folder / "TempTesselIni");
    EXPECT_FALSE(m_store.WriteInt("A", "key", 2));
    EXPECT_THAT(Shown(), ElementsAre("Write File Open Error ini File"));
    EXPECT_EQ(File(), "[A]\nkey=1\n");
}

TEST_F(IniStoreTest, ARewriteKeepsThePermissionsOfTheFile)
{
    namespace fs = std::filesystem;
    SetFile("[A]\r\nb=1\r\n");
    const fs::perms own = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(m_folder / "Tessel.ini", own);
    EXPECT_TRUE(m_store.WriteInt("A", "b", 2));
    EXPECT_EQ(fs::status(m_folder / "Tessel.ini").permissions(), own);
}

TEST_F(IniStoreTest, AFileThatIsALinkStaysOne)
{
    namespace fs = std::filesystem;
    fs::create_directory(m_folder / "elsewhere");
    test::WriteFile(m_folder / "elsewhere/mine.ini", "[A]\r\nb=1\r\n");
    fs::remove(m_folder / "Tessel.ini");
    fs::create_symlink(m_folder / "elsewhere/mine.ini", m_folder / "Tessel.ini");
    EXPECT_TRUE(m_store.WriteInt("A", "b", 2));
    EXPECT_TRUE(fs::is_symlink(m_folder / "Tessel.ini"));
    EXPECT_EQ(test::ReadFile(m_folder / "elsewhere/mine.ini"), "[A]\r\nb=2\r\n");
}

TEST_F(IniStoreTest, ATemporaryFileOfAnEarlierCrashIsNoHindrance)
{
    test::WriteFile(m_folder / "TempTesselIni", std::string(10000, 'x'));
    EXPECT_TRUE(m_store.WriteInt("A", "key", 2));
    EXPECT_EQ(File(), "[A]\r\nkey=2\r\n");
    EXPECT_THAT(Entries(), ElementsAre("Tessel.ini"));
}

TEST_F(IniStoreTest, AnIncompleteTemporaryFileDoesNotReplaceTheSettings)
{
    // A limit on file sizes stands for a full disk. Small files fail when they are closed, long ones
    // while they are written.
    for (const std::size_t uiSize : { 200U, 200'000U }) {
        SCOPED_TRACE(uiSize);
        const std::string strFile = "[A]\nkey=1\n" + std::string(uiSize, 'x');
        SetFile(strFile);
        rlimit before {};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit limit { 100, before.rlim_max };
        const auto handlerBefore = std::signal(SIGXFSZ, SIG_IGN);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        const bool bWritten = m_store.WriteInt("A", "key", 2);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handlerBefore);
        EXPECT_FALSE(bWritten);
        EXPECT_THAT(Shown(), ElementsAre("Write File Open Error ini File"));
        EXPECT_EQ(File(), strFile);
        EXPECT_THAT(Entries(), ElementsAre("Tessel.ini"));
        m_window.Clear();
    }
}

TEST_F(IniStoreTest, ATemporaryFileThatIsNoRegularOneIsRefused)
{
    SetFile("[A]\nkey=1\n");
    ASSERT_EQ(mkfifo((m_folder / "TempTesselIni").c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_FALSE(m_store.WriteInt("A", "key", 2));
    EXPECT_THAT(Shown(), ElementsAre("Write File Open Error ini File"));
    EXPECT_EQ(File(), "[A]\nkey=1\n");
}

TEST_F(IniStoreTest, ALongFileIsReadAndRewritten)
{
    std::string strFile = "[A]\r\nkey=1\r\n";
    while (strFile.size() < 2'000'000)
        strFile += "line=\x83\x5C some text that fills the file, and more of it\r\n";
    strFile += "[B]\r\nlast=9\r\n";
    SetFile(strFile + std::string(100000, 'x'));
    EXPECT_EQ(m_store.ReadInt("B", "last", 0), 9);
    EXPECT_TRUE(m_store.WriteInt("B", "last", 8));
    strFile.replace(strFile.size() - 3, 1, "8");
    EXPECT_EQ(File(), strFile + std::string(100000, 'x') + "\r\n");
}

TEST_F(IniStoreTest, ABinaryFileIsKeptByteByByte)
{
    std::string strBinary;
    for (int i = 0; i < 100'000; ++i)
        strBinary += static_cast<char>((i * 7919 + i / 256) % 256);
    std::erase(strBinary, '\n'); // line ends are the one thing that a rewrite changes
    std::erase(strBinary, '\r');
    SetFile(strBinary);
    EXPECT_EQ(m_store.ReadInt("A", "key", 3), 3);
    EXPECT_TRUE(m_store.WriteInt("A", "key", 4));
    EXPECT_EQ(File(), strBinary + "\r\n[A]\r\nkey=4\r\n");
}

TEST_F(IniStoreTest, AFileThatMayNotBeReadIsReportedAndStays)
{
    SetFile("[A]\nkey=1\n");
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod((m_folder / "Tessel.ini").c_str(), 0), 0);
    EXPECT_TRUE(test::RunAsOtherUser([&] {
        EXPECT_EQ(m_store.ReadInt("A", "key", 42), 0);
        EXPECT_EQ(m_store.ReadString("A", "key", "default"), "");
        EXPECT_FALSE(m_store.WriteInt("A", "key", 2));
        EXPECT_EQ(Shown(), std::vector<std::string>(3, "Read File Open Error ini File"));
    }));
    ASSERT_EQ(chmod((m_folder / "Tessel.ini").c_str(), 0600), 0);
    EXPECT_EQ(File(), "[A]\nkey=1\n");
}

TEST_F(IniStoreTest, WhoMayNotReadTheFileCannotReadItsNextVersionOnTheWayEither)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0755), 0);
    SetFile("[A]\r\nkey=1\r\nsecret=" + std::string(1 << 20, 'x') + "\r\n");
    ASSERT_EQ(chmod((m_folder / "Tessel.ini").c_str(), 0600), 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread writer([&] {
        char c = 0;
        EXPECT_EQ(read(ends[0], &c, 1), 1);
        for (int i = 0; i < 100; ++i)
            EXPECT_TRUE(m_store.WriteInt("A", "key", i));
        EXPECT_EQ(rename((m_folder / "Tessel.ini").c_str(), (m_folder / "done").c_str()), 0);
    });
    EXPECT_TRUE(test::RunAsOtherUser([&] {
        EXPECT_EQ(write(ends[1], "x", 1), 1);
        while (access((m_folder / "done").c_str(), F_OK) != 0)
            ASSERT_EQ(test::ReadFile(m_folder / "TempTesselIni"), "");
    }));
    writer.join();
    close(ends[0]);
    close(ends[1]);
}

TEST_F(IniStoreTest, AFolderThatMayNotBeWrittenIsReportedAndTheFileStays)
{
    SetFile("[A]\nkey=1\n");
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0555), 0);
    EXPECT_TRUE(test::RunAsOtherUser([&] {
        EXPECT_EQ(m_store.ReadInt("A", "key", 42), 1);
        EXPECT_FALSE(m_store.WriteInt("A", "key", 2));
        EXPECT_EQ(Shown(), std::vector<std::string> { "Write File Open Error ini File" });
    }));
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0700), 0);
    EXPECT_EQ(File(), "[A]\nkey=1\n");
}

} // namespace
} // namespace vireo
