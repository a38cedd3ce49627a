#pragma once
#include <span>
#include <string_view>

namespace vireo {

/// Groups of camera models, told by texts anywhere inside the model name, case-sensitive. A name may
/// belong to several.
enum class CameraModelKind : unsigned {
    Other = 0,
    Gs3Usb3 = 1U << 0, ///< "GS3-U3-23S6M", "GS3-U3-23S6C"
    Gs3GigE = 1U << 1, ///< "GS3-PGE-23S6M", "GS3-PGE-23S6C"
    Fl3Mono = 1U << 2, ///< "FL3-U3-13Y3M"
    Fl3Colour = 1U << 3, ///< "FL3-U3-13E4C"
    DragonflyExpress = 1U << 4, ///< "Dragonfly Express"
    Gras = 1U << 5, ///< "GRAS-03"
    Ffmv = 1U << 6, ///< "FFMV-03"
    OlderFireWire = 1U << 7, ///< "DR2-", "Flea " (blank included), "FL2-03"
};

constexpr CameraModelKind operator|(CameraModelKind a, CameraModelKind b)
{
    return static_cast<CameraModelKind>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool Has(CameraModelKind eKinds, CameraModelKind eKind)
{
    return (static_cast<unsigned>(eKinds) & static_cast<unsigned>(eKind)) != 0;
}

/// Limits that a kind of model sets. A row acts only on values above it.
struct ModelLimits {
    CameraModelKind eKind;
    int iGainMinDb, iGainMaxDb; ///< dB
    int iMaxFps; ///< fps
};

/// All groups that the model name belongs to.
CameraModelKind ClassifyModel(std::string_view strModel);
/// The limit rows, in the order in which they apply.
std::span<const ModelLimits> ModelLimitTable();
/// One of the six models that can be strobe-locked; the same six work with a partner program.
bool IsStrobeCapable(std::string_view strModel);

} // namespace vireo
