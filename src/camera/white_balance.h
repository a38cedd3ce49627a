#pragma once
#include "camera/vireo_doc.h"

#include <cstddef>
#include <string_view>

namespace vireo {

/// Red and blue of the white-balance property for a model: two families have values of their own.
struct RedBlue {
    unsigned int uiRed = 0;
    unsigned int uiBlue = 0;
    friend bool operator==(const RedBlue&, const RedBlue&) = default;
};
RedBlue WhiteBalanceValues(std::string_view strModel, const WhiteBalance& stored);

/// Whether the values are written: some models keep the white balance they have.
bool WritesWhiteBalance(std::string_view strModel);

/// Gives a colour camera its stored white balance. False: shown. User-interface thread.
bool ApplyWhiteBalance(CVireoDoc& doc, std::size_t uiCamera);

} // namespace vireo
