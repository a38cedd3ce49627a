#include "platform/imaging/avi_file.h"
#include "support/temporary_folder.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace vireo;
using namespace vireo::test;

namespace {

JpegChunk MakeChunk(const std::string& strPicture)
{
    JpegChunk chunk;
    chunk.Reserve(strPicture.size());
    std::memcpy(chunk.Picture(), strPicture.data(), strPicture.size());
    chunk.SetSize(strPicture.size());
    return chunk;
}

std::uint32_t U32(const std::string& strBytes, std::size_t uiOffset)
{
    std::uint32_t uiValue = 0;
    std::memcpy(&uiValue, strBytes.substr(uiOffset, 4).data(), 4);
    return uiValue;
}

std::uint32_t U16(const std::string& strBytes, std::size_t uiOffset) { return U32(strBytes, uiOffset) & 0xFFFF; }

/// The counts and sizes that must agree with the file at every flush.
struct HeaderState {
    std::uint32_t uiRiff, uiMovi, uiFlags, uiTotalFrames, uiLength, uiBuffer;
    bool operator==(const HeaderState&) const = default;
};
std::ostream& operator<<(std::ostream& out, const HeaderState& state)
{
    return out << "riff " << state.uiRiff << " movi " << state.uiMovi << " flags " << state.uiFlags << " frames "
               << state.uiTotalFrames << " length " << state.uiLength << " buffer " << state.uiBuffer;
}
HeaderState StateOf(const std::string& strBytes)
{
    return { U32(strBytes, 4), U32(strBytes, AviFile::kHeaderBytes - 8), U32(strBytes, 44),
        U32(strBytes, AviFile::kTotalFramesOffset), U32(strBytes, 140), U32(strBytes, 144) };
}

class AviFileTest : public testing::Test {
protected:
    /// Writes as pwrite does until a fault is armed.
    WriteFunction Faulty()
    {
        return [this](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) -> ssize_t {
            ++m_iWrites;
            if (m_onWrite)
                return m_onWrite(iFile, pBytes, uiBytes, iOffset);
            return pwrite(iFile, pBytes, uiBytes, iOffset);
        };
    }
    Error Append(AviFile& file, const std::string& strPicture)
    {
        JpegChunk chunk = MakeChunk(strPicture);
        return file.Append(chunk);
    }

