#pragma once
#include "platform/camera_library.h"
#include "platform/simulated/operations.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

constexpr int kNoCamera = -1; ///< the call concerns no camera, or the fault any of them
constexpr int kEveryCall = 1 << 30;

/// One call of the library.
struct LibraryCall {
    Operation eOperation = Operation::Connect;
    int iCamera = kNoCamera; ///< in ascending order of serial numbers, as the program counts
    std::string strArguments; ///< what distinguishes the call, such as "0x11F8=0x20000000"
    ErrorType eResult = ErrorType::Ok;
    friend bool operator==(const LibraryCall&, const LibraryCall&) = default;
};

/// The k-th call of an operation, and perhaps some after it, fails without reaching the camera.
struct LibraryFault {
    Operation eOperation = Operation::Connect;
    ErrorType eType = ErrorType::TransportFailed;
    int iCall = 1; ///< the first is 1; counted from when the fault was set
    int iCamera = kNoCamera; ///< counted for this camera alone; kNoCamera: over all
    int iCalls = 1; ///< that many calls fail
};

/// Answers that a test puts in the place of the cameras'.
struct LibraryAnswers {
    std::map<std::uint32_t, std::uint32_t> registers; ///< read values by address
    std::map<std::uint32_t, std::uint32_t> gvcpRegisters;
    std::optional<bool> strobePresent;
    std::optional<bool> imagingModeSupported;
    std::optional<std::uint32_t> pixelFormats; ///< of both custom-mode paths
    std::optional<float> frameRate; ///< read value of the property, fps
    std::optional<bool> triggerOn; ///< read value of the trigger mode
    std::map<int, std::string> models; ///< model name told by a camera
};

/// Stands around every call: gets it and what carries it out, and gives the answer.
using AroundCall = std::function<Error(const LibraryCall& call, const std::function<Error()>& perform)>;

/// What a RecordingLibrary's cameras share. Any thread.
class CallRecorder {
public:
    template <typename Call> Error Run(Operation eOperation, int iCamera, std::string strArguments, const Call& call)
    {
        LibraryCall told { eOperation, iCamera, std::move(strArguments), ErrorType::Ok };
        std::optional<ErrorType> failure = Begin(eOperation, iCamera);
        const Error error = failure ? Error(*failure) : m_around ? m_around(told, call) : call();
        told.eResult = error.GetType();
        std::lock_guard lock(m_mutex);
        m_calls.push_back(std::move(told));
        return error;
    }

    std::vector<LibraryCall> Calls() const
    {
        std::lock_guard lock(m_mutex);
        return m_calls;
    }
    void Clear()
    {
        std::lock_guard lock(m_mutex);
        m_calls.clear();
        m_cancels.clear();
    }
    void NoteCancel(int iCamera)
    {
        std::lock_guard lock(m_mutex);
        m_cancels.emplace_back(iCamera, m_calls.size());
    }
    /// Every CancelRetrieve: its camera, and how many other calls came before.
    std::vector<std::pair<int, std::size_t>> Cancels() const
    {
        std::lock_guard lock(m_mutex);
        return m_cancels;
    }
    void Fail(const LibraryFault& fault)
    {
        std::lock_guard lock(m_mutex);
        m_faults.push_back({ fault, 0 });
    }
    void ClearFaults()
    {
        std::lock_guard lock(m_mutex);
        m_faults.clear();
    }
    // Changed only while no other thread uses the library.
    LibraryAnswers m_answers;
    AroundCall m_around; ///< carries each call out, or does not; null: every call is carried out

private:
    struct ArmedFault {
        LibraryFault fault;
        int iSeen = 0;
    };
    std::optional<ErrorType> Begin(Operation eOperation, int iCamera)
    {
        std::lock_guard lock(m_mutex);
        std::optional<ErrorType> failure;
        for (ArmedFault& armed : m_faults) {
            const LibraryFault& fault = armed.fault;
            if (fault.eOperation != eOperation || (fault.iCamera != kNoCamera && fault.iCamera != iCamera))
                continue;
            ++armed.iSeen;
            if (armed.iSeen >= fault.iCall && armed.iSeen - fault.iCall < fault.iCalls)
                failure = fault.eType;
        }
        return failure;
    }

    mutable std::mutex m_mutex;
    std::vector<LibraryCall> m_calls;
    std::vector<std::pair<int, std::size_t>> m_cancels;
    std::vector<ArmedFault> m_faults;
};

