#pragma once
#include "platform/error.h"
#include "platform/log.h"

#include <mutex>
#include <string>
#include <utility>

namespace vireo {

/// Tells the log why a camera refused a call: the operator's messages carry the error's number, the library's
/// own words name the camera and what it lacks. The same words are not told twice running. Any thread.
class FailureNotes {
public:
    explicit FailureNotes(Log& log)
        : m_log(log)
    {
    }

    /// Returns what it is given.
    Error Note(Error error)
    {
        if (error.HasDescription() && IsNew(error.GetDescription()))
            m_log.Write(error.GetDescription());
        return error;
    }

private:
    bool IsNew(const std::string& strText)
    {
        std::lock_guard lock(m_mutex);
        return std::exchange(m_strLast, strText) != strText;
    }

    Log& m_log;
    std::mutex m_mutex;
    std::string m_strLast;
};

} // namespace vireo
