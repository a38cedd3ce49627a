#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// The close-document step: stops the capture, closes the panel, disconnects and releases the cameras and
/// the frame store, and stores the file titles. Harmless on a document without cameras and when repeated.
/// User-interface thread.
void OnCloseDocument(CVireoDoc& doc);

/// Opens the camera control panel, or closes it when it is open. User-interface thread.
void ToggleControlPanel(CVireoDoc& doc);

} // namespace vireo
