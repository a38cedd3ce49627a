#pragma once
#include "camera/configuration.h"
#include "camera/image_mode.h"
#include "camera/operator_actions.h"
#include "camera/record_time.h"
#include "capture/frame_store_alloc.h"
#include "capture/strobe.h"
#include "support/camera_document.h"

#include <iterator>
#include <stdexcept>

namespace vireo::test {

/// One way through the code that calls the library; with one camera, or seen from one, so that each call is a
/// place of its own.
struct FaultScenario {
    const char* strName;
    const char* strSource;
    bool bConnected; ///< cameras and store are there before the run
    void (*prepare)(CameraDocument& bench);
    bool (*run)(CameraDocument& bench);
    bool bPart = false; ///< other scenarios show most of its calls
    int iCamera = kNoCamera; ///< only this camera's calls count
    void (*arrange)(CameraDocument& bench) = nullptr; ///< with the store, before the run
};

inline void Nothing(CameraDocument& /*bench*/) { }
inline bool Configure(CameraDocument& bench) { return ConfigureCameras(bench.Doc()); }
inline bool SetMode(CameraDocument& bench, bool bCustom)
{
    CameraInfo info;
    info.modelName = bench.Doc().m_cameras.m_strModel[0];
    const VideoModeChoice choice = ChooseVideoMode(info.modelName, 0, bench.Parameters().m_iFps);
    return bCustom ? SetCustomMode(bench.Doc(), 0, info, choice) : SetStandardMode(bench.Doc(), 0, choice);
}
inline bool Arm(CameraDocument& bench)
{
    int hwSync = 0;
    return SynchroStrobePre(bench.Doc(), hwSync) == StrobePreparation::Synchronised;
}

/// Ten frames of every camera, as a capture that has just ended leaves them.
inline void MakeRecording(CameraDocument& bench)
{
    FrameStore& store = bench.Doc().m_store;
    store.m_iRecordTarget = 10;
    for (unsigned int c = 0; c < bench.Doc().m_cameras.m_uiNumCameras; ++c) {
        store.m_isaveFrameCount[c] = 16;
        store.m_bRecordDone[c] = true;
    }
    bench.Doc().m_capture.m_running.iFirstCamera = 1;
    bench.Doc().m_naming.m_strSaveFolder = bench.m_folder.Path();
}
/// Verbs that go on although a message was shown: whether all went well.
inline bool WithoutAWord(CameraDocument& bench, bool bDone) { return bDone && bench.Messages().empty(); }

const FaultScenario kFaultScenarios[] = {
    { "FindCameras", "simulated:FL3-U3-13Y3M", false, Nothing, [](CameraDocument& bench) { return bench.Open(); },
        true },
    { "ConnectUsb", "simulated:FL3-U3-13Y3M", false, Nothing, [](CameraDocument& bench) { return bench.Connect(); } },
    { "ConnectGigE", "simulated:GS3-PGE-23S6M", false, Nothing, [](CameraDocument& bench) { return bench.Connect(); } },
    // Everything that only a colour camera, a camera with pins, a GRAS or 120 fps needs, and a free run.
    { "ConfigureColour", "simulated:GRAS-03K2C", true, [](CameraDocument& bench) { bench.Parameters().m_iFps = 120; },
        Configure },
    // The open shutter is cut to fit, so that its write is there as well.
    { "ConfigureLocked", "simulated:FL3-U3-13Y3M", true,
        [](CameraDocument& bench) {
            bench.Parameters().m_iFps = 400;
            bench.Parameters().m_iShutter = -1;
        },
        Configure },
    { "GigEMode", "simulated:GS3-PGE-23S6M", true, Nothing,
        [](CameraDocument& bench) { return SetMode(bench, true); } },
    { "StandardMode", "simulated:FFMV-03M2M", true, Nothing,
        [](CameraDocument& bench) { return SetMode(bench, false); } },
    { "ArmTrigger", "simulated:FL3-U3-13Y3M", true,
        [](CameraDocument& bench) {
            bench.Doc().m_capture.m_bTriggerWaitRing = true;
            bench.m_library.Answers().triggerOn = true;
            bench.m_library.Answers().frameRate = 1000.0F;
        },
        Arm },
    { "PutBack", "simulated:FL3-U3-13Y3M", true, Nothing,
        [](CameraDocument& bench) { return SynchroStrobePost(bench.Doc()); } },
    { "HighestRate", "simulated:FL3-U3-13Y3M", true, Nothing,
        [](CameraDocument& bench) {
            int iRate = 0;
            return HighestFrameRate(bench.Doc(), 0, iRate);
        } },
    { "ReadTrigger", "simulated:FL3-U3-13Y3M", true,
        [](CameraDocument& bench) { bench.Doc().m_capture.m_running.bLowHigh = true; },
        [](CameraDocument& bench) { return ReadTriggerInput(bench.Doc()) == 1; } },
    // The second of two cameras: what is asked of a slave, and its number in the messages.
    { "ConfigureSlave", "simulated:2xGS3-PGE-23S6M", true,
        [](CameraDocument& bench) {
            bench.Parameters().m_iFps = 250;
            bench.Parameters().m_iShutter = -1;
        },
        Configure, false, 1 },
    { "StartButton", "simulated:GRAS-03K2", true, Nothing,
        [](CameraDocument& bench) { return WithoutAWord(bench, Start(bench.Doc())); }, false, kNoCamera,
        [](CameraDocument& bench) { ConfigureCameras(bench.Doc()); } },
    { "Save", "simulated:FL3-U3-13Y3M", true, Nothing,
        [](CameraDocument& bench) { return WithoutAWord(bench, SaveFromMenu(bench.Doc()).bComplete); }, false,
        kNoCamera,
        [](CameraDocument& bench) {
            ConfigureCameras(bench.Doc());
            MakeRecording(bench);
        } },
    // Behind the cameras' configuration come the calls of ConfigureLocked.
    { "Rearm", "simulated:FL3-U3-13Y3M", true, Nothing,
        [](CameraDocument& bench) { return WithoutAWord(bench, SaveAviAndRearm(bench.Doc()).bComplete); }, true,
        kNoCamera, MakeRecording },
    { "Info", "simulated:FL3-U3-13Y3M", true, Nothing,
        [](CameraDocument& bench) { return !UpdateInfo(bench.Doc()).strFrameRate.empty(); } },
    { "Close", "simulated:FL3-U3-13Y3M", true, Nothing,
        [](CameraDocument& bench) {
            OnCloseDocument(bench.Doc());
            return true;
        } },
};

inline const FaultScenario& ScenarioOf(const std::string& strName)
{
    for (const FaultScenario& scenario : kFaultScenarios)
        if (scenario.strName == strName)
            return scenario;
    throw std::runtime_error("no scenario " + strName);
}

/// A document as the scenario begins with it; nothing is recorded yet.
inline void Begin(CameraDocument& bench, const FaultScenario& scenario)
{
    if (scenario.bConnected) {
        if (!bench.Connect())
            throw std::runtime_error("cannot connect");
        scenario.prepare(bench);
        AllocateFrameStore(bench.Doc());
        if (scenario.arrange != nullptr)
            scenario.arrange(bench);
    }
    bench.Forget();
}

} // namespace vireo::test
