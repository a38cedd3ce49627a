#pragma once
#include <cstdarg>
#include <cstdio>
#include <string>

namespace vireo {

/// A text from a fixed format of this program; never from a text that came from outside.
[[gnu::format(printf, 1, 2)]] inline std::string FormatText(const char* pFormat, ...)
{
    std::va_list arguments;
    va_start(arguments, pFormat);
    std::va_list again;
    va_copy(again, arguments);
    const int iLength = std::vsnprintf(nullptr, 0, pFormat, arguments);
    va_end(arguments);
    std::string strText(iLength > 0 ? static_cast<std::size_t>(iLength) : 0, '\0');
    if (iLength > 0)
        std::vsnprintf(strText.data(), strText.size() + 1, pFormat, again);
    va_end(again);
    return strText;
}

} // namespace vireo
