#include "platform/simulated/camera_models.h"
#include "platform/simulated/simulated_setup.h"
#include "platform/simulated/text_scan.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr std::string_view kSourceName = "simulated";
constexpr std::string_view kDefaultItems = "4xFL3-U3-13Y3M@13000001";

struct Item {
    std::size_t uiCount = 1;
    std::string_view strModel;
    std::optional<std::uint32_t> serial;
};

std::string BadItem(std::string_view strItem, std::string_view strWhy)
{
    return "bad simulated camera " + Quoted(strItem) + ": " + std::string(strWhy);
}

/// Splits one item. No model text begins with a digit, so a leading number can only be the count.
std::string ReadItem(std::string_view strItem, Item& item)
{
    std::string_view strRest = strItem;
    const std::size_t uiDigits = std::min(strRest.find_first_not_of("0123456789"), strRest.size());
    if (uiDigits > 0) {
        const auto count = ScanNumber(strRest.substr(0, uiDigits), kMaxSimulatedCameras);
        if (!count || *count == 0 || !strRest.substr(uiDigits).starts_with('x'))
            return BadItem(strItem, "the count must be 1 to " + std::to_string(kMaxSimulatedCameras) + " and an x");
        item.uiCount = static_cast<std::size_t>(*count);
        strRest.remove_prefix(uiDigits + 1);
    }
    const std::size_t uiAt = strRest.find('@');
    item.strModel = strRest.substr(0, uiAt);
    if (uiAt != std::string_view::npos) {
        const auto serial = ScanNumber(strRest.substr(uiAt + 1), UINT32_MAX);
        if (!serial)
            return BadItem(strItem, "the serial number must be a 32-bit number");
        item.serial = static_cast<std::uint32_t>(*serial);
    }
    if (FindCameraModel(item.strModel) == nullptr)
        return BadItem(strItem, "unknown model " + Quoted(item.strModel));
    return {};
}

bool HasSerial(const std::vector<SimulatedCameraSpec>& cameras, std::uint32_t uiSerial)
{
    return std::any_of(cameras.begin(), cameras.end(), [uiSerial](const auto& c) { return c.uiSerial == uiSerial; });
}

std::string AppendItem(std::string_view strItem, std::vector<SimulatedCameraSpec>& cameras)
{
    Item item;
    if (std::string strError = ReadItem(strItem, item); !strError.empty())
        return strError;
    if (cameras.size() + item.uiCount > kMaxSimulatedCameras)
        return BadItem(strItem, "more than " + std::to_string(kMaxSimulatedCameras) + " cameras");
    std::uint64_t uiSerial = item.serial.value_or(FindCameraModel(item.strModel)->uiFirstSerial);
    for (std::size_t i = 0; i < item.uiCount; ++i, ++uiSerial) {
        while (!item.serial && HasSerial(cameras, static_cast<std::uint32_t>(uiSerial)))
            ++uiSerial;
        if (uiSerial > UINT32_MAX)
            return BadItem(strItem, "the serial numbers pass 32 bits");
        if (HasSerial(cameras, static_cast<std::uint32_t>(uiSerial)))
            return BadItem(strItem, "serial number " + std::to_string(uiSerial) + " is used twice");
        cameras.push_back({ std::string(item.strModel), static_cast<std::uint32_t>(uiSerial) });
    }
    return {};
}

} // namespace

std::string ParseSimulatedSource(std::string_view strSource, std::vector<SimulatedCameraSpec>& cameras)
{
    std::string_view strItems = kDefaultItems;
    if (strSource.starts_with(kSourceName) && strSource.substr(kSourceName.size()).starts_with(':'))
        strItems = strSource.substr(kSourceName.size() + 1);
    else if (strSource != kSourceName)
        return "unknown camera source " + Quoted(strSource);

    std::vector<SimulatedCameraSpec> all = cameras;
    for (;;) {
        const std::size_t uiPlus = strItems.find('+');
        if (std::string strError = AppendItem(strItems.substr(0, uiPlus), all); !strError.empty())
            return strError;
        if (uiPlus == std::string_view::npos)
            break;
        strItems.remove_prefix(uiPlus + 1);
    }
    cameras = std::move(all);
    return {};
}

} // namespace vireo
