#include "peers/peer_faults.h"

#include <charconv>

namespace vireo::peers {

namespace {

bool TakeNumber(std::string_view& strText, std::uint64_t& uiValue)
{
    const auto [pEnd, eError] = std::from_chars(strText.data(), strText.data() + strText.size(), uiValue);
    if (eError != std::errc())
        return false;
    strText.remove_prefix(static_cast<std::size_t>(pEnd - strText.data()));
    return true;
}

bool TakeCharacter(std::string_view& strText, char c)
{
    if (!strText.starts_with(c))
        return false;
    strText.remove_prefix(1);
    return true;
}

} // namespace

bool Contains(const std::vector<Numbers>& list, std::uint64_t uiNumber)
{
    for (const Numbers& numbers : list)
        if (uiNumber >= numbers.uiFirst && uiNumber - numbers.uiFirst < numbers.uiCount)
            return true;
    return false;
}

bool ParsePeerFault(std::string_view strRule, std::vector<PeerFaults>& faults)
{
    const std::size_t uiColon = strRule.find(':');
    if (uiColon == std::string_view::npos)
        return false;
    const std::string_view strKind = strRule.substr(0, uiColon);
    std::string_view strRest = strRule.substr(uiColon + 1);
    std::uint64_t uiCamera = 0;
    Numbers numbers;
    if (!TakeNumber(strRest, uiCamera) || uiCamera >= 64 || !TakeCharacter(strRest, '@'))
        return false;
    const bool bArmed = strKind == "quit" && strRest == "armed";
    const bool bOpen = strKind == "mute" && strRest == "open";
    if (bArmed || bOpen)
        strRest = {};
    else if (!TakeNumber(strRest, numbers.uiFirst))
        return false;
    const bool bCount = TakeCharacter(strRest, 'x');
    if ((bCount && !TakeNumber(strRest, numbers.uiCount)) || !strRest.empty())
        return false;
    if (faults.size() <= uiCamera)
        faults.resize(uiCamera + 1);
    PeerFaults& camera = faults[uiCamera];
    if (bArmed)
        camera.bQuitArmed = true;
    else if (bOpen)
        camera.bMuteOpened = true;
    else if (strKind == "lose")
        camera.lose.push_back(numbers);
    else if (strKind == "torn")
        camera.torn.push_back(numbers);
    else if (strKind == "drop")
        camera.drop.push_back(numbers);
    else if (strKind == "deaf")
        camera.deaf.push_back(numbers);
    else if (strKind == "hang" && !bCount)
        camera.hang = numbers.uiFirst;
    else if (strKind == "release" && !bCount)
        camera.release = numbers.uiFirst;
    else if (strKind == "seize" && !bCount)
        camera.seize = numbers.uiFirst;
    else if (strKind == "quit" && !bCount)
        camera.quit = numbers.uiFirst;
    else
        return false;
    return true;
}

} // namespace vireo::peers
