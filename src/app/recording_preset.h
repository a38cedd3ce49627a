#pragma once
#include <cstdint>
#include <string>

namespace vireo {

/// The settings of one preset button, in the order of the record. Values as stored: no range checks.
struct RecordingPreset {
    std::string ButtonLabel;
    std::int32_t FrameRate = 30; ///< fps
    std::int32_t Shutter = 500; ///< denominator of 1/x s; -1 = open
    std::int32_t WindowSize = 0; ///< image-size index
    float Gain = 0.0F; ///< dB
    bool GainSetAll = true;
    std::int32_t RecTime = 1; ///< s
    std::string Path = "c:\\";
    std::int32_t WindowSizeX = 640; ///< pixels
    std::int32_t WindowSizeY = 480; ///< pixels; loads as WindowSizeX once a preset has been saved
    std::int32_t MonoColor = 0;
    bool TriggerLowHigh = false;
    std::string SyncPath = "c:\\"; ///< read, never written
    bool IsMaster = true;
    std::int32_t InitialCameraNumber = 1;

    friend bool operator==(const RecordingPreset&, const RecordingPreset&) = default;
};

/// Left, top, right, bottom in pixels.
struct WindowRect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    friend bool operator==(const WindowRect&, const WindowRect&) = default;
};

/// A view transform, 2 by 3 in row order; the last row is the translation. Default: identity.
struct AffineTransform {
    float _11 = 1.0F, _12 = 0.0F, _21 = 0.0F, _22 = 1.0F, _31 = 0.0F, _32 = 0.0F;
    friend bool operator==(const AffineTransform&, const AffineTransform&) = default;
};

/// White-balance values of one camera.
struct WhiteBalance {
    std::uint32_t GB = 715; ///< blue of the GRAS and FFMV models
    std::uint32_t GR = 645; ///< red of the GRAS and FFMV models
    std::uint32_t B = 90; ///< blue of all others
    std::uint32_t R = 80; ///< red of all others
    friend bool operator==(const WhiteBalance&, const WhiteBalance&) = default;
};

/// Stored placement of the main window.
struct MainWindowPlacement {
    WindowRect rect { 0, 0, 800, 600 };
    bool bMaximized = false;
    friend bool operator==(const MainWindowPlacement&, const MainWindowPlacement&) = default;
};

} // namespace vireo
