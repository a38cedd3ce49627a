#include "platform/imaging/mjpeg_video.h"

#include "platform/imaging/encode_pipeline.h"
#include "platform/imaging/jpeg_encoder.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/imaging/video_check.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace vireo {
namespace {

constexpr std::size_t kMemoryBudget = 56 << 20; ///< bytes, planned for; the rest of 64 MiB is slack
/// Bits a pixel of noise over the whole range, which nothing a camera delivers exceeds: up to the quality
/// that is in everyday use, and beyond it.
constexpr unsigned int kEverydayQuality = 80;
constexpr std::size_t kMostBitsPerPixel = 7;
constexpr std::size_t kMostBitsPerPixelAtBest = 18;
constexpr unsigned int kLowestQuality = 1;
constexpr unsigned int kHighestQuality = 100;

/// What is wrong with a frame in itself; null when nothing is.
const char* FindFault(const ImageView& frame)
{
    if (frame.eFormat != PixelFormat::Mono8 && frame.eFormat != PixelFormat::Raw8)
        return "only 8-bit grey and raw frames can be written";
    if (frame.pData == nullptr || frame.uiRows == 0 || frame.uiCols == 0)
        return "there is no picture";
    if (frame.uiStride < frame.uiCols
        || std::uint64_t { frame.uiStride } * (frame.uiRows - 1) + frame.uiCols > frame.uiDataSize)
        return "the data do not hold the rows of the picture";
    return nullptr;
}

class MjpegVideo : public FlyCapture2Video {
public:
    MjpegVideo(const VideoWriterSettings& settings, const PixelConverter& converter)
        : m_settings(settings)
        , m_converter(converter)
        , m_file(settings.write)
    {
    }
    ~MjpegVideo() override { (void)MjpegVideo::Close(); }

    Error Open(const std::string& strFileName, const MJPGOption& option) override;
    Error Append(const Image& image) override;
    Error Close() override;
    std::vector<std::string> GetFiles() const override
    {
        std::lock_guard lock(m_filesMutex);
        return m_astrFiles;
    }

private:
    void StartEncoding(const ImageView& frame);
    /// On an encoder's thread, one call at a time.
    Error WriteFrame(JpegChunk& chunk);
    Error CreatePart();

    const VideoWriterSettings m_settings;
    const PixelConverter& m_converter;

    // Set by Open and the first Append, then fixed while encoders run.
    bool m_bOpen = false;
    std::string m_strFileName;
    int m_iQuality = 0;
    FrameRatio m_ratio;
    std::uint32_t m_uiRows = 0;
    std::uint32_t m_uiCols = 0;
    std::vector<std::uint8_t> m_neutral;
    std::vector<std::unique_ptr<JpegEncoder>> m_encoders; ///< one per thread of the pipeline

    // Touched by whichever encoder writes; by the caller only while there is no pipeline.
    AviFile m_file;
    unsigned int m_uiNextPart = 0;
    mutable std::mutex m_filesMutex;
    std::vector<std::string> m_astrFiles;

