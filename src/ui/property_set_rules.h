#pragma once
#include "camera/capture_parameters.h"

#include <optional>
#include <string>
#include <vector>

namespace vireo {

// The rules of the settings dialog, as functions over values.

inline constexpr const char* kShutterOpen = "ｵｰﾌﾟﾝ";
inline constexpr int kFirstCameraMin = 1; ///< range of the first camera's number
inline constexpr int kFirstCameraMax = 20;
inline constexpr int kImageSizes = 4;

/// "640x480" and so on, by image-size index.
const std::vector<std::string>& ImageSizeTexts();
/// "30fps" to the highest rate that the ceiling allows; 118 only for a ceiling of exactly 118.
std::vector<std::string> FrameRateTexts(int iCeilingFps);
/// The ceiling: the models' own, lowered by the answer for an image size if there is one.
int FrameRateCeiling(int iModelMaxFps, std::optional<int> iSizeMaxFps);
/// The number before "fps"; 0 without one.
int RateOfText(const std::string& strText);
/// Which entry is selected after a rebuild: the same rate, the last one when the rate is above all, else
/// none (-1).
int SelectRate(const std::vector<std::string>& entries, int iRate);

/// Six fractions and "ｵｰﾌﾟﾝ".
const std::vector<std::string>& ShutterTexts();
/// "1/%d", or "ｵｰﾌﾟﾝ" for -1.
std::string ShutterText(int iShutter);
/// The denominator, -1 for "ｵｰﾌﾟﾝ".
int ShutterOfText(const std::string& strText);

/// The up-down's limit of the record time: the rate's entry, at least 1; 1 for an unlisted rate.
int RecordSecMaximum(const CaptureParameters& parameters, int iFps);
/// A typed record time at a rate: at most the rate's entry; as typed for an unlisted rate.
int LimitedRecordSec(const CaptureParameters& parameters, int iFps, int iSeconds);

/// Gain as a whole number within the models' limits, for the up-down.
int GainPosition(float fGain, int iMinDb, int iMaxDb);

/// What the dialog holds when OK is pressed.
struct PropertyInput {
    std::string strName;
    std::string strRate; ///< selected entry; empty = none
    std::string strRecordSec; ///< as typed
    std::string strShutter; ///< selected entry; empty = none
    bool bSizeEnabled = false;
    int iSizeSelection = -1;
    std::string strGain; ///< as typed
    std::string strCameraNumber; ///< as typed
    bool bExternalInput = false;
};

/// Why OK was refused; empty: accepted.
using PropertyRefusal = std::string;

/// Takes the input into the parameters, in the dialog's order; what stood before a check that fails
/// stays taken. The folder is the caller's.
PropertyRefusal TakeInput(const PropertyInput& input, CaptureParameters& parameters);

} // namespace vireo
