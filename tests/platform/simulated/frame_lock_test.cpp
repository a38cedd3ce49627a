#include "rig.h"

#include <array>
#include <gmock/gmock.h>
#include <set>

namespace vireo {
namespace {

constexpr std::size_t kCameras = 4;
constexpr std::size_t kTwoSeconds = 800; // frames
constexpr std::size_t kShort = 120;
constexpr std::uint32_t kPeriodUs = 2500;

using Codes = std::array<std::vector<std::uint32_t>, kCameras>;

/// One thread per camera, as a program grabs.
Codes Grab(Rig& rig, std::size_t uiFrames = kShort)
{
    Codes codes;
    std::vector<ClockThread> threads;
    for (std::size_t c = 0; c < kCameras; ++c)
        threads.emplace_back(rig.GetClock(), [&rig, &codes, c, uiFrames] { codes[c] = rig.FetchMany(c, uiFrames); });
    for (ClockThread& thread : threads)
        thread.Join();
    return codes;
}

std::vector<std::uint32_t> Expected(std::uint32_t uiFirst, std::size_t uiFrames)
{
    std::vector<std::uint32_t> codes;
    for (std::size_t i = 0; i < uiFrames; ++i)
        codes.push_back(uiFirst + static_cast<std::uint32_t>(i) * kPeriodUs);
    return codes;
}

class FrameLock : public testing::Test {
protected:
    void Build(std::string_view strFaults = {})
    {
        m_rig = std::make_unique<Rig>("simulated", strFaults);
        m_rig->ConfigureAll(400.0F, 2.0F);
        m_rig->LockToStrobe();
        m_rig->GetClock().SleepUntil(kNsPerMs); // no round moment
    }
    std::unique_ptr<Rig> m_rig;
};

TEST_F(FrameLock, StrobedCamerasExposeEveryFrameTogether)
{
    Build();
    m_rig->StartDown();
    const Codes codes = Grab(*m_rig, kTwoSeconds);
    for (std::size_t c = 0; c < kCameras; ++c)
        EXPECT_EQ(codes[c], Expected(kPeriodUs, kTwoSeconds)) << "camera " << c;
}

TEST_F(FrameLock, ADroppedFrameIsAGapInThatCameraOnly)
{
    Build("drop:2@100");
    m_rig->StartDown();
    const Codes codes = Grab(*m_rig, kTwoSeconds);
    for (const std::size_t c : { 0U, 1U, 3U })
        EXPECT_EQ(codes[c], Expected(kPeriodUs, kTwoSeconds)) << "camera " << c;
    std::vector<std::uint32_t> withGap = Expected(kPeriodUs, kTwoSeconds);
    withGap.erase(withGap.begin() + 100);
    withGap.push_back(withGap.back() + kPeriodUs);
    EXPECT_EQ(codes[2], withGap);
}

TEST_F(FrameLock, WithoutTheStrobeTheSlavesStop)
{
    Build();
    m_rig->SetStrobe(false);
    m_rig->StartDown();
    const Codes codes = Grab(*m_rig);
    EXPECT_EQ(codes[0], Expected(kPeriodUs, kShort));
    for (std::size_t c = 1; c < kCameras; ++c)
        EXPECT_TRUE(codes[c].empty()) << "camera " << c;
}

TEST_F(FrameLock, ASlaveWithoutTriggerModeGoesItsOwnWay)
{
    Build();
    m_rig->SetTrigger(2, false);
    m_rig->SetManual(2, PropertyType::FrameRate, 399.0F);
    m_rig->StartDown();
    const Codes codes = Grab(*m_rig);
    EXPECT_EQ(codes[1], codes[0]);
    EXPECT_EQ(codes[3], codes[0]);
    EXPECT_NE(codes[2], codes[0]);
}

TEST_F(FrameLock, ASlaveWithoutTriggerModeStartsByItself)
{
    Build();
    m_rig->SetTrigger(2, false);
    for (const std::size_t c : { 3U, 2U, 1U })
        EXPECT_TRUE((*m_rig)[c].StartCapture().IsOk());
    m_rig->GetClock().SleepMs(5);
    EXPECT_TRUE((*m_rig)[0].StartCapture().IsOk());
    const Codes codes = Grab(*m_rig);
    EXPECT_EQ(codes[1], codes[0]);
    EXPECT_EQ(codes[2].front() + 2 * kPeriodUs, codes[0].front()); // same rate, but frame i is another moment
}

TEST_F(FrameLock, WrongDirectionBitsOfTheMasterStopTheSlaves)
{
    for (const std::uint32_t uiDirection : { 0U, kStrobeLineBlocked, kStrobeLineOutput | kStrobeLineBlocked }) {
        SCOPED_TRACE(uiDirection);
        m_rig.reset();
        Build();
        m_rig->SetDirection(0, uiDirection);
        m_rig->StartDown();
        const Codes codes = Grab(*m_rig);
        EXPECT_EQ(codes[0].size(), kShort);
        for (std::size_t c = 1; c < kCameras; ++c)
            EXPECT_TRUE(codes[c].empty()) << "camera " << c;
    }
}

TEST_F(FrameLock, WrongDirectionBitsOfASlaveStopItAlone)
{
    Build();
    m_rig->SetDirection(3, kStrobeLineOutput);
    m_rig->StartDown();
    const Codes codes = Grab(*m_rig);
    EXPECT_EQ(codes[1], codes[0]);
    EXPECT_EQ(codes[2], codes[0]);
    EXPECT_TRUE(codes[3].empty());
}

TEST_F(FrameLock, StartingTheMasterFirstShiftsTheSlaves)
{
    Build();
    for (std::size_t c = 0; c < kCameras; ++c) {
        EXPECT_TRUE((*m_rig)[c].StartCapture().IsOk());
        m_rig->GetClock().SleepMs(6);
    }
    const Codes codes = Grab(*m_rig);
    std::set<std::uint32_t> firstCodes;
    for (const auto& list : codes)
        firstCodes.insert(list.front());
    EXPECT_EQ(firstCodes.size(), kCameras);
}

} // namespace
} // namespace vireo
