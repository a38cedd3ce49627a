#pragma once
#include "platform/camera_library.h"
#include "platform/simulated/register_file.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "support/bar_code.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vireo {

/// Cameras of a simulated set-up on a virtual clock, connected, in the order of their serial numbers.
class Rig {
public:
    explicit Rig(std::string_view strSource = "simulated", std::string_view strFaults = {})
    {
        EXPECT_EQ(ParseSimulatedSource(strSource, m_setup.cameras), "");
        EXPECT_EQ(ParseSimulatedFaults(strFaults, m_setup.cameras.size(), m_setup.faults), "");
        m_library = MakeSimulatedLibrary(m_clock, m_setup);
        BusManager& bus = m_library->GetBusManager();
        for (std::size_t i = 0; i < m_setup.cameras.size(); ++i)
            m_serials.push_back(m_setup.cameras[i].uiSerial);
        std::sort(m_serials.begin(), m_serials.end());
        for (const std::uint32_t uiSerial : m_serials) {
            PGRGuid guid;
            EXPECT_TRUE(bus.GetCameraFromSerialNumber(uiSerial, guid).IsOk());
            std::unique_ptr<CameraBase> camera = m_library->CreateCamera(guid);
            if (!camera)
                camera = m_library->CreateGigECamera(guid);
            EXPECT_TRUE(camera->Connect(guid).IsOk());
            m_guids.push_back(guid);
            m_cameras.push_back(std::move(camera));
        }
    }

    VirtualClock& GetClock() { return m_clock; }
    CameraLibrary& Library() { return *m_library; }
    std::size_t Count() const { return m_cameras.size(); }
    CameraBase& operator[](std::size_t i) { return *m_cameras[i]; }
    Camera& Usb(std::size_t i) { return dynamic_cast<Camera&>(*m_cameras[i]); }
    GigECamera& GigE(std::size_t i) { return dynamic_cast<GigECamera&>(*m_cameras[i]); }
    const PGRGuid& Guid(std::size_t i) const { return m_guids[i]; }
    void Release(std::size_t i) { m_cameras[i].reset(); }

    /// 640x480, every frame queued, header on, rate and shutter by hand.
    void Configure(std::size_t i, float fFps, float fShutterMs, int iTimeoutMs = 1000)
    {
        CameraBase& camera = *m_cameras[i];
        if (auto* pCamera = dynamic_cast<Camera*>(&camera)) {
            CameraInfo info;
            EXPECT_TRUE(camera.GetCameraInfo(info).IsOk());
            const ImagingMode mode = info.modelName == "FL3-U3-13Y3M" ? 1 : 0;
            const Format7ImageSettings image { mode, 0, 0, 640, 480, PixelFormat::Raw8 };
            Format7PacketInfo packets;
            bool bValid = false;
            EXPECT_TRUE(pCamera->ValidateFormat7Settings(image, bValid, packets).IsOk());
            EXPECT_TRUE(pCamera->SetFormat7Configuration(image, packets.maxBytesPerPacket).IsOk());
        } else {
            EXPECT_TRUE(GigE(i).SetGigEImageSettings({ 0, 0, 640, 480, PixelFormat::Raw8 }).IsOk());
        }
        SetManual(i, PropertyType::FrameRate, fFps);
        SetManual(i, PropertyType::Shutter, fShutterMs);
        SetConfig(i, iTimeoutMs);
        EXPECT_TRUE(camera.WriteRegister(0x12F8, 0x80000101).IsOk());
    }
    void SetConfig(
        std::size_t i, int iTimeoutMs, std::uint32_t uiBuffers = 256, GrabMode eMode = GrabMode::BufferFrames)
    {
        EXPECT_TRUE(m_cameras[i]->SetConfiguration({ uiBuffers, eMode, iTimeoutMs }).IsOk());
    }
    void SetManual(std::size_t i, PropertyType eType, float fValue)
    {
        Property property;
        property.type = eType;
        property.onOff = true;
        property.absControl = true;
        property.absValue = fValue;
        EXPECT_TRUE(m_cameras[i]->SetProperty(property).IsOk());
    }
    void SetTrigger(std::size_t i, bool bOn, unsigned uiPolarity = 0, unsigned uiMode = 14)
    {
        EXPECT_TRUE(m_cameras[i]->SetTriggerMode({ bOn, uiPolarity, 2, uiMode, 0 }).IsOk());
    }
    void SetStrobe(bool bOn, unsigned uiPolarity = 0)
    {
        EXPECT_TRUE(m_cameras[0]->SetStrobe({ 2, bOn, uiPolarity, 0.0F, 0.0F }).IsOk());
    }
    void SetDirection(std::size_t i, std::uint32_t uiValue)
    {
        EXPECT_TRUE(m_cameras[i]->WriteRegister(kPinDirection, uiValue).IsOk());
    }
    /// Camera 0 strobes, the others wait for its edges.
    void LockToStrobe()
    {
        SetTrigger(0, false);
        SetDirection(0, kStrobeLineOutput);
        SetStrobe(true);
        for (std::size_t i = 1; i < Count(); ++i)
            SetTrigger(i, true);
    }
    void ConfigureAll(float fFps, float fShutterMs, int iTimeoutMs = 1000)
    {
        for (std::size_t i = 0; i < Count(); ++i)
            Configure(i, fFps, fShutterMs, iTimeoutMs);
    }
    /// From the last camera down to camera 0: all are armed before the first strobe.
    void StartDown()
    {
        for (std::size_t i = Count(); i-- > 0;)
            EXPECT_TRUE(m_cameras[i]->StartCapture().IsOk());
    }
    /// The next frame's bar code; none when the call fails, with its result in `eResult`.
    std::optional<std::uint32_t> Fetch(std::size_t i, ErrorType& eResult)
    {
        Image image;
        eResult = m_cameras[i]->RetrieveBuffer(image).GetType();
        return eResult == ErrorType::Ok ? ReadBarCode(image) : std::nullopt;
    }
    /// Bar codes of the next frames of a camera, until `uiCount` or the first failure.
    std::vector<std::uint32_t> FetchMany(std::size_t i, std::size_t uiCount)
    {
        std::vector<std::uint32_t> codes;
        ErrorType eResult = ErrorType::Ok;
        while (codes.size() < uiCount)
            if (const auto code = Fetch(i, eResult))
                codes.push_back(*code);
            else
                break;
        return codes;
    }

private:
    VirtualClock m_clock;
    SimulatedSetup m_setup;
    std::unique_ptr<CameraLibrary> m_library;
    std::vector<std::uint32_t> m_serials;
    std::vector<PGRGuid> m_guids;
    std::vector<std::unique_ptr<CameraBase>> m_cameras;
};

} // namespace vireo
