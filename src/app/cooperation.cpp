#include "app/cooperation.h"

#include "app/number_text.h"

#include <algorithm>
#include <string_view>

namespace vireo {

namespace {

constexpr std::size_t kFirstFileToken = 8;
constexpr std::size_t kLeastTokens = 9;
constexpr std::string_view kNoPartner = "NONE";
constexpr std::int32_t kShutters[] = { -1, 250, 500, 1000, 2000, 5000, 10000 };
constexpr std::int32_t kOtherShutter = 500;

std::string_view Trim(std::string_view strText)
{
    const std::size_t uiFirst = strText.find_first_not_of(' ');
    if (uiFirst == std::string_view::npos)
        return {};
    return strText.substr(uiFirst, strText.find_last_not_of(' ') - uiFirst + 1);
}

/// Takes the next token off the text, quotes included in what is taken, not in the token.
std::string_view TakeToken(std::string_view& strRest)
{
    const bool bQuoted = strRest.starts_with('"');
    if (bQuoted)
        strRest.remove_prefix(1);
    const std::size_t uiEnd = std::min(strRest.find(bQuoted ? '"' : ' '), strRest.size());
    const std::string_view strToken = strRest.substr(0, uiEnd);
    strRest.remove_prefix(std::min(uiEnd + 1, strRest.size()));
    strRest.remove_prefix(std::min(strRest.find_first_not_of(' '), strRest.size()));
    return strToken;
}

std::int32_t AllowedShutter(std::int32_t iShutter)
{
    const bool bAllowed = std::ranges::find(kShutters, iShutter) != std::end(kShutters);
    return bAllowed ? iShutter : kOtherShutter;
}

} // namespace

std::vector<std::string> SplitCommandLine(const std::string& strCommandLine)
{
    std::vector<std::string> tokens;
    std::string_view strRest = Trim(strCommandLine);
    while (!strRest.empty()) {
        const std::string_view strToken = TakeToken(strRest);
        if (strToken.empty())
            break;
        tokens.emplace_back(Trim(strToken));
    }
    return tokens;
}

std::string JoinCommandLine(int iCount, const char* const* ppArguments)
{
    std::string strLine;
    for (int i = 0; i < iCount; ++i) {
        const std::string strArgument = ppArguments[i];
        const bool bQuote = strArgument.empty() || strArgument.find(' ') != std::string::npos;
        if (i > 0)
            strLine += ' ';
        strLine += bQuote ? '"' + strArgument + '"' : strArgument;
    }
    return strLine;
}

CooperationRequest ParseCooperation(const std::vector<std::string>& tokens)
{
    CooperationRequest request;
    if (tokens.size() < kLeastTokens || tokens[kFirstFileToken].empty())
        return request;

    request.CooperationMode = true;
    request.PartnerPresent = tokens[0] != kNoPartner;
    request.PartnerTitle = tokens[0];
    request.CoopFlag = std::clamp(TextToInt(tokens[1]), 0, 1);
    request.CoopWidth = std::max(TextToInt(tokens[2]), 640);
    request.CoopHeight = std::max(TextToInt(tokens[3]), 480);
    request.CoopFrameRate = std::max(TextToInt(tokens[4]), 30);
    request.CoopShutter = AllowedShutter(TextToInt(tokens[5]));
    request.CoopGain = std::max(TextToInt(tokens[6]), 0);
    request.CoopSwitches = TextToInt(tokens[7]);
    for (std::size_t i = kFirstFileToken; i < tokens.size() && !tokens[i].empty(); ++i) {
        if (request.CoopFileCount == kCoopMaxFiles)
            break;
        request.CoopFileNames[static_cast<std::size_t>(request.CoopFileCount++)] = tokens[i];
    }
    return request;
}

} // namespace vireo
