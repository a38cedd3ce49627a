#include "app/cooperation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vireo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tokens = std::vector<std::string>;

/// A whole, valid request; tests change single tokens.
Tokens ValidTokens() { return { "Marten", "1", "1280", "720", "100", "1000", "6", "10", "C:\\Data\\cam1.avi" }; }

CooperationRequest ParseWith(std::size_t uiToken, const std::string& strValue)
{
    Tokens tokens = ValidTokens();
    tokens[uiToken] = strValue;
    return ParseCooperation(tokens);
}

TEST(CommandLine, SplitsAtBlanksAndKeepsQuotedOnes)
{
    const struct {
        const char* strName;
        const char* strLine;
        Tokens tokens;
    } kRows[] = {
        { "nothing", "", {} },
        { "blanks only", "   ", {} },
        { "one word", "NONE", { "NONE" } },
        { "several blanks count as one", "  a   b  ", { "a", "b" } },
        { "a quoted path keeps its blanks and loses its quotes", "a \"C:\\My Data\\cam1.avi\" b",
            { "a", "C:\\My Data\\cam1.avi", "b" } },
        { "text right after a quote is a new token", "\"a\"b", { "a", "b" } },
        { "a quote inside a word is a part of it", "a\"b c\"d", { "a\"b", "c\"d" } },
        { "an unclosed quote takes the rest", "a \"b c d", { "a", "b c d" } },
        { "an empty token ends the list", "a \"\" b", { "a" } },
        { "an empty token at the start leaves nothing", "\"\" a b", {} },
        { "quoted blanks are an empty text, and the list goes on", "a \"  \" b", { "a", "", "b" } },
        { "a quoted token is trimmed", "\" a b \" c", { "a b", "c" } },
        { "a lone quote at the end is an empty token", "a \"", { "a" } },
        { "a tab is no blank", "a\tb", { "a\tb" } },
        { "Japanese text stays whole", "\"計測 ソフト\" 1", { "計測 ソフト", "1" } },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strName);
        EXPECT_EQ(SplitCommandLine(row.strLine), row.tokens);
    }
}

TEST(CommandLine, IsPutTogetherFromArguments)
{
    const char* const kArguments[] = { "Marten", "", "C:\\My Data\\a.avi", "plain", "in\"side" };
    const std::string strLine = JoinCommandLine(5, kArguments);
    EXPECT_EQ(strLine, "Marten \"\" \"C:\\My Data\\a.avi\" plain in\"side");
    EXPECT_EQ(JoinCommandLine(0, nullptr), "");
}

TEST(CommandLine, ArgumentsWithBlanksComeBackAsOneToken)
{
    const char* const kArguments[] = { "My Partner", "1", "C:\\My Data\\a.avi" };
    EXPECT_THAT(SplitCommandLine(JoinCommandLine(3, kArguments)), ElementsAre("My Partner", "1", "C:\\My Data\\a.avi"));
}

TEST(CooperationRequest, TakesEveryToken)
{
    const CooperationRequest request = ParseCooperation(ValidTokens());
    EXPECT_TRUE(request.CooperationMode);
    EXPECT_TRUE(request.PartnerPresent);
    EXPECT_EQ(request.PartnerTitle, "Marten");
    EXPECT_EQ(request.CoopFlag, 1);
    EXPECT_EQ(request.CoopWidth, 1280);
    EXPECT_EQ(request.CoopHeight, 720);
    EXPECT_EQ(request.CoopFrameRate, 100);
    EXPECT_EQ(request.CoopShutter, 1000);
    EXPECT_EQ(request.CoopGain, 6);
    EXPECT_EQ(request.CoopSwitches, 10);
    EXPECT_EQ(request.CoopFileCount, 1);
    EXPECT_THAT(request.CoopFileNames, ElementsAre("C:\\Data\\cam1.avi", "", "", ""));
}

TEST(CooperationRequest, NeedsNineTokens)
{
    Tokens tokens = ValidTokens();
    tokens.pop_back();
    const CooperationRequest request = ParseCooperation(tokens);
    EXPECT_FALSE(request.CooperationMode);
    EXPECT_FALSE(request.PartnerPresent);
    EXPECT_EQ(request.PartnerTitle, "");
    EXPECT_EQ(request.CoopWidth, 0);
    EXPECT_EQ(request.CoopFileCount, 0);
}

TEST(CooperationRequest, NeedsAFirstFileName)
{
    const CooperationRequest request = ParseWith(8, "");
    EXPECT_FALSE(request.CooperationMode);
    EXPECT_EQ(request.CoopFrameRate, 0);
}

TEST(CooperationRequest, WithoutAPartnerWindowNobodyIsNotified)
{
    const CooperationRequest request = ParseWith(0, "NONE");
    EXPECT_TRUE(request.CooperationMode);
    EXPECT_FALSE(request.PartnerPresent);
    EXPECT_FALSE(request.NotifiesPartner());
    EXPECT_TRUE(ParseWith(0, "none").NotifiesPartner()) << "only the exact word means no partner";
}

