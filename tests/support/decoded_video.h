#pragma once
#include "support/bar_code.h"
#include "support/run_tool.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vireo::test {

/// The bar codes of every frame, as ffmpeg decodes the file; only the strip that carries them.
inline std::vector<std::uint32_t> DecodedBarCodes(const std::string& strFile)
{
    constexpr std::size_t kWidth = 512, kHeight = 16;
    const ToolResult decoded = RunTool({ "ffmpeg", "-v", "error", "-i", strFile, "-vf", "crop=512:16:0:ih-16", "-f",
        "rawvideo", "-pix_fmt", "gray", "-" });
    EXPECT_EQ(decoded.iExit, 0);
    EXPECT_EQ(decoded.strErr, "");
    std::vector<std::uint32_t> codes;
    for (std::size_t uiAt = 0; uiAt + kWidth * kHeight <= decoded.strOut.size(); uiAt += kWidth * kHeight) {
        const auto* pStrip = reinterpret_cast<const std::uint8_t*>(decoded.strOut.data() + uiAt);
        codes.push_back(ReadBarCode(pStrip, kWidth, kHeight, kWidth).value_or(0));
    }
    return codes;
}

/// "RATE/1,FRAMES\n" of a file, as ffprobe counts them.
inline std::string FramesByFfprobe(const std::string& strFile)
{
    return RunTool({ "ffprobe", "-v", "error", "-count_frames", "-select_streams", "v:0", "-show_entries",
                       "stream=nb_read_frames,r_frame_rate", "-of", "csv=p=0", strFile })
        .strOut;
}

} // namespace vireo::test
