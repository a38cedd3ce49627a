#include "export_peers.h"

#include "bench_report.h"
#include "platform/imaging/mjpeg_video.h"
#include "support/run_tool.h"

#include <atomic>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>
#include <stdexcept>
#include <thread>
#include <turbojpeg.h>

namespace vireo::bench {
namespace {

constexpr int kSampling = TJSAMP_420;
constexpr int kFlags = TJFLAG_NOREALLOC | TJFLAG_ACCURATEDCT;
constexpr const char* kSingle = ".1"; ///< extension of the file with a single frame
constexpr std::size_t kOpenCvShare = 4; ///< it is slow: a quarter of the frames tell its rate

void EncodeShare(const Footage& footage, std::atomic<std::size_t>& uiNext)
{
    const int iCols = static_cast<int>(footage.m_uiCols);
    const int iRows = static_cast<int>(footage.m_uiRows);
    tjhandle hJpeg = tjInitCompress();
    std::vector<unsigned char> room(tjBufSize(iCols, iRows, kSampling));
    const std::vector<unsigned char> neutral(footage.Pixels() / 4, 128);
    cv::Mat picture(iRows, iCols, CV_8UC3);
    for (std::size_t uiFrame = uiNext++; uiFrame < footage.m_uiFrames; uiFrame = uiNext++) {
        const Image frame = footage.Frame(uiFrame);
        unsigned char* pJpeg = room.data();
        unsigned long uiSize = room.size();
        int iResult = 0;
        if (footage.m_bColour) {
            const cv::Mat raw(iRows, iCols, CV_8UC1, const_cast<std::uint8_t*>(frame.GetData()));
            cv::cvtColor(raw, picture, cv::COLOR_BayerBG2BGR);
            iResult = tjCompress2(
                hJpeg, picture.data, iCols, 0, iRows, TJPF_BGR, &pJpeg, &uiSize, kSampling, kQuality, kFlags);
        } else {
            const unsigned char* planes[3] = { frame.GetData(), neutral.data(), neutral.data() };
            iResult = tjCompressFromYUVPlanes(
                hJpeg, planes, iCols, nullptr, iRows, kSampling, &pJpeg, &uiSize, kQuality, kFlags);
        }
        if (iResult != 0)
            std::abort();
    }
    tjDestroy(hJpeg);
}

/// Seconds that the command takes; throws when it fails.
double RunCommand(const std::vector<std::string>& command)
{
    test::ToolResult result;
    const double dSeconds = Seconds([&] { result = test::RunTool(command); });
    if (result.iExit != 0)
        throw std::runtime_error(command[0] + ": exit " + std::to_string(result.iExit) + "\n" + result.strErr);
    return dSeconds;
}

using MakeCommand = std::function<std::vector<std::string>(const std::string& strRaw, const std::string& strFile)>;

/// A command line program; run with a single frame first, to know what its start takes.
Exporter Program(
    const std::string& strName, const Footage& footage, const std::string& strRaw, const MakeCommand& command)
{
    return { strName, footage.m_uiFrames, [=](const std::string& strFile) {
                const double dStart = RunCommand(command(strRaw + kSingle, strFile));
                return RunCommand(command(strRaw, strFile)) - dStart;
            } };
}

Exporter Ffmpeg(const Footage& footage, const std::string& strFrames)
{
    const std::string strFormat = footage.m_bColour ? "bgr24" : "gray";
    const std::string strSize = std::to_string(footage.m_uiCols) + "x" + std::to_string(footage.m_uiRows);
    return Program("ffmpeg", footage, strFrames, [=](const std::string& strRaw, const std::string& strFile) {
        return std::vector<std::string> { "ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", strFormat, "-s",
            strSize, "-r", std::to_string(kFrameRate), "-i", strRaw, "-c:v", "mjpeg", "-q:v", "4", "-threads", "2",
            "-pix_fmt", "yuvj420p", strFile };
    });
}

Exporter GStreamer(const Footage& footage, const std::string& strFrames)
{
    const std::string strFormat = footage.m_bColour ? "format=bgr" : "format=gray8";
    const std::string strBlock = "blocksize=" + std::to_string(footage.Pixels() * (footage.m_bColour ? 3 : 1));
    const std::string strWidth = "width=" + std::to_string(footage.m_uiCols);
    const std::string strHeight = "height=" + std::to_string(footage.m_uiRows);
    return Program("gstreamer", footage, strFrames, [=](const std::string& strRaw, const std::string& strFile) {
        return std::vector<std::string> { "gst-launch-1.0", "-q", "filesrc", "location=" + strRaw, strBlock, "!",
            "rawvideoparse", strWidth, strHeight, strFormat, "framerate=" + std::to_string(kFrameRate) + "/1", "!",
            "queue", "!", "videoconvert", "!", "video/x-raw,format=I420,colorimetry=1:4:0:0", "!", "queue", "!",
            "jpegenc", "quality=" + std::to_string(kQuality), "!", "queue", "!", "avimux", "!", "filesink",
            "location=" + strFile };
    });
}

Exporter OpenCv(const Footage& footage)
{
    const std::size_t uiFrames = footage.m_uiFrames / kOpenCvShare;
    return { "opencv", uiFrames,
        [&footage, uiFrames](const std::string& strFile) {
            return Seconds([&] {
                const cv::Size size(static_cast<int>(footage.m_uiCols), static_cast<int>(footage.m_uiRows));
                cv::VideoWriter writer(strFile, cv::CAP_FFMPEG, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), kFrameRate,
                    size, footage.m_bColour);
                cv::Mat picture;
                for (std::size_t i = 0; i < uiFrames; ++i) {
                    const Image frame = footage.Frame(i);
                    const cv::Mat raw(size, CV_8UC1, const_cast<std::uint8_t*>(frame.GetData()));
                    if (footage.m_bColour)
                        cv::cvtColor(raw, picture, cv::COLOR_BayerBG2BGR);
                    writer.write(footage.m_bColour ? picture : raw);
                }
            });
        },
        true };
}

bool IsInstalled(const char* strProgram, const char* strQuestion)
{
    return test::RunTool({ strProgram, strQuestion }).iExit == 0;
}

} // namespace

