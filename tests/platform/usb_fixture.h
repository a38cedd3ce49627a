#pragma once
#include "camera_calls.h"
#include "peers/network_test.h"
#include "platform/time/real_clock.h"
#include "support/bar_code.h"
#include "support/no_thread_left.h"
#include "support/recorded_log.h"

#include <chrono>
#include <future>
#include <memory>
#include <string>

namespace vireo {

/// One camera on the software USB cables and the library that drives it.
class UsbTest : public peers::NetworkTest {
protected:
    using MakeLibrary = std::unique_ptr<CameraLibrary> (*)(Clock& clock, Log& log);
    static constexpr auto kNoLonger = std::chrono::seconds(5); ///< nobody may be held up beyond this

    /// `uiCable`: its place among the cables.
    UsbTest(MakeLibrary pMake, unsigned int uiCable, unsigned int uiSerial)
        : m_pMake(pMake)
        , m_uiCable(uiCable)
        , m_uiSerial(uiSerial)
    {
    }
    void SetUp() override
    {
        NetworkTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        peers::PlugUsb(m_uiCable, true);
        m_library = m_pMake(m_clock, m_log);
    }
    void TearDown() override
    {
        peers::HangUsb(m_uiCable, false);
        peers::MuteUsb(m_uiCable, false);
    }

    PGRGuid Find()
    {
        unsigned int uiCount = 0;
        PGRGuid guid;
        Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
        Check(m_library->GetBusManager().GetCameraFromSerialNumber(m_uiSerial, guid));
        return guid;
    }
    std::unique_ptr<Camera> Open()
    {
        const PGRGuid guid = Find();
        auto camera = m_library->CreateCamera(guid);
        EXPECT_TRUE(camera && camera->Connect(guid).IsOk());
        return camera;
    }
    static void Configure(Camera& camera, float fFps, int iTimeoutMs = 2000)
    {
        PrepareFetching(camera, iTimeoutMs);
        SetAbsolute(camera, PropertyType::FrameRate, fFps);
        const Format7ImageSettings settings { 0, 640, 360, 640, 480, PixelFormat::Raw8 };
        bool bValid = false;
        Format7PacketInfo packet;
        Check(camera.ValidateFormat7Settings(settings, bValid, packet));
        ASSERT_TRUE(bValid);
        Check(camera.SetFormat7Configuration(settings, packet.maxBytesPerPacket));
        SetAbsolute(camera, PropertyType::Shutter, 1.0F);
    }
    std::string Name() const { return "camera " + std::to_string(m_uiSerial); }

    // What both kinds of USB camera are held to.

    void TornPicturesAreDroppedAndCounted(int iTorn)
    {
        const auto camera = Open();
        Configure(*camera, 100.0F);
        Check(camera->StartCapture());
        Image image;
        Check(camera->RetrieveBuffer(image));
        peers::TearUsb(m_uiCable, iTorn);
        int iDropped = 0;
        for (int i = 0; i < 20; i++) {
            const Error error = camera->RetrieveBuffer(image);
            ASSERT_TRUE(error.IsOk() || error == ErrorType::NothingToDeliver) << error.GetDescription();
            iDropped += error.IsOk() ? 0 : 1;
        }
        EXPECT_EQ(iDropped, iTorn);
        EXPECT_EQ(camera->GetStreamStatistics().incomplete, static_cast<std::uint64_t>(iTorn));
    }

    /// The plug is pulled while frames flow and put in again.
    void APulledPlugIsToldAndTheCameraIsUsableWhenItIsBack()
    {
        const auto camera = Open();
        Configure(*camera, 100.0F, -1);
        Check(camera->StartCapture());
        Image image;
        Check(camera->RetrieveBuffer(image));
        peers::PlugUsb(m_uiCable, false);
        auto rest = std::async(std::launch::async, [&] {
            const Error error = FetchToTheEnd(*camera);
            EXPECT_EQ(error, ErrorType::Disconnected);
            EXPECT_TRUE(error.GetDescription().starts_with(Name() + ": ")) << error.GetDescription();
            std::uint32_t uiValue = 0;
            EXPECT_EQ(camera->ReadRegister(0x0968, uiValue), ErrorType::Disconnected);
            EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
            EXPECT_TRUE(camera->Disconnect().IsOk());
        });
        EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
        rest.wait();
        unsigned int uiCount = 0;
        PGRGuid guid;
        Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
        EXPECT_EQ(m_library->GetBusManager().GetCameraFromSerialNumber(m_uiSerial, guid), ErrorType::NotFound);

        peers::PlugUsb(m_uiCable, true);
        Check(camera->Connect(Find()));
        Configure(*camera, 100.0F);
        Check(camera->StartCapture());
        for (int i = 0; i < 20; i++)
            Check(camera->RetrieveBuffer(image));
        EXPECT_EQ(camera->GetStreamStatistics().incomplete, 0U);
        Check(camera->StopCapture());
        Check(camera->Disconnect());
    }

    void ACameraOfAnotherProgramIsDenied()
    {
        const PGRGuid guid = Find();
        const auto camera = m_library->CreateCamera(guid);
        ASSERT_NE(camera, nullptr);
        peers::ClaimUsb(m_uiCable, true);
        const Error error = camera->Connect(guid);
        peers::ClaimUsb(m_uiCable, false);
        EXPECT_EQ(error, ErrorType::AccessDenied);
        EXPECT_EQ(error.GetDescription(), Name() + ": another program controls it");
        EXPECT_FALSE(camera->IsConnected());
        Check(camera->Connect(guid));
    }

    void WithoutAThreadACameraIsRefusedWithTheReason()
    {
        const PGRGuid guid = Find();
        const auto camera = m_library->CreateCamera(guid);
        ASSERT_NE(camera, nullptr);
        Error error;
        {
            const test::NoThreadLeft none;
            error = camera->Connect(guid);
        }
        EXPECT_EQ(error, ErrorType::OutOfResources);
        EXPECT_EQ(error.GetDescription(), Name() + ": the system has no thread left for it");
        EXPECT_FALSE(camera->IsConnected());
        Check(camera->Connect(guid));
    }

    MakeLibrary m_pMake;
    unsigned int m_uiCable;
    unsigned int m_uiSerial;
    RealClock m_clock;
    test::RecordedLog m_log;
    std::unique_ptr<CameraLibrary> m_library;
};

} // namespace vireo
