#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "support/temporary_folder.h"
#include "video_checks.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sys/resource.h>

using namespace vireo;
using namespace vireo::test;

namespace {

class MjpegVideo : public testing::Test {
protected:
    std::unique_ptr<FlyCapture2Video> Make(VideoWriterSettings settings = {})
    {
        m_writers = MakeVideoWriters(std::move(settings));
        return m_writers->Create();
    }
    TemporaryFolder m_folder;
    std::unique_ptr<VideoWriters> m_writers;
};

TEST_F(MjpegVideo, PutsThePartNumberBeforeTheExtension)
{
    EXPECT_EQ(PartFileName("/a.b/take.1.avi", 0), "/a.b/take.1-0000.avi");
    EXPECT_EQ(PartFileName("take.avi", 12), "take-0012.avi");
    EXPECT_EQ(PartFileName(".avi", 0), "-0000.avi");
    EXPECT_EQ(PartFileName("/a.b/.avi", 0), "/a.b/-0000.avi");
    EXPECT_EQ(PartFileName("/a.b/take", 3), "/a.b/take-0003");
    EXPECT_EQ(PartFileName("take.avi", 12345), "take-12345.avi");
}

TEST_F(MjpegVideo, WritesAllFramesIntoOneFile)
{
    const Footage footage(120, 160, false, 10);
    auto video = Make();
    ASSERT_TRUE(video->Open(m_folder / "take.avi", { 118.0F, 75 }).IsOk());
    for (std::size_t i = 0; i < 250; ++i)
        ASSERT_TRUE(video->Append(footage.Frame(i)).IsOk());
    ASSERT_TRUE(video->Close().IsOk());
    ASSERT_EQ(video->GetFiles(), std::vector<std::string> { m_folder / "take-0000.avi" });
    ExpectPlays(m_folder / "take-0000.avi", 250);
}

TEST_F(MjpegVideo, LeavesAnExistingFileUntouched)
{
    WriteFile(m_folder / "take-0000.avi", "an older take");
    auto video = Make();
    const Error error = video->Open(m_folder / "take.avi", {});
    EXPECT_EQ(error.GetType(), ErrorType::FileOpenFailed);
    EXPECT_NE(error.GetDescription().find("File exists"), std::string::npos) << error.GetDescription();
    EXPECT_TRUE(video->Close().IsOk());
    EXPECT_EQ(ReadFile(m_folder / "take-0000.avi"), "an older take");
    EXPECT_TRUE(video->GetFiles().empty());
}

TEST_F(MjpegVideo, TellsOfAMissingFolder)
{
    auto video = Make();
    const Error error = video->Open(m_folder / "nowhere/take.avi", {});
    EXPECT_EQ(error.GetType(), ErrorType::FileOpenFailed);
    EXPECT_NE(error.GetDescription().find("No such file or directory"), std::string::npos) << error.GetDescription();
    EXPECT_EQ(video->Append(Footage(16, 16, false, 1).Frame(0)).GetType(), ErrorType::FileWriteFailed);
}

TEST_F(MjpegVideo, RefusesRatesAndQualitiesThatCannotBeWritten)
{
    const float fInfinity = std::numeric_limits<float>::infinity();
    for (const MJPGOption& option : { MJPGOption { 0.0F, 75 }, MJPGOption { -1.0F, 75 }, MJPGOption { fInfinity, 75 },
             MJPGOption { std::nanf(""), 75 }, MJPGOption { 30.0F, 0 }, MJPGOption { 30.0F, 101 } }) {
        auto video = Make();
        EXPECT_EQ(video->Open(m_folder / "take.avi", option).GetType(), ErrorType::InvalidParameter);
        EXPECT_FALSE(std::filesystem::exists(m_folder / "take-0000.avi"));
    }
}

TEST_F(MjpegVideo, RefusesASecondOpenWhileOpen)
{
    auto video = Make();
    ASSERT_TRUE(video->Open(m_folder / "one.avi", {}).IsOk());
    EXPECT_EQ(video->Open(m_folder / "two.avi", {}).GetType(), ErrorType::FileOpenFailed);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "two-0000.avi"));
}

