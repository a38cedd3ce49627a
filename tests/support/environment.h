#pragma once
#include <cstdlib>
#include <optional>
#include <string>

namespace vireo::test {

/// An environment variable with another value, or none, for the life of the object.
class EnvironmentVariable {
public:
    EnvironmentVariable(std::string strName, const std::optional<std::string>& strValue)
        : m_strName(std::move(strName))
    {
        if (const char* pBefore = std::getenv(m_strName.c_str()))
            m_strBefore = pBefore;
        Set(strValue);
    }
    ~EnvironmentVariable() { Set(m_strBefore); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

    void Set(const std::optional<std::string>& strValue)
    {
        if (strValue)
            setenv(m_strName.c_str(), strValue->c_str(), 1);
        else
            unsetenv(m_strName.c_str());
    }

private:
    std::string m_strName;
    std::optional<std::string> m_strBefore;
};

} // namespace vireo::test
