#pragma once
#include "platform/error.h"

#include <string>
#include <string_view>

namespace vireo {

/// Where traces and debug output go: one line a call, to stderr in the programs, to a list in tests.
/// Any thread; never fails, never throws. A trailing "\n" of the text is not doubled.
class Log {
public:
    virtual ~Log() = default;
    virtual void Write(std::string_view strLine) = 0;
};

/// The library's error trace: where it happened, the type's number and the library's own words.
inline void PrintErrorTrace(Log& log, const Error& error, std::string_view strWhere)
{
    std::string strLine(strWhere);
    strLine += ": error ";
    strLine += std::to_string(error.GetTypeNumber());
    strLine += ": ";
    strLine += error.GetDescription();
    log.Write(strLine);
}

} // namespace vireo