TEST_F(MjpegVideo, WritesOneFileAfterTheOther)
{
    const Footage small(48, 64, false, 3);
    const Footage large(96, 128, true, 3);
    auto video = Make();
    for (const Footage* pFootage : { &small, &large }) {
        const std::string strFile = m_folder / ("take" + std::to_string(pFootage->scene.FrameBytes()) + ".avi");
        ASSERT_TRUE(video->Open(strFile, {}).IsOk());
        for (std::size_t i = 0; i < 3; ++i)
            ASSERT_TRUE(video->Append(pFootage->Frame(i)).IsOk());
        ASSERT_TRUE(video->Close().IsOk());
        ASSERT_EQ(video->GetFiles().size(), 1U);
        ExpectPlays(video->GetFiles()[0], 3);
    }
}

TEST_F(MjpegVideo, RefusesAFrameOfAnotherSizeAndGoesOn)
{
    const Footage footage(48, 64, false, 3);
    const Footage other(64, 48, false, 1);
    auto video = Make();
    ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
    ASSERT_TRUE(video->Append(footage.Frame(0)).IsOk());
    EXPECT_EQ(video->Append(other.Frame(0)).GetType(), ErrorType::InvalidParameter);
    EXPECT_TRUE(video->Append(footage.Frame(1)).IsOk());
    EXPECT_TRUE(video->Close().IsOk());
    ExpectPlays(m_folder / "take-0000.avi", 2);
}

TEST_F(MjpegVideo, RefusesWhatIsNoRawFrame)
{
    const std::vector<std::uint8_t> pixels(64 * 48 * 4);
    auto video = Make();
    ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
    const Image kNotFrames[] = {
        Image(),
        Image(48, 64, 64, nullptr, 48 * 64, PixelFormat::Mono8, BayerTileFormat::None),
        Image(48, 64, 64, pixels.data(), 48 * 64 - 1, PixelFormat::Mono8, BayerTileFormat::None),
        Image(48, 64, 63, pixels.data(), 48 * 64, PixelFormat::Mono8, BayerTileFormat::None),
        Image(48, 64, 256, pixels.data(), 48 * 256, PixelFormat::Bgru, BayerTileFormat::None),
    };
    for (const Image& image : kNotFrames)
        EXPECT_EQ(video->Append(image).GetType(), ErrorType::InvalidParameter);
}

TEST_F(MjpegVideo, TakesStridedFramesInPlace)
{
    const std::uint32_t uiRows = 50, uiCols = 62, uiStride = 80;
    for (const BayerTileFormat eTiles : { BayerTileFormat::None, BayerTileFormat::Rggb }) {
        // Padding unlike the picture would show in the last columns.
        std::vector<std::uint8_t> pixels(uiRows * uiStride, 255);
        for (std::uint32_t y = 0; y < uiRows; ++y)
            std::fill_n(&pixels[y * uiStride], uiCols, std::uint8_t { 40 });
        pixels.resize((uiRows - 1) * uiStride + uiCols);
        auto video = Make();
        const std::string strFile = m_folder / (std::to_string(static_cast<int>(eTiles)) + ".avi");
        ASSERT_TRUE(video->Open(strFile, {}).IsOk());
        ASSERT_TRUE(video
                        ->Append(Image(uiRows, uiCols, uiStride, pixels.data(),
                            static_cast<std::uint32_t>(pixels.size()), PixelFormat::Raw8, eTiles))
                        .IsOk());
        ASSERT_TRUE(video->Close().IsOk());
        const ToolResult decoded = RunTool(
            { "ffmpeg", "-v", "error", "-i", video->GetFiles()[0], "-f", "rawvideo", "-pix_fmt", "yuvj420p", "-" });
        ASSERT_EQ(decoded.strOut.size(), uiRows * uiCols * 3 / 2);
        for (std::size_t i = 0; i < uiRows * uiCols; ++i)
            ASSERT_NEAR(static_cast<std::uint8_t>(decoded.strOut[i]), 40, 2) << "pixel " << i;
    }
}

