#include "platform/time/real_clock.h"
#include "programs/camera_sources.h"
#include "support/recorded_log.h"

#include <gtest/gtest.h>

namespace vireo {

namespace {

std::unique_ptr<CameraLibrary> OpenSources(
    std::string_view strSources, std::string_view strFaults, std::string& strError)
{
    static RealClock s_clock;
    static test::RecordedLog s_log;
    return OpenCameraSources(strSources, strFaults, s_clock, s_log, strError);
}

TEST(CameraSources, SimulatedCamerasOfSeveralItemsAddUp)
{
    std::string strError;
    const auto library = OpenSources("simulated:FL3-U3-13Y3M@5,simulated:2xGS3-PGE-23S6M@9", "drop:2@4", strError);
    ASSERT_NE(library, nullptr) << strError;
    unsigned int uiCount = 0;
    ASSERT_TRUE(library->GetBusManager().GetNumOfCameras(uiCount).IsOk());
    EXPECT_EQ(uiCount, 3U);
}

TEST(CameraSources, EveryRoadCanBeNamed)
{
    for (const char* strSources : { "", "genicam", "genicam:eth0", "genicam:192.168.1.1", "iidc", "genicam,iidc",
             "iidc,genicam:lo,simulated", "simulated" }) {
        std::string strError;
        EXPECT_NE(OpenSources(strSources, "", strError), nullptr) << strSources << ": " << strError;
    }
}

TEST(CameraSources, WhatIsNotUnderstoodIsNamed)
{
    const struct {
        const char* strSources;
        const char* strFaults;
        const char* strNamed;
    } kRows[] = {
        { "webcam", "", "webcam" },
        { "genicam,", "", "\"\"" },
        { ",simulated", "", "\"\"" },
        { "Genicam", "", "Genicam" },
        { "genicam:", "", "genicam:" },
        { "genicam,genicam:eth0", "", "genicam:eth0" },
        { "iidc:2", "", "iidc:2" },
        { "iidc,simulated,iidc", "", "iidc" },
        { "simulated:5xUNKNOWN", "", "UNKNOWN" },
        { "simulated:GS3-U3-23S6M,bus", "", "bus" },
        { "simulated", "melt:1@2", "melt" },
        { "genicam", "drop:0@2", "drop:0@2" },
    };
    for (const auto& row : kRows) {
        std::string strError;
        EXPECT_EQ(OpenSources(row.strSources, row.strFaults, strError), nullptr) << row.strSources;
        EXPECT_NE(strError.find(row.strNamed), std::string::npos) << row.strSources << ": " << strError;
        EXPECT_EQ(strError.find('\n'), std::string::npos);
    }
}

} // namespace

} // namespace vireo
