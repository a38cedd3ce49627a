#include "platform/linux/code_page_932.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace vireo {
namespace {

using namespace std::string_literals;

TEST(CodePage932, TextAndBytesStandForEachOther)
{
    const struct {
        const char* strName;
        std::string strText;
        std::string strBytes;
    } kRows[] = {
        { "nothing", "", "" },
        { "plain text", "Path=c:\\~\x7F", "Path=c:\\~\x7F" },
        { "a zero byte", "a\0b"s, "a\0b"s },
        { "two-byte characters", "日本語", "\x93\xFA\x96\x7B\x8C\xEA" },
        { "second bytes that look like punctuation", "ー表ソポ", "\x81\x5B\x95\x5C\x83\x5C\x83\x7C" },
        { "half-width katakana", "ｶﾒﾗ", "\xB6\xD2\xD7" },
        { "full-width signs of this code page", "～－∥￠￡￢＼",
            "\x81\x60\x81\x7C\x81\x61\x81\x91\x81\x92\x81\xCA\x81\x5F" },
        { "circled and roman numbers", "①Ⅳ㈱", "\x87\x40\x87\x57\x87\x8A" },
        { "further kanji", "髙﨑", "\xFB\xFC\xFA\xB1" },
        { "characters of the user", "\uE000\uE757", "\xF0\x40\xF9\xFC" },
    };
    const CodePage932 encoding;
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strName);
        EXPECT_EQ(encoding.Decode(row.strBytes), row.strText);
        EXPECT_EQ(encoding.Encode(row.strText), row.strBytes);
    }
}

TEST(CodePage932, ACharacterWithSeveralCodesIsReadFromEachAndWrittenAsOne)
{
    const CodePage932 encoding;
    EXPECT_EQ(encoding.Decode("\x87\x9A"), "∵");
    EXPECT_EQ(encoding.Decode("\x81\xE6"), "∵");
    EXPECT_EQ(encoding.Encode("∵"), "\x81\xE6");
    EXPECT_EQ(encoding.Decode("\xED\x40"), "纊");
    EXPECT_EQ(encoding.Encode("纊"), "\xFA\x5C");
}

TEST(CodePage932, BytesThatAreNoTextComeBackAsTheyWere)
{
    const CodePage932 encoding;
    const std::string kRows[] = { "\x80", "\xA0", "\xFD\xFE\xFF", "a\x81", "\x81 b", "\x81\xAD", "\xEB\x9F", "\xFC\xFC",
        "\x81\x7F", "\x85\x40" };
    for (const std::string& strBytes : kRows) {
        SCOPED_TRACE(testing::PrintToString(strBytes));
        EXPECT_EQ(encoding.Encode(encoding.Decode(strBytes)), strBytes);
    }
    EXPECT_EQ(encoding.Decode("\x80"), "\U0010FF80");
}

TEST(CodePage932, EveryPairOfBytesIsDecodedAndRefusedOrGivenBack)
{
    const CodePage932 encoding;
    for (unsigned uiFirst = 0; uiFirst < 256; ++uiFirst) {
        for (unsigned uiSecond = 0; uiSecond < 256; ++uiSecond) {
            const std::string strBytes { static_cast<char>(uiFirst), static_cast<char>(uiSecond) };
            const std::string strText = encoding.Decode(strBytes);
            const std::optional<std::string> strBack = encoding.Encode(strText);
            ASSERT_TRUE(strBack.has_value()) << uiFirst << " " << uiSecond;
            ASSERT_EQ(encoding.Decode(*strBack), strText);
        }
    }
}

TEST(CodePage932, TextThatWouldNotComeBackIsRefused)
{
    const CodePage932 encoding;
    const std::pair<const char*, std::string> kRows[] = {
        { "another script", "한국" },
        { "an accent", "é" },
        { "a picture", "\U0001F3A5" },
        { "a yen sign would become a backslash", "c:¥data" },
        { "a wave dash would become a full-width tilde", "〜" },
        { "a byte that is a character by itself", "\U0010FF41" },
        { "a hidden line end", "\U0010FF0A" },
        { "a lone first byte that would join the next", "\U0010FF81[" },
        { "cut-off text", "a\xE3\x81" },
        { "an overlong form", "\xC0\xAF" },
        { "half of a pair", "\xED\xA0\x80" },
        { "a lone continuation", "\x80" },
        { "beyond the last character", "\xF4\x90\x80\x80" },
    };
    for (const auto& [strName, strText] : kRows) {
        SCOPED_TRACE(strName);
        EXPECT_EQ(encoding.Encode(strText), std::nullopt);
    }
}

TEST(CodePage932, ServesSeveralThreadsAtOnce)
{
    const CodePage932 encoding;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 500; ++j) {
                ASSERT_EQ(encoding.Decode("\x8D\x82\x91\xAC\xB6\xD2\xD7"), "高速ｶﾒﾗ");
                ASSERT_EQ(encoding.Encode("高速ｶﾒﾗ"), "\x8D\x82\x91\xAC\xB6\xD2\xD7");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace vireo
