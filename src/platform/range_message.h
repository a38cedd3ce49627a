#pragma once
#include <cstdio>
#include <string>

namespace vireo {

/// "shutter 9 ms lies outside 0.01 to 5 ms": what to tell about a value that a camera does not take.
inline std::string RangeMessage(const char* strName, const char* strUnit, double dValue, double dMin, double dMax)
{
    char szText[160] = {};
    std::snprintf(
        szText, sizeof szText, "%s %g %s lies outside %g to %g %s", strName, dValue, strUnit, dMin, dMax, strUnit);
    return szText;
}

} // namespace vireo
