#include "app/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace vireo {

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

std::string_view SkipBlanks(std::string_view strText)
{
    strText.remove_prefix(std::min(strText.find_first_not_of(kBlanks), strText.size()));
    return strText;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

} // namespace

std::int32_t TextToInt(std::string_view strText)
{
    strText = SkipBlanks(strText);
    const bool bNegative = strText.starts_with('-');
    if (bNegative || strText.starts_with('+'))
        strText.remove_prefix(1);
    constexpr std::int64_t kLimit = std::int64_t { std::numeric_limits<std::int32_t>::max() } + 1;
    std::int64_t iValue = 0;
    for (std::size_t i = 0; i < strText.size() && IsDigit(strText[i]); ++i)
        iValue = std::min(iValue * 10 + (strText[i] - '0'), kLimit);
    return static_cast<std::int32_t>(bNegative ? -iValue : std::min(iValue, kLimit - 1));
}

float TextToFloat(std::string_view strText)
{
    strText = SkipBlanks(strText);
    if (strText.starts_with('+')) {
        strText.remove_prefix(1);
        if (strText.starts_with('-'))
            return 0.0F;
    }
    double dValue = 0.0;
    const auto result = std::from_chars(strText.data(), strText.data() + strText.size(), dValue);
    const bool bHolds = result.ec == std::errc() && std::abs(dValue) <= std::numeric_limits<float>::max();
    return bHolds ? static_cast<float>(dValue) : 0.0F;
}

std::string FloatToText(float fValue)
{
    char text[64]; // the largest float has 39 digits before the point
    const auto result = std::to_chars(std::begin(text), std::end(text), double { fValue }, std::chars_format::fixed, 6);
    return { text, result.ptr };
}

} // namespace vireo
