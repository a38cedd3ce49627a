#include "platform/imaging/avi_reader.h"
#include "platform/imaging/mjpeg_video.h"
#include "support/temporary_folder.h"
#include "video_checks.h"

#include <cstring>
#include <functional>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kFrames = 12;
constexpr std::size_t kHeightOffset = AviFile::kTotalFramesOffset + 20;

std::uint32_t Word(const std::string& strBytes, std::size_t uiOffset)
{
    std::uint32_t uiWord = 0;
    std::memcpy(&uiWord, strBytes.substr(uiOffset, 4).data(), 4);
    return uiWord;
}

void Put(std::string& strBytes, std::size_t uiOffset, std::uint32_t uiWord)
{
    std::memcpy(&strBytes.at(uiOffset), &uiWord, 4);
}

/// A file with kFrames frames of 160x120, and what a reader says when it is damaged.
class VideoCheck : public testing::Test {
protected:
    VideoCheck()
        : m_footage(120, 160, false, 4)
    {
        const auto video = m_writers->Create();
        EXPECT_TRUE(video->Open(m_folder / "take.avi", { 100.0F, 75 }).IsOk());
        for (std::size_t i = 0; i < kFrames; ++i)
            EXPECT_TRUE(video->Append(m_footage.Frame(i)).IsOk());
        EXPECT_TRUE(video->Close().IsOk());
        m_strWhole = ReadFile(Path());
        m_uiIndex = m_strWhole.find("idx1");
        EXPECT_NE(m_uiIndex, std::string::npos);
    }
    std::string Path() const { return m_folder / "take-0000.avi"; }
    std::size_t IndexEntry(std::size_t uiFrame) const { return m_uiIndex + 8 + 16 * uiFrame; }
    /// Where the picture of a frame begins.
    std::size_t Picture(std::size_t uiFrame) const
    {
        return AviFile::kHeaderBytes - 4 + Word(m_strWhole, IndexEntry(uiFrame) + 8) + 8;
    }
    std::string Complaint(const std::string& strBytes)
    {
        WriteFile(Path(), strBytes);
        int iFrames = -1;
        const Error error = m_writers->ReadBack(Path(), iFrames);
        EXPECT_EQ(iFrames, error.IsOk() ? kFrames : 0);
        return error.IsOk() ? "" : error.GetDescription();
    }

    TemporaryFolder m_folder;
    Footage m_footage;
    std::unique_ptr<VideoWriters> m_writers = MakeVideoWriters();
    std::string m_strWhole;
    std::size_t m_uiIndex = 0;
};

TEST_F(VideoCheck, AFileAsItWasWrittenIsWholeAndCounted) { EXPECT_EQ(Complaint(m_strWhole), ""); }

TEST_F(VideoCheck, EveryPartOfALongRecordingIsWholeByItself)
{
    const auto writers = MakeVideoWriters({ .uiPartLimitBytes = m_strWhole.size() / 2 });
    const auto video = writers->Create();
    ASSERT_TRUE(video->Open(m_folder / "long.avi", { 100.0F, 75 }).IsOk());
    for (std::size_t i = 0; i < kFrames; ++i)
        ASSERT_TRUE(video->Append(m_footage.Frame(i)).IsOk());
    ASSERT_TRUE(video->Close().IsOk());
    ASSERT_GE(video->GetFiles().size(), 2U);
    int iAll = 0;
    for (const std::string& strFile : video->GetFiles()) {
        int iFrames = 0;
        EXPECT_TRUE(writers->ReadBack(strFile, iFrames).IsOk());
        EXPECT_GT(iFrames, 0);
        iAll += iFrames;
    }
    EXPECT_EQ(iAll, kFrames);
}

TEST_F(VideoCheck, ColourAndOddSizesAreWhole)
{
    const Footage odd(121, 161, true, 2);
    const auto video = m_writers->Create();
    ASSERT_TRUE(video->Open(m_folder / "odd.avi", { 100.0F, 75 }).IsOk());
    ASSERT_TRUE(video->Append(odd.Frame(0)).IsOk());
    ASSERT_TRUE(video->Close().IsOk());
    int iFrames = 0;
    const Error error = m_writers->ReadBack(m_folder / "odd-0000.avi", iFrames);
    EXPECT_TRUE(error.IsOk()) << error.GetDescription();
    EXPECT_EQ(iFrames, 1) << "the first frame is the last";
}

