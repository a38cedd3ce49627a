#include "platform/joined/joined_library.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "support/recorded_log.h"

#include <gtest/gtest.h>

namespace vireo {

namespace {

/// Libraries of simulated cameras, joined.
class JoinedLibraryTest : public testing::Test {
protected:
    void Join(std::initializer_list<const char*> sources)
    {
        std::vector<std::unique_ptr<CameraLibrary>> libraries;
        for (const char* strSource : sources) {
            SimulatedSetup setup;
            ASSERT_EQ(ParseSimulatedSource(strSource, setup.cameras), "");
            libraries.push_back(MakeSimulatedLibrary(m_clock, setup));
        }
        m_library = MakeJoinedLibrary(m_log, std::move(libraries));
        ASSERT_TRUE(m_library->GetBusManager().GetNumOfCameras(m_uiCount).IsOk());
    }
    std::vector<unsigned int> Serials()
    {
        std::vector<unsigned int> serials(m_uiCount);
        for (unsigned int i = 0; i < m_uiCount; i++)
            EXPECT_TRUE(m_library->GetBusManager().GetCameraSerialNumberFromIndex(i, serials[i]).IsOk());
        return serials;
    }
    std::unique_ptr<Camera> Open(unsigned int uiSerial)
    {
        PGRGuid guid;
        EXPECT_TRUE(m_library->GetBusManager().GetCameraFromSerialNumber(uiSerial, guid).IsOk());
        auto camera = m_library->CreateCamera(guid);
        EXPECT_TRUE(camera && camera->Connect(guid).IsOk());
        return camera;
    }

    VirtualClock m_clock;
    test::RecordedLog m_log;
    std::unique_ptr<CameraLibrary> m_library;
    unsigned int m_uiCount = 0;
};

TEST_F(JoinedLibraryTest, CamerasStandInTheOrderOfTheirLibraries)
{
    Join({ "simulated:2xFL3-U3-13Y3M@30", "simulated:GS3-U3-23S6M@10+GS3-PGE-23S6M@20" });
    EXPECT_EQ(Serials(), (std::vector<unsigned int> { 30, 31, 10, 20 }));
    const std::vector<CameraInfo> infos = m_library->ListCameras();
    ASSERT_EQ(infos.size(), 4U);
    EXPECT_EQ(infos[3].modelName, "GS3-PGE-23S6M");
    unsigned int uiSerial = 0;
    EXPECT_EQ(m_library->GetBusManager().GetCameraSerialNumberFromIndex(4, uiSerial), ErrorType::NotFound);
}

TEST_F(JoinedLibraryTest, ACameraSeenByTwoRoadsIsListedOnce)
{
    Join({ "simulated:GS3-U3-23S6M@10", "simulated:GS3-U3-23S6M@10+FL3-U3-13Y3M@11" });
    EXPECT_EQ(Serials(), (std::vector<unsigned int> { 10, 11 }));
    EXPECT_EQ(m_library->ListCameras().size(), 2U);
    EXPECT_TRUE(Open(10)->IsConnected());
}

TEST_F(JoinedLibraryTest, DifferentCamerasWithOneNumberAreNamed)
{
    Join({ "simulated:GS3-U3-23S6M@10", "simulated:FL3-U3-13Y3M@10" });
    EXPECT_EQ(m_uiCount, 2U);
    PGRGuid guid;
    const Error error = m_library->GetBusManager().GetCameraFromSerialNumber(10, guid);
    EXPECT_EQ(error, ErrorType::InvalidParameter);
    EXPECT_NE(error.GetDescription().find("serial number 10"), std::string::npos);
    EXPECT_NE(error.GetDescription().find("GS3-U3-23S6M"), std::string::npos);
    EXPECT_NE(error.GetDescription().find("FL3-U3-13Y3M"), std::string::npos);
    EXPECT_TRUE(m_log.Contains("two cameras have the serial number 10"));
}

TEST_F(JoinedLibraryTest, GuidsFindTheirWayBack)
{
    Join({ "simulated:FL3-U3-13Y3M@30", "simulated:GS3-PGE-23S6M@20" });
    BusManager& bus = m_library->GetBusManager();
    PGRGuid usb;
    PGRGuid gige;
    InterfaceType eInterface = InterfaceType::Unknown;
    ASSERT_TRUE(bus.GetCameraFromSerialNumber(30, usb).IsOk());
    ASSERT_TRUE(bus.GetCameraFromSerialNumber(20, gige).IsOk());
    ASSERT_TRUE(bus.GetInterfaceTypeFromGuid(gige, eInterface).IsOk());
    EXPECT_TRUE(eInterface == InterfaceType::GigE);
    EXPECT_NE(m_library->CreateGigECamera(gige), nullptr);
    EXPECT_EQ(m_library->CreateCamera(gige), nullptr);
    EXPECT_NE(m_library->CreateCamera(usb), nullptr);
    EXPECT_EQ(bus.GetInterfaceTypeFromGuid(PGRGuid(), eInterface), ErrorType::NotFound);
    EXPECT_EQ(bus.GetCameraFromSerialNumber(99, usb), ErrorType::NotFound);
}

TEST_F(JoinedLibraryTest, ASynchronisedStartOverTwoLibrariesIsAllOrNothing)
{
    Join({ "simulated:FL3-U3-13Y3M@30", "simulated:GS3-U3-23S6M@40" });
    const auto first = Open(30);
    const auto second = Open(40);
    CameraBase* cameras[] = { first.get(), second.get() };
    ASSERT_TRUE(second->StartCapture().IsOk());
    EXPECT_EQ(m_library->StartSyncCapture(cameras), ErrorType::AlreadyStarted);
    EXPECT_EQ(first->StopCapture(), ErrorType::NotStarted); // stopped again
    ASSERT_TRUE(second->StopCapture().IsOk());
    ASSERT_TRUE(m_library->StartSyncCapture(cameras).IsOk());
    EXPECT_TRUE(first->StopCapture().IsOk());
    EXPECT_TRUE(second->StopCapture().IsOk());
}

TEST_F(JoinedLibraryTest, ForeignCamerasCannotBeStarted)
{
    Join({ "simulated:FL3-U3-13Y3M@30", "simulated:GS3-U3-23S6M@40" });
    const auto own = Open(30);
    CameraBase* cameras[] = { own.get(), nullptr };
    EXPECT_EQ(m_library->StartSyncCapture(cameras), ErrorType::InvalidParameter);
    EXPECT_EQ(own->StopCapture(), ErrorType::NotStarted);
}

} // namespace

} // namespace vireo