    bool m_bReported = false; ///< Append has told the failure
    std::unique_ptr<EncodePipeline> m_pipeline; ///< last, so that its threads end first
};

Error MjpegVideo::Open(const std::string& strFileName, const MJPGOption& option)
{
    if (m_bOpen)
        return { ErrorType::FileOpenFailed, "the writer is already open" };
    if (option.quality < kLowestQuality || option.quality > kHighestQuality)
        return { ErrorType::InvalidParameter, "the quality is outside 1 to 100" };
    const std::optional<FrameRatio> ratio = ExactFrameRatio(option.frameRate);
    if (!ratio)
        return { ErrorType::InvalidParameter, "the frame rate cannot be written" };
    m_strFileName = strFileName;
    m_iQuality = static_cast<int>(option.quality);
    m_ratio = *ratio;
    m_uiRows = 0;
    m_uiCols = 0;
    m_uiNextPart = 0;
    m_bReported = false;
    {
        std::lock_guard lock(m_filesMutex);
        m_astrFiles.clear();
    }
    Error error = CreatePart();
    m_bOpen = error.IsOk();
    return error;
}

Error MjpegVideo::Append(const Image& image)
{
    if (!m_bOpen)
        return { ErrorType::FileWriteFailed, "no file is open" };
    const ImageView frame = image.View();
    if (const char* strFault = FindFault(frame))
        return { ErrorType::InvalidParameter, strFault };
    if (!m_pipeline) {
        try {
            StartEncoding(frame);
        } catch (const std::bad_alloc&) {
            m_encoders.clear();
            return { ErrorType::EncodeFailed, "out of memory" };
        }
    } else if (frame.uiRows != m_uiRows || frame.uiCols != m_uiCols) {
        return { ErrorType::InvalidParameter, "the frame's size is not that of the first frame" };
    }
    // cppcheck-suppress nullPointerRedundantCheck; StartEncoding has made it
    Error error = m_pipeline->Put(frame);
    if (!error.IsOk())
        m_bReported = true;
    return error;
}

Error MjpegVideo::Close()
{
    if (!m_bOpen)
        return {};
    m_bOpen = false;
    Error failure;
    if (m_pipeline) {
        failure = m_pipeline->Drain();
        m_pipeline.reset();
        m_encoders.clear();
    }
    Error completed = m_file.Finish();
    return failure.IsOk() || m_bReported ? completed : failure;
}

void MjpegVideo::StartEncoding(const ImageView& frame)
{
    m_uiRows = frame.uiRows;
    m_uiCols = frame.uiCols;
    m_file.SetFrameSize(m_uiCols, m_uiRows);
    const bool bColour = frame.eFormat == PixelFormat::Raw8 && frame.eBayer != BayerTileFormat::None;
    const std::size_t uiCores = std::max(1U, std::thread::hardware_concurrency());
    const EncodeBudget budget = PlanEncoding(m_uiRows, m_uiCols, bColour, static_cast<unsigned int>(m_iQuality),
        m_settings.uiThreads == 0 ? uiCores : m_settings.uiThreads);
    m_neutral = JpegEncoder::NeutralPlane(m_uiRows, m_uiCols);
    for (std::size_t i = 0; i < budget.uiThreads; ++i)
        m_encoders.push_back(std::make_unique<JpegEncoder>(m_uiRows, m_uiCols, m_iQuality, m_converter, m_neutral));
    m_pipeline = std::make_unique<EncodePipeline>(
        budget.uiThreads, budget.uiLookAhead,
        [this](std::size_t uiThread, const ImageView& next, JpegChunk& chunk) {
            return m_encoders[uiThread]->Encode(next, chunk);
        },
        [this](JpegChunk& chunk) { return WriteFrame(chunk); });
}

Error MjpegVideo::WriteFrame(JpegChunk& chunk)
{
    // A part takes its first frame whatever its size: an empty part would help nobody.
    if (m_file.FrameCount() > 0 && m_file.SizeWith(chunk.Size()) > m_settings.uiPartLimitBytes) {
        Error error = m_file.Finish();
        if (error.IsOk())
            error = CreatePart();
        if (!error.IsOk())
            return { ErrorType::FileWriteFailed, error.GetDescription() };
        m_file.SetFrameSize(m_uiCols, m_uiRows);
    }
    return m_file.Append(chunk);
}

Error MjpegVideo::CreatePart()
{
    const std::string strPath = PartFileName(m_strFileName, m_uiNextPart);
    Error error = m_file.Create(strPath, m_ratio);
    if (error.IsOk()) {
        ++m_uiNextPart;
        std::lock_guard lock(m_filesMutex);
        m_astrFiles.push_back(strPath);
    }
    return error;
}

class MjpegVideoWriters : public VideoWriters {
public:
    explicit MjpegVideoWriters(VideoWriterSettings settings)
        : m_settings(std::move(settings))
        , m_converter(MakePixelConverter())
    {
    }
    std::unique_ptr<FlyCapture2Video> Create() override
    {
        return std::make_unique<MjpegVideo>(m_settings, *m_converter);
    }
    Error ReadBack(const std::string& strFile, int& iFrames) override { return CheckVideoFile(strFile, iFrames); }

private:
    const VideoWriterSettings m_settings;
    const std::unique_ptr<PixelConverter> m_converter;
};

} // namespace

std::string PartFileName(const std::string& strFileName, unsigned int uiPart)
{
    char strNumber[16];
    std::snprintf(strNumber, sizeof strNumber, "-%04u", uiPart);
    const std::size_t uiName = strFileName.rfind('/') == std::string::npos ? 0 : strFileName.rfind('/') + 1;
    const std::size_t uiDot = strFileName.rfind('.');
    std::string strPart = strFileName;
    strPart.insert(uiDot == std::string::npos || uiDot < uiName ? strFileName.size() : uiDot, strNumber);
    return strPart;
}

EncodeBudget PlanEncoding(
    std::uint32_t uiRows, std::uint32_t uiCols, bool bColour, unsigned int uiQuality, std::size_t uiThreads)
{
    // A compressed frame takes the memory that its bytes touch, not what its buffer could hold.
    const std::size_t uiPixels = std::size_t { uiRows } * uiCols;
    const std::size_t uiMostBits = uiQuality <= kEverydayQuality ? kMostBitsPerPixel : kMostBitsPerPixelAtBest;
    const std::size_t uiChunk = uiPixels * uiMostBits / 8 + 1;
    const std::size_t uiScratch = JpegEncoder::ScratchBytes(uiRows, uiCols, bColour);
    const std::size_t uiShared = uiPixels / 4;
    const std::size_t uiBudget = kMemoryBudget > uiShared ? kMemoryBudget - uiShared : 0;
    // Every encoder fills one frame, and two more wait for their turn to be written.
    constexpr std::size_t kWaiting = 2;
    const std::size_t uiEncoders =
        uiBudget > kWaiting * uiChunk ? (uiBudget - kWaiting * uiChunk) / (uiScratch + uiChunk) : 0;
    EncodeBudget budget {};
    budget.uiThreads = std::clamp<std::size_t>(uiThreads, 1, std::max<std::size_t>(1, uiEncoders));
    const std::size_t uiScratchOfAll = budget.uiThreads * uiScratch;
    const std::size_t uiHeld = uiBudget > uiScratchOfAll ? (uiBudget - uiScratchOfAll) / uiChunk : 0;
    budget.uiLookAhead = std::clamp(uiHeld, budget.uiThreads + 1, 4 * budget.uiThreads + 8);
    return budget;
}

std::unique_ptr<VideoWriters> MakeVideoWriters(VideoWriterSettings settings)
{
    return std::make_unique<MjpegVideoWriters>(std::move(settings));
}

} // namespace vireo
