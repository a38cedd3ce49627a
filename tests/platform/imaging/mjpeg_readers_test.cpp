// The files in the hands of other programs: ffmpeg, GStreamer and OpenCV with both of its readers.
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "support/temporary_folder.h"
#include "video_checks.h"

#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/videoio.hpp>

using namespace vireo;
using namespace vireo::test;

namespace {

struct ReaderCase {
    std::uint32_t uiRows, uiCols;
    bool bColour;
    float fRate;
    const char* strRatio; ///< as ffprobe and GStreamer print it
};
std::ostream& operator<<(std::ostream& out, const ReaderCase& row)
{
    return out << row.uiCols << (row.bColour ? "colour" : "grey") << static_cast<int>(row.fRate);
}

constexpr int kFrames = 12;

/// The picture that a frame shows, as BGR.
std::vector<std::uint8_t> Shown(const Image& frame)
{
    std::vector<std::uint8_t> picture(std::size_t { frame.GetRows() } * frame.GetCols() * 3);
    EXPECT_TRUE(
        MakePixelConverter()->Convert(frame.View(), PixelFormat::Bgr, picture.data(), frame.GetCols() * 3UL).IsOk());
    return picture;
}

double MeanDifference(const std::vector<std::uint8_t>& expected, const std::uint8_t* pFound)
{
    double dSum = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        dSum += std::abs(int { expected[i] } - int { pFound[i] });
    return dSum / static_cast<double>(expected.size());
}

class MjpegReaders : public testing::TestWithParam<ReaderCase> {
protected:
    MjpegReaders()
        : m_footage(GetParam().uiRows, GetParam().uiCols, GetParam().bColour, kFrames)
        , m_strFile(m_folder / "take-0000.avi")
    {
        const auto writers = MakeVideoWriters();
        const auto video = writers->Create();
        EXPECT_TRUE(video->Open(m_folder / "take.avi", { GetParam().fRate, 75 }).IsOk());
        for (std::size_t i = 0; i < kFrames; ++i)
            EXPECT_TRUE(video->Append(m_footage.Frame(i)).IsOk());
        EXPECT_TRUE(video->Close().IsOk());
    }

    /// A decoded picture is close to the frame it was made from, and closer than to the next one.
    void ExpectShows(std::size_t uiFrame, const std::uint8_t* pBgr) const
    {
        const double dOwn = MeanDifference(Shown(m_footage.Frame(uiFrame)), pBgr);
        EXPECT_LT(dOwn, 5.0);
        EXPECT_LT(dOwn, 0.9 * MeanDifference(Shown(m_footage.Frame(uiFrame + 1)), pBgr));
    }

    void ExpectOpenCvReads(int iBackend) const
    {
        cv::VideoCapture reader(m_strFile, iBackend);
        ASSERT_TRUE(reader.isOpened());
        EXPECT_EQ(reader.get(cv::CAP_PROP_FRAME_COUNT), kFrames);
        EXPECT_NEAR(reader.get(cv::CAP_PROP_FPS), static_cast<double>(GetParam().fRate), 1e-4);
        cv::Mat picture;
        for (std::size_t i = 0; i < kFrames; ++i) {
            ASSERT_TRUE(reader.read(picture)) << "frame " << i;
            ASSERT_EQ(picture.rows, static_cast<int>(GetParam().uiRows));
            ASSERT_EQ(picture.cols, static_cast<int>(GetParam().uiCols));
            if (i == 0 || i == kFrames - 1)
                ExpectShows(i, picture.data);
        }
        EXPECT_FALSE(reader.read(picture));
    }

    TemporaryFolder m_folder;
    Footage m_footage;
    std::string m_strFile;
};

TEST_P(MjpegReaders, FfmpegReadsEveryFrameAtTheExactRate)
{
    ExpectPlays(m_strFile, kFrames);
    EXPECT_EQ(Probe(m_strFile).strRate, GetParam().strRatio);
}

TEST_P(MjpegReaders, FfmpegDecodesWhatWasRecorded)
{
    const ToolResult decoded = RunTool({ "ffmpeg", "-v", "error", "-i", m_strFile, "-f", "rawvideo", "-pix_fmt",
        "bgr24", "-fps_mode", "passthrough", "-" });
    EXPECT_EQ(decoded.strErr, "");
    const std::size_t uiPicture = m_footage.scene.FrameBytes() * 3;
    ASSERT_EQ(decoded.strOut.size(), kFrames * uiPicture);
    const auto* pPictures = reinterpret_cast<const std::uint8_t*>(decoded.strOut.data());
    ExpectShows(0, pPictures);
    ExpectShows(kFrames - 1, pPictures + (kFrames - 1) * uiPicture);
}

TEST_P(MjpegReaders, GStreamerReadsEveryFrameAtTheExactRate)
{
    const std::string strRaw = m_folder / "raw";
    const ToolResult played = RunTool({ "gst-launch-1.0", "-v", "filesrc", "location=" + m_strFile, "!", "avidemux",
        "!", "jpegdec", "!", "filesink", "location=" + strRaw });
    EXPECT_EQ(played.iExit, 0);
    EXPECT_EQ(played.strErr, "");
    EXPECT_NE(played.strOut.find("framerate=(fraction)" + std::string(GetParam().strRatio)), std::string::npos)
        << played.strOut;
    EXPECT_EQ(played.strOut.find("WARNING"), std::string::npos) << played.strOut;
    // Planes of 4:2:0.
    EXPECT_EQ(ReadFile(strRaw).size(), kFrames * m_footage.scene.FrameBytes() * 3 / 2);
}

TEST_P(MjpegReaders, OpenCvReadsItWithItsOwnReader) { ExpectOpenCvReads(cv::CAP_OPENCV_MJPEG); }

TEST_P(MjpegReaders, OpenCvReadsItThroughFfmpeg) { ExpectOpenCvReads(cv::CAP_FFMPEG); }

INSTANTIATE_TEST_SUITE_P(Files, MjpegReaders,
    testing::Values(ReaderCase { 480, 640, false, 118.0F, "118/1" }, ReaderCase { 480, 640, true, 29.97F, "2997/100" },
        ReaderCase { 480, 640, false, 400.0F, "400/1" }, ReaderCase { 1080, 1920, false, 29.97F, "2997/100" },
        ReaderCase { 1080, 1920, true, 118.0F, "118/1" }),
    testing::PrintToStringParamName());

} // namespace
