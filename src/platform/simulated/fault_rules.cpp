#include "platform/simulated/simulated_setup.h"
#include "platform/simulated/text_scan.h"

#include <algorithm>

namespace vireo {

namespace {

// Bounds that keep every sum of times inside 64 bits.
constexpr std::int64_t kMaxDelayNs = 3600 * kNsPerSecond;
constexpr std::int64_t kMaxDriftPpb = 500'000'000;
constexpr std::int64_t kMaxMilliHertz = 100'000'000;
constexpr int kUsPlaces = 3; // microseconds and parts per million in thousandths
constexpr int kMsPlaces = 6;
constexpr int kHzPlaces = 3;

/// One rule while it is read: NAME:REST. `strWhy` says what is wrong with it.
struct Rule {
    std::string_view strName;
    std::string_view strRest;
    std::size_t uiCameras = 0;
    SimulatedFaults* pFaults = nullptr;
    std::string strWhy;
};

/// Cuts `strText` at `cMark`; the second part is none when there is no mark.
std::pair<std::string_view, std::optional<std::string_view>> Cut(std::string_view strText, char cMark)
{
    const std::size_t uiMark = strText.find(cMark);
    if (uiMark == std::string_view::npos)
        return { strText, std::nullopt };
    return { strText.substr(0, uiMark), strText.substr(uiMark + 1) };
}

bool Fail(Rule& rule, std::string strWhy)
{
    rule.strWhy = std::move(strWhy);
    return false;
}

std::optional<std::size_t> ReadCamera(Rule& rule, std::string_view strText)
{
    const auto camera = ScanNumber(strText);
    if (!camera)
        Fail(rule, "the camera must be a number");
    else if (*camera >= rule.uiCameras)
        Fail(rule, "there is no camera " + std::string(strText));
    else
        return static_cast<std::size_t>(*camera);
    return std::nullopt;
}

CameraFaults* FaultsOf(Rule& rule, std::string_view strCamera)
{
    const auto camera = ReadCamera(rule, strCamera);
    if (!camera)
        return nullptr;
    auto& cameras = rule.pFaults->cameras;
    cameras.resize(std::max(cameras.size(), *camera + 1));
    return &cameras[*camera];
}

/// CAMERA@N[xCOUNT] into a list of ranges.
bool ReadRange(Rule& rule, std::vector<NumberRange> CameraFaults::*pList)
{
    const auto [strCamera, strRange] = Cut(rule.strRest, '@');
    if (!strRange)
        return Fail(rule, "a frame number after @ is missing");
    const auto [strFirst, strCount] = Cut(*strRange, 'x');
    const auto first = ScanNumber(strFirst);
    const auto count = strCount ? ScanNumber(*strCount) : 1;
    if (!first || !count || *count == 0)
        return Fail(rule, "frame number and count must be numbers");
    CameraFaults* pFaults = FaultsOf(rule, strCamera);
    if (pFaults == nullptr)
        return false;
    (pFaults->*pList).push_back({ *first, *count });
    return true;
}

/// CAMERA@N into one number.
bool ReadNumber(Rule& rule, std::optional<std::uint64_t> CameraFaults::*pNumber)
{
    const auto [strCamera, strNumber] = Cut(rule.strRest, '@');
    const auto number = strNumber ? ScanNumber(*strNumber) : std::nullopt;
    if (!number)
        return Fail(rule, "a frame number after @ is missing");
    CameraFaults* pFaults = FaultsOf(rule, strCamera);
    if (pFaults == nullptr)
        return false;
    if (pFaults->*pNumber)
        return Fail(rule, "given twice");
    pFaults->*pNumber = *number;
    return true;
}

/// CAMERA=VALUE, VALUE in thousandths.
bool ReadValue(Rule& rule, std::int64_t iMax, std::string_view& strCamera, std::int64_t& iValue)
{
    const auto [strBefore, strValue] = Cut(rule.strRest, '=');
    const auto value = strValue ? ScanFixedPoint(*strValue, kUsPlaces, iMax) : std::nullopt;
    if (!value)
        return Fail(rule, "a value after = is missing or out of range");
    strCamera = strBefore;
    iValue = *value;
    return true;
}

bool ReadClock(Rule& rule, std::int64_t iMax, std::optional<std::int64_t> CameraFaults::*pField)
{
    std::string_view strCamera;
    std::int64_t iValue = 0;
    if (!ReadValue(rule, iMax, strCamera, iValue))
        return false;
    CameraFaults* pFaults = FaultsOf(rule, strCamera);
    if (pFaults == nullptr)
        return false;
    if (pFaults->*pField)
        return Fail(rule, "given twice");
    pFaults->*pField = iValue;
    return true;
}

bool ReadPhase(Rule& rule)
{
    std::string_view strCamera;
    std::int64_t iValue = 0;
    if (!ReadValue(rule, kMaxDelayNs, strCamera, iValue))
        return false;
    if (iValue < 0)
        return Fail(rule, "no exposure comes before its edge");
    CameraFaults* pFaults = FaultsOf(rule, strCamera);
    if (pFaults == nullptr)
        return false;
    pFaults->phase = iValue;
    return true;
}

/// CAMERA@N=MILLISECONDS
bool ReadStall(Rule& rule)
{
    const auto [strCamera, strRest] = Cut(rule.strRest, '@');
    const auto [strNumber, strDelay] = Cut(strRest.value_or(""), '=');
    const auto number = ScanNumber(strNumber);
    const std::int64_t iDelay = ScanFixedPoint(strDelay.value_or(""), kMsPlaces, kMaxDelayNs).value_or(-1);
    if (!number || iDelay < 0)
        return Fail(rule, "a frame number after @ and milliseconds after = are needed");
    CameraFaults* pFaults = FaultsOf(rule, strCamera);
    if (pFaults == nullptr)
        return false;
    pFaults->stall.push_back({ *number, iDelay });
    return true;
}

/// OPERATION:TYPE[@K][#CAMERA]
bool ReadError(Rule& rule)
{
    const auto [strCall, strCamera] = Cut(rule.strRest, '#');
    const auto [strOperation, strTail] = Cut(strCall, ':');
    const auto [strType, strCount] = Cut(strTail.value_or(""), '@');
    ErrorFault fault;
    const auto operation = FindOperation(strOperation);
    if (!operation)
        return Fail(rule, "unknown operation " + Quoted(strOperation));
    fault.eOperation = *operation;
    const auto type = ScanNumber(strType, INT32_MAX);
    fault.eType = static_cast<ErrorType>(type.value_or(0));
    if (!type || *type == 0 || ErrorTypeName(fault.eType) == ErrorTypeName(static_cast<ErrorType>(-1)))
        return Fail(rule, "unknown error type " + Quoted(strType));
    const auto call = strCount ? ScanNumber(*strCount) : 1;
    if (!call || *call == 0)
        return Fail(rule, "calls count from 1");
    fault.uiCall = *call;
    if (strCamera) {
        if (!HasCamera(fault.eOperation))
            return Fail(rule, "the operation concerns all cameras");
        fault.camera = ReadCamera(rule, *strCamera);
        if (!fault.camera)
            return false;
    }
    rule.pFaults->errors.push_back(fault);
    return true;
}

/// HZ[@DELAY_MS]
bool ReadTrigger(Rule& rule)
{
    const auto [strRate, strDelay] = Cut(rule.strRest, '@');
    const auto rate = ScanFixedPoint(strRate, kHzPlaces, kMaxMilliHertz);
    if (!rate || *rate <= 0)
        return Fail(rule, "the frequency must be above 0 Hz and at most 100 kHz");
    const auto delay = strDelay ? ScanFixedPoint(*strDelay, kMsPlaces, kMaxDelayNs) : 0;
    if (!delay || *delay < 0)
        return Fail(rule, "the delay must be in milliseconds");
    if (rule.pFaults->generator)
        return Fail(rule, "given twice");
    rule.pFaults->generator = GeneratorSetup { *rate, strDelay ? delay : std::nullopt };
    return true;
}

struct RuleKind {
    std::string_view strName;
    bool (*pRead)(Rule& rule);
};

constexpr RuleKind kRuleKinds[] = {
    { "drop", [](Rule& rule) { return ReadRange(rule, &CameraFaults::drop); } },
    { "skew", [](Rule& rule) { return ReadClock(rule, kMaxDelayNs, &CameraFaults::skew); } },
    { "drift", [](Rule& rule) { return ReadClock(rule, kMaxDriftPpb, &CameraFaults::drift); } },
    { "phase", &ReadPhase },
    { "missedge", [](Rule& rule) { return ReadRange(rule, &CameraFaults::missedge); } },
    { "untrigger", [](Rule& rule) { return ReadNumber(rule, &CameraFaults::untrigger); } },
    { "torn", [](Rule& rule) { return ReadRange(rule, &CameraFaults::torn); } },
    { "stall", &ReadStall },
    { "hang", [](Rule& rule) { return ReadNumber(rule, &CameraFaults::hang); } },
    { "error", &ReadError },
    { "unplug", [](Rule& rule) { return ReadNumber(rule, &CameraFaults::unplug); } },
    { "trigger", &ReadTrigger },
};

std::string_view Trimmed(std::string_view strText)
{
    const std::size_t uiFirst = strText.find_first_not_of(" \t");
    if (uiFirst == std::string_view::npos)
        return {};
    return strText.substr(uiFirst, strText.find_last_not_of(" \t") - uiFirst + 1);
}

std::string ReadRule(std::string_view strRule, std::size_t uiCameras, SimulatedFaults& faults)
{
    const auto [strName, strRest] = Cut(strRule, ':');
    Rule rule { strName, strRest.value_or(""), uiCameras, &faults, "unknown kind of fault" };
    for (const RuleKind& kind : kRuleKinds)
        if (kind.strName == strName && kind.pRead(rule))
            return {};
    return "bad camera fault " + Quoted(strRule) + ": " + rule.strWhy;
}

} // namespace

std::string ParseSimulatedFaults(std::string_view strRules, std::size_t uiCameras, SimulatedFaults& faults)
{
    SimulatedFaults all = faults;
    std::optional<std::string_view> strRest = strRules;
    while (strRest) {
        const auto [strRule, strMore] = Cut(*strRest, ';');
        const std::string_view strTrimmed = Trimmed(strRule);
        if (!strTrimmed.empty())
            if (std::string strError = ReadRule(strTrimmed, uiCameras, all); !strError.empty())
                return strError;
        strRest = strMore;
    }
    faults = std::move(all);
    return {};
}

} // namespace vireo
