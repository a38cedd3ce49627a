#include "ui/property_set_rules.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace vireo {
namespace {

using Texts = std::vector<std::string>;

CaptureParameters Parameters()
{
    CaptureParameters parameters;
    parameters.m_iMaxRecordSec = { 100, 50, 30, 25, 20, 15, 12, 10, 8, 7 };
    parameters.PresetIndex = 2;
    return parameters;
}

PropertyInput Input()
{
    PropertyInput input;
    input.strName = "High";
    input.strRate = "100fps";
    input.strRecordSec = "5";
    input.strShutter = "1/1000";
    input.bSizeEnabled = true;
    input.iSizeSelection = 2;
    input.strGain = "4.5";
    input.strCameraNumber = "3";
    return input;
}

TEST(PropertySetRules, RateListEndsAtTheCeiling)
{
    const struct {
        int iCeiling;
        Texts entries;
    } rows[] = {
        { 0, { "30fps" } },
        { 59, { "30fps" } },
        { 60, { "30fps", "60fps" } },
        { 117, { "30fps", "60fps", "100fps" } },
        { 118, { "30fps", "60fps", "100fps", "118fps" } },
        { 119, { "30fps", "60fps", "100fps" } },
        { 200, { "30fps", "60fps", "100fps", "120fps", "150fps", "200fps" } },
        { 400, { "30fps", "60fps", "100fps", "120fps", "150fps", "200fps", "250fps", "300fps", "350fps", "400fps" } },
    };
    for (const auto& row : rows)
        EXPECT_EQ(FrameRateTexts(row.iCeiling), row.entries) << row.iCeiling;
}

TEST(PropertySetRules, CeilingIsTheLowerOfModelAndSize)
{
    EXPECT_EQ(FrameRateCeiling(118, 350), 118) << "the size's answer does not raise the model's limit";
    EXPECT_EQ(FrameRateCeiling(400, 200), 200);
    EXPECT_EQ(FrameRateCeiling(400, std::nullopt), 400);
}

TEST(PropertySetRules, SelectionFollowsTheRate)
{
    const Texts upTo200 = FrameRateTexts(200);
    EXPECT_EQ(SelectRate(upTo200, 100), 2);
    EXPECT_EQ(SelectRate(upTo200, 400), 5) << "above the highest: the last";
    EXPECT_EQ(SelectRate(upTo200, 118), -1) << "between two: none";
    EXPECT_EQ(SelectRate({}, 30), -1);
}

TEST(PropertySetRules, ShutterTextsGoBothWays)
{
    for (const int iShutter : { 10000, 5000, 2000, 1000, 500, 250, -1 }) {
        const std::string strText = ShutterText(iShutter);
        EXPECT_NE(std::ranges::find(ShutterTexts(), strText), ShutterTexts().end()) << strText;
        EXPECT_EQ(ShutterOfText(strText), iShutter);
    }
    EXPECT_EQ(ShutterText(-1), "ｵｰﾌﾟﾝ");
    EXPECT_EQ(ShutterOfText("1/"), 0);
}

TEST(PropertySetRules, RecordTimeHasAnEntryForEachRate)
{
    CaptureParameters parameters = Parameters();
    EXPECT_EQ(RecordSecMaximum(parameters, 30), 100);
    EXPECT_EQ(RecordSecMaximum(parameters, 400), 7);
    EXPECT_EQ(RecordSecMaximum(parameters, 118), RecordSecMaximum(parameters, 120)) << "shared on purpose";
    EXPECT_EQ(RecordSecMaximum(parameters, 119), 1);
    parameters.m_iMaxRecordSec = {};
    EXPECT_EQ(RecordSecMaximum(parameters, 30), 1);
}

TEST(PropertySetRules, TypedRecordTimeIsLoweredOnlyForListedRates)
{
    const CaptureParameters parameters = Parameters();
    EXPECT_EQ(LimitedRecordSec(parameters, 30, 999), 100);
    EXPECT_EQ(LimitedRecordSec(parameters, 30, 99), 99);
    EXPECT_EQ(LimitedRecordSec(parameters, 77, 999), 999);
}

TEST(PropertySetRules, GainIsShownInWholeDbWithinTheLimits)
{
    EXPECT_EQ(GainPosition(4.9F, 0, 29), 4);
    EXPECT_EQ(GainPosition(-3.9F, -6, 30), -3) << "towards zero";
    EXPECT_EQ(GainPosition(99, 0, 18), 18);
    EXPECT_EQ(GainPosition(-99, 0, 18), 0);
    EXPECT_EQ(GainPosition(1e30F, 0, 18), 18);
    EXPECT_EQ(GainPosition(std::nanf(""), 2, 18), 2);
}

TEST(PropertySetRules, AcceptedInputLandsInTheParameters)
{
    CaptureParameters parameters = Parameters();
    PropertyInput input = Input();
    input.bExternalInput = true;
    EXPECT_EQ(TakeInput(input, parameters), "");
    EXPECT_EQ(parameters.m_strPresetName, "High");
    EXPECT_EQ(parameters.m_astrPresetNames[2], "High") << "one beyond the caption's entry";
    EXPECT_EQ(parameters.m_iFps, 100);
    EXPECT_EQ(parameters.m_iRecordSec, 5);
    EXPECT_EQ(parameters.m_iShutter, 1000);
    EXPECT_EQ(parameters.m_iImageSizeIndex, 2);
    EXPECT_FLOAT_EQ(parameters.m_fGain, 4.5F);
    EXPECT_EQ(parameters.InitialCameraNumber, 3);
    EXPECT_TRUE(parameters.TriggerLowHigh) << "always";
    EXPECT_FALSE(parameters.IsMaster);
    input.bExternalInput = false;
    TakeInput(input, parameters);
    EXPECT_TRUE(parameters.IsMaster);
}

TEST(PropertySetRules, WithoutASelectionRateAndShutterStay)
{
    CaptureParameters parameters = Parameters();
    parameters.m_iFps = 77;
    parameters.m_iShutter = 123;
    PropertyInput input = Input();
    input.strRate.clear();
    input.strShutter.clear();
    EXPECT_EQ(TakeInput(input, parameters), "");
    EXPECT_EQ(parameters.m_iFps, 77);
    EXPECT_EQ(parameters.m_iShutter, 123);
}

TEST(PropertySetRules, WrongSizesAreRefusedAfterNameRateAndShutterWereTaken)
{
    const struct {
        int iSelection;
        const char* pText;
    } rows[] = { { -1, "画面ｻｲｽﾞが選択されていません" }, { 4, "画面ｻｲｽﾞの選択が正しくありません" } };
    for (const auto& row : rows) {
        CaptureParameters parameters = Parameters();
        PropertyInput input = Input();
        input.iSizeSelection = row.iSelection;
        EXPECT_EQ(TakeInput(input, parameters), row.pText);
        EXPECT_EQ(parameters.m_strPresetName, "High");
        EXPECT_EQ(parameters.m_iFps, 100);
        EXPECT_EQ(parameters.m_iShutter, 1000);
        EXPECT_EQ(parameters.m_iImageSizeIndex, 0);
        EXPECT_EQ(parameters.m_iRecordSec, 1) << "taken at the very end";
    }
}

TEST(PropertySetRules, ADisabledSizeListMeansTheSmallestSize)
{
    CaptureParameters parameters = Parameters();
    parameters.m_iImageSizeIndex = 3;
    PropertyInput input = Input();
    input.bSizeEnabled = false;
    input.iSizeSelection = -1;
    EXPECT_EQ(TakeInput(input, parameters), "");
    EXPECT_EQ(parameters.m_iImageSizeIndex, 0);
}

TEST(PropertySetRules, CameraNumbersFrom1To20AreTaken)
{
    const struct {
        const char* pTyped;
        const char* pRefusal;
    } rows[] = {
        { "1", "" },
        { "20", "" },
        { " 7 ", "" },
        { "0", "ｶﾒﾗ番号の初期値が範囲外です 0" },
        { "21", "ｶﾒﾗ番号の初期値が範囲外です 21" },
        { "-1", "ｶﾒﾗ番号の初期値が範囲外です -1" },
        { "", "ｶﾒﾗ番号の初期値が範囲外です 0" },
        { "abc", "ｶﾒﾗ番号の初期値が範囲外です 0" },
        { "99999999999", "ｶﾒﾗ番号の初期値が範囲外です 2147483647" },
    };
    for (const auto& row : rows) {
        CaptureParameters parameters = Parameters();
        PropertyInput input = Input();
        input.strCameraNumber = row.pTyped;
        EXPECT_EQ(TakeInput(input, parameters), row.pRefusal) << row.pTyped;
        EXPECT_FLOAT_EQ(parameters.m_fGain, 4.5F) << "taken before the check";
    }
}

TEST(PropertySetRules, OddTextsBecomeNumbersThatTheProgramCanBear)
{
    const struct {
        const char* pTyped;
        int iRecordSec;
        float fGain;
    } rows[] = {
        { "", 0, 0 },
        { "abc", 0, 0 },
        { "-5", -5, -5 },
        { "99999999999999", 30, 99999999999999.0F },
        { "1e999", 1, 0 },
        { "3.7", 3, 3.7F },
        { "%s%n", 0, 0 },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pTyped);
        CaptureParameters parameters = Parameters();
        PropertyInput input = Input();
        input.strRecordSec = row.pTyped;
        input.strGain = row.pTyped;
        input.strName = row.pTyped;
        EXPECT_EQ(TakeInput(input, parameters), "");
        EXPECT_EQ(parameters.m_iRecordSec, row.iRecordSec);
        EXPECT_FLOAT_EQ(parameters.m_fGain, row.fGain);
        EXPECT_EQ(parameters.m_strPresetName, row.pTyped);
    }
}

TEST(PropertySetRules, TheFourthPresetsNameHasRoom)
{
    CaptureParameters parameters = Parameters();
    parameters.PresetIndex = 4;
    EXPECT_EQ(TakeInput(Input(), parameters), "");
    EXPECT_EQ(parameters.m_astrPresetNames[4], "High");
}

} // namespace
} // namespace vireo
