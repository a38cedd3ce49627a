#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/failure_notes.h"
#include "platform/iidc/iidc_session.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace vireo {

/// An IIDC camera. Threads as CameraBase.
class IidcCamera final : public Camera {
public:
    /// The camera behind a guid, and the driver that reaches it; false when there is none.
    using FindRecord = std::function<bool(const PGRGuid& guid, IidcRecord& record, Dc1394Context& context)>;
    IidcCamera(Clock& clock, Log& log, FindRecord findRecord, std::shared_ptr<SharedGrace> grace);
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
    void CancelRetrieve() override;
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
    std::shared_ptr<IidcSession> Session() const;
    /// Runs `job` on the camera's thread. What it captures by reference must not be the caller's: it may still run when
    /// the caller has given up.
    Error Do(const std::function<Error(IidcDevice&)>& job);
    /// The same for a call that fills a record: `value` goes in, and comes back only on success.
    template <typename T> Error Fill(T& value, Error (*pRead)(IidcDevice&, T&))
    {
        auto copy = std::make_shared<T>(value);
        Error error = Do([copy, pRead](IidcDevice& device) { return pRead(device, *copy); });
        if (error.IsOk())
            value = *copy;
        return error;
    }

    Clock& m_clock;
    Log& m_log;
    FailureNotes m_notes;
    FindRecord m_findRecord;
    std::shared_ptr<SharedGrace> m_grace;
    std::mutex m_csRetrieve; ///< held by the grab thread while it fetches a frame
    mutable std::mutex m_csSession;
    std::shared_ptr<IidcSession> m_session; ///< null: not connected
    FC2Config m_config; ///< guarded by m_csSession
    IidcCapture::Manner m_manner; ///< what of it a fetch follows
    std::atomic<bool> m_bCapturing = false;
    std::string m_strRateNote; ///< what the log was told last of the rate
};

} // namespace vireo
