#pragma once
#include "app/recording_preset.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace vireo {

/// The frame rates that can be chosen, fps; m_iMaxRecordSec has one entry for each.
constexpr std::array<int, 10> kFrameRates = { 30, 60, 100, 120, 150, 200, 250, 300, 350, 400 };

/// The capture parameters in force, and the limits that the connected models set on them.
/// User-interface thread only; a running capture reads its snapshot instead.
struct CaptureParameters {
    int m_iFps = 30; ///< fps
    int m_iRecordSec = 1; ///< s
    int m_iImageSizeIndex = 0; ///< 0 = 640x480, 1 = 1024x768, 2 = 1280x720, 3 = 1920x1080
    int m_iShutter = 500; ///< denominator of 1/x s; -1 = open
    float m_fGain = 3.0F; ///< dB
    bool GainSetAll = true;
    int m_iImageWidth = 640; ///< stored with the preset, pixels
    int m_iImageHeight = 480;
    int MonoColor = 0;

    std::array<int, kFrameRates.size()> m_iMaxRecordSec {}; ///< s that memory allows, per frame rate
    int m_iModelMaxFps = 400; ///< fps
    int m_iGainMinDb = -6; ///< dB
    int m_iGainMaxDb = 30;

    bool TriggerLowHigh = false; ///< trigger level: true = idle low, active high
    bool IsMaster = false; ///< this computer is the master of a synchronised set
    int InitialCameraNumber = 0; ///< number of the first camera in titles and file names

    int PresetIndex = 0; ///< 0 at start, 1..4 from the buttons
    std::string m_strPresetName;
    std::array<std::string, 5> m_astrPresetNames; ///< buttons 1..4; the dialog also stores one further on
    std::string SyncPath;

    bool m_bCooperation = false; ///< the partner's values are imposed
    bool m_bRateFixed = false; ///< the partner's frame rate stays for camera 0
    std::string m_strCameraQuery; ///< the text of the last highest-rate query; kept, shown nowhere
};

/// The record-time entry of a frame rate; 118 shares the one of 120. None (-1) for any other rate.
constexpr int RateIndex(int iFps)
{
    if (iFps == 118)
        iFps = 120;
    for (std::size_t i = 0; i < kFrameRates.size(); ++i)
        if (kFrameRates[i] == iFps)
            return static_cast<int>(i);
    return -1;
}

} // namespace vireo
