#pragma once
#include <string>
#include <string_view>
#include <utility>

namespace vireo {

/// The numeric error types of the camera library, shown to the operator as "(%d)".
/// 0, 18, 32 and 41 are fixed by the capture logic; a number is never reused for another meaning.
/// Every backend maps its own failures onto these and defines no further ones.
enum class ErrorType : int {
    Ok = 0,
    NotConnected = 1, ///< the call needs Connect() first
    AlreadyConnected = 2, ///< Connect() on a connected object
    NotFound = 3, ///< no camera with that bus index, serial number or identifier
    AccessDenied = 4, ///< the camera is controlled by another program
    InvalidParameter = 5, ///< a value outside what the camera accepts
    NotSupported = 6, ///< the camera lacks the feature
    AlreadyStarted = 7, ///< StartCapture() while capturing
    NotStarted = 8, ///< StopCapture() while stopped
    RegisterFailed = 9, ///< a register access was refused
    PropertyFailed = 10, ///< a property access was refused
    InvalidSettings = 11, ///< image settings that do not fit the camera
    Disconnected = 12, ///< the camera is gone; every later call answers this at once
    OutOfResources = 13, ///< no memory, no bandwidth, no descriptor
    ConversionFailed = 14, ///< pixel formats that cannot be converted into each other
    FileOpenFailed = 15, ///< a video file could not be created
    FileWriteFailed = 16, ///< a video file could not be written (disk full, device error)
    FileCloseFailed = 17, ///< a video file could not be completed
    Timeout = 18, ///< no frame within the grab time-out
    EncodeFailed = 19, ///< a frame could not be compressed
    TransportFailed = 20, ///< the bus or network did not carry the request
    NothingToDeliver = 32, ///< not started, wait cancelled, or an incomplete frame was dropped and counted
    InconsistentFrame = 41, ///< an inconsistent frame stood in the buffer while draining
};

/// A short English name of the type, for traces. Never null.
std::string_view ErrorTypeName(ErrorType eType);

/// The outcome of a library call: a small value, comparable, without exceptions.
/// The description is for traces and for texts that quote the library; it is empty for Ok.
class [[nodiscard]] Error {
public:
    Error() = default;
    Error(ErrorType eType) // `return ErrorType::Timeout;` is the usual exit
        : m_eType(eType)
    {
    }
    Error(ErrorType eType, std::string strDescription)
        : m_eType(eType)
        , m_strDescription(std::move(strDescription))
    {
    }

    [[nodiscard]] ErrorType GetType() const { return m_eType; }
    /// The number behind "(%d)".
    [[nodiscard]] int GetTypeNumber() const { return static_cast<int>(m_eType); }
    /// The library's own words; the type's name when it gave none.
    [[nodiscard]] std::string GetDescription() const
    {
        return m_strDescription.empty() ? std::string(ErrorTypeName(m_eType)) : m_strDescription;
    }
    /// The library gave words of its own.
    [[nodiscard]] bool HasDescription() const { return !m_strDescription.empty(); }
    [[nodiscard]] bool IsOk() const { return m_eType == ErrorType::Ok; }
    friend bool operator==(const Error& error, ErrorType eType) { return error.m_eType == eType; }

private:
    ErrorType m_eType = ErrorType::Ok;
    std::string m_strDescription;
};

inline std::string_view ErrorTypeName(ErrorType eType)
{
    switch (eType) {
    case ErrorType::Ok: return "ok";
    case ErrorType::NotConnected: return "camera not connected";
    case ErrorType::AlreadyConnected: return "camera already connected";
    case ErrorType::NotFound: return "camera not found";
    case ErrorType::AccessDenied: return "camera is controlled by another program";
    case ErrorType::InvalidParameter: return "invalid parameter";
    case ErrorType::NotSupported: return "not supported by the camera";
    case ErrorType::AlreadyStarted: return "capture already started";
    case ErrorType::NotStarted: return "capture not started";
    case ErrorType::RegisterFailed: return "register access failed";
    case ErrorType::PropertyFailed: return "property access failed";
    case ErrorType::InvalidSettings: return "invalid image settings";
    case ErrorType::Disconnected: return "camera disconnected";
    case ErrorType::OutOfResources: return "out of resources";
    case ErrorType::ConversionFailed: return "pixel conversion failed";
    case ErrorType::FileOpenFailed: return "file open failed";
    case ErrorType::FileWriteFailed: return "file write failed";
    case ErrorType::FileCloseFailed: return "file close failed";
    case ErrorType::Timeout: return "no frame within the time-out";
    case ErrorType::EncodeFailed: return "frame compression failed";
    case ErrorType::TransportFailed: return "transport failed";
    case ErrorType::NothingToDeliver: return "nothing to deliver";
    case ErrorType::InconsistentFrame: return "inconsistent frame";
    }
    return "unknown error";
}

} // namespace vireo
