#include "platform/imaging/avi_reader.h"

#include "platform/imaging/avi_layout.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vireo {
namespace {

using namespace avi;

constexpr std::size_t kMainChunkBytes = kChunkHeadBytes + kMainHeaderBytes;
// Within the main header.
constexpr std::size_t kFramesOffset = 16;
constexpr std::size_t kWidthOffset = 32;
constexpr std::size_t kHeightOffset = 36;

std::uint32_t Word(const std::uint8_t* pBytes)
{
    return static_cast<std::uint32_t>(pBytes[0] | (pBytes[1] << 8) | (pBytes[2] << 16))
        | static_cast<std::uint32_t>(pBytes[3]) << 24;
}

bool IsMark(const std::uint8_t* pBytes, std::string_view strMark)
{
    return std::memcmp(pBytes, strMark.data(), kMarkBytes) == 0;
}

Error Broken(std::string strWhat) { return { ErrorType::FileCloseFailed, std::move(strWhat) }; }

Error TooShort() { return Broken("the file ends too early"); }

} // namespace

AviReader::~AviReader()
{
    if (m_iFile >= 0)
        ::close(m_iFile);
}

Error AviReader::Open(const std::string& strPath)
{
    m_iFile = ::open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status { };
    if (m_iFile < 0 || ::fstat(m_iFile, &status) != 0)
        return { ErrorType::FileOpenFailed, std::generic_category().message(errno) };
    m_uiFileBytes = static_cast<std::uint64_t>(status.st_size);
    return ReadChunks();
}

Error AviReader::ReadFrame(std::uint32_t uiFrame, std::vector<std::uint8_t>& bytes) const
{
    const Chunk& frame = m_frames.at(uiFrame);
    std::array<std::uint8_t, kChunkHeadBytes> head {};
    bytes.resize(frame.uiBytes);
    if (!Read(head.data(), head.size(), frame.uiOffset - kChunkHeadBytes)
        || !Read(bytes.data(), bytes.size(), frame.uiOffset))
        return Broken("frame " + std::to_string(uiFrame) + " cannot be read");
    if (!IsMark(head.data(), kFrameMark) || Word(&head[kMarkBytes]) != frame.uiBytes)
        return Broken("frame " + std::to_string(uiFrame) + " is not where the index says");
    return {};
}

bool AviReader::Read(void* pBytes, std::size_t uiBytes, std::uint64_t uiOffset) const
{
    auto* pNext = static_cast<std::uint8_t*>(pBytes);
    while (uiBytes > 0) {
        const ssize_t iRead = ::pread(m_iFile, pNext, uiBytes, static_cast<off_t>(uiOffset));
        if (iRead < 0 && errno == EINTR)
            continue;
        if (iRead <= 0)
            return false;
        pNext += iRead;
        uiBytes -= static_cast<std::size_t>(iRead);
        uiOffset += static_cast<std::uint64_t>(iRead);
    }
    return true;
}

Error AviReader::ReadChunks()
{
    std::array<std::uint8_t, kListHeadBytes> head {};
    if (!Read(head.data(), head.size(), 0))
        return TooShort();
    if (!IsMark(head.data(), "RIFF") || !IsMark(&head[kChunkHeadBytes], "AVI "))
        return Broken("it is no AVI file");
    const std::uint64_t uiEnd = kChunkHeadBytes + std::uint64_t { Word(&head[kMarkBytes]) };
    if (uiEnd > m_uiFileBytes)
        return TooShort();
    for (std::uint64_t uiAt = head.size(); uiAt + kChunkHeadBytes <= uiEnd;) {
        std::array<std::uint8_t, kListHeadBytes> chunk {};
        if (!Read(chunk.data(), kChunkHeadBytes, uiAt))
            return TooShort();
        const Chunk content { uiAt + kChunkHeadBytes, Word(&chunk[kMarkBytes]) };
        if (content.uiOffset + content.uiBytes > uiEnd)
            return TooShort();
        Error error;
        if (IsMark(chunk.data(), "LIST") && content.uiBytes >= kMarkBytes
            && Read(&chunk[kChunkHeadBytes], kMarkBytes, content.uiOffset)) {
            if (IsMark(&chunk[kChunkHeadBytes], "hdrl"))
                error = ReadMainHeader(content);
            else if (IsMark(&chunk[kChunkHeadBytes], "movi"))
                m_movi = content;
        } else if (IsMark(chunk.data(), "idx1")) {
            error = ReadIndex(content);
        }
        if (!error.IsOk())
            return error;
        uiAt = content.uiOffset + Padded(content.uiBytes);
    }
    if (m_frames.empty())
        return Broken("there is no index");
    if (m_frames.size() != m_uiPromised)
        return Broken("the header tells of " + std::to_string(m_uiPromised) + " frames, the index of "
            + std::to_string(m_frames.size()));
    return {};
}

Error AviReader::ReadMainHeader(const Chunk& list)
{
    std::array<std::uint8_t, kMainChunkBytes> bytes {};
    if (list.uiBytes < kMarkBytes + bytes.size() || !Read(bytes.data(), bytes.size(), list.uiOffset + kMarkBytes)
        || !IsMark(bytes.data(), "avih"))
        return Broken("the header is damaged");
    const std::uint8_t* const pHeader = &bytes[kChunkHeadBytes];
    m_uiPromised = Word(pHeader + kFramesOffset);
    m_uiWidth = Word(pHeader + kWidthOffset);
    m_uiHeight = Word(pHeader + kHeightOffset);
    return {};
}

// Offsets count from the "movi" mark to the frame's head.
Error AviReader::ReadIndex(const Chunk& index)
{
    std::vector<std::uint8_t> bytes(index.uiBytes);
    if (!Read(bytes.data(), bytes.size(), index.uiOffset))
        return TooShort();
    if (bytes.size() % kIndexEntryBytes != 0)
        return Broken("the index is damaged");
    std::uint64_t uiExpected = kMarkBytes;
    for (std::size_t uiAt = 0; uiAt < bytes.size(); uiAt += kIndexEntryBytes) {
        const std::uint64_t uiOffset = Word(&bytes[uiAt + 8]);
        const std::uint32_t uiBytes = Word(&bytes[uiAt + 12]);
        if (!IsMark(&bytes[uiAt], kFrameMark) || uiOffset != uiExpected)
            return Broken("the index is wrong at frame " + std::to_string(m_frames.size()));
        m_frames.push_back({ m_movi.uiOffset + uiOffset + kChunkHeadBytes, uiBytes });
        uiExpected += kChunkHeadBytes + Padded(uiBytes);
    }
    if (uiExpected != m_movi.uiBytes)
        return Broken(
            "the index leads to " + std::to_string(uiExpected) + " of " + std::to_string(m_movi.uiBytes) + " bytes");
    return {};
}

} // namespace vireo