double EncodeOnly(const Footage& footage)
{
    return Seconds([&] {
        std::atomic<std::size_t> uiNext = 0;
        std::vector<std::thread> threads;
        for (unsigned int i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i)
            threads.emplace_back([&] { EncodeShare(footage, uiNext); });
        for (std::thread& thread : threads)
            thread.join();
    });
}

Exporter OwnWriter(const Footage& footage)
{
    return { "own writer", footage.m_uiFrames, [&footage](const std::string& strFile) {
                const auto writers = MakeVideoWriters();
                const auto video = writers->Create();
                return Seconds([&] {
                    bool bOk = video->Open(strFile, { static_cast<float>(kFrameRate), kQuality }).IsOk();
                    for (std::size_t i = 0; i < footage.m_uiFrames; ++i)
                        bOk = video->Append(footage.Frame(i)).IsOk() && bOk;
                    if (!video->Close().IsOk() || !bOk)
                        std::abort();
                });
            } };
}

std::vector<Exporter> Peers(const Footage& footage, const std::string& strFolder)
{
    std::vector<Exporter> peers;
    const std::string strFrames = strFolder + "/" + footage.Name();
    footage.Save(strFrames, footage.m_uiFrames);
    footage.Save(strFrames + kSingle, 1);
    if (!IsInstalled("ffmpeg", "-version") || !IsInstalled("gst-launch-1.0", "--version"))
        throw std::runtime_error("ffmpeg or gst-launch-1.0 is missing: there is nothing to compare with");
    peers.push_back(Ffmpeg(footage, strFrames));
    peers.push_back(GStreamer(footage, strFrames));
    peers.push_back(OpenCv(footage));
    return peers;
}

} // namespace vireo::bench
