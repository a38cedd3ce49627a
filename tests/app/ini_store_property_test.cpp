#include "app/ini_store.h"
#include "platform/linux/code_page_932.h"
#include "support/recorded_window.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace vireo {
namespace {

/// One character (or what stands for bytes that are none) in the program and in the file.
struct Atom {
    const char* strText;
    const char* strBytes;
};
// Few letters, so that keys, sections and values keep running into each other; and the characters whose
// second byte looks like one of them.
constexpr std::array<Atom, 18> kAtoms { {
    { "a", "a" }, { "a", "a" }, { "b", "b" }, { "b", "b" }, { "c", "c" }, { "=", "=" }, { "[", "[" }, { "]", "]" },
    { "\\", "\\" }, { " ", " " }, { "7", "7" }, { "-", "-" }, { "ー", "\x81\x5B" }, // second byte "["
    { "ソ", "\x83\x5C" }, // "\"
    { "ミ", "\x83\x7E" }, { "ｱ", "\xB1" }, // one byte
    { "\U0010FFA0", "\xA0" }, // no character at all
    { "\U0010FF81 ", "\x81 " }, // a first byte without a second
} };
constexpr std::size_t kKeyAtoms = 6; // the plain letters, now and then with "="

struct Text {
    std::string strText;
    std::string strBytes;
    Text& operator+=(const Text& other)
    {
        strText += other.strText;
        strBytes += other.strBytes;
        return *this;
    }
};
Text Plain(const std::string& strText) { return { strText, strText }; }
Text Joined(const Text& first, const std::string& strMiddle, const Text& last)
{
    Text text = first;
    text += Plain(strMiddle);
    return text += last;
}

/// The rules of the settings file, written down once more: a list of lines, searched as text.
class Model {
public:
    std::vector<Text> lines;

    std::string FileBytes() const
    {
        std::string strBytes;
        for (const Text& line : lines)
            strBytes += line.strBytes + "\r\n";
        return strBytes;
    }
    const std::string* Find(const Text& section, const Text& key) const
    {
        for (std::size_t i = HeaderLine(section) + 1; i < lines.size(); ++i)
            if (Holds(lines[i], key.strText))
                return &lines[i].strText;
        return nullptr;
    }
    void Write(const Text& section, const Text& key, const Text& value)
    {
        const Text entry = Joined(key, "=", value);
        const std::size_t uiHeader = HeaderLine(section);
        if (uiHeader == lines.size()) {
            lines.push_back(Joined(Plain("["), "", Joined(section, "", Plain("]"))));
            lines.push_back(entry);
            return;
        }
        std::size_t i = uiHeader + 1;
        while (i < lines.size() && !Holds(lines[i], "[") && !Holds(lines[i], key.strText))
            ++i;
        if (i < lines.size() && !Holds(lines[i], "["))
            lines[i] = entry;
        else
            lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), entry);
    }

private:
    static bool Holds(const Text& line, const std::string& strPart)
    {
        return line.strText.find(strPart) != std::string::npos;
    }
    std::size_t HeaderLine(const Text& section) const
    {
        const std::string strHeader = "[" + section.strText + "]";
        const auto found = std::ranges::find_if(lines, [&](const Text& line) { return line.strText == strHeader; });
        return static_cast<std::size_t>(found - lines.begin());
    }
};

std::string ValueOf(const std::string& strLine)
{
    const std::size_t uiEquals = strLine.find('=');
    return uiEquals == std::string::npos ? strLine : strLine.substr(uiEquals + 1);
}

/// Value of up to two digits, after blanks and one sign.
std::int32_t NumberOf(std::string strText)
{
    strText.erase(0, strText.find_first_not_of(' '));
    const bool bNegative = strText.starts_with('-');
    std::int32_t iValue = 0;
    for (std::size_t i = bNegative ? 1 : 0; i < strText.size() && strText[i] == '7' && iValue < 1'000'000; ++i)
        iValue = iValue * 10 + 7;
    return bNegative ? -iValue : iValue;
}

class RandomSequence {
public:
    explicit RandomSequence(unsigned uiSeed)
        : m_random(uiSeed)
    {
    }
    std::size_t Below(std::size_t uiLimit) { return m_random() % uiLimit; }
    Text Line(std::size_t uiAtoms, std::size_t uiLongest)
    {
        Text text;
        for (std::size_t i = Below(uiLongest + 1); i > 0; --i) {
            const Atom& atom = kAtoms[Below(uiAtoms)];
            text += Text { atom.strText, atom.strBytes };
        }
        return text;
    }
    Text Section() { return Plain(std::string(1, static_cast<char>('a' + Below(3)))); }
    Text Key() { return Line(kKeyAtoms, 2); }
    Text Value() { return Line(kAtoms.size(), 5); }

    /// A file with sections, entries and rubbish; line ends of both kinds, the last one may lack.
    std::string Start(Model& model)
    {
        std::string strBytes;
        const std::size_t uiLines = Below(8);
        for (std::size_t i = 0; i < uiLines; ++i) {
            const Text line = Below(3) == 0 ? Joined(Plain("["), "", Joined(Section(), "", Plain("]"))) : Value();
            const bool bCut = i + 1 == uiLines && Below(2) == 0 && !line.strBytes.empty();
            model.lines.push_back(line);
            strBytes += line.strBytes + (bCut ? "" : Below(2) == 0 ? "\n" : "\r\n");
        }
        return strBytes;
    }

private:
    std::minstd_rand m_random;
};

TEST(IniStoreProperty, TenThousandRandomSequencesDoWhatAPlainModelDoes)
{
    const test::TemporaryFolder folder(test::TemporaryFolder::Place::Memory);
    const std::string strFile = folder / "Tessel.ini";
    test::RecordedWindow window;
    const CodePage932 encoding;
    IniStore store(window, encoding);
    store.SetFolder(folder.Path() + "/");

    for (unsigned uiSequence = 0; uiSequence < 10'000; ++uiSequence) {
        SCOPED_TRACE(uiSequence);
        RandomSequence random(uiSequence + 1);
        Model model;
        test::WriteFile(strFile, random.Start(model));
        for (std::size_t i = 2 + random.Below(5); i > 0; --i) {
            const Text section = random.Section();
            const Text key = random.Key();
            const std::string* pLine = model.Find(section, key);
            const std::size_t uiAction = random.Below(4);
            if (uiAction == 0) {
                ASSERT_EQ(store.ReadString(section.strText, key.strText, "?"), pLine ? ValueOf(*pLine) : "?");
            } else if (uiAction == 1) {
                ASSERT_EQ(store.ReadInt(section.strText, key.strText, 5), pLine ? NumberOf(ValueOf(*pLine)) : 5);
            } else {
                const Text value = uiAction == 2 ? random.Value() : Plain("-77");
                ASSERT_TRUE(uiAction == 2 ? store.WriteString(section.strText, key.strText, value.strText)
                                          : store.WriteInt(section.strText, key.strText, -77));
                model.Write(section, key, value);
                ASSERT_EQ(test::ReadFile(strFile), model.FileBytes());
            }
        }
    }
    EXPECT_TRUE(window.MessageTexts().empty());
}

} // namespace
} // namespace vireo
