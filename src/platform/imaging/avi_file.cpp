#include "platform/imaging/avi_file.h"

#include "platform/imaging/avi_layout.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace vireo {
namespace {

using namespace avi;

constexpr std::size_t kStreamHeaderBytes = 56;
constexpr std::size_t kBitmapHeaderBytes = 40;
constexpr std::uint32_t kFlagHasIndex = 0x10;
constexpr std::uint32_t kFlagKeyFrame = 0x10; ///< of an index entry
constexpr std::uint32_t kDefaultQuality = 0xFFFFFFFF; ///< the stream header leaves it to the pictures
constexpr std::uint16_t kBitsPerPixel = 24;

/// Little-endian fields, one behind the other.
class FieldWriter {
public:
    explicit FieldWriter(std::vector<std::uint8_t>& bytes)
        : m_bytes(bytes)
    {
    }
    void Mark(std::string_view strMark) { m_bytes.insert(m_bytes.end(), strMark.begin(), strMark.end()); }
    void U16(std::uint32_t uiValue)
    {
        m_bytes.push_back(static_cast<std::uint8_t>(uiValue));
        m_bytes.push_back(static_cast<std::uint8_t>(uiValue >> 8));
    }
    void U32(std::uint64_t uiValue)
    {
        U16(static_cast<std::uint32_t>(uiValue & 0xFFFF));
        U16(static_cast<std::uint32_t>((uiValue >> 16) & 0xFFFF));
    }
    void Zeros(std::size_t uiCount) { m_bytes.insert(m_bytes.end(), uiCount, 0); }

private:
    std::vector<std::uint8_t>& m_bytes;
};

struct HeaderValues {
    FrameRatio ratio;
    std::uint32_t uiWidth;
    std::uint32_t uiHeight;
    std::uint32_t uiFrames;
    std::uint32_t uiLargestFrame;
    std::uint64_t uiMoviEnd; ///< file offset behind the last frame
    std::uint64_t uiFileEnd; ///< ... and behind the index, if there is one
    bool bIndexed;
};

double FramesPerSecond(FrameRatio ratio) { return static_cast<double>(ratio.uiRate) / ratio.uiScale; }

void PutMainHeader(FieldWriter& out, const HeaderValues& values)
{
    const double dRate = FramesPerSecond(values.ratio);
    const double dPeakBytes = std::min(dRate * values.uiLargestFrame, 4294967295.0);
    out.Mark("avih");
    out.U32(kMainHeaderBytes);
    out.U32(static_cast<std::uint64_t>(std::llround(1e6 / dRate))); // microseconds per frame, rounded
    out.U32(static_cast<std::uint64_t>(dPeakBytes)); // bytes a second at most
    out.U32(0); // padding granularity
    out.U32(values.bIndexed ? kFlagHasIndex : 0);
    out.U32(values.uiFrames);
    out.U32(0); // initial frames
    out.U32(1); // streams
    out.U32(values.uiLargestFrame); // suggested buffer
    out.U32(values.uiWidth);
    out.U32(values.uiHeight);
    out.Zeros(16);
}

void PutStreamHeader(FieldWriter& out, const HeaderValues& values)
{
    out.Mark("strh");
    out.U32(kStreamHeaderBytes);
    out.Mark("vids");
    out.Mark("MJPG");
    out.Zeros(12); // flags, priority and language, initial frames
    out.U32(values.ratio.uiScale);
    out.U32(values.ratio.uiRate);
    out.U32(0); // start
    out.U32(values.uiFrames);
    out.U32(values.uiLargestFrame); // suggested buffer
    out.U32(kDefaultQuality);
    out.U32(0); // sample size: frames differ
    out.U16(0); // the picture's rectangle
    out.U16(0);
    out.U16(values.uiWidth);
    out.U16(values.uiHeight);
}

void PutBitmapHeader(FieldWriter& out, const HeaderValues& values)
{
    out.Mark("strf");
    out.U32(kBitmapHeaderBytes);
    out.U32(kBitmapHeaderBytes);
    out.U32(values.uiWidth);
    out.U32(values.uiHeight);
    out.U16(1); // planes
    out.U16(kBitsPerPixel);
    out.Mark("MJPG");
    out.U32(std::uint64_t { values.uiWidth } * values.uiHeight * (kBitsPerPixel / 8));
    out.Zeros(16);
}

std::vector<std::uint8_t> MakeHeader(const HeaderValues& values)
{
    constexpr std::size_t kStreamListBytes =
        4 + kChunkHeadBytes + kStreamHeaderBytes + kChunkHeadBytes + kBitmapHeaderBytes;
    constexpr std::size_t kHeaderListBytes =
        4 + kChunkHeadBytes + kMainHeaderBytes + kChunkHeadBytes + kStreamListBytes;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(AviFile::kHeaderBytes);
    FieldWriter out(bytes);
    out.Mark("RIFF");
    out.U32(values.uiFileEnd - kChunkHeadBytes);
    out.Mark("AVI LIST");
    out.U32(kHeaderListBytes);
    out.Mark("hdrl");
    PutMainHeader(out, values);
    out.Mark("LIST");
    out.U32(kStreamListBytes);
    out.Mark("strl");
    PutStreamHeader(out, values);
    PutBitmapHeader(out, values);
    out.Mark("JUNK");
    const std::size_t uiJunk = AviFile::kHeaderBytes - kListHeadBytes - bytes.size() - 4;
    out.U32(uiJunk);
    out.Zeros(uiJunk);
    out.Mark("LIST");
    out.U32(values.uiMoviEnd - AviFile::kHeaderBytes + 4);
    out.Mark("movi");
    assert(bytes.size() == AviFile::kHeaderBytes);
    return bytes;
}

} // namespace

