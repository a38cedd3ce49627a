#include "matrix/call_rows.h"

#include "camera/stated_messages.h"

#include <map>

namespace vireo::test {

namespace {

using namespace mark;
using enum Operation;
using enum Step;
using enum Effect;

constexpr const char* kRingFetch = "カメラ%sのデータ取得に失敗しました(20)*";
constexpr const char* kFreeFetch = "[%c]->RetrieveBuffer()に失敗1(20)\n";
constexpr const char* kFreeFetchSlave = "[%c]->RetrieveBuffer()に失敗(20)\n";
constexpr const char* kWaitFetch = "[%c]->RetrieveBuffer()に失敗2(20)\n";

const CallRow kRows[] = {
    // clang-format off
    // Finding and connecting.
    { Buses, kUi, GetNumOfCameras, "", kCount, GivesUp, Buses },
    { Buses, kUi | kFree, StartSyncCapture, "", kSyncStart, GivesUp, Buses },
    { New, kUi, GetCameraSerialNumberFromIndex, "", kSerial, GivesUp, New },
    { New, kUi, GetCameraFromSerialNumber, "", kIndex, GivesUp, Found },
    { Found, kUi, GetInterfaceTypeFromGuid, "", kInterface, GivesUp, Found },
    { Found, kUi, Connect, "", kConnect, GivesUp, Found },
    { Found, kUi, ReadGVCPRegister, "0x0934", kHeartbeat1, GivesUp, Found },
    { Found, kUi, ReadGVCPRegister, "0x0954", kHeartbeat2, GivesUp, Found },
    { Found, kUi, WriteGVCPRegister, "0x0954", kHeartbeatSet, GivesUp, Found },
    { Found, kUi, GetNumStreamChannels, "", kStreams, GivesUp, Found },
    { Found, kUi, GetGigEStreamChannelInfo, "", kStreamGet, GivesUp, Found },
    { Found, kUi, SetGigEStreamChannelInfo, "", kStreamSet, GivesUp, Found },
    { Found, kUi, GetCameraInfo, "", kInfo, GivesUp, Known },
    { Known, kUi, GetConfiguration, "", kInfo, GivesUp, Known },
    { Known, kUi, SetConfiguration, "", kInfoSet, GivesUp, Known },
    { Known, kUi, WriteRegister, "0x12F8", kRegister, GivesUp, Connected },
    { Connected, kUi | kPartner, GetCameraInfo, "", kInfo, Told, Ready }, // the highest rate
    { Connected, kUi | kPanel, GetCameraInfo, "", kInfo, GivesUp, Configure },
    { Ready, kUi, GetCameraInfo, "", kInfo, GivesUp, Configure },
    // Configuring.
    { Configure, kUi | kFree, ReadRegister, "0x11F8", kSilent, GoesOn, Configure },
    { Configure, kUi | kFree, WriteRegister, "0x11F8", kGpio, GivesUp, Configure },
    { Configure, kUi | kFree | kMaster, ReadRegister, "0x11F0", kSilent, GoesOn, Configure },
    { Configure, kUi | kFree | kMaster, WriteRegister, "0x11F0", kLevel, GivesUp, Configure },
    { Configure, kUi, WriteRegister, "0x1048", kRegister, GivesUp, Configure },
    { Configure, kUi, ReadRegister, "0x083C", kRateRead, GivesUp, Configure },
    { Configure, kUi, WriteRegister, "0x083C", kRateWrite, GivesUp, Configure },
    { Configure, kUi, WriteRegister, "0x0968", kRateWrite, GivesUp, Configure },
    { Configure, kUi, GetProperty, "1", kGet, GivesUp, Configure },
    { Configure, kUi, SetProperty, "1", kSet, GivesUp, Configure },
    { Configure, kUi, DiscoverGigEPacketSize, "", kPacket, GivesUp, Configure },
    { Configure, kUi, QueryGigEImagingMode, "", kQueryMode, GivesUp, Configure },
    { Configure, kUi, SetGigEImagingMode, "", kSetMode, GivesUp, Configure },
    { Configure, kUi, GetGigEImageSettingsInfo, "", kImageInfo, GivesUp, Configure },
    { Configure, kUi, SetGigEImageSettings, "", kImageSet, GivesUp, Configure },
    { Configure, kUi, GetGigEConfig, "", kGigEGet, GivesUp, Configure },
    { Configure, kUi, SetGigEConfig, "", kGigESet, GivesUp, Configure },
    { Configure, kUi, GetFormat7Info, "", kSilent, GoesOn, Configure },
    { Configure, kUi, ValidateFormat7Settings, "", kValidate, GivesUp, Configure },
    { Configure, kUi, SetFormat7Configuration, "", kFormat7, GivesUp, Configure },
    { Configure, kUi, SetVideoModeAndFrameRate, "", kVideoMode, GivesUp, Configure },
    { Configure, kUi, GetCameraInfo, "", kSilent, GoesOn, Balance },
    { Balance, kUi, GetProperty, "3", kGet, GivesUp, Colours },
    { Colours, kUi, GetCameraInfo, "", kInfo, GivesUp, Coloured },
    { Coloured, kUi, SetProperty, "3", kSet, GivesUp, Balance },
    { Balance, kUi | kMaster, ReadRegister, "0x11F0", kSilent, GoesOn, Balance },
    { Balance, kUi | kMaster, WriteRegister, "0x11F0", kLevel, GivesUp, Balance },
    { Coloured, kUi | kMaster, ReadRegister, "0x11F0", kSilent, GoesOn, Coloured },
    { Coloured, kUi | kMaster, WriteRegister, "0x11F0", kLevel, GivesUp, Coloured },
    // Emptying the queues.
    { Balance, kUi, GetCameraInfo, "", kClearInfo, GivesUp, Clear },
    { Coloured, kUi, GetCameraInfo, "", kClearInfo, GivesUp, Clear },
    { Clear, kUi | kRing, GetConfiguration, "", kClearInfo, GivesUp, Clear },
    { Clear, kUi | kRing, SetConfiguration, "", kClearSet, GivesUp, Clear },
    { Clear, kUi | kRing, StartCapture, "", kClearStart, GivesUp, Clear },
    { Clear, kUi | kRing, RetrieveBuffer, "", kClearRetrieve, GivesUp, Clear },
    { Clear, kUi | kRing, StopCapture, "", kClearStop, GivesUp, Clear },
    // Arming and starting.
    { Clear, kUi, GetCameraInfo, "", kPreInfo, GivesUp, Pre },
    { Pre, kUi | kRing | kWaiting, ReadRegister, "0x11F8", kSilent, GoesOn, Pre },
    { Pre, kUi | kRing | kWaiting, WriteRegister, "0x11F8", kPreWrite, GivesUp, Pre },
    { Pre, kUi | kRing | kWaiting, GetTriggerMode, "", kPreGetTrigger, GivesUp, Pre },
    { Pre, kUi | kRing | kWaiting, SetTriggerMode, "off", kPreTriggerOff, GivesUp, Pre },
    { Pre, kUi | kRing | kWaiting, SetTriggerMode, "on", kPreTriggerOn, GivesUp, Pre },
    { Pre, kUi | kRing | kMaster, GetTriggerMode, "", kMasterGetTrigger, GivesUp, Pre },
    { Pre, kUi | kRing | kMaster, SetTriggerMode, "", kMasterSetTrigger, GivesUp, Pre },
    { Pre, kUi | kRing | kMaster, ReadRegister, "0x11F8", kSilent, GoesOn, Pre },
    { Pre, kUi | kRing | kMaster, WriteRegister, "0x11F8", kMasterWrite, GivesUp, Pre },
    { Pre, kUi | kRing | kMaster, GetStrobeInfo, "", kStrobeInfo, GivesUp, Pre },
    { Pre, kUi | kRing | kMaster, GetStrobe, "", kPreGetStrobe, GivesUp, Pre },
    { Pre, kUi | kRing | kMaster, SetStrobe, "", kPreSetStrobe, GivesUp, Pre },
    { Pre, kUi | kRing | kSlave, ReadRegister, "0x11F8", kSilent, GoesOn, Pre },
    { Pre, kUi | kRing | kSlave, WriteRegister, "0x11F8", kPreWrite, GivesUp, Pre },
    { Pre, kUi | kRing | kSlave, GetTriggerMode, "", kPreGetTrigger, GivesUp, Pre },
    { Pre, kUi | kRing | kSlave, SetTriggerMode, "on", kPreTriggerOn, GivesUp, Pre },
    { Pre, kUi | kRing, GetProperty, "1", kGet, GivesUp, Pre },
    { Pre, kUi | kRing, SetProperty, "12", kSet, GivesUp, Pre },
    { Pre, kUi | kRing, StartCapture, "", kStart, GivesUp, Started },
    { Started, kUi | kMaster, GetStrobe, "", kStartStrobe, GivesUp, Started },
    { Started, kUi | kMaster, GetProperty, "16", kGet, GivesUp, Started },
    { Started, kUi | kMaster, GetProperty, "12", kGet, GivesUp, Running },
    // While frames flow.
    { Running, kUi | kMaster, GetProperty, "16", kSilent, GoesOn, Running },
    { Running, kUi | kMaster, GetProperty, "13", kSilent, GoesOn, Running },
    { Button, kUi | kMaster, GetCameraInfo, "", kSilent, GoesOn, Pressed },
    { Pressed, kUi | kMaster | kFree, ReadRegister, "0x11F0", kSilent, GoesOn, Pressed },
    { Pressed, kUi | kMaster | kFree, WriteRegister, "0x11F0", kLevel, Told, Pressed },
    { Beginning, kWorker | kMaster, GetCameraInfo, "", kSilent, GoesOn, Beginning },
    { Beginning, kWorker | kMaster | kFree, ReadRegister, "0x11F4", kSilent, GoesOn, Beginning },
    { Beginning, kWorker | kMaster | kFree | kWaiting, RetrieveBuffer, "", kWaitFetch, Ends, Beginning },
    { Beginning, kWorker | kMaster | kFree, RetrieveBuffer, "", kFreeFetch, Ends, Beginning },
    { Beginning, kWorker | kSlave | kFree, RetrieveBuffer, "", kFreeFetchSlave, Ends, Beginning },
    { Beginning, kWorker | kRing, RetrieveBuffer, "", kRingFetch, Ends, Beginning },
    { Flowing, kWorker | kMaster | kFree, RetrieveBuffer, "", kFreeFetch, Ends, Flowing },
    { Flowing, kWorker | kSlave | kFree, RetrieveBuffer, "", kFreeFetchSlave, Ends, Flowing },
    { Flowing, kWorker | kRing, RetrieveBuffer, "", kRingFetch, Ends, Flowing },
    { Flowing, kWorker | kMaster | kFree, ReadRegister, "0x11F4", kSilent, GoesOn, Flowing },
    { Flowing, kWorker | kMaster | kFree, ReadRegister, "0x11F0", kSilent, GoesOn, Flowing },
    { Flowing, kWorker | kMaster | kFree, WriteRegister, "0x11F0", kLevel, Told, Flowing },
    // Putting the cameras back, wherever the capture ends.
    { Flowing, kWorker, GetCameraInfo, "", kPostInfo, Told, Post },
    { Running, kUi, GetCameraInfo, "", kPostInfo, Told, Post },
    { Post, kRing | kMaster, GetStrobe, "", kPostGetStrobe, Told, Post },
    { Post, kRing | kMaster, SetStrobe, "", kPostSetStrobe, Told, Post },
    { Post, kRing, GetTriggerMode, "", kPostGetTrigger, Told, Post },
    { Post, kRing, SetTriggerMode, "", kPostSetTrigger, Told, Post },
    { Post, 0, StopCapture, "", kSilent, GoesOn, Level },
    { Level, kUi | kMaster, ReadRegister, "0x11F0", kSilent, GoesOn, Level },
    { Level, kUi | kMaster, WriteRegister, "0x11F0", kLevel, Told, Level },
    { Level, kUi, GetCameraInfo, "", kInfo, GivesUp, Configure },
    { Level, kUi, Disconnect, "", kSilent, GoesOn, Closed },
    // With a recording.
    { Recorded, kUi | kMaster, GetProperty, "13", kSilent, GoesOn, Recorded },
    { Recorded, kUi, GetProperty, "16", kSilent, GoesOn, Recorded },
    { Recorded, kUi | kMaster, ReadRegister, "0x11F0", kSilent, GoesOn, Recorded },
    { Recorded, kUi | kMaster, WriteRegister, "0x11F0", kLevel, Told, Recorded },
    { Recorded, kUi, GetCameraInfo, "", kInfo, GivesUp, Configure },
    // clang-format on
};

Step FirstStep(const Scene& scene, const SeenCall& call)
{
    if (call.iCamera == kNoCamera)
        return Buses;
    if (!call.bUi)
        return scene.eState == State::Recording ? Flowing : Beginning;
    switch (scene.eState) {
    case State::Starting: return New;
    case State::Recording: return call.iCamera == 0 ? Button : Running;
    case State::Playback:
    case State::Saving:
    case State::SavingElsewhere: return Recorded;
    default: return Running;
    }
}

unsigned MarksOf(const Scene& scene, const SeenCall& call)
{
    unsigned uiMarks = call.bUi ? kUi : kWorker;
    uiMarks |= call.iCamera > 0 ? kSlave : kMaster;
    uiMarks |= scene.pRig->bRing ? kRing : kFree;
    uiMarks |= scene.pRig->bPartner ? kPartner : kPanel;
    return uiMarks | (scene.eState == State::Waiting ? kWaiting : 0);
}

std::string WithNumber(std::string strText, const std::string& strFrom, const std::string& strTo)
{
    const std::size_t uiAt = strText.find(strFrom);
    return uiAt == std::string::npos ? strText : strText.replace(uiAt, strFrom.size(), strTo);
}

} // namespace

std::span<const CallRow> CallRows() { return kRows; }

std::vector<const CallRow*> MatchRows(const Scene& scene, std::span<const SeenCall> calls)
{
    std::map<std::pair<int, bool>, Step> steps; // by camera and kind of thread
    std::vector<const CallRow*> rows;
    for (const SeenCall& call : calls) {
        const CallRow* pFound = nullptr;
        if (call.kind < kOperationCount) {
            Step& eStep = steps.try_emplace({ call.iCamera, call.bUi }, FirstStep(scene, call)).first->second;
            const unsigned uiMarks = MarksOf(scene, call);
            for (const CallRow& row : kRows)
                if (row.eStep == eStep && KindOf(row.eOperation) == call.kind && (row.uiMarks & ~uiMarks) == 0
                    && call.strArguments.starts_with(row.pArguments)) {
                    pFound = &row;
                    eStep = row.eNext;
                    break;
                }
        }
        rows.push_back(pFound);
    }
    return rows;
}

std::string MessageOf(const CallRow& row, int iCamera, int iError)
{
    constexpr const char* kWide[] = { "１", "２", "３", "４" };
    const std::string strCamera = std::to_string(iCamera + 1);
    std::string strText = WithNumber(row.pMessage, "(20)", "(" + std::to_string(iError) + ")");
    strText = WithNumber(strText, "[1]", "[" + strCamera + "]");
    strText = WithNumber(strText, "(1)->", "(" + strCamera + ")->");
    strText = WithNumber(strText, "[%c]", "[" + std::to_string(iCamera) + "]");
    return iCamera < 0 ? strText : WithNumber(strText, "%s", kWide[iCamera]);
}

bool MatchesText(const std::string& strPattern, const std::string& strText)
{
    const std::size_t uiStar = strPattern.find('*');
    return uiStar == std::string::npos ? strPattern == strText : strText.starts_with(strPattern.substr(0, uiStar));
}

} // namespace vireo::test
