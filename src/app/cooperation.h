#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vireo {

constexpr int kCoopMaxFiles = 4; ///< one output file per camera, four cameras at most

/// What a partner program asks for on the command line. Fixed after start-up.
struct CooperationRequest {
    bool CooperationMode = false; ///< started by a partner: at least 9 tokens and token 8 not empty
    bool PartnerPresent = false; ///< token 0 names the partner's window
    std::string PartnerTitle; ///< token 0
    std::int32_t CoopFlag = 0; ///< token 1: 1 = the values below are imposed
    std::int32_t CoopWidth = 0; ///< token 2, pixels
    std::int32_t CoopHeight = 0; ///< token 3, pixels
    std::int32_t CoopFrameRate = 0; ///< token 4, fps
    std::int32_t CoopShutter = 0; ///< token 5, denominator of 1/x s; -1 = open
    std::int32_t CoopGain = 0; ///< token 6, dB
    std::int32_t CoopSwitches = 0; ///< token 7, decimal digits are switches
    std::int32_t CoopFileCount = 0; ///< 0..4
    std::array<std::string, kCoopMaxFiles> CoopFileNames; ///< tokens 8 to 11, one per camera

    /// The values of the request are imposed on the document.
    [[nodiscard]] bool ImposesSettings() const { return CooperationMode && CoopFlag == 1; }
    /// A partner program is there to be notified.
    [[nodiscard]] bool NotifiesPartner() const { return CooperationMode && PartnerPresent; }
};

/// Result of a cooperation run, told to the partner as the exit status.
namespace cooperation_result {
constexpr int kOk = 0;
constexpr int kNoCamera = -1;
constexpr int kConfigurationFailed = -2;
constexpr int kFileOpenFailed = -3;
constexpr int kCancelled = -4;
constexpr int kRateTooHigh = -5;
constexpr int kCamerasUnfit = -6;
constexpr int kWriteFailed = -7;
} // namespace cooperation_result

/// The digits of the switches; negative numbers have none.
constexpr int SwitchOnes(std::int32_t iSwitches) { return iSwitches > 0 ? iSwitches % 10 : 0; }
constexpr int SwitchTens(std::int32_t iSwitches) { return iSwitches > 0 ? iSwitches / 10 % 10 : 0; }
/// Recording starts by itself once the cameras run in step: a multiple of 10 whose tens digit is set.
constexpr bool SwitchStartsBySelf(std::int32_t iSwitches)
{
    return SwitchOnes(iSwitches) == 0 && SwitchTens(iSwitches) >= 1;
}
/// The title shows which key starts or ends the recording.
constexpr bool SwitchShowsKeyPrompts(std::int32_t iSwitches)
{
    return SwitchOnes(iSwitches) != 0 && SwitchTens(iSwitches) != 0;
}
/// The view takes Enter and Escape.
constexpr bool SwitchEnablesKeys(std::int32_t iSwitches) { return iSwitches / 100 >= 1; }

/// Splits a command line: blanks separate, double quotes keep blanks, an empty token ends it.
std::vector<std::string> SplitCommandLine(const std::string& strCommandLine);
/// One text from the arguments (without the program's own name), as SplitCommandLine expects it: an
/// empty argument and one with blanks are quoted; a quote inside an argument is passed as it is.
std::string JoinCommandLine(int iCount, const char* const* ppArguments);
/// The request that the tokens make; CooperationMode is false when they make none.
CooperationRequest ParseCooperation(const std::vector<std::string>& tokens);

} // namespace vireo
