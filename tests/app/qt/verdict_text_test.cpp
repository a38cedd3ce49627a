#include "app/qt/verdict_text.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

TakeReport Report(Verdict eVerdict)
{
    TakeReport report;
    report.eVerdict = eVerdict;
    report.iFrames = 400;
    for (int iNumber = 1; iNumber <= 3; ++iNumber) {
        CameraReport camera;
        camera.iNumber = iNumber;
        camera.iFrames = 400;
        report.cameras.push_back(camera);
    }
    return report;
}

TEST(TakeVerdictText, SaysEachVerdictInJapanese)
{
    EXPECT_EQ(TakeVerdictText(Report(Verdict::InSync)), QStringLiteral("録画完了：400ﾌﾚｰﾑ　同期しています。"));
    EXPECT_EQ(TakeVerdictText(Report(Verdict::OutOfSync)), QStringLiteral("録画完了：400ﾌﾚｰﾑ　同期がずれています。"));
    EXPECT_EQ(
        TakeVerdictText(Report(Verdict::NotChecked)), QStringLiteral("録画完了：400ﾌﾚｰﾑ　同期は確認できません。"));
}

TEST(TakeVerdictText, NamesTheCamerasThatMissedFrames)
{
    TakeReport report = Report(Verdict::FramesMissed);
    report.cameras[0].gaps = { { 10, 2 }, { 20, 1 } };
    report.cameras[2].gaps = { { 5, 1 } };
    EXPECT_EQ(TakeVerdictText(report), QStringLiteral("録画完了：400ﾌﾚｰﾑ　ﾌﾚｰﾑの欠落があります。(CAM01：3、CAM03：1)"));
}

TEST(TakeVerdictText, NamesNobodyWhenTheTakeWasCutShort)
{
    EXPECT_EQ(
        TakeVerdictText(Report(Verdict::FramesMissed)), QStringLiteral("録画完了：400ﾌﾚｰﾑ　ﾌﾚｰﾑの欠落があります。"));
}

TEST(TakeVerdictText, CountsWhatEveryCameraHas)
{
    TakeReport report = Report(Verdict::InSync);
    report.cameras[1].iFrames = 123;
    EXPECT_TRUE(TakeVerdictText(report).contains(QStringLiteral("123ﾌﾚｰﾑ")));
}

} // namespace
} // namespace vireo