TEST(CooperationRequest, ImposesItsValuesOnlyWhenAsked)
{
    EXPECT_TRUE(ParseWith(1, "1").ImposesSettings());
    EXPECT_FALSE(ParseWith(1, "0").ImposesSettings());
}

TEST(CooperationRequest, LimitsItsNumbers)
{
    const struct {
        const char* strName;
        std::size_t uiToken;
        const char* strText;
        std::int32_t CooperationRequest::*pField;
        std::int32_t iValue;
    } kRows[] = {
        { "flag above 1", 1, "7", &CooperationRequest::CoopFlag, 1 },
        { "flag below 0", 1, "-3", &CooperationRequest::CoopFlag, 0 },
        { "flag without a number", 1, "yes", &CooperationRequest::CoopFlag, 0 },
        { "small width", 2, "320", &CooperationRequest::CoopWidth, 640 },
        { "large width", 2, "1920", &CooperationRequest::CoopWidth, 1920 },
        { "small height", 3, "1", &CooperationRequest::CoopHeight, 480 },
        { "no frame rate", 4, "0", &CooperationRequest::CoopFrameRate, 30 },
        { "high frame rate is not checked here", 4, "5000", &CooperationRequest::CoopFrameRate, 5000 },
        { "unknown shutter", 5, "750", &CooperationRequest::CoopShutter, 500 },
        { "open shutter", 5, "-1", &CooperationRequest::CoopShutter, -1 },
        { "fastest shutter", 5, "10000", &CooperationRequest::CoopShutter, 10000 },
        { "shutter 250", 5, "250", &CooperationRequest::CoopShutter, 250 },
        { "shutter 2000", 5, "2000", &CooperationRequest::CoopShutter, 2000 },
        { "shutter 5000", 5, "5000", &CooperationRequest::CoopShutter, 5000 },
        { "shutter 0", 5, "0", &CooperationRequest::CoopShutter, 500 },
        { "negative gain", 6, "-6", &CooperationRequest::CoopGain, 0 },
        { "any switches", 7, "-111", &CooperationRequest::CoopSwitches, -111 },
        { "number with a tail", 2, "1024px", &CooperationRequest::CoopWidth, 1024 },
        { "number beyond 32 bits", 2, "99999999999", &CooperationRequest::CoopWidth, 2147483647 },
        { "number below 32 bits", 2, "-99999999999", &CooperationRequest::CoopWidth, 640 },
        { "switches beyond 32 bits", 7, "99999999999", &CooperationRequest::CoopSwitches, 2147483647 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strName);
        EXPECT_EQ(ParseWith(row.uiToken, row.strText).*row.pField, row.iValue);
    }
}

TEST(CooperationRequest, KeepsTheFirstFourFileNames)
{
    Tokens tokens = ValidTokens();
    for (const char* strName : { "b", "c", "d", "e", "f", "g" })
        tokens.emplace_back(strName);
    const CooperationRequest request = ParseCooperation(tokens);
    EXPECT_EQ(request.CoopFileCount, 4);
    EXPECT_THAT(request.CoopFileNames, ElementsAre("C:\\Data\\cam1.avi", "b", "c", "d"));
}

TEST(CooperationRequest, FileNamesEndAtAnEmptyOne)
{
    Tokens tokens = ValidTokens();
    tokens.insert(tokens.end(), { "b", "", "d" });
    const CooperationRequest request = ParseCooperation(tokens);
    EXPECT_EQ(request.CoopFileCount, 2);
    EXPECT_THAT(request.CoopFileNames, ElementsAre("C:\\Data\\cam1.avi", "b", "", ""));
}

TEST(CooperationRequest, IsReadFromAWholeCommandLine)
{
    const std::string strLine = "Quill 1 640 480 30 500 0 111 \"C:\\My Data\\cam1.avi\" \"C:\\My Data\\cam2.avi\"";
    const CooperationRequest request = ParseCooperation(SplitCommandLine(strLine));
    EXPECT_EQ(request.PartnerTitle, "Quill");
    EXPECT_THAT(request.CoopFileNames, ElementsAre("C:\\My Data\\cam1.avi", "C:\\My Data\\cam2.avi", "", ""));
}

TEST(CooperationSwitches, AreDecimalDigits)
{
    const struct {
        std::int32_t iSwitches;
        bool bStartsBySelf, bShowsPrompts, bEnablesKeys;
    } kRows[] = {
        { 0, false, false, false },
        { 1, false, false, false },
        { 10, true, false, false },
        { 20, true, false, false },
        { 11, false, true, false },
        { 100, false, false, true },
        { 101, false, false, true },
        { 110, true, false, true },
        { 111, false, true, true },
        { 99, false, true, false },
        { -111, false, false, false },
        { -10, false, false, false },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.iSwitches);
        EXPECT_EQ(SwitchStartsBySelf(row.iSwitches), row.bStartsBySelf);
        EXPECT_EQ(SwitchShowsKeyPrompts(row.iSwitches), row.bShowsPrompts);
        EXPECT_EQ(SwitchEnablesKeys(row.iSwitches), row.bEnablesKeys);
    }
}

} // namespace
} // namespace vireo
