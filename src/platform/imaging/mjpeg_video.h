#pragma once
#include "platform/imaging/avi_file.h"
#include "platform/video_writer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vireo {

constexpr std::uint64_t kPartLimitBytes = 2'000'000'000; ///< what every reader of the old index takes

struct VideoWriterSettings {
    std::uint64_t uiPartLimitBytes = kPartLimitBytes; ///< a part ends before it would pass this
    std::size_t uiThreads = 0; ///< encoders; 0 = one per core
    WriteFunction write = PlainWrite();
};

/// Writers of Motion-JPEG AVI files. Memory beside the frames stays below 64 MiB for each open writer,
/// whatever the frame size up to 1920 x 1080: on machines with very many cores that bounds the encoders.
std::unique_ptr<VideoWriters> MakeVideoWriters(VideoWriterSettings settings = {});

/// "DIR/take.avi" becomes "DIR/take-0003.avi" for part 3.
std::string PartFileName(const std::string& strFileName, unsigned int uiPart);

/// How many encoders work and how many frames are held between Append and the file.
struct EncodeBudget {
    std::size_t uiThreads;
    std::size_t uiLookAhead;
};
EncodeBudget PlanEncoding(
    std::uint32_t uiRows, std::uint32_t uiCols, bool bColour, unsigned int uiQuality, std::size_t uiThreads);

} // namespace vireo
