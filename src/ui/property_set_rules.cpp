#include "ui/property_set_rules.h"

#include "app/format_text.h"
#include "app/number_text.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr int kOddRate = 118; ///< a ceiling of exactly this offers it in the place of 120

constexpr const char* kNoSizeSelected = "画面ｻｲｽﾞが選択されていません";
constexpr const char* kWrongSizeSelected = "画面ｻｲｽﾞの選択が正しくありません";
constexpr const char* kCameraNumberOutOfRange = "ｶﾒﾗ番号の初期値が範囲外です %d";

/// The limit of a listed rate; none for another one.
std::optional<int> ListedMaximum(const CaptureParameters& parameters, int iFps)
{
    const int iIndex = RateIndex(iFps);
    if (iIndex < 0)
        return std::nullopt;
    return std::max(1, parameters.m_iMaxRecordSec[static_cast<std::size_t>(iIndex)]);
}

} // namespace

const std::vector<std::string>& ImageSizeTexts()
{
    static const std::vector<std::string> texts { "640x480", "1024x768", "1280x720", "1920x1080" };
    return texts;
}

std::vector<std::string> FrameRateTexts(int iCeilingFps)
{
    std::vector<std::string> texts;
    for (const int iRate : kFrameRates) {
        if (iRate == 120 && iCeilingFps == kOddRate)
            texts.push_back(FormatText("%dfps", kOddRate));
        if (iRate == kFrameRates.front() || iRate <= iCeilingFps)
            texts.push_back(FormatText("%dfps", iRate));
    }
    return texts;
}

int FrameRateCeiling(int iModelMaxFps, std::optional<int> iSizeMaxFps)
{
    return std::min(iModelMaxFps, iSizeMaxFps.value_or(iModelMaxFps));
}

int RateOfText(const std::string& strText) { return TextToInt(strText); }

int SelectRate(const std::vector<std::string>& entries, int iRate)
{
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (RateOfText(entries[i]) == iRate)
            return static_cast<int>(i);
    if (!entries.empty() && iRate > RateOfText(entries.back()))
        return static_cast<int>(entries.size()) - 1;
    return -1;
}

const std::vector<std::string>& ShutterTexts()
{
    static const std::vector<std::string> texts { "1/10000", "1/5000", "1/2000", "1/1000", "1/500", "1/250",
        kShutterOpen };
    return texts;
}

std::string ShutterText(int iShutter) { return iShutter == -1 ? kShutterOpen : FormatText("1/%d", iShutter); }

int ShutterOfText(const std::string& strText)
{
    if (strText == kShutterOpen)
        return -1;
    return strText.size() > 2 ? TextToInt(strText.substr(2)) : 0;
}

int RecordSecMaximum(const CaptureParameters& parameters, int iFps)
{
    return ListedMaximum(parameters, iFps).value_or(1);
}

int LimitedRecordSec(const CaptureParameters& parameters, int iFps, int iSeconds)
{
    return std::min(iSeconds, ListedMaximum(parameters, iFps).value_or(iSeconds));
}

int GainPosition(float fGain, int iMinDb, int iMaxDb)
{
    const float fLimited = std::isnan(fGain)
        ? static_cast<float>(iMinDb)
        : std::min(std::max(fGain, static_cast<float>(iMinDb)), static_cast<float>(iMaxDb));
    return static_cast<int>(fLimited);
}

PropertyRefusal TakeInput(const PropertyInput& input, CaptureParameters& parameters)
{
    // Without a selection the old rate and shutter stay: 0 would be no setting at all.
    const int iFps = input.strRate.empty() ? parameters.m_iFps : RateOfText(input.strRate);
    const int iRecordSec = LimitedRecordSec(parameters, iFps, TextToInt(input.strRecordSec));

    parameters.m_strPresetName = input.strName;
    const auto uiPreset = static_cast<std::size_t>(parameters.PresetIndex);
    if (parameters.PresetIndex >= 0 && uiPreset < parameters.m_astrPresetNames.size())
        parameters.m_astrPresetNames[uiPreset] = input.strName; // one beyond the caption's entry, which follows
    parameters.m_iFps = iFps;
    if (!input.strShutter.empty())
        parameters.m_iShutter = ShutterOfText(input.strShutter);

    const int iSize = input.bSizeEnabled ? input.iSizeSelection : 0;
    if (iSize < 0)
        return kNoSizeSelected;
    if (iSize >= kImageSizes)
        return kWrongSizeSelected;
    parameters.m_iImageSizeIndex = iSize;
    parameters.m_fGain = TextToFloat(input.strGain);

    const int iNumber = TextToInt(input.strCameraNumber);
    if (iNumber < kFirstCameraMin || iNumber > kFirstCameraMax)
        return FormatText(kCameraNumberOutOfRange, iNumber);
    parameters.InitialCameraNumber = iNumber;
    parameters.m_iRecordSec = iRecordSec;
    parameters.TriggerLowHigh = true; // the dialog has no control for it
    parameters.IsMaster = !input.bExternalInput;
    return {};
}

} // namespace vireo
