#pragma once
#include <optional>
#include <string>

namespace vireo {

/// What the command line of tessel-record asks for.
struct RecordOptions {
    std::string strBase; ///< files are BASE-camN-0000.avi
    std::optional<int> iPreset; ///< 1..4: values from the settings file
    std::optional<int> iFps;
    std::optional<int> iImageSizeIndex;
    std::optional<int> iShutter; ///< denominator of 1/x s; -1 = open
    std::optional<float> fGain; ///< dB
    std::optional<int> iSeconds;
    std::optional<std::string> strCameras; ///< as TESSEL_CAMERAS
    bool bTriggerWait = false;
    std::optional<double> dTimeoutSeconds; ///< gives up waiting; none = without limit
    std::string strJson; ///< file, "-" for stdout, empty = none
    bool bQuiet = false;
    bool bStrict = false; ///< lost or parted frames change the exit status
};

/// How reading the command line ended.
struct ParsedOptions {
    RecordOptions options;
    bool bRun = false; ///< else the program ends with `iStatus` after telling `strText`
    int iStatus = 0; ///< 0 (help, version) or 2 (usage)
    std::string strText; ///< for stdout when iStatus is 0, else what is wrong, one line; `options.strJson` is set then
};

ParsedOptions ParseRecordOptions(int iCount, const char* const* ppArguments);

} // namespace vireo
