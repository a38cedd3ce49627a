#include "app/ini_store.h"

#include "app/number_text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <vector>

namespace vireo {

namespace {

constexpr const char* kReadOpenError = "Read File Open Error ini File";
constexpr const char* kWriteOpenError = "Write File Open Error ini File";
constexpr const char* kConversionError = "文字の変換に失敗しました";
constexpr const char* kConversionTitle = "エラー";
constexpr std::string_view kLineEnd = "\r\n";

namespace fs = std::filesystem;

/// All bytes of the file. None when it cannot be read, or is anything but a regular file: opening a
/// pipe would wait for its other end.
std::optional<std::string> ReadBytes(const std::string& strPath)
{
    std::error_code error;
    if (!fs::is_regular_file(strPath, error))
        return std::nullopt;
    std::ifstream file(strPath, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::string strBytes;
    char block[16384];
    while (file.read(block, sizeof block), file.gcount() > 0)
        strBytes.append(block, static_cast<std::size_t>(file.gcount()));
    return file.bad() ? std::nullopt : std::optional(std::move(strBytes));
}

/// The lines of the file as they stand between two line ends, still in bytes. The line end byte never
/// occurs inside a two-byte character.
std::vector<std::string_view> SplitLines(std::string_view strBytes)
{
    std::vector<std::string_view> lines;
    while (!strBytes.empty()) {
        const std::size_t uiEnd = strBytes.find('\n');
        std::string_view strLine = strBytes.substr(0, uiEnd);
        if (uiEnd != std::string_view::npos && strLine.ends_with('\r'))
            strLine.remove_suffix(1);
        lines.push_back(strLine);
        strBytes.remove_prefix(uiEnd == std::string_view::npos ? strBytes.size() : uiEnd + 1);
    }
    return lines;
}

bool Contains(std::string_view strText, std::string_view strPart)
{
    return strText.find(strPart) != std::string_view::npos;
}

std::string Header(const std::string& strSection) { return "[" + strSection + "]"; }

std::string WithoutLineEnds(std::string strText)
{
    std::erase_if(strText, [](char c) { return c == '\r' || c == '\n'; });
    return strText;
}

/// The entry's line, found as readers find it: the search for the key runs on through later sections.
std::optional<std::string> FindEntry(const std::vector<std::string_view>& lines, const TextEncoding& encoding,
    const std::string& strSection, std::string_view strKey)
{
    bool bInSection = false;
    for (const std::string_view strBytes : lines) {
        std::string strLine = encoding.Decode(strBytes);
        if (bInSection && Contains(strLine, strKey))
            return strLine;
        bInSection = bInSection || strLine == Header(strSection);
    }
    return std::nullopt;
}

/// Where a writer puts an entry.
struct EntryPlace {
    std::size_t uiLine; ///< the entry stands before this line
    bool bReplaces = false; ///< and in its place
    bool bNewSection = false; ///< after a header of its own
};

/// The search for the key stops at the next line that contains "[".
EntryPlace FindPlace(const std::vector<std::string_view>& lines, const TextEncoding& encoding,
    const std::string& strSection, std::string_view strKey)
{
    bool bInSection = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string strLine = encoding.Decode(lines[i]);
        if (!bInSection)
            bInSection = strLine == Header(strSection);
        else if (Contains(strLine, "["))
            return { i };
        else if (Contains(strLine, strKey))
            return { i, true };
    }
    return { lines.size(), false, !bInSection };
}

void AppendLine(std::string& strBytes, std::string_view strLine)
{
    strBytes += strLine;
    strBytes += kLineEnd;
}

/// Creates the file, or empties it, and writes all bytes. False, with no file left, when that fails.
bool WriteBytes(const std::string& strPath, const std::string& strBytes)
{
    std::error_code error;
    if (fs::exists(strPath, error) && !fs::is_regular_file(strPath, error))
        return false;
    std::ofstream file(strPath, std::ios::binary | std::ios::trunc);
    if (!file)
        return false;
    file.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
    file.close();
    if (!file)
        fs::remove(strPath, error);
    return static_cast<bool>(file);
}

/// A copy has the permissions of its origin before it has the first byte: on its way to its place nobody can read
/// the new file who could not read the old one.
bool CopyForRewriting(const fs::path& file, const std::string& strCopy, fs::perms permissions)
{
    std::error_code error;
    if (fs::is_regular_file(strCopy, error))
        fs::remove(strCopy, error); // of a program that was killed
    if (!fs::copy_file(file, strCopy, error)) {
        if (fs::is_regular_file(strCopy, error))
            fs::remove(strCopy, error);
        return false;
    }
    fs::permissions(strCopy, permissions | fs::perms::owner_write, error);
    return !error;
}

} // namespace

std::optional<std::string> IniStore::ReadEntry(const std::string& strSection, const std::string& strKey, bool& bOpened)
{
    const std::optional<std::string> strBytes = ReadBytes(m_strFolder + kIniFileName);
    bOpened = strBytes.has_value();
    if (!bOpened) {
        m_window.ShowMessage({ kReadOpenError, "" });
        return std::nullopt;
    }
    const std::optional<std::string> strLine = FindEntry(SplitLines(*strBytes), m_encoding, strSection, strKey);
    if (!strLine)
        return std::nullopt;
    const std::size_t uiEquals = strLine->find('=');
    return uiEquals == std::string::npos ? *strLine : strLine->substr(uiEquals + 1);
}

std::int32_t IniStore::ReadInt(const std::string& strSection, const std::string& strKey, std::int32_t iDefault)
{
    bool bOpened = false;
    const std::optional<std::string> strValue = ReadEntry(strSection, strKey, bOpened);
    if (!bOpened)
        return 0;
    return strValue ? TextToInt(*strValue) : iDefault;
}

std::string IniStore::ReadString(
    const std::string& strSection, const std::string& strKey, const std::string& strDefault)
{
    bool bOpened = false;
    const std::optional<std::string> strValue = ReadEntry(strSection, strKey, bOpened);
    if (!bOpened)
        return {};
    return strValue.value_or(strDefault);
}

bool IniStore::WriteInt(const std::string& strSection, const std::string& strKey, std::int32_t iValue)
{
    return WriteString(strSection, strKey, std::to_string(iValue));
}

bool IniStore::WriteString(const std::string& strSection, const std::string& strKey, const std::string& strValue)
{
    const std::string strName = WithoutLineEnds(strKey);
    return WriteEntry(WithoutLineEnds(strSection), strName, strName + "=" + WithoutLineEnds(strValue));
}

bool IniStore::WriteEntry(const std::string& strSection, const std::string& strKey, const std::string& strEntry)
{
    const std::optional<std::string> strOld = ReadBytes(m_strFolder + kIniFileName);
    if (!strOld) {
        m_window.ShowMessage({ kReadOpenError, "" });
        return false;
    }
    const std::vector<std::string_view> lines = SplitLines(*strOld);
    const EntryPlace place = FindPlace(lines, m_encoding, strSection, strKey);
    const std::optional<std::string> strHeader = m_encoding.Encode(Header(strSection));
    const std::optional<std::string> strLine = m_encoding.Encode(strEntry);
    if (!strHeader || !strLine) {
        m_window.ShowMessage({ kConversionError, kConversionTitle, true });
        return false;
    }

    std::string strNew;
    strNew.reserve(strOld->size() + strHeader->size() + strLine->size() + 64);
    for (std::size_t i = 0; i < place.uiLine; ++i)
        AppendLine(strNew, lines[i]);
    if (place.bNewSection)
        AppendLine(strNew, *strHeader);
    AppendLine(strNew, *strLine);
    for (std::size_t i = place.uiLine + (place.bReplaces ? 1 : 0); i < lines.size(); ++i)
        AppendLine(strNew, lines[i]);
    return Replace(strNew);
}

bool IniStore::Replace(const std::string& strBytes)
{
    // Renaming puts the new file in place of the old one in one step: whoever looks, whenever the
    // program ends, finds one of the two complete. It is the same file to its owner: its permissions stay, and
    // where it is a link, what the link leads to is replaced.
    std::error_code error;
    fs::path file = fs::canonical(m_strFolder + kIniFileName, error);
    if (error)
        file = m_strFolder + kIniFileName;
    const std::string strTemporary = file.parent_path() / kTemporaryName;
    const fs::perms permissions = fs::status(file, error).permissions();
    if (CopyForRewriting(file, strTemporary, permissions) && WriteBytes(strTemporary, strBytes)) {
        fs::permissions(strTemporary, permissions, error);
        fs::rename(strTemporary, file, error);
        if (!error)
            return true;
        fs::remove(strTemporary, error);
    }
    m_window.ShowMessage({ kWriteOpenError, "" });
    return false;
}

} // namespace vireo
