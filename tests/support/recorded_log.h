#pragma once
#include "platform/log.h"

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vireo::test {

/// Keeps every line that is logged. Any thread.
class RecordedLog : public Log {
public:
    void Write(std::string_view strLine) override
    {
        if (strLine.ends_with('\n'))
            strLine.remove_suffix(1);
        std::lock_guard lock(m_mutex);
        m_lines.emplace_back(strLine);
    }

    std::vector<std::string> Lines() const
    {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }
    /// A line that contains `strText` was logged.
    bool Contains(std::string_view strText) const { return Count(strText) != 0; }
    /// How many lines contain `strText`.
    std::size_t Count(std::string_view strText) const
    {
        std::lock_guard lock(m_mutex);
        std::size_t uiCount = 0;
        for (const std::string& strLine : m_lines)
            uiCount += strLine.find(strText) != std::string::npos ? 1 : 0;
        return uiCount;
    }
    void Clear()
    {
        std::lock_guard lock(m_mutex);
        m_lines.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

} // namespace vireo::test
