#pragma once
#include "platform/video_writer.h"
#include "support/run_tool.h"
#include "support/test_scene.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace vireo::test {

/// Some frames of a scene, rendered once.
struct Footage {
    Footage(std::uint32_t uiRows, std::uint32_t uiCols, bool bColour, std::uint32_t uiCount)
        : scene(uiRows, uiCols, bColour)
        , pixels(scene.RenderAll(uiCount))
        , uiFrames(uiCount)
    {
    }
    /// Frame `uiFrame`, modulo their number; borrows.
    [[nodiscard]] Image Frame(std::size_t uiFrame) const
    {
        return scene.Wrap(&pixels[scene.FrameBytes() * (uiFrame % uiFrames)]);
    }
    TestScene scene;
    std::vector<std::uint8_t> pixels;
    std::size_t uiFrames;
};

/// What ffprobe finds when it decodes the whole file.
struct Probed {
    int iFrames = -1; ///< decoded
    int iPromised = -1; ///< as the header has it
    std::string strRate;
    std::string strComplaints;
};

inline Probed Probe(const std::string& strFile)
{
    const ToolResult result =
        RunTool({ "ffprobe", "-v", "warning", "-count_frames", "-select_streams", "v:0", "-show_entries",
            "stream=r_frame_rate,nb_frames,nb_read_frames", "-of", "default=noprint_wrappers=1", strFile });
    Probed probed;
    probed.strComplaints = result.strErr;
    if (result.iExit != 0)
        probed.strComplaints += "exit " + std::to_string(result.iExit);
    std::istringstream lines(result.strOut);
    for (std::string strLine; std::getline(lines, strLine);) {
        const std::size_t uiEqual = strLine.find('=');
        const std::string strName = strLine.substr(0, uiEqual);
        const std::string strValue = strLine.substr(uiEqual + 1);
        if (strName == "r_frame_rate")
            probed.strRate = strValue;
        else if (strName == "nb_frames")
            probed.iPromised = std::atoi(strValue.c_str());
        else if (strName == "nb_read_frames")
            probed.iFrames = std::atoi(strValue.c_str());
    }
    return probed;
}

/// Plays a complete file with ffmpeg's decoder: `iFrames` of them and not a word of complaint.
inline void ExpectPlays(const std::string& strFile, int iFrames)
{
    SCOPED_TRACE(strFile);
    const Probed probed = Probe(strFile);
    EXPECT_EQ(probed.strComplaints, "");
    EXPECT_EQ(probed.iFrames, iFrames);
    EXPECT_EQ(probed.iPromised, iFrames);
}

} // namespace vireo::test
