#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/failure_notes.h"
#include "platform/iidc/iidc_capture.h"
#include "platform/iidc/iidc_device.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace vireo {

/// An IIDC camera. Threads as CameraBase.
class IidcCamera final : public Camera {
public:
    /// Opens the camera behind a guid; `record` says who it is.
    using OpenCamera = std::function<Error(const PGRGuid& guid, Dc1394Camera& camera, IidcRecord& record)>;
    IidcCamera(Clock& clock, Log& log, OpenCamera openCamera);
    ~IidcCamera() override;

    Error Connect(const PGRGuid& guid) override;
    Error Disconnect() override;
    bool IsConnected() const override;
    Error GetCameraInfo(CameraInfo& info) override;
    Error GetConfiguration(FC2Config& config) override;
    Error SetConfiguration(const FC2Config& config) override;
    Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override;
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue) override;
    Error GetProperty(Property& property) override;
    Error SetProperty(const Property& property) override;
    Error GetPropertyInfo(PropertyInfo& info) override;
    Error GetTriggerMode(TriggerMode& mode) override;
    Error SetTriggerMode(const TriggerMode& mode) override;
    Error GetStrobeInfo(StrobeInfo& info) override;
    Error GetStrobe(StrobeControl& control) override;
    Error SetStrobe(const StrobeControl& control) override;
    Error StartCapture() override;
    Error StopCapture() override;
    Error RetrieveBuffer(Image& image) override;
    void CancelRetrieve() override { m_capture.Cancel(); }
    StreamStatistics GetStreamStatistics() const override;
    Error SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate) override;
    Error GetFormat7Info(Format7Info& info, bool& bSupported) override;
    Error ValidateFormat7Settings(
        const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo) override;
    Error SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket) override;

    // StartCapture in two steps, for cameras that are to begin together.
    Error PrepareCapture();
    Error BeginCapture();

private:
    /// Runs `job` on the open device, alone.
    template <typename Job> Error Do(Job job)
    {
        std::lock_guard lock(m_csDevice);
        if (!m_device)
            return ErrorType::NotConnected;
        return m_notes.Note(m_device->IsGone() ? m_device->Gone() : job(*m_device));
    }
    Error StopLocked();
    bool Answers(IidcDevice& device);

    Clock& m_clock;
    FailureNotes m_notes;
    OpenCamera m_openCamera;
    std::mutex m_csRetrieve; ///< held by the grab thread while it fetches a frame; before m_csDevice
    mutable std::mutex m_csDevice;
    std::unique_ptr<IidcDevice> m_device; ///< null: not connected
    CameraInfo m_info;
    FC2Config m_config;
    IidcCapture::Manner m_manner; ///< what of it a fetch follows
    IidcCapture m_capture;
    std::atomic<bool> m_bCapturing = false;
};

} // namespace vireo
