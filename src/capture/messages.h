#pragma once
#include "platform/error.h"
#include "platform/window_system.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

namespace vireo {

// Every text that the camera and capture code shows to the operator, each once. Where several calls could
// fail with the same text, a number of its own tells the operator's report which one it was.

/// One text: "%d" and "%u" stand for numbers, "%s" for a text.
struct MessageText {
    std::string_view strFormat;
    int iSite = 0; ///< which call it was: the last "%d"; 0 = the text has none
    std::string_view strTitle {}; ///< empty: the program's own
    bool bError = false; ///< show the error icon
};

/// What a "%..." is replaced with.
using MessageValue = std::variant<std::int64_t, std::string_view>;

/// Puts the values, then the site number, in the place of the format's conversions, left to right.
/// Values are never read as formats; conversions without a value stay as they are.
std::string FormatMessage(const MessageText& text, std::initializer_list<MessageValue> values = {});

/// Shows the text in a box. Any thread; returns at once on others than the user-interface thread.
void ShowMessage(WindowSystem& window, const MessageText& text, std::initializer_list<MessageValue> values = {});

/// Whether a library call succeeded; when it did not, shows the text with the error's number in it.
bool Passed(WindowSystem& window, const Error& error, const MessageText& text);
/// The same with the camera's number, counted from 1, before the error's.
bool Passed(WindowSystem& window, const Error& error, const MessageText& text, std::size_t uiCamera);

namespace messages {

// Finding and connecting cameras.
inline constexpr MessageText kCameraCountFailed { "ｶﾒﾗが接続されていません 接続を確認してください。(%d)\n" };
inline constexpr MessageText kNoCamera { "ｶﾒﾗが接続されていません 接続を確認してください。\n" };
inline constexpr MessageText kTooFewCameras {
    "Marten, Quill連携時は設定台数(%d台)のｶﾒﾗを接続して下さい。(ｶﾒﾗ %d台)\n"
};
inline constexpr MessageText kSerialNumberFailed { "シリアル番号を取得できません 接続を確認してください。(%d)\n" };
inline constexpr MessageText kCameraIndexFailed { "ｶﾒﾗｲﾝﾃﾞｯｸｽの取得に失敗しました。(%d)\n" };
inline constexpr MessageText kInterfaceTypeFailed { "ｶﾒﾗのインターフェースタイプ取得に失敗しました。(%d)\n" };
inline constexpr MessageText kConnectFailed { "ｶﾒﾗの接続に失敗しました。(%d)\n" };
inline constexpr MessageText kHeartbeatReadFailed { "GigEｶﾒﾗの心拍情報の読み込みに失敗しました。(1)(%d)\n" };
inline constexpr MessageText kHeartbeatReadFailed2 { "GigEｶﾒﾗの心拍情報の読み込みに失敗しました。(2)(%d)\n" };
inline constexpr MessageText kHeartbeatWriteFailed { "GigEｶﾒﾗの心拍情報の書き込みに失敗しました。(%d)\n" };
inline constexpr MessageText kStreamCountFailed { "GigEｶﾒﾗのストリームチャンネル数の取得に失敗しました。(%d)\n" };
inline constexpr MessageText kStreamReadFailed { "GigEｶﾒﾗのストリームチャンネル情報の取得に失敗しました。(%d)\n" };
inline constexpr MessageText kStreamWriteFailed { "GigEｶﾒﾗのストリームチャンネル情報の設定に失敗しました。(%d)\n" };
inline constexpr MessageText kCameraInfoReadFailed { "ｶﾒﾗ情報の取得に失敗しました。(%d)\n" };
inline constexpr MessageText kCameraInfoWriteFailed { "ｶﾒﾗ情報の設定に失敗しました。(%d)\n" };
inline constexpr MessageText kUnsupportedModel { "Marten対応のカメラではありません。%s\n" };
inline constexpr MessageText kRegisterWriteFailed { "ﾚｼﾞｽﾄﾘの書込みに失敗しました。(%d)\n" };
inline constexpr MessageText kNoBuffer {
    "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 %dsec %dfps\n"
};
inline constexpr MessageText kMemoryShort {
    "ﾒﾓﾘが不足したため録画を開始できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 %dsec %dfps\n"
};
inline constexpr MessageText kHighestRate { "この解像度の最大ＦＰＳは、(%d)fpsです。\n" }; // composed, not shown
inline constexpr MessageText kLongestRecord { "最大計測時間は、(%d)秒です。\n" }; // composed, not shown

// Configuration.
inline constexpr MessageText kRateNotSupported {
    "%dfpsに対応していないｶﾒﾗが接続されています。%dfps以下に設定してください。\n"
};
inline constexpr MessageText kPropertyReadFailed { "ｶﾒﾗﾌﾟﾛﾊﾟﾃｨの取得に失敗。(%d)\n" };
inline constexpr MessageText kPropertyWriteFailed { "ｶﾒﾗﾌﾟﾛﾊﾟﾃｨの設定に失敗。(%d)\n" };
inline constexpr MessageText kRateRegisterWriteFailed { "WriteRegister() Error. (%d)\n" };
inline constexpr MessageText kRateRegisterReadFailed { "ReadRegister() Error. (%d)\n" };
inline constexpr MessageText kPacketSizeFailed { "PGEｶﾒﾗ情報の設定に失敗しました(DiscoverGigEPacketSize)。[%d](%d)\n" };
inline constexpr MessageText kQueryImagingModeFailed { "PGEｶﾒﾗの設定に失敗しました(QueryGigEImagingMode)。[%d](%d)\n" };
inline constexpr MessageText kSetImagingModeFailed { "PGEｶﾒﾗの設定に失敗しました(SetGigEImagingMode)。[%d](%d)\n" };
inline constexpr MessageText kImageSettingsInfoFailed {
    "PGEｶﾒﾗの設定に失敗しました(GetGigEImageSettingsInfo)。[%d](%d)\n"
};
inline constexpr MessageText kImageSettingsFailed { "PGEｶﾒﾗの設定に失敗しました(SetGigEImageSettings)。[%d](%d)\n" };
inline constexpr MessageText kGigEConfigReadFailed { "PGEｶﾒﾗ情報の取得に失敗しました(GetGigEConfig)。[%d](%d)\n" };
inline constexpr MessageText kGigEConfigWriteFailed { "PGEｶﾒﾗ情報の設定に失敗しました(SetGigEConfig)。[%d](%d)\n" };
inline constexpr MessageText kValidateFailed { "カメラの設定が不正です。(%d)\n" };
inline constexpr MessageText kSettingsInvalid { "ｶﾒﾗの設定に失敗しました。\n" };
inline constexpr MessageText kFormat7Failed { "ｶﾒﾗの設定に失敗しました。(2)(%d)\n" };
inline constexpr MessageText kVideoModeFailed { "ﾌﾚｰﾑﾚｰﾄの設定に失敗しました。(%d)\n" };

// Starting the capture.
inline constexpr MessageText kSyncStartFailed { "ｶﾒﾗの開始に失敗しました。\n" };
inline constexpr MessageText kStartFailed { "startGrabRecord()->StartCapture() (%d) %d\n", 5874 };
inline constexpr MessageText kStartStrobeFailed { "startGrabRecord()->GetStrobe() (%d) %d\n", 5931 };
inline constexpr MessageText kTooManyCameras { "Camera MAX Over %u\n" };

// Strobe, trigger and input/output lines.
inline constexpr MessageText kGpioWriteFailed { "GpioControl()->WriteRegister() (%d) %d\n", 5395 };
inline constexpr MessageText kLevelWriteFailed { "VoltageLevelLowHigh()->WriteRegister() (%d) %d\n", 5433 };

inline constexpr MessageText kClearInfoFailed { "ClearStrobeCameraBuffer(%d)->ｶﾒﾗ情報の取得に失敗しました。(%d)\n" };
inline constexpr MessageText kClearConfigFailed { "ClearStrobeCameraBuffer(%d)->ｶﾒﾗ情報の設定に失敗しました。(%d)\n" };
inline constexpr MessageText kClearStartFailed { "ClearStrobeCameraBuffer(%d)->StartCapture() (%d)\n" };
inline constexpr MessageText kClearRetrieveFailed { "ClearStrobeCameraBuffer(%d)->RetrieveBuffer()に失敗(%d)\n" };
inline constexpr MessageText kClearStopFailed { "ClearStrobeCameraBuffer(%d)->StopCapture() (%d)\n" };

inline constexpr MessageText kPreTooManyCameras { "SynchroStrobePre()->m_uiNumCameras(%d > %d)\n" };
inline constexpr MessageText kPreInfoFailed { "SynchroStrobePre()->GetCameraInfo() (%d) %d\n", 5502 };
inline constexpr MessageText kPreMasterGetTriggerFailed { "SynchroStrobePre()->GetTriggerMode() (%d) %d\n", 5535 };
inline constexpr MessageText kPreMasterSetTriggerFailed { "SynchroStrobePre()->SetTriggerMode() (%d) %d\n", 5546 };
inline constexpr MessageText kPreMasterWriteFailed { "SynchroStrobePre()->WriteRegister() (%d) %d\n", 5561 };
inline constexpr MessageText kPreStrobeInfoFailed { "SynchroStrobePre()->GetStrobeInfo() (%d) %d\n", 5572 };
inline constexpr MessageText kPreNoStrobe { "Camera does not support strobe!\n" };
inline constexpr MessageText kPreGetStrobeFailed { "SynchroStrobePre()->GetStrobe() (%d) %d\n", 5588 };
inline constexpr MessageText kPreSetStrobeFailed { "SynchroStrobePre()->SetStrobe() (%d) %d\n", 5596 };
inline constexpr MessageText kPreWriteFailed { "SynchroStrobePre()->WriteRegister() (%d) %d\n", 5615 };
inline constexpr MessageText kPreGetTriggerFailed { "SynchroStrobePre()->GetTriggerMode() (%d) %d\n", 5624 };
inline constexpr MessageText kPreTriggerOffFailed { "SynchroStrobePre()->SetTriggerMode() (%d) %d\n", 5637 };
inline constexpr MessageText kPreTriggerOnFailed { "SynchroStrobePre()->SetTriggerMode() (%d) %d\n", 5658 };

inline constexpr MessageText kPostInfoFailed { "SynchroStrobePost()->GetCameraInfo() (%d) %d\n", 5762 };
inline constexpr MessageText kPostGetStrobeFailed { "SynchroStrobePost()->GetStrobe() (%d) %d\n", 5789 };
inline constexpr MessageText kPostSetStrobeFailed { "SynchroStrobePost()->SetStrobe() (%d) %d\n", 5797 };
inline constexpr MessageText kPostGetTriggerFailed { "SynchroStrobePost()->GetTriggerMode() (%d) %d\n", 5806 };
inline constexpr MessageText kPostSetTriggerFailed { "SynchroStrobePost()->SetTriggerMode() (%d) %d\n", 5818 };

// Grab threads. A camera's own text, by camera; camera 1's ring text also names its write index.
inline constexpr MessageText kRingFetchFailed[] = {
    { "カメラ１のデータ取得に失敗しました(%d)\n" },
    { "カメラ２のデータ取得に失敗しました(%d) (%d)\n" },
    { "カメラ３のデータ取得に失敗しました(%d)\n" },
    { "カメラ４のデータ取得に失敗しました(%d)\n" },
};
inline constexpr MessageText kLinearFetchFailed[] = {
    { "[0]->RetrieveBuffer()に失敗1(%d)\n" },
    { "[1]->RetrieveBuffer()に失敗(%d)\n" },
    { "[2]->RetrieveBuffer()に失敗(%d)\n" },
    { "[3]->RetrieveBuffer()に失敗(%d)\n" },
};
inline constexpr MessageText kLinearTriggerFetchFailed { "[0]->RetrieveBuffer()に失敗2(%d)\n" };

// Checks at the end of a recording.
inline constexpr MessageText kSyncMatchError { "sync Match Error[%u]" };
inline constexpr MessageText kOutOfSync { "同期がずれています。%d\n" };

// Saving.
inline constexpr MessageText kNameConversionFailed { "文字の変換に失敗しました", 0, "エラー", true };
inline constexpr MessageText kAviOpenFailed { "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。%s\n" };
inline constexpr MessageText kAviWriteFailed { "AVIﾌｧｲﾙの作成に失敗しました。\n" };
inline constexpr MessageText kAviCloseFailed { "AVIﾌｧｲﾙのｸﾛｰｽﾞに失敗しました。\n" };
inline constexpr MessageText kAviCheckFailed { "AVIﾌｧｲﾙの確認に失敗しました。%s\n" };
inline constexpr MessageText kNoFramesOfCamera { "ｶﾒﾗ%dの録画ﾃﾞｰﾀがありません。\n" };
inline constexpr MessageText kRearmFailed { "error saveavi" }; // composed, not shown

// Continuous pulse synchronisation.
inline constexpr MessageText kPulseNeeds100Hz { "ﾌﾚｰﾑﾚｰﾄを100Hzに変更してください。\n" };
inline constexpr MessageText kPulseNeedsShutter { "ｼｬｯﾀｰｽﾋﾟｰﾄﾞがｵｰﾌﾟﾝです変更してください。\n" };

} // namespace messages

} // namespace vireo
