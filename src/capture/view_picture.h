#pragma once
#include "camera/vireo_doc.h"

#include <cstddef>

namespace vireo {

/// Gives the camera's view image the size and format of the running capture, black, so that no frame has
/// to allocate. Any thread; holds m_csView for that long.
void PrepareView(CVireoDoc& doc, std::size_t uiCamera);

/// Converts a frame into the camera's view image, which always has the display size of the running
/// capture: a frame of another size stands at the top left, cut or with black around it. Any thread; holds
/// m_csView meanwhile and calls nothing outside but the converter.
/// @return as PixelConverter::Convert; the old picture stays on failure.
Error ShowInView(CVireoDoc& doc, std::size_t uiCamera, const Image& frame);

} // namespace vireo