WriteFunction PlainWrite()
{
    return [](int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset) {
        return ::pwrite(iFile, pBytes, uiBytes, iOffset);
    };
}

AviFile::AviFile(WriteFunction write)
    : m_write(std::move(write))
{
}

AviFile::~AviFile()
{
    // Nobody is left to be told; the file stays as good as it could be made.
    (void)Finish();
}

Error AviFile::Create(const std::string& strPath, FrameRatio ratio)
{
    assert(!IsOpen());
    m_strPath = strPath;
    m_ratio = ratio;
    m_uiFlushFrames = static_cast<std::uint32_t>(std::max(1.0, std::round(FramesPerSecond(ratio))));
    m_index.clear();
    m_uiLargestFrame = 0;
    m_uiEnd = kHeaderBytes;
    m_iFile = ::open(strPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (m_iFile < 0)
        return Failure(ErrorType::FileOpenFailed, "cannot create", errno);
    if (!WriteHeader(m_uiEnd, false)) {
        const int iErrno = errno;
        ::close(m_iFile);
        m_iFile = -1;
        ::unlink(strPath.c_str());
        return Failure(ErrorType::FileOpenFailed, "cannot write", iErrno);
    }
    return {};
}

void AviFile::SetFrameSize(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    m_uiWidth = uiWidth;
    m_uiHeight = uiHeight;
}

std::uint64_t AviFile::SizeWith(std::size_t uiBytes) const
{
    return m_uiEnd + kChunkHeadBytes + Padded(uiBytes) + kChunkHeadBytes + kIndexEntryBytes * (m_index.size() + 1);
}

Error AviFile::Append(JpegChunk& chunk)
{
    static_assert(JpegChunk::kHeaderBytes == kChunkHeadBytes);
    const auto uiPicture = static_cast<std::uint32_t>(chunk.Size());
    std::uint8_t* pBytes = chunk.Buffer();
    std::memcpy(pBytes, kFrameMark.data(), kMarkBytes);
    for (unsigned int i = 0; i < 4; ++i)
        pBytes[4 + i] = static_cast<std::uint8_t>(uiPicture >> (8 * i));
    if (uiPicture % 2 != 0)
        pBytes[kChunkHeadBytes + uiPicture] = 0;
    const std::size_t uiChunk = kChunkHeadBytes + Padded(uiPicture);
    if (!WriteAll(pBytes, uiChunk, m_uiEnd)) {
        const int iErrno = errno;
        CutBack();
        return Failure(ErrorType::FileWriteFailed, "cannot write", iErrno);
    }
    m_index.push_back({ static_cast<std::uint32_t>(m_uiEnd - (kHeaderBytes - 4)), uiPicture });
    m_uiEnd += uiChunk;
    m_uiLargestFrame = std::max(m_uiLargestFrame, uiPicture);
    // The first frame at once: before it the header has neither size nor count.
    if (FrameCount() == 1 || FrameCount() - m_uiFlushedFrames >= m_uiFlushFrames
        || m_uiEnd - m_uiFlushedEnd >= kFlushBytes)
        return Flush();
    return {};
}

Error AviFile::Flush()
{
    if (WriteHeader(m_uiEnd, false))
        return {};
    return Failure(ErrorType::FileWriteFailed, "cannot write", errno);
}

Error AviFile::Finish()
{
    if (!IsOpen())
        return {};
    int iErrno = 0;
    if (!WriteIndex()) {
        iErrno = errno;
        CutBack();
    }
    if (::close(m_iFile) != 0 && iErrno == 0)
        iErrno = errno;
    m_iFile = -1;
    return iErrno == 0 ? Error {} : Failure(ErrorType::FileCloseFailed, "cannot complete", iErrno);
}

bool AviFile::WriteAll(const void* pBytes, std::size_t uiBytes, std::uint64_t uiOffset)
{
    const auto* pNext = static_cast<const std::uint8_t*>(pBytes);
    while (uiBytes > 0) {
        const ssize_t iWritten = m_write(m_iFile, pNext, uiBytes, static_cast<off_t>(uiOffset));
        if (iWritten < 0 && errno == EINTR)
            continue;
        if (iWritten <= 0) {
            if (iWritten == 0)
                errno = ENOSPC; // a file that takes no more bytes and gives no reason
            return false;
        }
        const auto uiWritten = static_cast<std::size_t>(iWritten);
        pNext += uiWritten;
        uiBytes -= uiWritten;
        uiOffset += uiWritten;
    }
    return true;
}

bool AviFile::WriteHeader(std::uint64_t uiFileEnd, bool bIndexed)
{
    const std::vector<std::uint8_t> bytes =
        MakeHeader({ m_ratio, m_uiWidth, m_uiHeight, FrameCount(), m_uiLargestFrame, m_uiEnd, uiFileEnd, bIndexed });
    if (!WriteAll(bytes.data(), bytes.size(), 0))
        return false;
    m_uiFlushedEnd = m_uiEnd;
    m_uiFlushedFrames = FrameCount();
    return true;
}

bool AviFile::WriteIndex()
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(kChunkHeadBytes + kIndexEntryBytes * m_index.size());
    FieldWriter out(bytes);
    out.Mark("idx1");
    out.U32(kIndexEntryBytes * m_index.size());
    for (const IndexEntry& entry : m_index) {
        out.Mark(kFrameMark);
        out.U32(kFlagKeyFrame);
        out.U32(entry.uiOffset);
        out.U32(entry.uiBytes);
    }
    return WriteAll(bytes.data(), bytes.size(), m_uiEnd) && WriteHeader(m_uiEnd + bytes.size(), true);
}

void AviFile::CutBack()
{
    // What cannot be done here leaves the file as of its last flush, which plays too.
    if (::ftruncate(m_iFile, static_cast<off_t>(m_uiEnd)) == 0)
        (void)WriteHeader(m_uiEnd, false);
}

Error AviFile::Failure(ErrorType eType, const char* strWhat, int iErrno) const
{
    return { eType, std::string(strWhat) + " " + m_strPath + ": " + std::generic_category().message(iErrno) };
}

} // namespace vireo
