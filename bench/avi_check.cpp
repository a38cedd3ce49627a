#include "avi_check.h"

#include "support/temporary_folder.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <mutex>
#include <thread>
#include <turbojpeg.h>

namespace vireo::bench {
namespace {

/// Frames that hardly differ from the next may be nearer to it by chance; a frame out of place is not.
constexpr double kTolerance = 1.02;

struct Chunk {
    std::size_t uiOffset;
    std::size_t uiBytes;
};

std::uint32_t U32(const std::string& strBytes, std::size_t uiOffset)
{
    std::uint32_t uiValue = 0;
    std::memcpy(&uiValue, &strBytes[uiOffset], sizeof uiValue);
    return uiValue;
}

/// The frames of the first stream, in file order: every list is entered, everything else passed over.
std::vector<Chunk> FindFrames(const std::string& strBytes)
{
    std::vector<Chunk> frames;
    std::size_t uiAt = 0;
    while (uiAt + 8 <= strBytes.size()) {
        const std::string_view strMark(&strBytes[uiAt], 4);
        const std::size_t uiBytes = U32(strBytes, uiAt + 4);
        if (strMark == "RIFF" || strMark == "LIST") {
            uiAt += 12;
            continue;
        }
        if (uiAt + 8 + uiBytes > strBytes.size())
            break;
        if ((strMark == "00dc" || strMark == "00db") && uiBytes > 0)
            frames.push_back({ uiAt + 8, uiBytes });
        uiAt += 8 + uiBytes + uiBytes % 2;
    }
    return frames;
}

double SquaredDifference(const std::uint8_t* pFirst, const std::uint8_t* pSecond, std::size_t uiCount)
{
    std::uint64_t uiSum = 0;
    for (std::size_t uiDone = 0; uiDone < uiCount;) {
        std::uint32_t uiPart = 0; // 32 bits hold the squares of this many, and the loop is vectorised
        const std::size_t uiEnd = std::min(uiCount, uiDone + 4096);
        for (; uiDone < uiEnd; ++uiDone) {
            const int iDifference = pFirst[uiDone] - pSecond[uiDone];
            uiPart += static_cast<std::uint32_t>(iDifference * iDifference);
        }
        uiSum += uiPart;
    }
    return static_cast<double>(uiSum);
}

/// One thread's share of the frames.
class FrameChecker {
public:
    FrameChecker(const std::string& strBytes, const Footage& footage)
        : m_strBytes(strBytes)
        , m_footage(footage)
        , m_hJpeg(tjInitDecompress())
        , m_luma(footage.Pixels())
    {
    }
    ~FrameChecker() { tjDestroy(m_hJpeg); }
    FrameChecker(const FrameChecker&) = delete;
    FrameChecker& operator=(const FrameChecker&) = delete;

    void Check(std::size_t uiFrame, const Chunk& chunk)
    {
        const auto* pJpeg = reinterpret_cast<const unsigned char*>(&m_strBytes[chunk.uiOffset]);
        const int iCols = static_cast<int>(m_footage.m_uiCols);
        const int iRows = static_cast<int>(m_footage.m_uiRows);
        int iWidth = 0;
        int iHeight = 0;
        int iSampling = 0;
        int iColours = 0;
        const bool bDecoded =
            tjDecompressHeader3(m_hJpeg, pJpeg, chunk.uiBytes, &iWidth, &iHeight, &iSampling, &iColours) == 0
            && iWidth == iCols && iHeight == iRows
            && tjDecompress2(m_hJpeg, pJpeg, chunk.uiBytes, m_luma.data(), iCols, 0, iRows, TJPF_GRAY, 0) == 0;
        if (!bDecoded) {
            ++m_uiBad;
            return;
        }
        const double dOwn = SquaredDifference(m_luma.data(), m_footage.Luma(uiFrame), m_footage.Pixels());
        const double dNext = SquaredDifference(m_luma.data(), m_footage.Luma(uiFrame + 1), m_footage.Pixels());
        (dOwn < dNext * kTolerance ? m_uiGood : m_uiBad) += 1;
        m_dSquares += dOwn;
    }

    std::size_t m_uiGood = 0;
    std::size_t m_uiBad = 0;
    double m_dSquares = 0.0;

private:
    const std::string& m_strBytes;
    const Footage& m_footage;
    tjhandle m_hJpeg;
    std::vector<std::uint8_t> m_luma;
};

} // namespace

AviCheck CheckAvi(const std::string& strFile, const Footage& footage)
{
    const std::string strBytes = test::ReadFile(strFile);
    const std::vector<Chunk> frames = FindFrames(strBytes);
    AviCheck check;
    double dSquares = 0.0;
    std::mutex mutex;
    std::atomic<std::size_t> uiNext = 0;
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
        threads.emplace_back([&] {
            FrameChecker checker(strBytes, footage);
            for (std::size_t uiFrame = uiNext++; uiFrame < frames.size(); uiFrame = uiNext++)
                checker.Check(uiFrame, frames[uiFrame]);
            std::lock_guard lock(mutex);
            check.uiFrames += checker.m_uiGood;
            check.uiBad += checker.m_uiBad;
            dSquares += checker.m_dSquares;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const Chunk& chunk : frames)
        check.uiBytes += chunk.uiBytes;
    const double dValues = static_cast<double>(frames.size() * footage.Pixels());
    check.dPsnr = dSquares > 0.0 ? 10.0 * std::log10(255.0 * 255.0 * dValues / dSquares) : 0.0;
    return check;
}

} // namespace vireo::bench