inline std::string Hex(std::uint32_t uiValue)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", uiValue);
    return text;
}
inline std::string Assignment(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return Hex(uiAddress) + "=" + Hex(uiValue);
}
inline std::string Number(double dValue)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", dValue);
    return text;
}
inline std::string Describe(const Property& property)
{
    std::string strText =
        std::to_string(static_cast<int>(property.type)) + (property.autoManualMode ? " auto" : " manual");
    if (property.type == PropertyType::WhiteBalance)
        return strText + " " + std::to_string(property.valueA) + "/" + std::to_string(property.valueB);
    return strText + " " + Number(property.absValue);
}
inline std::string Describe(const TriggerMode& mode)
{
    return std::string(mode.onOff ? "on" : "off") + " polarity " + std::to_string(mode.polarity) + " source "
        + std::to_string(mode.source) + " mode " + std::to_string(mode.mode) + " parameter "
        + std::to_string(mode.parameter);
}
inline std::string Describe(const StrobeControl& control)
{
    return std::string(control.onOff ? "on" : "off") + " source " + std::to_string(control.source);
}
inline std::string Describe(const FC2Config& config)
{
    return "grab mode " + std::to_string(static_cast<int>(config.grabMode)) + " time-out "
        + std::to_string(config.grabTimeout) + " buffers " + std::to_string(config.numBuffers);
}
template <typename Settings> std::string DescribeFrame(const Settings& settings)
{
    return std::to_string(static_cast<std::int32_t>(settings.offsetX)) + ","
        + std::to_string(static_cast<std::int32_t>(settings.offsetY)) + " " + std::to_string(settings.width) + "x"
        + std::to_string(settings.height) + " " + Hex(static_cast<std::uint32_t>(settings.pixelFormat));
}

/// The common part of a recorded camera.
template <typename Kind> class RecordedCameraBase : public Kind {
public:
    RecordedCameraBase(std::unique_ptr<Kind> inner, CallRecorder& recorder, int iCamera)
        : m_inner(std::move(inner))
        , m_recorder(recorder)
        , m_iCamera(iCamera)
    {
    }
    Kind& Inner() { return *m_inner; }

    Error Connect(const PGRGuid& guid) override
    {
        return Run(Operation::Connect, {}, [&] { return m_inner->Connect(guid); });
    }
    Error Disconnect() override
    {
        return Run(Operation::Disconnect, {}, [&] { return m_inner->Disconnect(); });
    }
    bool IsConnected() const override { return m_inner->IsConnected(); }
    Error GetCameraInfo(CameraInfo& info) override
    {
        return Run(Operation::GetCameraInfo, {}, [&] {
            const Error error = m_inner->GetCameraInfo(info);
            const auto model = m_recorder.m_answers.models.find(m_iCamera);
            if (error.IsOk() && model != m_recorder.m_answers.models.end())
                info.modelName = model->second;
            return error;
        });
    }
    Error GetConfiguration(FC2Config& config) override
    {
        return Run(Operation::GetConfiguration, {}, [&] { return m_inner->GetConfiguration(config); });
    }
    Error SetConfiguration(const FC2Config& config) override
    {
        return Run(Operation::SetConfiguration, Describe(config), [&] { return m_inner->SetConfiguration(config); });
    }
    Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override
    {
        return Run(Operation::ReadRegister, Hex(uiAddress), [&] {
            const auto answer = m_recorder.m_answers.registers.find(uiAddress);
            if (answer == m_recorder.m_answers.registers.end())
                return m_inner->ReadRegister(uiAddress, uiValue);
            uiValue = answer->second;
            return Error();
        });
    }
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue) override
    {
        return Run(Operation::WriteRegister, Assignment(uiAddress, uiValue),
            [&] { return m_inner->WriteRegister(uiAddress, uiValue); });
    }
    Error GetProperty(Property& property) override
    {
        return Run(Operation::GetProperty, std::to_string(static_cast<int>(property.type)), [&] {
            const Error error = m_inner->GetProperty(property);
            if (error.IsOk() && property.type == PropertyType::FrameRate && m_recorder.m_answers.frameRate)
                property.absValue = *m_recorder.m_answers.frameRate;
            return error;
        });
    }
    Error SetProperty(const Property& property) override
    {
        return Run(Operation::SetProperty, Describe(property), [&] { return m_inner->SetProperty(property); });
    }
    Error GetPropertyInfo(PropertyInfo& info) override
    {
        return Run(Operation::GetPropertyInfo, std::to_string(static_cast<int>(info.type)),
            [&] { return m_inner->GetPropertyInfo(info); });
    }
    Error GetTriggerMode(TriggerMode& mode) override
    {
        return Run(Operation::GetTriggerMode, {}, [&] {
            const Error error = m_inner->GetTriggerMode(mode);
            if (error.IsOk() && m_recorder.m_answers.triggerOn)
                mode.onOff = *m_recorder.m_answers.triggerOn;
            return error;
        });
    }
    Error SetTriggerMode(const TriggerMode& mode) override
    {
        return Run(Operation::SetTriggerMode, Describe(mode), [&] { return m_inner->SetTriggerMode(mode); });
    }
    Error GetStrobeInfo(StrobeInfo& info) override
    {
        return Run(Operation::GetStrobeInfo, "source " + std::to_string(info.source), [&] {
            const Error error = m_inner->GetStrobeInfo(info);
            if (error.IsOk() && m_recorder.m_answers.strobePresent)
                info.present = *m_recorder.m_answers.strobePresent;
            return error;
        });
    }
    Error GetStrobe(StrobeControl& control) override
    {
        return Run(Operation::GetStrobe, "source " + std::to_string(control.source),
            [&] { return m_inner->GetStrobe(control); });
    }
    Error SetStrobe(const StrobeControl& control) override
    {
        return Run(Operation::SetStrobe, Describe(control), [&] { return m_inner->SetStrobe(control); });
    }
    Error StartCapture() override
    {
        return Run(Operation::StartCapture, {}, [&] { return m_inner->StartCapture(); });
    }
    Error StopCapture() override
    {
        return Run(Operation::StopCapture, {}, [&] { return m_inner->StopCapture(); });
    }
    Error RetrieveBuffer(Image& image) override
    {
        return Run(Operation::RetrieveBuffer, {}, [&] { return m_inner->RetrieveBuffer(image); });
    }
    void CancelRetrieve() override
    {
        m_recorder.NoteCancel(m_iCamera);
        m_inner->CancelRetrieve();
    }
    StreamStatistics GetStreamStatistics() const override { return m_inner->GetStreamStatistics(); }