TEST_F(VideoCheck, AFileThatIsNotThereIsToldWithTheSystemsReason)
{
    int iFrames = -1;
    const Error error = m_writers->ReadBack(m_folder / "nothing.avi", iFrames);
    EXPECT_EQ(error.GetType(), ErrorType::FileOpenFailed);
    EXPECT_EQ(error.GetDescription(), "No such file or directory");
    EXPECT_EQ(iFrames, 0);
}

TEST_F(VideoCheck, AFileThatLacksItsEndIsFoundWhereverItWasCut)
{
    for (const std::size_t uiLength : { std::size_t { 0 }, std::size_t { 11 }, std::size_t { 100 }, Picture(3),
             m_uiIndex, IndexEntry(5), m_strWhole.size() - 1 })
        EXPECT_EQ(Complaint(m_strWhole.substr(0, uiLength)), "the file ends too early") << uiLength;
}

TEST_F(VideoCheck, DamageIsNamed)
{
    const struct {
        const char* pWhat;
        std::function<void(std::string&)> damage;
        const char* pComplaint;
    } kRows[] = {
        { "another kind of file", [](std::string& file) { file[8] = 'W'; }, "it is no AVI file" },
        { "header counts one more", [](std::string& file) { Put(file, AviFile::kTotalFramesOffset, kFrames + 1); },
            "the header tells of 13 frames, the index of 12" },
        { "header without its list", [](std::string& file) { file[24] = 'x'; }, "the header is damaged" },
        { "no index", [this](std::string& file) { file[m_uiIndex] = 'x'; }, "there is no index" },
        { "index leads beside a frame", [this](std::string& file) { ++file[IndexEntry(4) + 8]; },
            "the index is wrong at frame 4" },
        { "index of another stream", [this](std::string& file) { file[IndexEntry(7) + 1] = '1'; },
            "the index is wrong at frame 7" },
        { "an index entry cut in two", [this](std::string& file) { Put(file, m_uiIndex + 4, 16 * kFrames - 8); },
            "the index is damaged" },
        { "a frame's own size differs", [this](std::string& file) { Put(file, Picture(0) - 4, 3); },
            "frame 0 is not where the index says" },
        { "another picture size", [](std::string& file) { Put(file, kHeightOffset, 60); },
            "frame 0 has another size than the header tells" },
    };
    for (const auto& row : kRows) {
        std::string strFile = m_strWhole;
        row.damage(strFile);
        EXPECT_EQ(Complaint(strFile), row.pComplaint) << row.pWhat;
    }
}

TEST_F(VideoCheck, AnIndexThatLeavesFramesOutIsFound)
{
    std::string strFile = m_strWhole;
    Put(strFile, AviFile::kTotalFramesOffset, kFrames - 1);
    Put(strFile, m_uiIndex + 4, 16 * (kFrames - 1));
    EXPECT_NE(Complaint(strFile).find("the index leads to "), std::string::npos);
}

TEST_F(VideoCheck, AFirstOrLastFrameThatCannotBeDecodedIsNamed)
{
    for (const std::size_t uiFrame : { std::size_t { 0 }, std::size_t { kFrames - 1 } }) {
        const std::size_t uiBytes = Word(m_strWhole, IndexEntry(uiFrame) + 12);
        std::string strFile = m_strWhole;
        strFile.replace(Picture(uiFrame), uiBytes, std::string(uiBytes, '\0')); // a disk that gave zeros back
        EXPECT_TRUE(Complaint(strFile).starts_with("frame " + std::to_string(uiFrame) + ": ")) << Complaint(strFile);
        strFile = m_strWhole;
        strFile.replace(
            Picture(uiFrame) + uiBytes / 2, uiBytes - uiBytes / 2, std::string(uiBytes - uiBytes / 2, '\0'));
        EXPECT_TRUE(Complaint(strFile).starts_with("frame " + std::to_string(uiFrame) + ": "))
            << "half a picture: " << Complaint(strFile);
    }
}

} // namespace
