#pragma once
#include "camera_calls.h"
#include "peers/network_test.h"
#include "peers/peer_process.h"
#include "platform/genicam/genicam_library.h"
#include "platform/iidc/iidc_library.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/real_clock.h"
#include "support/bar_code.h"
#include "support/recorded_log.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vireo {

using MakeLibrary = std::unique_ptr<CameraLibrary> (*)(Clock& clock, Log& log);

inline std::unique_ptr<CameraLibrary> Simulated(Clock& clock, const char* strSource)
{
    SimulatedSetup setup;
    EXPECT_EQ(ParseSimulatedSource(strSource, setup.cameras), "");
    return MakeSimulatedLibrary(clock, setup);
}

struct Backend {
    const char* strName;
    bool bGigE;
    bool bSlowList; ///< to be asked for once
    unsigned int uiSerial;
    MakeLibrary pMake;
};
inline const Backend kBackends[] = {
    { "SimulatedUsb", false, false, 13000001,
        [](Clock& clock, Log&) { return Simulated(clock, "simulated:FL3-U3-13Y3M@13000001"); } },
    { "SimulatedGigE", true, false, 15000001,
        [](Clock& clock, Log&) { return Simulated(clock, "simulated:GS3-PGE-23S6M@15000001"); } },
    { "GenicamGigE", true, true, 15000001, [](Clock& clock, Log& log) { return MakeGenicamLibrary(clock, log, {}); } },
    { "GenicamUsb3", false, true, 17000001, [](Clock& clock, Log& log) { return MakeGenicamLibrary(clock, log, {}); } },
    { "Iidc", false, false, 17000042, [](Clock& clock, Log& log) { return MakeIidcLibrary(clock, log); } },
};

/// One camera of a backend, open and set to 640x480 at 100 fps.
class CameraContract : public peers::NetworkTest, public testing::WithParamInterface<Backend> {
protected:
    void SetUp() override
    {
        NetworkTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        if (std::string(GetParam().strName) == "GenicamGigE") {
            m_peer = std::make_unique<peers::PeerProcess>(std::vector<std::string> { "--count", "1" });
            ASSERT_TRUE(m_peer->Ready());
        }
        // A look over the network takes a second. The list outlives the peer: the next one stands at the same place.
        if (!s_ground || s_ground->strBackend != GetParam().strName || !GetParam().bSlowList)
            s_ground = std::make_unique<Ground>(GetParam());
        if (s_ground->uiCount == 0)
            Check(Bus().GetNumOfCameras(s_ground->uiCount));
        ASSERT_GE(s_ground->uiCount, 1U);
        Check(Bus().GetCameraFromSerialNumber(GetParam().uiSerial, m_guid));
        m_usb = Library().CreateCamera(m_guid);
        m_gige = Library().CreateGigECamera(m_guid);
        ASSERT_EQ(m_usb == nullptr, GetParam().bGigE);
        ASSERT_EQ(m_gige == nullptr, !GetParam().bGigE);
        m_pCamera = m_usb ? static_cast<CameraBase*>(m_usb.get()) : m_gige.get();
    }

    static void TearDownTestSuite() { s_ground.reset(); }

    static CameraLibrary& Library() { return *s_ground->library; }
    static BusManager& Bus() { return Library().GetBusManager(); }
    CameraBase& Cam() { return *m_pCamera; }
    void SetTimeout(int iTimeoutMs)
    {
        FC2Config config;
        Check(Cam().GetConfiguration(config));
        config.grabMode = GrabMode::BufferFrames;
        config.grabTimeout = iTimeoutMs;
        Check(Cam().SetConfiguration(config));
    }
    void SetAbsolute(PropertyType eType, float fValue) { vireo::SetAbsolute(Cam(), eType, fValue); }
    Error SetImage(std::uint32_t uiX, std::uint32_t uiY, std::uint32_t uiWidth, std::uint32_t uiHeight)
    {
        if (m_gige)
            return m_gige->SetGigEImageSettings({ uiX, uiY, uiWidth, uiHeight, PixelFormat::Raw8 });
        const Format7ImageSettings settings { 0, uiX, uiY, uiWidth, uiHeight, PixelFormat::Raw8 };
        bool bValid = false;
        Format7PacketInfo packet;
        if (Error error = m_usb->ValidateFormat7Settings(settings, bValid, packet); !error.IsOk())
            return error;
        return m_usb->SetFormat7Configuration(settings, bValid ? packet.maxBytesPerPacket : 4096);
    }
    void SetTrigger(bool bOn)
    {
        TriggerMode mode;
        Check(Cam().GetTriggerMode(mode));
        mode.onOff = bOn;
        mode.source = 2;
        mode.polarity = 1;
        mode.mode = 0;
        Check(Cam().SetTriggerMode(mode));
    }
    void Open(int iTimeoutMs = 2000)
    {
        Check(Cam().Connect(m_guid));
        SetTrigger(false); // as the test before may have left it
        SetTimeout(iTimeoutMs);
        SetAbsolute(PropertyType::FrameRate, 100.0F);
        Check(SetImage(0, 0, 640, 480));
        SetAbsolute(PropertyType::Shutter, 1.0F);
    }
    /// A camera that runs and has no frame, since it waits for an edge that never comes.
    void OpenSilent(int iTimeoutMs)
    {
        Open(iTimeoutMs);
        SetTrigger(true);
        Check(Cam().StartCapture());
    }
    /// Lets a thread wait for a frame without limit while `wake` runs, and returns what it got.
    Error WaitWhile(const std::function<void()>& wake)
    {
        Error result;
        std::thread waiting([&] {
            Image image;
            result = Cam().RetrieveBuffer(image);
        });
        wake();
        waiting.join();
        return result;
    }

    /// A library and what it stands on.
    struct Ground {
        explicit Ground(const Backend& backend)
            : strBackend(backend.strName)
            , library(backend.pMake(clock, log))
        {
        }
        std::string strBackend;
        RealClock clock;
        test::RecordedLog log;
        std::unique_ptr<CameraLibrary> library;
        unsigned int uiCount = 0;
    };
    static inline std::unique_ptr<Ground> s_ground;

    std::unique_ptr<peers::PeerProcess> m_peer;
    PGRGuid m_guid;
    std::unique_ptr<Camera> m_usb;
    std::unique_ptr<GigECamera> m_gige;
    CameraBase* m_pCamera = nullptr;
};

/// What only GigE cameras have.
class GigECameraContract : public CameraContract { };

} // namespace vireo
