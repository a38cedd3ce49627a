#include "platform/imaging/encode_pipeline.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <new>
#include <numeric>
#include <random>
#include <set>

using namespace vireo;

namespace {

/// A frame that is only a number.
ImageView Numbered(std::uint32_t uiNumber)
{
    ImageView frame;
    frame.uiRows = uiNumber;
    return frame;
}

/// "Encodes" a number: the chunk's size tells it.
Error EncodeNumber(const ImageView& frame, JpegChunk& chunk)
{
    chunk.Reserve(1);
    chunk.SetSize(frame.uiRows);
    return {};
}

std::vector<std::size_t> NumbersBelow(std::size_t uiCount)
{
    std::vector<std::size_t> numbers(uiCount);
    std::iota(numbers.begin(), numbers.end(), std::size_t { 0 });
    return numbers;
}

/// Where threads wait for each other.
class Gate {
public:
    void Open()
    {
        std::lock_guard lock(m_mutex);
        m_bOpen = true;
        m_changed.notify_all();
    }
    void Pass()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_bOpen; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bOpen = false;
};

TEST(EncodePipeline, WritesInOrderWhenTheFirstFrameTakesLongest)
{
    Gate othersDone;
    std::atomic<int> iDone = 0;
    std::vector<std::size_t> written;
    EncodePipeline pipeline(
        3, 8,
        [&](std::size_t, const ImageView& frame, JpegChunk& chunk) {
            if (frame.uiRows == 0)
                othersDone.Pass();
            Error error = EncodeNumber(frame, chunk);
            if (++iDone == 7)
                othersDone.Open();
            return error;
        },
        [&](JpegChunk& chunk) {
            written.push_back(chunk.Size());
            return Error {};
        });
    for (std::uint32_t i = 0; i < 8; ++i)
        ASSERT_TRUE(pipeline.Put(Numbered(i)).IsOk());
    ASSERT_TRUE(pipeline.Drain().IsOk());
    EXPECT_EQ(written, NumbersBelow(8));
}

TEST(EncodePipeline, WritesInOrderWhateverTheEncodersTake)
{
    for (std::size_t uiThreads = 1; uiThreads <= 4; ++uiThreads) {
        constexpr std::size_t kLookAhead = 5;
        std::vector<std::size_t> written;
        std::atomic<std::size_t> uiWritten = 0;
        std::atomic<bool> bWriting = false;
        EncodePipeline pipeline(
            uiThreads, kLookAhead,
            [&](std::size_t uiThread, const ImageView& frame, JpegChunk& chunk) {
                EXPECT_LT(uiThread, uiThreads);
                std::minstd_rand random(frame.uiRows + 1);
                const std::size_t uiTurns = random() % 20 * (random() % 20);
                for (std::size_t i = 0; i < uiTurns; ++i)
                    std::this_thread::yield();
                return EncodeNumber(frame, chunk);
            },
            [&](JpegChunk& chunk) {
                EXPECT_FALSE(bWriting.exchange(true)) << "two writes at once";
                written.push_back(chunk.Size());
                ++uiWritten;
                bWriting = false;
                return Error {};
            });
        constexpr std::size_t kFrames = 500;
        for (std::size_t i = 0; i < kFrames; ++i) {
            ASSERT_TRUE(pipeline.Put(Numbered(static_cast<std::uint32_t>(i))).IsOk());
            ASSERT_LE(i + 1 - uiWritten, kLookAhead) << "more frames on the way than the look-ahead";
        }
        ASSERT_TRUE(pipeline.Drain().IsOk());
        EXPECT_EQ(written, NumbersBelow(kFrames));
    }
}

TEST(EncodePipeline, EncodesOnAllThreadsAtOnce)
{
    // Each of the first three frames waits until all three are being encoded.
    std::atomic<int> iInside = 0;
    Gate allInside;
    std::mutex mutex;
    std::set<std::size_t> threads;
    EncodePipeline pipeline(
        3, 4,
        [&](std::size_t uiThread, const ImageView& frame, JpegChunk& chunk) {
            {
                std::lock_guard lock(mutex);
                threads.insert(uiThread);
            }
            if (++iInside == 3)
                allInside.Open();
            allInside.Pass();
            return EncodeNumber(frame, chunk);
        },
        [](JpegChunk&) { return Error {}; });
    for (std::uint32_t i = 0; i < 4; ++i)
        ASSERT_TRUE(pipeline.Put(Numbered(i)).IsOk());
    ASSERT_TRUE(pipeline.Drain().IsOk());
    EXPECT_EQ(threads, (std::set<std::size_t> { 0, 1, 2 }));
}

struct FaultCase {
    const char* strName;
    bool bInEncode;
    bool bThrows;
    ErrorType eExpected;
};
std::ostream& operator<<(std::ostream& out, const FaultCase& row) { return out << row.strName; }

class PipelineFault : public testing::TestWithParam<FaultCase> { };

TEST_P(PipelineFault, EndsTheOutputAtThatFrameAndStays)
{
    constexpr std::size_t kBad = 20;
    std::vector<std::size_t> written;
    std::atomic<bool> bDrained = false;
    EncodePipeline pipeline(
        2, 6,
        [&](std::size_t, const ImageView& frame, JpegChunk& chunk) -> Error {
            EXPECT_FALSE(bDrained) << "a frame was read after Drain";
            if (frame.uiRows == kBad && GetParam().bThrows)
                throw std::bad_alloc();
            if (frame.uiRows == kBad && GetParam().bInEncode)
                return ErrorType::EncodeFailed;
            return EncodeNumber(frame, chunk);
        },
        [&](JpegChunk& chunk) -> Error {
            if (chunk.Size() == kBad)
                return ErrorType::FileWriteFailed;
            written.push_back(chunk.Size());
            return {};
        });
    Error error;
    std::uint32_t uiPut = 0;
    for (; error.IsOk() && uiPut < 100; ++uiPut)
        error = pipeline.Put(Numbered(uiPut));
    EXPECT_EQ(error.GetType(), GetParam().eExpected);
    EXPECT_GT(uiPut, kBad);
    EXPECT_LT(uiPut, 100U);
    EXPECT_EQ(pipeline.Put(Numbered(200)).GetType(), GetParam().eExpected);
    EXPECT_EQ(pipeline.Drain().GetType(), GetParam().eExpected);
    bDrained = true;
    EXPECT_EQ(written, NumbersBelow(kBad));
}

INSTANTIATE_TEST_SUITE_P(Faults, PipelineFault,
    testing::Values(FaultCase { "EncoderFails", true, false, ErrorType::EncodeFailed },
        FaultCase { "EncoderRunsOutOfMemory", true, true, ErrorType::EncodeFailed },
        FaultCase { "WriterFails", false, false, ErrorType::FileWriteFailed }),
    testing::PrintToStringParamName());

TEST(EncodePipeline, ReadsNoFrameAfterDrainEvenWhenOneFailed)
{
    // Frame 1 is still being encoded when frame 0 fails and long after the failure was told.
    Gate secondInside;
    std::atomic<bool> bTold = false;
    std::atomic<bool> bSecondDone = false;
    EncodePipeline pipeline(
        2, 2,
        [&](std::size_t, const ImageView& frame, JpegChunk& chunk) -> Error {
            if (frame.uiRows == 0) {
                secondInside.Pass();
                return ErrorType::EncodeFailed;
            }
            secondInside.Open();
            while (!bTold)
                std::this_thread::yield();
            for (int i = 0; i < 10'000; ++i)
                std::this_thread::yield();
            bSecondDone = true;
            return EncodeNumber(frame, chunk);
        },
        [](JpegChunk&) { return Error {}; });
    ASSERT_TRUE(pipeline.Put(Numbered(0)).IsOk());
    ASSERT_TRUE(pipeline.Put(Numbered(1)).IsOk());
    EXPECT_EQ(pipeline.Put(Numbered(2)).GetType(), ErrorType::EncodeFailed);
    bTold = true;
    EXPECT_EQ(pipeline.Drain().GetType(), ErrorType::EncodeFailed);
    EXPECT_TRUE(bSecondDone);
}

TEST(EncodePipeline, DrainsNothingAtOnce)
{
    EncodePipeline pipeline(
        2, 4, [](std::size_t, const ImageView& frame, JpegChunk& chunk) { return EncodeNumber(frame, chunk); },
        [](JpegChunk&) { return Error {}; });
    EXPECT_TRUE(pipeline.Drain().IsOk());
}

TEST(EncodePipeline, EndsWithFramesOnTheWay)
{
    std::vector<std::size_t> written;
    {
        EncodePipeline pipeline(
            2, 6, [](std::size_t, const ImageView& frame, JpegChunk& chunk) { return EncodeNumber(frame, chunk); },
            [&](JpegChunk& chunk) {
                written.push_back(chunk.Size());
                return Error {};
            });
        for (std::uint32_t i = 0; i < 20; ++i)
            ASSERT_TRUE(pipeline.Put(Numbered(i)).IsOk());
    }
    EXPECT_EQ(written, NumbersBelow(written.size()));
}

} // namespace
