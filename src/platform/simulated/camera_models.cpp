#include "platform/simulated/camera_models.h"

#include <algorithm>

namespace vireo {

namespace {

// Bytes per 125 us: USB 3 384 MB/s, gigabit Ethernet 118 MB/s, the two generations of IEEE 1394.
constexpr std::uint32_t kUsb3Packet = 48000;
constexpr std::uint32_t kGigEPacket = 14752;
constexpr std::uint32_t kFast1394Packet = 8192;
constexpr std::uint32_t kOld1394Packet = 4096;

constexpr std::array<ModelMode, 3> kGs3Modes { { { 1920, 1200, 5100 }, { 960, 600, 5100 }, {} } };
// The fast mode 1 trades noise for speed; mode 0 is what the camera wakes up in.
constexpr std::array<ModelMode, 3> kFl3MonoModes { { { 1280, 1024, 6000 }, { 1280, 1024, 4000 }, {} } };
constexpr std::array<ModelMode, 3> kFl3ColourModes { { { 1280, 1024, 16000 }, { 640, 512, 16000 },
    { 1280, 1024, 7000 } } };
constexpr std::array<ModelMode, 3> kFastVgaModes { { { 640, 480, 9500 }, { 320, 240, 9500 }, {} } };
constexpr std::array<ModelMode, 3> kBwModes { { { 656, 490, 9500 }, {}, {} } };
constexpr std::array<ModelMode, 3> kVgaModes { { { 640, 480, 30000 }, {}, {} } };

constexpr CameraModel kModels[] = {
    { "GS3-U3-23S6M", false, 17000001, 1920, 1200, kGs3Modes, 350, 0, 29, kUsb3Packet },
    { "GS3-U3-23S6C", false, 17100001, 1920, 1200, kGs3Modes, 350, 0, 29, kUsb3Packet },
    { "GS3-PGE-23S6M", false, 15000001, 1920, 1200, kGs3Modes, 250, 0, 29, kGigEPacket },
    { "GS3-PGE-23S6C", false, 15100001, 1920, 1200, kGs3Modes, 250, 0, 29, kGigEPacket },
    { "FL3-U3-13Y3M", false, 13000001, 1280, 1024, kFl3MonoModes, 400, 0, 18, kUsb3Packet },
    { "FL3-U3-13E4C", false, 13100001, 1280, 1024, kFl3ColourModes, 118, 0, 18, kUsb3Packet },
    { "GRAS-03", true, 9000001, 640, 480, kFastVgaModes, 200, 0, 24, kFast1394Packet },
    { "Dragonfly Express", true, 7000001, 640, 480, kFastVgaModes, 200, -6, 30, kFast1394Packet },
    { "DX-BW", true, 7100001, 656, 490, kBwModes, 200, -6, 30, kFast1394Packet },
    { "FFMV-03", true, 8000001, 640, 480, kVgaModes, 60, 0, 12, kOld1394Packet },
    { "DR2-", true, 6000001, 640, 480, kVgaModes, 60, 0, 24, kOld1394Packet },
    { "Flea ", true, 5000001, 640, 480, kVgaModes, 60, 0, 24, kOld1394Packet }, // the blank keeps "Flea3" out
    { "FL2-03", true, 5100001, 640, 480, kVgaModes, 60, 0, 24, kOld1394Packet },
};

bool IsModelCharacter(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == ' ';
}

} // namespace

std::span<const CameraModel> CameraModelTable() { return kModels; }

const CameraModel* FindCameraModel(std::string_view strName)
{
    for (const CameraModel& model : kModels) {
        if (!strName.starts_with(model.strText))
            continue;
        const std::string_view strRest = strName.substr(model.strText.size());
        if (strRest.empty() || (model.bFamily && std::all_of(strRest.begin(), strRest.end(), IsModelCharacter)))
            return &model;
    }
    return nullptr;
}

InterfaceType InterfaceOfModel(std::string_view strName)
{
    if (strName.find("-U3-") != std::string_view::npos)
        return InterfaceType::Usb3;
    if (strName.find("-PGE-") != std::string_view::npos)
        return InterfaceType::GigE;
    return InterfaceType::Ieee1394;
}

bool IsColourModel(std::string_view strName) { return strName.ends_with('C'); }

} // namespace vireo
