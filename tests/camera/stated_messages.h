#pragma once

namespace vireo::test {

// What the operator reads when the call fails with type 20; kSilent: the failure is no reason to give up.
inline constexpr const char* kSilent = "";
inline constexpr const char* kCount = "ｶﾒﾗが接続されていません 接続を確認してください。(20)\n";
inline constexpr const char* kSerial = "シリアル番号を取得できません 接続を確認してください。(20)\n";
inline constexpr const char* kIndex = "ｶﾒﾗｲﾝﾃﾞｯｸｽの取得に失敗しました。(20)\n";
inline constexpr const char* kInterface = "ｶﾒﾗのインターフェースタイプ取得に失敗しました。(20)\n";
inline constexpr const char* kConnect = "ｶﾒﾗの接続に失敗しました。(20)\n";
inline constexpr const char* kHeartbeat1 = "GigEｶﾒﾗの心拍情報の読み込みに失敗しました。(1)(20)\n";
inline constexpr const char* kHeartbeat2 = "GigEｶﾒﾗの心拍情報の読み込みに失敗しました。(2)(20)\n";
inline constexpr const char* kHeartbeatSet = "GigEｶﾒﾗの心拍情報の書き込みに失敗しました。(20)\n";
inline constexpr const char* kStreams = "GigEｶﾒﾗのストリームチャンネル数の取得に失敗しました。(20)\n";
inline constexpr const char* kStreamGet = "GigEｶﾒﾗのストリームチャンネル情報の取得に失敗しました。(20)\n";
inline constexpr const char* kStreamSet = "GigEｶﾒﾗのストリームチャンネル情報の設定に失敗しました。(20)\n";
inline constexpr const char* kInfo = "ｶﾒﾗ情報の取得に失敗しました。(20)\n";
inline constexpr const char* kInfoSet = "ｶﾒﾗ情報の設定に失敗しました。(20)\n";
inline constexpr const char* kRegister = "ﾚｼﾞｽﾄﾘの書込みに失敗しました。(20)\n";
inline constexpr const char* kGet = "ｶﾒﾗﾌﾟﾛﾊﾟﾃｨの取得に失敗。(20)\n";
inline constexpr const char* kSet = "ｶﾒﾗﾌﾟﾛﾊﾟﾃｨの設定に失敗。(20)\n";
inline constexpr const char* kRateWrite = "WriteRegister() Error. (20)\n";
inline constexpr const char* kRateRead = "ReadRegister() Error. (20)\n";
inline constexpr const char* kPacket = "PGEｶﾒﾗ情報の設定に失敗しました(DiscoverGigEPacketSize)。[1](20)\n";
inline constexpr const char* kQueryMode = "PGEｶﾒﾗの設定に失敗しました(QueryGigEImagingMode)。[1](20)\n";
inline constexpr const char* kSetMode = "PGEｶﾒﾗの設定に失敗しました(SetGigEImagingMode)。[1](20)\n";
inline constexpr const char* kImageInfo = "PGEｶﾒﾗの設定に失敗しました(GetGigEImageSettingsInfo)。[1](20)\n";
inline constexpr const char* kImageSet = "PGEｶﾒﾗの設定に失敗しました(SetGigEImageSettings)。[1](20)\n";
inline constexpr const char* kGigEGet = "PGEｶﾒﾗ情報の取得に失敗しました(GetGigEConfig)。[1](20)\n";
inline constexpr const char* kGigESet = "PGEｶﾒﾗ情報の設定に失敗しました(SetGigEConfig)。[1](20)\n";
inline constexpr const char* kValidate = "カメラの設定が不正です。(20)\n";
inline constexpr const char* kFormat7 = "ｶﾒﾗの設定に失敗しました。(2)(20)\n";
inline constexpr const char* kVideoMode = "ﾌﾚｰﾑﾚｰﾄの設定に失敗しました。(20)\n";
inline constexpr const char* kSyncStart = "ｶﾒﾗの開始に失敗しました。\n";
inline constexpr const char* kStart = "startGrabRecord()->StartCapture() (20) 5874\n";
inline constexpr const char* kStartStrobe = "startGrabRecord()->GetStrobe() (20) 5931\n";
inline constexpr const char* kGpio = "GpioControl()->WriteRegister() (20) 5395\n";
inline constexpr const char* kLevel = "VoltageLevelLowHigh()->WriteRegister() (20) 5433\n";
inline constexpr const char* kClearInfo = "ClearStrobeCameraBuffer(1)->ｶﾒﾗ情報の取得に失敗しました。(20)\n";
inline constexpr const char* kClearSet = "ClearStrobeCameraBuffer(1)->ｶﾒﾗ情報の設定に失敗しました。(20)\n";
inline constexpr const char* kClearStart = "ClearStrobeCameraBuffer(1)->StartCapture() (20)\n";
inline constexpr const char* kClearRetrieve = "ClearStrobeCameraBuffer(1)->RetrieveBuffer()に失敗(20)\n";
inline constexpr const char* kClearStop = "ClearStrobeCameraBuffer(1)->StopCapture() (20)\n";
inline constexpr const char* kClearInfo2 = "ClearStrobeCameraBuffer(2)->ｶﾒﾗ情報の取得に失敗しました。(20)\n";
inline constexpr const char* kClearSet2 = "ClearStrobeCameraBuffer(2)->ｶﾒﾗ情報の設定に失敗しました。(20)\n";
inline constexpr const char* kClearStart2 = "ClearStrobeCameraBuffer(2)->StartCapture() (20)\n";
inline constexpr const char* kClearRetrieve2 = "ClearStrobeCameraBuffer(2)->RetrieveBuffer()に失敗(20)\n";
inline constexpr const char* kClearStop2 = "ClearStrobeCameraBuffer(2)->StopCapture() (20)\n";
inline constexpr const char* kPacket2 = "PGEｶﾒﾗ情報の設定に失敗しました(DiscoverGigEPacketSize)。[2](20)\n";
inline constexpr const char* kQueryMode2 = "PGEｶﾒﾗの設定に失敗しました(QueryGigEImagingMode)。[2](20)\n";
inline constexpr const char* kSetMode2 = "PGEｶﾒﾗの設定に失敗しました(SetGigEImagingMode)。[2](20)\n";
inline constexpr const char* kImageInfo2 = "PGEｶﾒﾗの設定に失敗しました(GetGigEImageSettingsInfo)。[2](20)\n";
inline constexpr const char* kImageSet2 = "PGEｶﾒﾗの設定に失敗しました(SetGigEImageSettings)。[2](20)\n";
inline constexpr const char* kGigEGet2 = "PGEｶﾒﾗ情報の取得に失敗しました(GetGigEConfig)。[2](20)\n";
inline constexpr const char* kGigESet2 = "PGEｶﾒﾗ情報の設定に失敗しました(SetGigEConfig)。[2](20)\n";
inline constexpr const char* kPreInfo = "SynchroStrobePre()->GetCameraInfo() (20) 5502\n";
inline constexpr const char* kMasterGetTrigger = "SynchroStrobePre()->GetTriggerMode() (20) 5535\n";
inline constexpr const char* kMasterSetTrigger = "SynchroStrobePre()->SetTriggerMode() (20) 5546\n";
inline constexpr const char* kMasterWrite = "SynchroStrobePre()->WriteRegister() (20) 5561\n";
inline constexpr const char* kStrobeInfo = "SynchroStrobePre()->GetStrobeInfo() (20) 5572\n";
inline constexpr const char* kPreGetStrobe = "SynchroStrobePre()->GetStrobe() (20) 5588\n";
inline constexpr const char* kPreSetStrobe = "SynchroStrobePre()->SetStrobe() (20) 5596\n";
inline constexpr const char* kPreWrite = "SynchroStrobePre()->WriteRegister() (20) 5615\n";
inline constexpr const char* kPreGetTrigger = "SynchroStrobePre()->GetTriggerMode() (20) 5624\n";
inline constexpr const char* kPreTriggerOff = "SynchroStrobePre()->SetTriggerMode() (20) 5637\n";
inline constexpr const char* kPreTriggerOn = "SynchroStrobePre()->SetTriggerMode() (20) 5658\n";
inline constexpr const char* kPostInfo = "SynchroStrobePost()->GetCameraInfo() (20) 5762\n";
inline constexpr const char* kPostGetStrobe = "SynchroStrobePost()->GetStrobe() (20) 5789\n";
inline constexpr const char* kPostSetStrobe = "SynchroStrobePost()->SetStrobe() (20) 5797\n";
inline constexpr const char* kPostGetTrigger = "SynchroStrobePost()->GetTriggerMode() (20) 5806\n";
inline constexpr const char* kPostSetTrigger = "SynchroStrobePost()->SetTriggerMode() (20) 5818\n";

} // namespace vireo::test
