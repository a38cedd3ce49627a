#include "programs/record_options.h"

#include <gtest/gtest.h>
#include <vector>

using namespace vireo;

namespace {

ParsedOptions Parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "tessel-record");
    return ParseRecordOptions(static_cast<int>(arguments.size()), arguments.data());
}

} // namespace

TEST(RecordOptions, EveryOptionIsTaken)
{
    const ParsedOptions parsed = Parse({ "--fps", "400", "--size", "1280x720", "--shutter", "1000", "--gain", "2.5",
        "--seconds", "5", "--preset", "3", "--cameras", "simulated", "--trigger-wait", "--timeout", "12.5", "--json",
        "-", "--quiet", "--strict", "out/take" });
    ASSERT_TRUE(parsed.bRun) << parsed.strText;
    EXPECT_EQ(parsed.options.iFps, 400);
    EXPECT_EQ(parsed.options.iImageSizeIndex, 2);
    EXPECT_EQ(parsed.options.iShutter, 1000);
    EXPECT_EQ(parsed.options.fGain, 2.5F);
    EXPECT_EQ(parsed.options.iSeconds, 5);
    EXPECT_EQ(parsed.options.iPreset, 3);
    EXPECT_EQ(parsed.options.strCameras, "simulated");
    EXPECT_TRUE(parsed.options.bTriggerWait);
    EXPECT_EQ(parsed.options.dTimeoutSeconds, 12.5);
    EXPECT_EQ(parsed.options.strJson, "-");
    EXPECT_TRUE(parsed.options.bQuiet);
    EXPECT_TRUE(parsed.options.bStrict);
    EXPECT_EQ(parsed.options.strBase, "out/take");
}

TEST(RecordOptions, NothingIsSetThatWasNotAsked)
{
    const ParsedOptions parsed = Parse({ "take" });
    ASSERT_TRUE(parsed.bRun);
    EXPECT_FALSE(parsed.options.iFps || parsed.options.iImageSizeIndex || parsed.options.iShutter
        || parsed.options.fGain || parsed.options.iSeconds || parsed.options.iPreset || parsed.options.strCameras
        || parsed.options.dTimeoutSeconds);
}

TEST(RecordOptions, AnOpenShutterIsMinusOne) { EXPECT_EQ(Parse({ "--shutter", "open", "take" }).options.iShutter, -1); }

TEST(RecordOptions, WrongUseIsToldAndEndsWithTwo)
{
    const std::vector<const char*> kRows[] = {
        {}, // no base
        { "" },
        { "--fps", "90", "take" },
        { "--fps", "many", "take" },
        { "--size", "800x600", "take" },
        { "--shutter", "300", "take" },
        { "--seconds", "0", "take" },
        { "--seconds", "-1", "take" },
        { "--preset", "5", "take" },
        { "--gain", "loud", "take" },
        { "--gain", "nan", "take" },
        { "--timeout", "0", "take" },
        { "--timeout", "nan", "take" },
        { "--timeout", "inf", "take" },
        { "--timeout", "1e10", "take" },
        { "--unknown", "take" },
        { "take", "another" },
    };
    for (const auto& row : kRows) {
        const ParsedOptions parsed = Parse(row);
        EXPECT_FALSE(parsed.bRun);
        EXPECT_EQ(parsed.iStatus, 2);
        EXPECT_NE(parsed.strText, "");
    }
}

TEST(RecordOptions, TheReportsTargetIsKnownAlsoWhenTheRestIsWrong)
{
    EXPECT_EQ(Parse({ "--json", "report.json", "--fps", "90", "take" }).options.strJson, "report.json");
    EXPECT_EQ(Parse({ "--json", "-", "--unknown", "take" }).options.strJson, "-");
    EXPECT_EQ(Parse({ "--json", "-" }).options.strJson, "-");
    EXPECT_EQ(Parse({ "take", "--json" }).options.strJson, "");
}

TEST(RecordOptions, HelpAndVersionEndWellWithTheirText)
{
    EXPECT_EQ(Parse({ "--version" }).strText, "tessel-record 1.0.0\n");
    EXPECT_EQ(Parse({ "--version" }).iStatus, 0);
    EXPECT_NE(Parse({ "--help" }).strText.find("--trigger-wait"), std::string::npos);
    EXPECT_EQ(Parse({ "--help" }).iStatus, 0);
}