TEST_F(MjpegVideo, ClosesTwiceAndWithoutOpen)
{
    auto video = Make();
    EXPECT_TRUE(video->Close().IsOk());
    ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
    const Footage footage(48, 64, false, 1);
    ASSERT_TRUE(video->Append(footage.Frame(0)).IsOk());
    EXPECT_TRUE(video->Close().IsOk());
    const std::string strBefore = ReadFile(m_folder / "take-0000.avi");
    EXPECT_TRUE(video->Close().IsOk());
    EXPECT_EQ(ReadFile(m_folder / "take-0000.avi"), strBefore);
    EXPECT_EQ(video->Append(footage.Frame(0)).GetType(), ErrorType::FileWriteFailed);
}

TEST_F(MjpegVideo, EndsTheFileWhenItIsDestroyed)
{
    const Footage footage(48, 64, false, 5);
    {
        auto video = Make();
        ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
        for (std::size_t i = 0; i < 40; ++i)
            ASSERT_TRUE(video->Append(footage.Frame(i)).IsOk());
    }
    ExpectPlays(m_folder / "take-0000.avi", 40);
}

TEST_F(MjpegVideo, BeginsANewPartBeforeTheLimit)
{
    constexpr std::uint64_t kLimit = 60'000;
    const Footage footage(120, 160, true, 10);
    VideoWriterSettings settings;
    settings.uiPartLimitBytes = kLimit;
    auto video = Make(settings);
    ASSERT_TRUE(video->Open(m_folder / "take.avi", { 29.97F, 75 }).IsOk());
    constexpr int kFrames = 60;
    for (std::size_t i = 0; i < kFrames; ++i)
        ASSERT_TRUE(video->Append(footage.Frame(i)).IsOk());
    ASSERT_TRUE(video->Close().IsOk());
    const std::vector<std::string> files = video->GetFiles();
    ASSERT_GE(files.size(), 2U);
    int iFrames = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(files[i], PartFileName(m_folder / "take.avi", static_cast<unsigned int>(i)));
        EXPECT_LE(std::filesystem::file_size(files[i]), kLimit);
        const Probed probed = Probe(files[i]);
        EXPECT_EQ(probed.strComplaints, "");
        EXPECT_EQ(probed.strRate, "2997/100");
        EXPECT_EQ(probed.iFrames, probed.iPromised);
        iFrames += probed.iFrames;
    }
    EXPECT_EQ(iFrames, kFrames);
}

TEST_F(MjpegVideo, GivesEachFrameItsPartWhenNoneFitsTheLimit)
{
    const Footage footage(48, 64, false, 3);
    VideoWriterSettings settings;
    settings.uiPartLimitBytes = 600;
    auto video = Make(settings);
    ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
    for (std::size_t i = 0; i < 3; ++i)
        ASSERT_TRUE(video->Append(footage.Frame(i)).IsOk());
    ASSERT_TRUE(video->Close().IsOk());
    ASSERT_EQ(video->GetFiles().size(), 3U);
    for (const std::string& strFile : video->GetFiles())
        ExpectPlays(strFile, 1);
}

TEST_F(MjpegVideo, NeverOverwritesTheNextPart)
{
    WriteFile(m_folder / "take-0001.avi", "an older take");
    const Footage footage(120, 160, false, 1);
    VideoWriterSettings settings;
    settings.uiPartLimitBytes = 10'000;
    auto video = Make(settings);
    ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
    Error appended;
    for (std::size_t i = 0; i < 40 && appended.IsOk(); ++i)
        appended = video->Append(footage.Frame(i));
    const Error closed = video->Close();
    const Error& told = appended.IsOk() ? closed : appended;
    EXPECT_EQ(told.GetType(), ErrorType::FileWriteFailed);
    EXPECT_NE(told.GetDescription().find("File exists"), std::string::npos) << told.GetDescription();
    EXPECT_EQ(ReadFile(m_folder / "take-0001.avi"), "an older take");
    EXPECT_EQ(video->GetFiles().size(), 1U);
    const Probed first = Probe(m_folder / "take-0000.avi");
    EXPECT_EQ(first.strComplaints, "");
    EXPECT_GE(first.iFrames, 1);
}