    TemporaryFolder m_folder;
    const std::string m_strPath = m_folder / "a.avi";
    int m_iWrites = 0;
    WriteFunction m_onWrite;
};

TEST_F(AviFileTest, LaysOutHeaderFramesAndIndex)
{
    AviFile file(PlainWrite());
    ASSERT_TRUE(file.Create(m_strPath, { 2997, 100 }).IsOk());
    file.SetFrameSize(640, 480);
    ASSERT_TRUE(Append(file, "12345").IsOk()); // odd: padded
    ASSERT_TRUE(Append(file, "abcdefgh").IsOk());
    ASSERT_TRUE(file.Finish().IsOk());
    const std::string strBytes = ReadFile(m_strPath);
    ASSERT_EQ(strBytes.size(), 512U + 14 + 16 + 8 + 32);
    EXPECT_EQ(strBytes.substr(0, 4), "RIFF");
    EXPECT_EQ(U32(strBytes, 4), strBytes.size() - 8);
    EXPECT_EQ(strBytes.substr(8, 8), "AVI LIST");
    EXPECT_EQ(strBytes.substr(20, 8), "hdrlavih");
    EXPECT_EQ(U32(strBytes, 32), 33367U) << "microseconds per frame";
    EXPECT_EQ(U32(strBytes, 44), 0x10U) << "has an index";
    EXPECT_EQ(U32(strBytes, 48), 2U) << "frames";
    EXPECT_EQ(U32(strBytes, 56), 1U) << "streams";
    EXPECT_EQ(U32(strBytes, 60), 8U) << "suggested buffer";
    EXPECT_EQ(U32(strBytes, 64), 640U);
    EXPECT_EQ(U32(strBytes, 68), 480U);
    EXPECT_EQ(strBytes.substr(96, 8), "strlstrh");
    EXPECT_EQ(strBytes.substr(108, 8), "vidsMJPG");
    EXPECT_EQ(U32(strBytes, 128), 100U) << "scale";
    EXPECT_EQ(U32(strBytes, 132), 2997U) << "rate";
    EXPECT_EQ(U32(strBytes, 140), 2U) << "length";
    EXPECT_EQ(U16(strBytes, 160), 640U);
    EXPECT_EQ(U16(strBytes, 162), 480U);
    EXPECT_EQ(strBytes.substr(164, 4), "strf");
    EXPECT_EQ(U32(strBytes, 172), 40U);
    EXPECT_EQ(U32(strBytes, 176), 640U);
    EXPECT_EQ(U32(strBytes, 180), 480U);
    EXPECT_EQ(strBytes.substr(188, 4), "MJPG");
    EXPECT_EQ(U32(strBytes, 504), 4U + 14 + 16) << "movi list";
    EXPECT_EQ(strBytes.substr(508),
        std::string("movi00dc\5\0\0\0"
                    "12345\0"
                    "00dc\10\0\0\0"
                    "abcdefgh",
            34)
            + std::string("idx1\40\0\0\0", 8) + std::string("00dc\20\0\0\0\4\0\0\0\5\0\0\0", 16)
            + std::string("00dc\20\0\0\0\22\0\0\0\10\0\0\0", 16));
}

TEST_F(AviFileTest, KnowsItsFinalSizeBeforehand)
{
    AviFile file(PlainWrite());
    ASSERT_TRUE(file.Create(m_strPath, { 30, 1 }).IsOk());
    std::uint64_t uiExpected = 0;
    for (std::size_t i = 1; i < 60; ++i) {
        uiExpected = file.SizeWith(i);
        ASSERT_TRUE(Append(file, std::string(i, 'x')).IsOk());
    }
    ASSERT_TRUE(file.Finish().IsOk());
    EXPECT_EQ(ReadFile(m_strPath).size(), uiExpected);
}

TEST_F(AviFileTest, FlushesTheFirstFrameAndThenEverySecond)
{
    AviFile file(PlainWrite());
    ASSERT_TRUE(file.Create(m_strPath, { 10, 1 }).IsOk());
    EXPECT_EQ(StateOf(ReadFile(m_strPath)), (HeaderState { 504, 4, 0, 0, 0, 0 }));
    for (std::uint32_t i = 1; i <= 35; ++i) {
        ASSERT_TRUE(Append(file, std::string(i, 'x')).IsOk());
        const std::uint32_t uiTold = (i - 1) / 10 * 10 + 1;
        std::uint32_t uiMovi = 4;
        for (std::uint32_t k = 1; k <= uiTold; ++k)
            uiMovi += 8 + k + k % 2;
        ASSERT_EQ(StateOf(ReadFile(m_strPath)), (HeaderState { 500 + uiMovi, uiMovi, 0, uiTold, uiTold, uiTold }))
            << "after frame " << i;
    }
}

TEST_F(AviFileTest, FlushesAfterSomeMebibytesToo)
{
    AviFile file(PlainWrite());
    ASSERT_TRUE(file.Create(m_strPath, { 1000, 1 }).IsOk());
    const std::string strPicture(1 << 20, 'x');
    for (std::uint32_t i = 1; i <= 9; ++i) {
        ASSERT_TRUE(Append(file, strPicture).IsOk());
        EXPECT_EQ(StateOf(ReadFile(m_strPath)).uiTotalFrames, (i - 1) / 4 * 4 + 1);
    }
}

TEST_F(AviFileTest, GoesOnAfterShortAndInterruptedWrites)
{
    AviFile file(Faulty());
    m_onWrite = [this](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) -> ssize_t {
        if (m_iWrites % 3 == 0) {
            errno = EINTR;
            return -1;
        }
        return pwrite(iFile, pBytes, std::min<std::size_t>(uiBytes, 7), iOffset);
    };
    ASSERT_TRUE(file.Create(m_strPath, { 30, 1 }).IsOk());
    ASSERT_TRUE(Append(file, "a picture in several pieces").IsOk());
    ASSERT_TRUE(file.Finish().IsOk());
    const std::string strFound = ReadFile(m_strPath);
    AviFile plain(PlainWrite());
    ASSERT_TRUE(plain.Create(m_folder / "b.avi", { 30, 1 }).IsOk());
    ASSERT_TRUE(Append(plain, "a picture in several pieces").IsOk());
    ASSERT_TRUE(plain.Finish().IsOk());
    EXPECT_EQ(strFound, ReadFile(m_folder / "b.avi"));
}

TEST_F(AviFileTest, CutsAHalfWrittenFrameOff)
{
    AviFile file(Faulty());
    ASSERT_TRUE(file.Create(m_strPath, { 30, 1 }).IsOk());
    ASSERT_TRUE(Append(file, "first").IsOk());
    ASSERT_TRUE(Append(file, "second").IsOk());
    bool bHalf = false;
    m_onWrite = [&bHalf](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) -> ssize_t {
        if (iOffset == 0)
            return pwrite(iFile, pBytes, uiBytes, iOffset); // overwriting needs no new room
        if (!std::exchange(bHalf, true))
            return pwrite(iFile, pBytes, uiBytes / 2, iOffset);
        errno = ENOSPC;
        return -1;
    };
    const Error error = Append(file, "third");
    EXPECT_EQ(error.GetType(), ErrorType::FileWriteFailed);
    EXPECT_EQ(error.GetDescription(), "cannot write " + m_strPath + ": No space left on device");
    EXPECT_EQ(file.FrameCount(), 2U);
    const std::string strCut = ReadFile(m_strPath);
    EXPECT_EQ(strCut.size(), 512U + 14 + 14);
    EXPECT_EQ(StateOf(strCut), (HeaderState { 532, 32, 0, 2, 2, 6 }));

    // The index finds no room either: the file stays as it is, without the promise of one.
    EXPECT_EQ(file.Finish().GetType(), ErrorType::FileCloseFailed);
    EXPECT_EQ(ReadFile(m_strPath), strCut);
}

TEST_F(AviFileTest, TakesAWriteOfNothingForAFullDisk)
{
    AviFile file(Faulty());
    ASSERT_TRUE(file.Create(m_strPath, { 30, 1 }).IsOk());
    m_onWrite = [](int, const void*, std::size_t, off_t) -> ssize_t { return 0; };
    EXPECT_EQ(Append(file, "first").GetType(), ErrorType::FileWriteFailed);
}

TEST_F(AviFileTest, RemovesAFileWhoseHeaderCouldNotBeWritten)
{
    AviFile file(Faulty());
    m_onWrite = [](int, const void*, std::size_t, off_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    const Error error = file.Create(m_strPath, { 30, 1 });
    EXPECT_EQ(error.GetType(), ErrorType::FileOpenFailed);
    EXPECT_EQ(error.GetDescription(), "cannot write " + m_strPath + ": Input/output error");
    EXPECT_FALSE(file.IsOpen());
    EXPECT_NE(access(m_strPath.c_str(), F_OK), 0);
}

TEST_F(AviFileTest, TellsWhenTheHeaderCannotBeBroughtUpToDate)
{
    AviFile file(Faulty());
    ASSERT_TRUE(file.Create(m_strPath, { 30, 1 }).IsOk());
    ASSERT_TRUE(Append(file, "first").IsOk());
    m_onWrite = [](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) -> ssize_t {
        if (iOffset > 0)
            return pwrite(iFile, pBytes, uiBytes, iOffset);
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(file.Flush().GetType(), ErrorType::FileWriteFailed);
    EXPECT_EQ(file.Finish().GetType(), ErrorType::FileCloseFailed);
}

TEST_F(AviFileTest, EndsTheFileWhenItIsDestroyed)
{
    {
        AviFile file(PlainWrite());
        ASSERT_TRUE(file.Create(m_strPath, { 30, 1 }).IsOk());
        ASSERT_TRUE(Append(file, "first").IsOk());
    }
    EXPECT_EQ(StateOf(ReadFile(m_strPath)).uiFlags, 0x10U);
}

} // namespace
