#pragma once
#include "platform/error.h"

#include <array>
#include <arv.h>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace vireo {

/// What a camera may be able to do. Makers give it different names: see the table in features.cpp.
enum class Feature {
    AcquisitionMode,
    FrameRate, ///< fps
    FrameRateEnable,
    FrameRateAuto,
    Exposure, ///< us
    ExposureMode,
    ExposureAuto,
    Gain, ///< dB
    GainSelector,
    GainAuto,
    BalanceRatio,
    BalanceSelector,
    BalanceAuto,
    Width,
    Height,
    OffsetX,
    OffsetY,
    WidthMax,
    HeightMax,
    SensorWidth,
    SensorHeight,
    PixelFormat,
    VideoMode,
    BinningHorizontal,
    BinningVertical,
    TriggerSelector,
    TriggerMode,
    TriggerSource,
    TriggerActivation,
    TriggerOverlap,
    LineSelector,
    LineMode,
    LineInverter,
    LineSource,
    LineStatus,
    LineStatusAll,
    UserOutputSelector,
    UserOutputValue,
    StrobeEnable,
    StrobeDelay, ///< us
    StrobeDuration, ///< us
    ChunkModeActive,
    TransferLocked, ///< a number: while it is 1 the image cannot change
    Count,
};

struct FeatureRange {
    double dMin = 0.0;
    double dMax = 0.0;
};

/// The named features of one open device. Every Error names the camera and the feature. Used by the
/// device's own thread only.
class Features {
public:
    /// `strCamera` is how errors call the camera.
    Features(ArvDevice* pDevice, std::string strCamera);

    /// The camera has the feature under one of its names. True as well when it did not answer the question:
    /// the use of the feature then tells the error.
    bool Has(Feature eFeature);

    /// In the unit that stands beside the feature, whatever the camera counts in.
    Error GetFloat(Feature eFeature, double& dValue);
    Error SetFloat(Feature eFeature, double dValue);
    Error GetRange(Feature eFeature, FeatureRange& range);
    /// As near to `dValue` as the camera allows now.
    Error SetNearest(Feature eFeature, double dValue);

    Error GetInteger(Feature eFeature, std::int64_t& iValue);
    Error SetInteger(Feature eFeature, std::int64_t iValue);
    /// The step between two allowed values; 1 when the camera names none.
    Error GetStep(Feature eFeature, std::int64_t& iStep);

    /// A switch, be it a truth value, a number or a choice of two words.
    Error GetSwitch(Feature eFeature, bool& bOn);
    Error SetSwitch(Feature eFeature, bool bOn);

    /// A choice of words.
    Error GetChoice(Feature eFeature, std::string& strValue);
    Error SetChoice(Feature eFeature, const std::string& strValue);
    bool HasChoice(Feature eFeature, const std::string& strValue);
    std::vector<std::string> Choices(Feature eFeature);
    /// Sets the first of the words that the camera knows; NotSupported when it knows none.
    Error SetFirstChoice(Feature eFeature, std::initializer_list<std::string> words);

    /// Registers of the transport, most significant byte first on the wire.
    Error ReadWord(std::uint64_t uiAddress, std::uint32_t& uiValue);
    Error WriteWord(std::uint64_t uiAddress, std::uint32_t uiValue);

    /// "camera 123: lacks ExposureTime".
    Error Missing(Feature eFeature) const;
    Error Fail(ErrorType eType, std::string_view strText) const;
    /// The type that stands for a driver error; `eOther` where none fits.
    Error Translate(const GError* pError, std::string_view strWhat, ErrorType eOther) const;
    ArvDevice* Device() const { return m_pDevice; }
    const std::string& Camera() const { return m_strCamera; }

private:
    /// Looks for the feature. @return Missing, or why the camera could not be asked.
    Error Need(Feature eFeature);
    Error LookUp(Feature eFeature);

    // Of a feature that was found.
    const char* Name(Feature eFeature) const;
    ArvGcNode* Node(Feature eFeature) const;
    /// How many steps of the camera's make one of our units.
    double Scale(Feature eFeature) const;

    struct Found {
        const char* strName = nullptr;
        ArvGcNode* pNode = nullptr;
        double dScale = 1.0;
    };

    ArvDevice* m_pDevice;
    std::string m_strCamera;
    std::array<Found, static_cast<std::size_t>(Feature::Count)> m_found {};
};

} // namespace vireo
