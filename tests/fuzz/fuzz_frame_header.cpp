// The embedded time in the first bytes of a frame.
#include "capture/exposure_counter.h"
#include "capture/frame_store.h"
#include "fuzz_input.h"

#include <array>
#include <cmath>

using namespace vireo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes)
{
    FuzzInput input(pBytes, uiBytes);
    const double dPeriod = input.Word() / 1e6;
    ExposureCounter counter(dPeriod);
    double dPrevious = 0.0;
    std::int64_t iNumber = -1;
    while (!input.IsEmpty()) {
        std::array<std::uint8_t, 4> header {};
        for (std::uint8_t& uiByte : header)
            uiByte = input.Byte();
        const double dTime = FrameTimestampSeconds(FrameCycleTime(header));
        // Twelve bits of 1/3072 cycle can say a little more than a cycle, thirteen bits of cycles more than a second.
        Require(dTime >= 0.0 && dTime < 128.1, "the time lies within its wrap");
        Require(std::abs(FrameTimeDifference(dTime, dPrevious)) <= 64.1, "a difference is the nearest one");
        const std::int64_t iNext = counter.Next(dTime);
        Require(iNext > iNumber && counter.Missing() >= 0, "exposures count on");
        iNumber = iNext;
        dPrevious = dTime;
    }
    return 0;
}
