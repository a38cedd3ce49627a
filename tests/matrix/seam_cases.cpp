#include "app/cooperation.h"
#include "matrix/matrix_cases.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace vireo::test {

namespace {

constexpr const char* kNoBuffer = "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 *";
constexpr const char* kMemoryShort = "ﾒﾓﾘが不足したため録画を開始できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 *";
constexpr const char* kOpenFailed = "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。no room\n";
constexpr const char* kNoDrive = "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。no such drive\n";
constexpr const char* kAviWriteFailed = "AVIﾌｧｲﾙの作成に失敗しました。\n";
constexpr const char* kCloseFailed = "AVIﾌｧｲﾙのｸﾛｰｽﾞに失敗しました。\n";
constexpr const char* kNotReadBack = "AVIﾌｧｲﾙの確認に失敗しました。*";
constexpr const char* kBadText = "文字の変換に失敗しました";
constexpr const char* kNoSettings = "Read File Open Error ini File";
constexpr const char* kRateRefused = "ｶﾒﾗﾌﾟﾛﾊﾟﾃｨの設定に失敗。(5)*";
constexpr const char* kNotWritten = "Write File Open Error ini File";

enum class SeamEffect {
    Nothing, ///< all is done
    Told, ///< the message, and all is done
    NoThread, ///< nothing is said but in the log, and nothing runs
    NoStart, ///< the message, and the document does not open
    GivesUp, ///< the message, and the configuration ends there
    Keeps, ///< the message, nothing more is saved, and the recording stays
    KeepsEach, ///< the same, but the other cameras are saved and may say it too
    Skips, ///< the camera is passed over
};

struct SeamRow {
    Seam eSeam;
    Way eWay;
    const char* pMessage; ///< empty: none
    SeamEffect eEffect;
    int iResult; ///< for the partner
};

using enum Seam;
using enum SeamEffect;

const SeamRow kSeamRows[] = {
    { AvailableKiB, Way::Fails, kNoBuffer, GivesUp, 0 },
    { Reserve, Way::Fails, kNoBuffer, GivesUp, 0 },
    { StartTouching, Way::Fails, kMemoryShort, Told, 0 },
    { StartTouching, Way::Differs, "", Nothing, 0 },
    { OpenVideo, Way::Fails, kOpenFailed, Keeps, cooperation_result::kFileOpenFailed },
    { AppendVideo, Way::Fails, kAviWriteFailed, Keeps, cooperation_result::kWriteFailed },
    { CloseVideo, Way::Fails, kCloseFailed, Keeps, cooperation_result::kWriteFailed },
    { ReadBack, Way::Fails, kNotReadBack, KeepsEach, cooperation_result::kWriteFailed },
    { ReadBack, Way::Differs, kNotReadBack, KeepsEach, cooperation_result::kWriteFailed },
    { Drive, Way::Fails, kNoDrive, Keeps, cooperation_result::kFileOpenFailed },
    { Convert, Way::Fails, "", Nothing, 0 },
    { FindWindow, Way::Fails, "", Nothing, 0 },
    { PostPartner, Way::Fails, "", Nothing, 0 },
    { SendPartner, Way::Fails, "", Nothing, 0 },
    { SendPartner, Way::Hung, "", Nothing, 0 },
    { Encode, Way::Fails, kBadText, Told, 0 },
    { CreateThread, Way::Fails, "", NoThread, 0 },
    { ConfirmCameras, Way::Fails, "", NoStart, 0 },
    { ChooseSavePath, Way::Fails, "", Skips, 0 },
    { ChooseSavePath, Way::Differs, kBadText, Keeps, 0 },
};

// Asked for with every frame, or by every thread: what they answer is no failure, and they take no time.
constexpr Seam kUnfailing[] = { Release, Region, ResidentKiB, StopTouching, TouchedBytes, IsShort, CancelPartner,
    Decode };

bool IsSaving(const Scene& scene) { return scene.eState == State::Saving || scene.eState == State::SavingElsewhere; }

// First, second, one in the middle and last of `iCalls`; 0 stands for all of them.
std::set<int> Numbers(int iCalls)
{
    std::set<int> numbers = { 0, 1, iCalls };
    for (const int iNumber : { 2, 3, iCalls / 2, iCalls - 1 })
        if (iNumber >= 1 && iNumber <= iCalls)
            numbers.insert(iNumber);
    return numbers;
}

int CamerasHit(const Scene& scene, int iNth) { return iNth == 0 ? scene.pRig->iCameras : 1; }

/// What a question or request about memory is for.
enum class Need { Start, RecordTime, FirstStore, Store };

// A start asks whether there is memory at all, then what record time it makes possible, and takes a store; for a
// partner it does the last two once more.
Need NeedOf(const Scene& scene, Seam eSeam, int iNth)
{
    if (scene.eState != State::Starting)
        return Need::Store;
    if (eSeam == Seam::Reserve)
        return scene.pRig->bPartner && iNth == 1 ? Need::FirstStore : Need::Store;
    if (iNth < 2)
        return Need::Start;
    if (iNth % 2 == 0)
        return Need::RecordTime;
    return scene.pRig->bPartner && iNth == 3 ? Need::FirstStore : Need::Store;
}

void ExpectShortage(Expected& expected, const Scene& scene, Seam eSeam, int iNth)
{
    const Need eNeed = NeedOf(scene, eSeam, iNth);
    if (eNeed == Need::RecordTime)
        expected = {};
    if (eNeed == Need::RecordTime || eNeed == Need::FirstStore)
        return;
    const bool bBothStores = scene.pRig->bPartner && scene.eState == State::Starting && eSeam == Seam::Reserve;
    if (bBothStores && iNth == 0)
        expected.messages.push_back(expected.messages[0]);
    expected.bWhole = false;
    expected.bStandstill = true;
    expected.bExit = eNeed == Need::Store;
    expected.bStartOver = true;
    if (eNeed == Need::Store && scene.pRig->bPartner)
        expected.iResult = cooperation_result::kConfigurationFailed;
}

Expected ExpectSeam(const Scene& scene, const SeamRow& row, int iNth)
{
    const bool bPartner = scene.pRig->bPartner;
    Expected expected;
    // Behind each name that is taken comes the folder in which another one is asked for; that may be any.
    if (row.eSeam == Drive && scene.eState == State::SavingElsewhere && iNth > 0 && iNth % 2 == 0)
        return expected;
    if (*row.pMessage != '\0')
        expected.messages.emplace_back(row.pMessage);
    switch (row.eEffect) {
    case Nothing: break;
    case Told:
        if (row.eSeam == StartTouching && bPartner && scene.eState == State::Starting && iNth == 0)
            expected.messages.push_back(expected.messages[0]); // two stores are taken
        break;
    case NoThread:
        expected.bWhole = false;
        expected.bStandstill = true;
        break;
    case NoStart:
        expected.bWhole = false;
        expected.bStandstill = true;
        expected.bStartOver = true;
        break;
    case GivesUp: ExpectShortage(expected, scene, row.eSeam, iNth); break;
    case KeepsEach:
        // Nobody is there to close a partner's box.
        expected.messages.assign(static_cast<std::size_t>(bPartner ? 0 : CamerasHit(scene, iNth)), row.pMessage);
        expected.bWhole = false;
        expected.bKeeps = true;
        break;
    case Keeps:
        expected.bWhole = false;
        expected.bKeeps = true;
        break;
    case Skips:
        expected.iSkipped = CamerasHit(scene, iNth);
        if (expected.iSkipped == scene.pRig->iCameras) {
            expected.bWhole = false;
            expected.bKeeps = true;
        }
        break;
    }
    if (row.eEffect >= Keeps)
        expected.iResult = row.iResult;
    return expected;
}

void AddSeam(const Scene& scene, Seam eSeam, const SeamRow* pRow, int iNth, std::vector<MatrixCase>& cases)
{
    Expected expected = pRow != nullptr ? ExpectSeam(scene, *pRow, iNth) : Expected {};
    expected.bKeeps = expected.bKeeps || scene.eState == State::Playback;
    expected.bExit = expected.bExit || (IsSaving(scene) && scene.pRig->bPartner);
    expected.bStartOver = expected.bStartOver || scene.eState == State::Closing;
    const Way eWay = pRow != nullptr ? pRow->eWay : Way::Slow;
    cases.push_back({ scene, { KindOf(eSeam), kAnyCamera, iNth, eWay }, FileFault::None, std::move(expected) });
}

} // namespace

