#pragma once
#include "app/recording_preset.h"
#include "capture/per_camera.h"

#include <array>
#include <atomic>
#include <string>
#include <vector>

namespace vireo {

/// Puts a folder and a name together: "\\" between them, or "/" when the folder contains "/" and no
/// drive letter.
std::string JoinPath(const std::string& strFolder, const std::string& strName);

/// Names of recordings. User-interface thread.
struct Naming {
    std::string m_strSaveFolder = "c:\\";
    std::string m_strFileTitle = "untitle";
    std::string m_strFilePath = "c:\\\\untitle"; ///< current base path: folder, separator, title
    std::string m_strSerialSuffix = "1"; ///< running number
    bool m_bSerialSuffix = false; ///< append it
    std::vector<std::string> m_astrFileHistory; ///< titles used, newest first
    std::vector<std::string> m_astrFileList; ///< kept with the names; files go by the list of their writer
};

/// Puts the title in front of the history and takes its older entries out.
void RememberTitle(Naming& naming);

/// What the views and the panel keep with the document. User-interface thread.
struct Windows {
    std::atomic<bool> m_bControlPanelShown = false; ///< any thread reads it
    int m_iViewCount = 0; ///< views opened so far; never decreased
    int m_iViewSwitch = 1; ///< 32-bit switch used by the view; kept, every view draws alike
    int m_iCurFrame = 0; ///< frame shown in playback, 0-based
    std::array<AffineTransform, kCameraSlots> m_affine; ///< [camera number - 1]
};

} // namespace vireo
