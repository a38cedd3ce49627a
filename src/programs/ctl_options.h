#pragma once
#include <string>

namespace vireo {

/// What the command line of tessel-ctl asks for.
struct CtlOptions {
    enum class Verb {
        Start, ///< tell the program to start recording
        Stop, ///< tell it to stop
        Listen, ///< stand in for the partner's window
    } eVerb = Verb::Start;
    std::string strTitle; ///< the window that Listen stands in for
};

/// How reading the command line ended.
struct ParsedCtl {
    CtlOptions options;
    bool bRun = false; ///< else the program ends with `iStatus` after printing `strText`
    int iStatus = 0; ///< 0 (help, version) or 2 (usage)
    std::string strText; ///< for stdout when iStatus is 0, else stderr
};

ParsedCtl ParseCtlOptions(int iCount, const char* const* ppArguments);

/// Exit statuses of tessel-ctl.
namespace ctl_status {
constexpr int kDone = 0; ///< handled; a listener was told to end
constexpr int kNobody = 1; ///< no program runs; a listener's title is taken, or its output gone
constexpr int kUsage = 2;
constexpr int kUnknown = 3; ///< the program did not understand
constexpr int kRefused = 4; ///< another user's, or it hung up without an answer
constexpr int kNoAnswer = 5; ///< it has the message, or is too busy to take one, and does not answer
} // namespace ctl_status

} // namespace vireo
