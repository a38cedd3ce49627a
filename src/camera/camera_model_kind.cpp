#include "camera/camera_model_kind.h"

#include <iterator>

namespace vireo {

namespace {

struct KindText {
    std::string_view strText;
    CameraModelKind eKind;
};

// Tested one by one and independently: a name that contains two of the texts is of both kinds.
constexpr KindText kKindTexts[] = {
    { "GS3-U3-23S6M", CameraModelKind::Gs3Usb3 },
    { "GS3-U3-23S6C", CameraModelKind::Gs3Usb3 },
    { "GS3-PGE-23S6M", CameraModelKind::Gs3GigE },
    { "GS3-PGE-23S6C", CameraModelKind::Gs3GigE },
    { "FL3-U3-13Y3M", CameraModelKind::Fl3Mono },
    { "FL3-U3-13E4C", CameraModelKind::Fl3Colour },
    { "Dragonfly Express", CameraModelKind::DragonflyExpress },
    { "GRAS-03", CameraModelKind::Gras },
    { "FFMV-03", CameraModelKind::Ffmv },
    { "DR2-", CameraModelKind::OlderFireWire },
    { "Flea ", CameraModelKind::OlderFireWire }, // the blank keeps "Flea3" out
    { "FL2-03", CameraModelKind::OlderFireWire },
};

constexpr ModelLimits kModelLimits[] = {
    { CameraModelKind::Gs3Usb3, 0, 29, 350 },
    { CameraModelKind::Gs3GigE, 0, 29, 250 },
    { CameraModelKind::Fl3Mono, 0, 18, 400 },
    { CameraModelKind::Fl3Colour, 0, 18, 118 },
    { CameraModelKind::DragonflyExpress, -6, 30, 200 },
    { CameraModelKind::Gras, 0, 24, 200 },
    { CameraModelKind::Ffmv, 0, 12, 60 },
    { CameraModelKind::OlderFireWire, 0, 24, 60 },
};

constexpr CameraModelKind kStrobeCapable =
    CameraModelKind::Gs3Usb3 | CameraModelKind::Gs3GigE | CameraModelKind::Fl3Mono | CameraModelKind::Fl3Colour;

} // namespace

CameraModelKind ClassifyModel(std::string_view strModel)
{
    CameraModelKind eKinds = CameraModelKind::Other;
    for (const KindText& row : kKindTexts)
        if (strModel.find(row.strText) != std::string_view::npos)
            eKinds = eKinds | row.eKind;
    return eKinds;
}

std::span<const ModelLimits> ModelLimitTable() { return kModelLimits; }

bool IsStrobeCapable(std::string_view strModel) { return Has(ClassifyModel(strModel), kStrobeCapable); }

} // namespace vireo