protected:
    template <typename Call> Error Run(Operation eOperation, std::string strArguments, const Call& call)
    {
        return m_recorder.Run(eOperation, m_iCamera, std::move(strArguments), call);
    }
    std::unique_ptr<Kind> m_inner;
    CallRecorder& m_recorder;
    int m_iCamera;
};

class RecordedCamera : public RecordedCameraBase<Camera> {
public:
    using RecordedCameraBase<Camera>::RecordedCameraBase;

    Error SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate) override
    {
        const std::string strArguments =
            "mode " + std::to_string(static_cast<int>(eMode)) + " rate " + std::to_string(static_cast<int>(eRate));
        return Run(Operation::SetVideoModeAndFrameRate, strArguments,
            [&] { return m_inner->SetVideoModeAndFrameRate(eMode, eRate); });
    }
    Error GetFormat7Info(Format7Info& info, bool& bSupported) override
    {
        return Run(Operation::GetFormat7Info, "mode " + std::to_string(info.mode), [&] {
            const Error error = m_inner->GetFormat7Info(info, bSupported);
            if (error.IsOk() && m_recorder.m_answers.pixelFormats)
                info.pixelFormatBitField = *m_recorder.m_answers.pixelFormats;
            return error;
        });
    }
    Error ValidateFormat7Settings(
        const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo) override
    {
        return Run(Operation::ValidateFormat7Settings, Describe(settings),
            [&] { return m_inner->ValidateFormat7Settings(settings, bValid, packetInfo); });
    }
    Error SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket) override
    {
        return Run(Operation::SetFormat7Configuration,
            Describe(settings) + " packet " + std::to_string(uiBytesPerPacket),
            [&] { return m_inner->SetFormat7Configuration(settings, uiBytesPerPacket); });
    }

private:
    static std::string Describe(const Format7ImageSettings& settings)
    {
        return "mode " + std::to_string(settings.mode) + " " + DescribeFrame(settings);
    }
};

class RecordedGigECamera : public RecordedCameraBase<GigECamera> {
public:
    using RecordedCameraBase<GigECamera>::RecordedCameraBase;

