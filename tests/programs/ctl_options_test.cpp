#include "programs/ctl_options.h"

#include <gtest/gtest.h>
#include <vector>

using namespace vireo;

namespace {

ParsedCtl Parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "tessel-ctl");
    return ParseCtlOptions(static_cast<int>(arguments.size()), arguments.data());
}

} // namespace

TEST(CtlOptions, TheVerbIsTaken)
{
    const struct {
        std::vector<const char*> arguments;
        CtlOptions::Verb eVerb;
        const char* pTitle;
    } kRows[] = {
        { { "start" }, CtlOptions::Verb::Start, "" },
        { { "stop" }, CtlOptions::Verb::Stop, "" },
        { { "listen", "--title", "Marten" }, CtlOptions::Verb::Listen, "Marten" },
        { { "listen", "--title=計測 解析" }, CtlOptions::Verb::Listen, "計測 解析" },
    };
    for (const auto& row : kRows) {
        const ParsedCtl parsed = Parse(row.arguments);
        EXPECT_TRUE(parsed.bRun) << parsed.strText;
        EXPECT_EQ(parsed.options.eVerb, row.eVerb) << row.arguments[0];
        EXPECT_EQ(parsed.options.strTitle, row.pTitle);
    }
}

TEST(CtlOptions, WrongUseIsToldAndEndsWithTwo)
{
    const std::vector<const char*> kRows[] = {
        {},
        { "begin" },
        { "start", "stop" },
        { "start", "now" },
        { "start", "--title", "Marten" },
        { "listen" },
        { "listen", "Marten" },
        { "listen", "--title" },
        { "listen", "--title", "" },
    };
    for (const auto& row : kRows) {
        const ParsedCtl parsed = Parse(row);
        EXPECT_FALSE(parsed.bRun) << testing::PrintToString(row);
        EXPECT_EQ(parsed.iStatus, 2);
        EXPECT_TRUE(parsed.strText.starts_with("tessel-ctl: ")) << parsed.strText;
        EXPECT_TRUE(parsed.strText.ends_with("\nRun with --help for the commands.\n")) << parsed.strText;
    }
}

TEST(CtlOptions, HelpAndVersionEndWell)
{
    const struct {
        std::vector<const char*> arguments;
        const char* pSaid;
    } kRows[] = {
        { { "--version" }, "tessel-ctl 1." },
        { { "--help" }, "listen" },
        { { "listen", "--help" }, "--title" },
    };
    for (const auto& row : kRows) {
        const ParsedCtl parsed = Parse(row.arguments);
        EXPECT_FALSE(parsed.bRun);
        EXPECT_EQ(parsed.iStatus, 0);
        EXPECT_NE(parsed.strText.find(row.pSaid), std::string::npos) << parsed.strText;
    }
}
