#include "platform/genicam/feature_units.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>
#include <vector>

namespace vireo {

namespace {

struct Unit {
    Quantity eQuantity;
    std::string_view strName; ///< small letters
    double dUnits; ///< of ours
};
constexpr Unit kUnits[] = {
    { Quantity::Time, "ns", 1e-3 },
    { Quantity::Time, "nanoseconds", 1e-3 },
    { Quantity::Time, "us", 1.0 },
    { Quantity::Time, "\xC2\xB5s", 1.0 }, // micro sign
    { Quantity::Time, "\xCE\xBCs", 1.0 }, // Greek letter
    { Quantity::Time, "usec", 1.0 },
    { Quantity::Time, "microsecond", 1.0 },
    { Quantity::Time, "microseconds", 1.0 },
    { Quantity::Time, "ms", 1e3 },
    { Quantity::Time, "msec", 1e3 },
    { Quantity::Time, "millisecond", 1e3 },
    { Quantity::Time, "milliseconds", 1e3 },
    { Quantity::Time, "s", 1e6 },
    { Quantity::Time, "sec", 1e6 },
    { Quantity::Time, "seconds", 1e6 },
    { Quantity::Level, "db", 1.0 },
    { Quantity::Level, "decibel", 1.0 },
    { Quantity::Level, "decibels", 1.0 },
};

std::vector<std::string> Words(std::string_view strText)
{
    std::vector<std::string> words(1);
    for (const char c : strText) {
        if (std::string_view(" \t\r\n,;:()[]/=*").find(c) != std::string_view::npos)
            words.emplace_back();
        else
            words.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    for (std::string& strWord : words)
        while (strWord.ends_with('.'))
            strWord.pop_back();
    std::erase(words, "");
    return words;
}

/// Takes a number from the front of a word ("20us"); false when there is none.
bool TakeNumber(std::string_view& strWord, double& dNumber)
{
    if (strWord.empty() || strWord[0] < '0' || strWord[0] > '9')
        return false;
    const auto [pEnd, eError] = std::from_chars(strWord.data(), strWord.data() + strWord.size(), dNumber);
    strWord.remove_prefix(static_cast<std::size_t>(pEnd - strWord.data()));
    return eError == std::errc() && dNumber > 0.0;
}

/// The first unit in a text, times the number right before it.
std::optional<double> Find(Quantity eQuantity, std::string_view strText, bool bNeedsNumber)
{
    double dNumber = 1.0;
    bool bNumber = false;
    for (const std::string& strWhole : Words(strText)) {
        std::string_view strWord = strWhole;
        bNumber = TakeNumber(strWord, dNumber) || (bNumber && !strWord.empty());
        if (strWord.empty())
            continue;
        const auto* pUnit = std::find_if(std::begin(kUnits), std::end(kUnits),
            [&](const Unit& unit) { return unit.eQuantity == eQuantity && unit.strName == strWord; });
        if (pUnit != std::end(kUnits) && (bNumber || !bNeedsNumber || strWord.size() > 1))
            return (bNumber ? dNumber : 1.0) * pUnit->dUnits;
        bNumber = false;
    }
    return std::nullopt;
}

} // namespace

std::optional<double> UnitsPerStep(Quantity eQuantity, std::string_view strUnit)
{
    return Find(eQuantity, strUnit, false);
}

std::optional<double> UnitsPerStepInText(Quantity eQuantity, std::string_view strText)
{
    return Find(eQuantity, strText, true);
}

} // namespace vireo
