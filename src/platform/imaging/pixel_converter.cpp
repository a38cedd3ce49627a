#include "platform/imaging/pixel_converter.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>

namespace vireo {
namespace {

constexpr std::uint32_t kSmallestBayerSide = 3;

struct ConversionRow {
    BayerTileFormat eBayer;
    int iToBgr;
    int iToBgru;
};

// OpenCV names a tiling after the second and third pixel of the second row, not after the top left
// corner: what starts with red, green is its "BG".
constexpr ConversionRow kConversions[] = {
    { BayerTileFormat::None, cv::COLOR_GRAY2BGR, cv::COLOR_GRAY2BGRA },
    { BayerTileFormat::Rggb, cv::COLOR_BayerBG2BGR, cv::COLOR_BayerBG2BGRA },
    { BayerTileFormat::Grbg, cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGB2BGRA },
    { BayerTileFormat::Gbrg, cv::COLOR_BayerGR2BGR, cv::COLOR_BayerGR2BGRA },
    { BayerTileFormat::Bggr, cv::COLOR_BayerRG2BGR, cv::COLOR_BayerRG2BGRA },
};

std::optional<int> ConversionCode(BayerTileFormat eBayer, PixelFormat eDestination)
{
    for (const ConversionRow& row : kConversions) {
        if (row.eBayer == eBayer)
            return eDestination == PixelFormat::Bgr ? row.iToBgr : row.iToBgru;
    }
    return std::nullopt;
}

/// What is wrong with the request; null when it can be carried out.
const char* FindFault(
    const ImageView& source, BayerTileFormat eTiles, PixelFormat eDestination, std::size_t uiDestinationStride)
{
    if (source.eFormat != PixelFormat::Mono8 && source.eFormat != PixelFormat::Raw8)
        return "only 8-bit grey and raw frames are converted";
    if (eDestination != PixelFormat::Bgr && eDestination != PixelFormat::Bgru)
        return "frames are converted to BGR and BGRU only";
    if (source.pData == nullptr || source.uiRows == 0 || source.uiCols == 0)
        return "there is no picture";
    if (source.uiRows > INT32_MAX || source.uiCols > INT32_MAX)
        return "the picture is too large";
    if (source.uiStride < source.uiCols
        || std::uint64_t { source.uiStride } * (source.uiRows - 1) + source.uiCols > source.uiDataSize)
        return "the data do not hold the rows of the picture";
    if (uiDestinationStride < std::uint64_t { source.uiCols } * BytesPerPixel(eDestination))
        return "the destination does not hold a row of the picture";
    if (eTiles != BayerTileFormat::None && (source.uiRows < kSmallestBayerSide || source.uiCols < kSmallestBayerSide))
        return "the picture is too small for its colour tiles";
    return nullptr;
}

class OpenCvConverter : public PixelConverter {
public:
    OpenCvConverter() { cv::setNumThreads(1); }

    Error Convert(const ImageView& source, PixelFormat eDestination, std::uint8_t* pDestination,
        std::size_t uiDestinationStride) const override
    {
        const BayerTileFormat eTiles = source.eFormat == PixelFormat::Raw8 ? source.eBayer : BayerTileFormat::None;
        if (const char* strFault = FindFault(source, eTiles, eDestination, uiDestinationStride))
            return { ErrorType::ConversionFailed, strFault };
        const std::optional<int> iCode = ConversionCode(eTiles, eDestination);
        if (!iCode || pDestination == nullptr)
            return { ErrorType::ConversionFailed, iCode ? "there is no destination" : "unknown colour tiles" };
        try {
            const int iRows = static_cast<int>(source.uiRows);
            const int iCols = static_cast<int>(source.uiCols);
            // The library takes no pointer to const; a source matrix is only read.
            const cv::Mat from(iRows, iCols, CV_8UC1, const_cast<std::uint8_t*>(source.pData), source.uiStride);
            const int iType = eDestination == PixelFormat::Bgr ? CV_8UC3 : CV_8UC4;
            cv::Mat to(iRows, iCols, iType, pDestination, uiDestinationStride);
            cv::cvtColor(from, to, *iCode);
        } catch (const std::exception& exception) {
            return { ErrorType::ConversionFailed, exception.what() };
        }
        return {};
    }
};

} // namespace

std::unique_ptr<PixelConverter> MakePixelConverter() { return std::make_unique<OpenCvConverter>(); }

} // namespace vireo