    Error ReadGVCPRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override
    {
        return Run(Operation::ReadGVCPRegister, Hex(uiAddress), [&] {
            const auto answer = m_recorder.m_answers.gvcpRegisters.find(uiAddress);
            if (answer == m_recorder.m_answers.gvcpRegisters.end())
                return m_inner->ReadGVCPRegister(uiAddress, uiValue);
            uiValue = answer->second;
            return Error();
        });
    }
    Error WriteGVCPRegister(std::uint32_t uiAddress, std::uint32_t uiValue) override
    {
        return Run(Operation::WriteGVCPRegister, Assignment(uiAddress, uiValue),
            [&] { return m_inner->WriteGVCPRegister(uiAddress, uiValue); });
    }
    Error GetNumStreamChannels(std::uint32_t& uiChannels) override
    {
        return Run(Operation::GetNumStreamChannels, {}, [&] { return m_inner->GetNumStreamChannels(uiChannels); });
    }
    Error GetGigEStreamChannelInfo(std::uint32_t uiChannel, GigEStreamChannel& channel) override
    {
        return Run(Operation::GetGigEStreamChannelInfo, std::to_string(uiChannel),
            [&] { return m_inner->GetGigEStreamChannelInfo(uiChannel, channel); });
    }
    Error SetGigEStreamChannelInfo(std::uint32_t uiChannel, const GigEStreamChannel& channel) override
    {
        std::string strArguments = std::to_string(uiChannel) + " to ";
        for (std::size_t i = 0; i < 4; ++i)
            strArguments += (i == 0 ? "" : ".") + std::to_string(channel.destinationIpAddress.octets[i]);
        return Run(Operation::SetGigEStreamChannelInfo, strArguments,
            [&] { return m_inner->SetGigEStreamChannelInfo(uiChannel, channel); });
    }
    Error DiscoverGigEPacketSize(std::uint32_t& uiPacketSize) override
    {
        return Run(Operation::DiscoverGigEPacketSize, "from " + std::to_string(uiPacketSize),
            [&] { return m_inner->DiscoverGigEPacketSize(uiPacketSize); });
    }
    Error QueryGigEImagingMode(ImagingMode mode, bool& bSupported) override
    {
        return Run(Operation::QueryGigEImagingMode, std::to_string(mode), [&] {
            const Error error = m_inner->QueryGigEImagingMode(mode, bSupported);
            if (error.IsOk() && m_recorder.m_answers.imagingModeSupported)
                bSupported = *m_recorder.m_answers.imagingModeSupported;
            return error;
        });
    }
    Error SetGigEImagingMode(ImagingMode mode) override
    {
        return Run(
            Operation::SetGigEImagingMode, std::to_string(mode), [&] { return m_inner->SetGigEImagingMode(mode); });
    }
    Error GetGigEImageSettingsInfo(GigEImageSettingsInfo& info) override
    {
        return Run(Operation::GetGigEImageSettingsInfo, {}, [&] {
            const Error error = m_inner->GetGigEImageSettingsInfo(info);
            if (error.IsOk() && m_recorder.m_answers.pixelFormats)
                info.pixelFormatBitField = *m_recorder.m_answers.pixelFormats;
            return error;
        });
    }
    Error SetGigEImageSettings(const GigEImageSettings& settings) override
    {
        return Run(Operation::SetGigEImageSettings, DescribeFrame(settings),
            [&] { return m_inner->SetGigEImageSettings(settings); });
    }
    Error GetGigEConfig(GigEConfig& config) override
    {
        return Run(Operation::GetGigEConfig, {}, [&] { return m_inner->GetGigEConfig(config); });
    }
    Error SetGigEConfig(const GigEConfig& config) override
    {
        return Run(Operation::SetGigEConfig, config.enablePacketResend ? "resend" : "no resend",
            [&] { return m_inner->SetGigEConfig(config); });
    }
};

/// A library that passes every call on to another one, keeps a list of them, and fails those that a test
/// names. Cameras are numbered in ascending order of serial numbers. Outlives its cameras.
class RecordingLibrary : public CameraLibrary, private BusManager {
public:
    explicit RecordingLibrary(CameraLibrary& inner)
        : m_inner(inner)
    {
        for (const CameraInfo& info : inner.ListCameras())
            m_busSerials.push_back(info.serialNumber);
        m_serials = m_busSerials;
        std::sort(m_serials.begin(), m_serials.end());
    }

