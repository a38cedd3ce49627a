// The AVI file layer against a reader of its own: whatever is appended, flushed and refused by the disk, what stands
// in the file is whole frames, a true header, and an index that points at them.
#include "fuzz_input.h"
#include "platform/imaging/avi_file.h"
#include "support/temporary_folder.h"

#include <cerrno>
#include <cstring>
#include <vector>

using namespace vireo;

namespace {

std::uint32_t Word(const std::string& strBytes, std::size_t uiOffset)
{
    Require(uiOffset + 4 <= strBytes.size(), "the file reaches as far as it says");
    std::uint32_t uiWord = 0;
    std::memcpy(&uiWord, strBytes.data() + uiOffset, 4); // little-endian, as the machines are
    return uiWord;
}

std::uint8_t Fill(std::size_t uiFrame) { return static_cast<std::uint8_t>(uiFrame * 7 + 1); }

// Frames that can be read, by walking the chunks; the sizes are `frames`, in order, as far as they go.
void CheckFile(const std::string& strFile, const std::vector<std::size_t>& frames, std::size_t uiLeast, bool bFinished)
{
    const std::string strBytes = test::ReadFile(strFile);
    if (strBytes.empty())
        return; // it could not be made
    Require(strBytes.compare(0, 4, "RIFF") == 0 && strBytes.compare(8, 4, "AVI ") == 0, "it is an AVI file");
    const std::uint32_t uiTold = Word(strBytes, AviFile::kTotalFramesOffset);
    Require(uiTold <= frames.size() && uiTold >= uiLeast, "the header tells of the frames that are there");
    std::size_t uiAt = AviFile::kHeaderBytes;
    for (std::size_t i = 0; i < uiTold; ++i) {
        const std::uint32_t uiSize = Word(strBytes, uiAt + 4);
        Require(strBytes.compare(uiAt, 4, "00dc") == 0 && uiSize == frames[i], "frames follow each other");
        Require(uiAt + 8 + uiSize <= strBytes.size(), "a frame is whole");
        for (std::size_t b = 0; b < uiSize; ++b)
            Require(static_cast<std::uint8_t>(strBytes[uiAt + 8 + b]) == Fill(i), "a frame is as it was given");
        uiAt += 8 + uiSize + uiSize % 2;
    }
    if (!bFinished || uiAt >= strBytes.size() || uiTold == 0)
        return;
    Require(strBytes.compare(uiAt, 4, "idx1") == 0, "the index follows the frames");
    Require(Word(strBytes, uiAt + 4) == 16 * uiTold, "an entry for each frame");
    for (std::size_t i = 0; i < uiTold; ++i)
        Require(Word(strBytes, uiAt + 8 + 16 * i + 12) == frames[i], "entries in the frames' order");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes)
{
    static const test::TemporaryFolder folder(test::TemporaryFolder::Place::Memory);
    const std::string strFile = folder / "take.avi";
    std::error_code ignored;
    std::filesystem::remove(strFile, ignored);

    FuzzInput input(pBytes, uiBytes);
    // The disk takes so many bytes in all, or everything.
    const std::uint8_t uiDisk = input.Byte();
    std::uint64_t uiRoom = uiDisk == 0 ? UINT64_MAX : 256 * std::uint64_t { uiDisk };
    const FrameRatio ratio { 1 + input.Word() % 1'000'000, 1 + input.Word() % 1'000'000 };
    std::vector<std::size_t> frames;
    std::size_t uiFlushed = 0;
    bool bFull = false;
    {
        AviFile file([&](int iFile, const void* pWritten, std::size_t uiSize, off_t iOffset) -> ssize_t {
            if (static_cast<std::uint64_t>(iOffset) + uiSize > uiRoom) {
                bFull = true;
                errno = ENOSPC;
                return -1;
            }
            return PlainWrite()(iFile, pWritten, uiSize, iOffset);
        });
        if (!file.Create(strFile, ratio).IsOk()) {
            Require(bFull, "only a full disk refuses the file");
            Require(!std::filesystem::exists(strFile), "a file that could not be begun is gone");
            return 0;
        }
        file.SetFrameSize(1 + input.Byte(), 1 + input.Byte());
        while (!input.IsEmpty() && frames.size() < 200) {
            const std::uint8_t uiVerb = input.Byte();
            if (uiVerb % 8 == 0) {
                if (file.Flush().IsOk())
                    uiFlushed = file.FrameCount();
                else
                    Require(bFull, "only a full disk refuses a flush");
                continue;
            }
            const std::size_t uiSize = 1 + uiVerb / 8 * std::size_t { 5 } + input.Byte();
            JpegChunk chunk;
            chunk.Reserve(uiSize);
            std::memset(chunk.Picture(), Fill(frames.size()), uiSize);
            chunk.SetSize(uiSize);
            const Error error = file.Append(chunk);
            if (!error.IsOk()) {
                Require(bFull, "only a full disk refuses a frame");
                break;
            }
            frames.push_back(uiSize);
            Require(file.FrameCount() == frames.size(), "each frame counts");
        }
        CheckFile(strFile, frames, uiFlushed, false); // as if the program ended here
        const Error error = file.Finish();
        Require(error.IsOk() || bFull, "only a full disk keeps the end back");
    }
    CheckFile(strFile, frames, bFull ? uiFlushed : frames.size(), true);
    return 0;
}