bool CanFail(Seam eSeam)
{
    return std::find(std::begin(kUnfailing), std::end(kUnfailing), eSeam) == std::end(kUnfailing);
}

void AddSeamCases(const Scene& scene, std::span<const SeenCall> calls, std::vector<MatrixCase>& cases)
{
    for (std::size_t i = 0; i < kSeamCount; ++i) {
        const auto eSeam = static_cast<Seam>(i);
        int iCalls = 0;
        bool bOnUi = false;
        for (const SeenCall& call : calls)
            if (call.kind == KindOf(eSeam)) {
                ++iCalls;
                bOnUi = bOnUi || call.bUi;
            }
        if (iCalls == 0 || !CanFail(eSeam))
            continue;
        for (const int iNth : Numbers(iCalls)) {
            for (const SeamRow& row : kSeamRows)
                if (row.eSeam == eSeam)
                    AddSeam(scene, eSeam, &row, iNth, cases);
            if (bOnUi && eSeam != CreateThread) // a thread takes part in time from before it is there
                AddSeam(scene, eSeam, nullptr, iNth, cases);
        }
    }
}

void AddFileCases(const Scene& scene, std::vector<MatrixCase>& cases)
{
    constexpr int kPresetValues = 15;
    constexpr int kNamedPresets = 4; // that have a button each
    constexpr int kBalanceValues = 4;
    const bool bPanel = !scene.pRig->bPartner;
    const bool bStarts = scene.eState == State::Starting;
    const bool bSelects = scene.eState == State::Live && bPanel;
    const bool bConfigures = scene.eState == State::Armed || (IsSaving(scene) && bPanel);
    const auto add = [&](FileFault eFile, const char* pMessage, int iTimes) -> Expected& {
        Expected expected;
        expected.messages.assign(static_cast<std::size_t>(iTimes), pMessage);
        expected.bStartOver = scene.eState == State::Closing;
        cases.push_back({ scene, {}, eFile, std::move(expected) });
        return cases.back().expected;
    };
    const int iBalanceValues = kBalanceValues * scene.pRig->iCameras;
    for (const FileFault eFile : { FileFault::Missing, FileFault::IsFolder }) {
        if (bConfigures)
            add(eFile, kNoSettings, iBalanceValues);
        if (scene.eState == State::Closing)
            add(eFile, kNoSettings, 1);
        if (!bStarts && !bSelects)
            continue;
        // Each value that cannot be read is 0, the frame rate too; who does not take that gives up there.
        const int iPresetValues = bStarts ? kPresetValues : (kNamedPresets + 1) * kPresetValues;
        const bool bRefused = std::string_view(scene.pRig->pSource).find("PGE") != std::string_view::npos;
        Expected& expected = add(eFile, kNoSettings, iPresetValues + (bRefused ? 0 : iBalanceValues));
        expected.bStartOver = true;
        if (!bRefused)
            continue;
        expected.messages.emplace_back(kRateRefused);
        expected.bWhole = false;
        expected.bStandstill = true;
        expected.bExit = true;
    }
    if (scene.eState == State::Closing)
        for (const FileFault eFile : { FileFault::TemporaryTaken, FileFault::DiskFull })
            add(eFile, kNotWritten, 1);
}

} // namespace vireo::test
