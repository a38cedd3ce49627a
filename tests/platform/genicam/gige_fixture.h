#pragma once
#include "camera_calls.h"
#include "peers/network_test.h"
#include "peers/peer_process.h"
#include "platform/genicam/genicam_library.h"
#include "platform/time/real_clock.h"
#include "support/bar_code.h"
#include "support/recorded_log.h"

#include <bit>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vireo {

/// Software GigE cameras in a process of their own, and the library that finds them.
class GigeTest : public peers::NetworkTest {
protected:
    void StartPeer(const std::vector<std::string>& arguments)
    {
        m_peer.reset(); // its addresses come free
        m_peer = std::make_unique<peers::PeerProcess>(arguments);
        ASSERT_TRUE(m_peer->Ready());
    }
    void MakeLibrary(const GenicamSetup& setup = {}) { m_library = MakeGenicamLibrary(m_clock, m_log, setup); }

    PGRGuid GuidOf(unsigned int uiSerial)
    {
        PGRGuid guid;
        EXPECT_TRUE(m_library->GetBusManager().GetCameraFromSerialNumber(uiSerial, guid).IsOk());
        return guid;
    }
    /// Looks who is there and opens one camera.
    std::unique_ptr<GigECamera> Open(unsigned int uiSerial)
    {
        unsigned int uiCount = 0;
        EXPECT_TRUE(m_library->GetBusManager().GetNumOfCameras(uiCount).IsOk());
        const PGRGuid guid = GuidOf(uiSerial);
        auto camera = m_library->CreateGigECamera(guid);
        if (!camera)
            return nullptr;
        const Error error = camera->Connect(guid);
        EXPECT_TRUE(error.IsOk()) << error.GetDescription();
        return camera;
    }
    /// The cameras of a peer with four; fewer when one does not open.
    std::vector<std::unique_ptr<GigECamera>> OpenFour()
    {
        std::vector<std::unique_ptr<GigECamera>> cameras;
        for (unsigned int uiSerial = 15000001; uiSerial <= 15000004; uiSerial++)
            if (auto camera = Open(uiSerial))
                cameras.push_back(std::move(camera));
        return cameras;
    }
    /// Sets size, rate and shutter, switches the header on and sets a grab time-out.
    static void Configure(
        GigECamera& camera, std::uint32_t uiWidth, std::uint32_t uiHeight, float fFps, int iTimeoutMs = 2000)
    {
        PrepareFetching(camera, iTimeoutMs);
        SetAbsolute(camera, PropertyType::FrameRate, fFps);
        std::uint32_t uiPacket = 9000;
        Check(camera.DiscoverGigEPacketSize(uiPacket));
        GigEConfig gige;
        ASSERT_TRUE(camera.GetGigEConfig(gige).IsOk());
        gige.enablePacketResend = true;
        ASSERT_TRUE(camera.SetGigEConfig(gige).IsOk());
        Check(camera.SetGigEImageSettings({ 0, 0, uiWidth, uiHeight, PixelFormat::Raw8 }));
        SetAbsolute(camera, PropertyType::Shutter, 1.0F);
    }
    RealClock m_clock;
    test::RecordedLog m_log;
    std::unique_ptr<peers::PeerProcess> m_peer;
    std::unique_ptr<CameraLibrary> m_library;
};

/// One camera, looked into.
class GigeCameraTest : public GigeTest {
protected:
    /// A register of the software camera, looked at behind the backend's back.
    static std::uint32_t Peer(GigECamera& camera, std::uint32_t uiAddress)
    {
        std::uint32_t uiValue = 0xDEADBEEF;
        Check(camera.ReadGVCPRegister(uiAddress, uiValue));
        return uiValue;
    }
    static float PeerFloat(GigECamera& camera, std::uint32_t uiAddress)
    {
        return std::bit_cast<float>(Peer(camera, uiAddress));
    }
    std::unique_ptr<GigECamera> StartAndOpen(const char* strModel, const char* strDialect)
    {
        StartPeer({ "--camera", std::string("127.0.0.1,15000007,") + strModel + "," + strDialect });
        MakeLibrary();
        return Open(15000007);
    }
    /// The codes of the next frames of a camera.
    static std::vector<std::uint32_t> Codes(GigECamera& camera, int iCount)
    {
        std::vector<std::uint32_t> codes;
        for (int i = 0; i < iCount; i++) {
            Image image;
            Check(camera.RetrieveBuffer(image));
            codes.push_back(ReadBarCode(image).value_or(0));
        }
        return codes;
    }
    static void Arm(GigECamera& camera, unsigned int uiPolarity)
    {
        TriggerMode mode;
        Check(camera.GetTriggerMode(mode));
        mode = { true, uiPolarity, 2, 14, 0 };
        Check(camera.SetTriggerMode(mode));
    }
};

} // namespace vireo
