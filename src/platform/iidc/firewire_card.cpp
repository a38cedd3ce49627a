#include "platform/iidc/firewire_card.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

namespace vireo {

namespace {

namespace fs = std::filesystem;

struct Node {
    std::uint32_t uiNumber = 0;
    std::uint64_t uiGuid = 0;
    fs::path card; ///< folder of the device that all nodes of one bus stand in
};

template <typename Number> bool ParseAll(std::string_view strText, int iBase, Number& number)
{
    const auto [pEnd, eError] = std::from_chars(strText.data(), strText.data() + strText.size(), number, iBase);
    return eError == std::errc() && pEnd == strText.data() + strText.size();
}

/// Reads an entry such as fw1, whose identifier stands as 0x00b09d0100a1b2c3. The units of a node, such as fw1.0, have
/// none.
bool ReadNode(const fs::path& entry, Node& node)
{
    const std::string strName = entry.filename();
    std::ifstream file(entry / "guid");
    std::string strGuid;
    std::error_code failure;
    if (!(file >> strGuid) || !strGuid.starts_with("0x") || !strName.starts_with("fw")
        || !ParseAll(std::string_view(strGuid).substr(2), 16, node.uiGuid)
        || !ParseAll(std::string_view(strName).substr(2), 10, node.uiNumber))
        return false;
    node.card = fs::canonical(entry, failure).parent_path();
    return !failure;
}

} // namespace

std::optional<std::uint32_t> FindFirewireCard(std::uint64_t uiGuid, const std::string& strNodes)
{
    std::vector<Node> nodes;
    std::error_code failure;
    for (fs::directory_iterator entry(strNodes, failure), end; !failure && entry != end; entry.increment(failure))
        if (Node node; ReadNode(entry->path(), node))
            nodes.push_back(std::move(node));
    const auto camera = std::ranges::find(nodes, uiGuid, &Node::uiGuid);
    if (camera == nodes.end())
        return std::nullopt;
    std::uint32_t uiLowest = camera->uiNumber;
    for (const Node& node : nodes)
        if (node.card == camera->card)
            uiLowest = std::min(uiLowest, node.uiNumber);
    return uiLowest;
}

} // namespace vireo
