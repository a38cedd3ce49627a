#include "platform/imaging/video_check.h"

#include "platform/imaging/avi_reader.h"

#include <memory>
#include <turbojpeg.h>
#include <vector>

namespace vireo {
namespace {

using Decoder = std::unique_ptr<void, int (*)(tjhandle)>;

// A picture that needs mending counts as broken: the decoder stops at its first warning.
Error Decode(const AviReader& file, std::uint32_t uiFrame)
{
    std::vector<std::uint8_t> picture;
    if (Error error = file.ReadFrame(uiFrame, picture); !error.IsOk())
        return error;
    const Decoder decoder(tjInitDecompress(), &tjDestroy);
    const std::string strFrame = "frame " + std::to_string(uiFrame);
    int iWidth = 0, iHeight = 0, iSampling = 0, iColours = 0;
    if (!decoder
        || tjDecompressHeader3(decoder.get(), picture.data(), picture.size(), &iWidth, &iHeight, &iSampling, &iColours)
            != 0)
        return { ErrorType::FileCloseFailed, strFrame + ": " + tjGetErrorStr2(decoder.get()) };
    if (static_cast<std::uint32_t>(iWidth) != file.Width() || static_cast<std::uint32_t>(iHeight) != file.Height())
        return { ErrorType::FileCloseFailed, strFrame + " has another size than the header tells" };
    std::vector<std::uint8_t> pixels(std::size_t { file.Width() } * file.Height());
    if (tjDecompress2(decoder.get(), picture.data(), picture.size(), pixels.data(), iWidth, iWidth, iHeight, TJPF_GRAY,
            TJFLAG_STOPONWARNING)
        != 0)
        return { ErrorType::FileCloseFailed, strFrame + ": " + tjGetErrorStr2(decoder.get()) };
    return {};
}

} // namespace

Error CheckVideoFile(const std::string& strFile, int& iFrames)
{
    iFrames = 0;
    AviReader file;
    if (Error error = file.Open(strFile); !error.IsOk())
        return error;
    for (const std::uint32_t uiFrame : { 0U, file.FrameCount() - 1 })
        if (Error error = Decode(file, uiFrame); !error.IsOk())
            return error;
    iFrames = static_cast<int>(file.FrameCount());
    return {};
}

} // namespace vireo
