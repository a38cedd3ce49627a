#include "capture/messages.h"
#include "support/recorded_window.h"

#include <gtest/gtest.h>
#include <set>

namespace vireo {
namespace {

TEST(FormatMessage, PutsValuesInTheirPlacesAndTheSiteLast)
{
    EXPECT_EQ(FormatMessage(messages::kNoCamera), "ｶﾒﾗが接続されていません 接続を確認してください。\n");
    EXPECT_EQ(FormatMessage(messages::kPreTooManyCameras, { 11, 10 }), "SynchroStrobePre()->m_uiNumCameras(11 > 10)\n");
    EXPECT_EQ(FormatMessage(messages::kGpioWriteFailed, { 9 }), "GpioControl()->WriteRegister() (9) 5395\n");
    EXPECT_EQ(FormatMessage(messages::kTooManyCameras, { 5U }), "Camera MAX Over 5\n");
}

TEST(FormatMessage, NeverReadsAValueAsAFormat)
{
    EXPECT_EQ(FormatMessage(messages::kUnsupportedModel, { "%d%s%n" }), "Marten対応のカメラではありません。%d%s%n\n");
    EXPECT_EQ(FormatMessage({ "%s (%d)", 7 }, { "100%d" }), "100%d (7)");
}

TEST(FormatMessage, LeavesAConversionWithoutAValue)
{
    EXPECT_EQ(FormatMessage({ "100% of %d and %d%" }, { 1 }), "100% of 1 and %d%");
}

TEST(ShowMessage, HandsOnTitleAndIcon)
{
    test::RecordedWindow window;
    ShowMessage(window, messages::kNameConversionFailed);
    ShowMessage(window, messages::kLevelWriteFailed, { 20 });

    const auto shown = window.Record().messages;
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown[0].strTitle, "エラー");
    EXPECT_TRUE(shown[0].bError);
    EXPECT_EQ(shown[1].strText, "VoltageLevelLowHigh()->WriteRegister() (20) 5433\n");
    EXPECT_TRUE(shown[1].strTitle.empty());
    EXPECT_FALSE(shown[1].bError);
}

TEST(Messages, EachCallSiteHasANumberOfItsOwn)
{
    using namespace messages;
    const int sites[] = { kGpioWriteFailed.iSite, kLevelWriteFailed.iSite, kStartFailed.iSite, kStartStrobeFailed.iSite,
        kPreInfoFailed.iSite, kPreMasterGetTriggerFailed.iSite, kPreMasterSetTriggerFailed.iSite,
        kPreMasterWriteFailed.iSite, kPreStrobeInfoFailed.iSite, kPreGetStrobeFailed.iSite, kPreSetStrobeFailed.iSite,
        kPreWriteFailed.iSite, kPreGetTriggerFailed.iSite, kPreTriggerOffFailed.iSite, kPreTriggerOnFailed.iSite,
        kPostInfoFailed.iSite, kPostGetStrobeFailed.iSite, kPostSetStrobeFailed.iSite, kPostGetTriggerFailed.iSite,
        kPostSetTriggerFailed.iSite };
    EXPECT_EQ(std::set<int>(std::begin(sites), std::end(sites)).size(), std::size(sites));
    EXPECT_FALSE(std::set<int>(std::begin(sites), std::end(sites)).contains(0));
}

TEST(Messages, KeepTheNumbersThatOperatorsKnow)
{
    using namespace messages;
    EXPECT_EQ(kGpioWriteFailed.iSite, 5395);
    EXPECT_EQ(kLevelWriteFailed.iSite, 5433);
    EXPECT_EQ(kPostInfoFailed.iSite, 5762);
    EXPECT_EQ(kPostGetStrobeFailed.iSite, 5789);
    EXPECT_EQ(kPostGetTriggerFailed.iSite, 5806);
}

} // namespace
} // namespace vireo
