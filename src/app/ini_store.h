#pragma once
#include "platform/system.h"
#include "platform/window_system.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vireo {

constexpr const char* kIniFileName = "Tessel.ini";

/// The settings file "Tessel.ini": one entry a line, CR LF, code page 932. Stateless: every read scans the
/// file from the top, every write rewrites it through "TempTesselIni" in the same folder, atomically.
///
/// Matching, kept as it is: a section header is a line equal to "[section]"; within it the first line
/// that contains the key anywhere is the entry. Readers run on through later sections, writers stop at
/// the next line that contains "[". User-interface thread. Failures are shown to the operator.
class IniStore {
public:
    IniStore(WindowSystem& window, const TextEncoding& encoding)
        : m_window(window)
        , m_encoding(encoding)
    {
    }
    /// Folder of the file, native path, ending in a separator.
    void SetFolder(const std::string& strFolder) { m_strFolder = strFolder; }
    const std::string& Folder() const { return m_strFolder; }

    /// The value, or `iDefault`; 0 when the file cannot be opened. Leading blanks, a sign and digits
    /// count; what goes beyond 32 bits is limited to them.
    std::int32_t ReadInt(const std::string& strSection, const std::string& strKey, std::int32_t iDefault);
    /// The value, or `strDefault`; empty when the file cannot be opened.
    std::string ReadString(const std::string& strSection, const std::string& strKey, const std::string& strDefault);
    /// False when nothing was written: a file could not be opened or completed, or the text holds a
    /// character that code page 932 lacks. CR and LF are taken out of names and values.
    bool WriteInt(const std::string& strSection, const std::string& strKey, std::int32_t iValue);
    bool WriteString(const std::string& strSection, const std::string& strKey, const std::string& strValue);

private:
    static constexpr const char* kTemporaryName = "TempTesselIni";

    std::optional<std::string> ReadEntry(const std::string& strSection, const std::string& strKey, bool& bOpened);
    bool Replace(const std::string& strBytes);
    bool WriteEntry(const std::string& strSection, const std::string& strKey, const std::string& strEntry);

    WindowSystem& m_window;
    const TextEncoding& m_encoding;
    std::string m_strFolder;
};

} // namespace vireo