TEST_F(MjpegVideo, TellsOfAFrameThatCannotBeCompressed)
{
    // Wider than a JPEG can be.
    const std::vector<std::uint8_t> pixels(70'000 * 16);
    const Image image(16, 70'000, 70'000, pixels.data(), static_cast<std::uint32_t>(pixels.size()), PixelFormat::Mono8,
        BayerTileFormat::None);
    auto video = Make();
    ASSERT_TRUE(video->Open(m_folder / "take.avi", {}).IsOk());
    ASSERT_TRUE(video->Append(image).IsOk());
    EXPECT_EQ(video->Close().GetType(), ErrorType::EncodeFailed);
    EXPECT_TRUE(video->Close().IsOk()) << "told once";
}

TEST_F(MjpegVideo, WritesAsManyBytesAsTheQualityAsksFor)
{
    const Footage footage(240, 320, false, 4);
    std::uintmax_t uiBefore = 0;
    for (const unsigned int uiQuality : { 1U, 50U, 75U, 100U }) {
        auto video = Make();
        const std::string strFile = m_folder / ("q" + std::to_string(uiQuality) + ".avi");
        ASSERT_TRUE(video->Open(strFile, { 30.0F, uiQuality }).IsOk());
        for (std::size_t i = 0; i < 4; ++i)
            ASSERT_TRUE(video->Append(footage.Frame(i)).IsOk());
        ASSERT_TRUE(video->Close().IsOk());
        const std::uintmax_t uiBytes = std::filesystem::file_size(video->GetFiles()[0]);
        EXPECT_GT(uiBytes, uiBefore * 5 / 4) << uiQuality;
        uiBefore = uiBytes;
    }
}

TEST(EncodeBudget, UsesEveryCoreWhileMemoryAllows)
{
    const struct {
        std::uint32_t uiRows, uiCols;
        bool bColour;
        std::size_t uiCores, uiExpected;
    } kRows[] = {
        { 480, 640, false, 2, 2 },
        { 480, 640, true, 32, 32 },
        { 1080, 1920, false, 2, 2 },
        { 1080, 1920, true, 2, 2 },
        { 1080, 1920, true, 4, 4 },
        { 480, 640, false, 0, 1 },
        { 20'000, 20'000, true, 8, 1 },
    };
    for (const auto& row : kRows) {
        const EncodeBudget budget = PlanEncoding(row.uiRows, row.uiCols, row.bColour, 75, row.uiCores);
        EXPECT_EQ(budget.uiThreads, row.uiExpected) << row.uiCols << " x " << row.uiRows << ", " << row.uiCores;
        EXPECT_GT(budget.uiLookAhead, budget.uiThreads);
    }
}

TEST(EncodeBudget, PlansForLessThan64MiBOnAnyMachine)
{
    const struct {
        std::uint32_t uiRows, uiCols;
    } kSizes[] = { { 480, 640 }, { 768, 1024 }, { 720, 1280 }, { 1080, 1920 } };
    for (const auto& size : kSizes) {
        for (std::size_t uiCores = 1; uiCores <= 256; ++uiCores) {
            for (const bool bColour : { false, true }) {
                const EncodeBudget budget = PlanEncoding(size.uiRows, size.uiCols, bColour, 75, uiCores);
                const std::size_t uiPixels = std::size_t { size.uiRows } * size.uiCols;
                // A BGR picture for each colour encoder, 7 bits a pixel for each frame that is held, and the
                // shared plane of neutral chroma.
                const std::size_t uiBytes = budget.uiThreads * (bColour ? uiPixels * 3 : 0)
                    + budget.uiLookAhead * uiPixels * 7 / 8 + uiPixels / 4;
                ASSERT_LE(uiBytes, 64U << 20) << size.uiCols << ", " << uiCores << " cores";
            }
        }
    }
}

} // namespace
