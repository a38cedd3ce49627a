#pragma once
#include "platform/error.h"

#include <string>

namespace vireo {

/// Reads a closed Motion-JPEG file back as VideoWriters::ReadBack describes.
Error CheckVideoFile(const std::string& strFile, int& iFrames);

} // namespace vireo