    std::vector<LibraryCall> Calls() const { return m_recorder.Calls(); }
    /// The calls of one operation, of one camera unless it is kNoCamera.
    std::vector<LibraryCall> Calls(Operation eOperation, int iCamera = kNoCamera) const
    {
        std::vector<LibraryCall> calls = Calls();
        std::erase_if(calls, [&](const LibraryCall& call) {
            return call.eOperation != eOperation || (iCamera != kNoCamera && call.iCamera != iCamera);
        });
        return calls;
    }
    /// Their arguments.
    std::vector<std::string> Arguments(Operation eOperation, int iCamera = kNoCamera) const
    {
        std::vector<std::string> arguments;
        for (LibraryCall& call : Calls(eOperation, iCamera))
            arguments.push_back(std::move(call.strArguments));
        return arguments;
    }
    std::vector<std::pair<int, std::size_t>> Cancels() const { return m_recorder.Cancels(); }
    void Clear() { m_recorder.Clear(); }
    void Fail(const LibraryFault& fault) { m_recorder.Fail(fault); }
    void ClearFaults() { m_recorder.ClearFaults(); }
    LibraryAnswers& Answers() { return m_recorder.m_answers; }
    void Around(AroundCall around) { m_recorder.m_around = std::move(around); }

    BusManager& GetBusManager() override { return *this; }
    std::vector<CameraInfo> ListCameras() override { return m_inner.ListCameras(); }
    std::unique_ptr<Camera> CreateCamera(const PGRGuid& guid) override
    {
        return Wrap<RecordedCamera>(m_inner.CreateCamera(guid), guid);
    }
    std::unique_ptr<GigECamera> CreateGigECamera(const PGRGuid& guid) override
    {
        return Wrap<RecordedGigECamera>(m_inner.CreateGigECamera(guid), guid);
    }
    Error StartSyncCapture(std::span<CameraBase* const> cameras) override
    {
        std::vector<CameraBase*> inner;
        for (CameraBase* pCamera : cameras) {
            if (auto* pOther = dynamic_cast<RecordedCamera*>(pCamera))
                inner.push_back(&pOther->Inner());
            else if (auto* pGigE = dynamic_cast<RecordedGigECamera*>(pCamera))
                inner.push_back(&pGigE->Inner());
        }
        return m_recorder.Run(Operation::StartSyncCapture, kNoCamera, std::to_string(cameras.size()),
            [&] { return m_inner.StartSyncCapture(inner); });
    }

private:
    int NumberOf(std::uint32_t uiSerial) const
    {
        const auto found = std::find(m_serials.begin(), m_serials.end(), uiSerial);
        return found == m_serials.end() ? kNoCamera : static_cast<int>(found - m_serials.begin());
    }
    int NumberOf(const PGRGuid& guid) const
    {
        const auto found = m_guids.find(guid);
        return found == m_guids.end() ? kNoCamera : NumberOf(found->second);
    }
    template <typename Recorded, typename Kind>
    std::unique_ptr<Recorded> Wrap(std::unique_ptr<Kind> camera, const PGRGuid& guid)
    {
        if (!camera)
            return nullptr;
        return std::make_unique<Recorded>(std::move(camera), m_recorder, NumberOf(guid));
    }

    Error GetNumOfCameras(unsigned int& uiCount) override
    {
        return m_recorder.Run(Operation::GetNumOfCameras, kNoCamera, {},
            [&] { return m_inner.GetBusManager().GetNumOfCameras(uiCount); });
    }
    Error GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber) override
    {
        const int iCamera = uiIndex < m_busSerials.size() ? NumberOf(m_busSerials[uiIndex]) : kNoCamera;
        return m_recorder.Run(Operation::GetCameraSerialNumberFromIndex, iCamera, std::to_string(uiIndex),
            [&] { return m_inner.GetBusManager().GetCameraSerialNumberFromIndex(uiIndex, uiSerialNumber); });
    }
    Error GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid) override
    {
        return m_recorder.Run(
            Operation::GetCameraFromSerialNumber, NumberOf(uiSerialNumber), std::to_string(uiSerialNumber), [&] {
                const Error error = m_inner.GetBusManager().GetCameraFromSerialNumber(uiSerialNumber, guid);
                if (error.IsOk())
                    m_guids[guid] = uiSerialNumber;
                return error;
            });
    }
    Error GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface) override
    {
        return m_recorder.Run(Operation::GetInterfaceTypeFromGuid, NumberOf(guid), {},
            [&] { return m_inner.GetBusManager().GetInterfaceTypeFromGuid(guid, eInterface); });
    }

    CameraLibrary& m_inner;
    CallRecorder m_recorder;
    std::vector<std::uint32_t> m_busSerials;
    std::vector<std::uint32_t> m_serials; ///< ascending
    std::map<PGRGuid, std::uint32_t> m_guids;
};

} // namespace vireo::test
