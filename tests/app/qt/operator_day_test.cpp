#include "desktop_run.h"
#include "platform/imaging/mjpeg_video.h"
#include "support/decoded_video.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTest>
#include <filesystem>

namespace vireo {
namespace {

using test::ById;
using test::DesktopRun;
using test::PumpUntil;

/// An operator with mouse and keyboard before the real windows.
class OperatorDay : public testing::Test {
protected:
    void Click(int iId)
    {
        auto* pButton = ById<QAbstractButton>(m_run.Panel(), iId);
        ASSERT_TRUE(pButton->isEnabled()) << iId;
        // A check box answers on its indicator, a button in its middle.
        const QPoint spot =
            qobject_cast<QCheckBox*>(pButton) != nullptr ? QPoint(8, pButton->height() / 2) : pButton->rect().center();
        QTest::mouseClick(pButton, Qt::LeftButton, Qt::NoModifier, spot);
    }
    void Type(QLineEdit* pEdit, const char* pText)
    {
        QTest::mouseClick(pEdit, Qt::LeftButton);
        pEdit->selectAll();
        QTest::keyClicks(pEdit, QString::fromLatin1(pText));
    }
    bool WaitArmed()
    {
        return PumpUntil([this] { return m_run.IsLive() && m_run.Button(1028).isEnabled(); });
    }
    bool WaitRecorded()
    {
        return PumpUntil([this] { return m_run.IsRecorded(); });
    }
    QString Text(int iId) { return ById<QLabel>(m_run.Panel(), iId)->text(); }

    explicit OperatorDay(VideoWriters* pVideo = nullptr)
        : m_run("simulated", "", {}, pVideo)
    {
    }

    DesktopRun m_run;
};

struct OwnWriters {
    std::unique_ptr<VideoWriters> m_writers = MakeVideoWriters();
};

/// The same with real files.
class OperatorFiles : OwnWriters, public OperatorDay {
protected:
    OperatorFiles()
        : OperatorDay(m_writers.get())
    {
    }
    std::string File(const std::string& strName) const { return m_run.m_folder / (strName + "-0000.avi"); }
};

TEST_F(OperatorFiles, HoldExactlyTheMarkedFramesOfEveryCamera)
{
    m_run.StorePreset(1, 100, 1);
    ASSERT_TRUE(m_run.Start());
    Click(1005);
    ASSERT_TRUE(WaitArmed());
    QTest::keyClick(&m_run.Panel(), Qt::Key_F9);
    ASSERT_TRUE(WaitRecorded());
    Click(1022); // play
    for (int i = 0; i < 19; ++i)
        Click(1018);
    Click(1019); // start mark
    for (int i = 0; i < 30; ++i)
        Click(1018);
    Click(1020); // end mark
    EXPECT_EQ(Text(1036), QStringLiteral("20"));
    EXPECT_EQ(Text(1037), QStringLiteral("50"));
    Click(1023); // save
    ASSERT_TRUE(WaitArmed());
    const std::vector<std::uint32_t> first = test::DecodedBarCodes(File("untitle-cam1"));
    ASSERT_EQ(first.size(), 31U);
    for (std::size_t i = 1; i < first.size(); ++i)
        EXPECT_NEAR(first[i] - first[i - 1], 10000, 2);
    for (int iCamera = 1; iCamera <= 4; ++iCamera) {
        const std::string strFile = File("untitle-cam" + std::to_string(iCamera));
        EXPECT_EQ(test::FramesByFfprobe(strFile), "100/1,31\n");
        EXPECT_EQ(test::DecodedBarCodes(strFile), first) << "the same instants on every camera";
    }
    ASSERT_FALSE(m_run.RecentFiles().isEmpty());
    EXPECT_EQ(m_run.RecentFiles().front(), QString::fromStdString(File("untitle-cam1")));
}

TEST_F(OperatorFiles, FollowEachOtherUnderRunningNumbers)
{
    m_run.StorePreset(2, 60, 1);
    ASSERT_TRUE(m_run.Start());
    Click(1006);
    ASSERT_TRUE(WaitArmed());
    Type(ById<QLineEdit>(m_run.Panel(), 1015), "0009");
    Click(1016);
    QTest::keyClick(&m_run.Panel(), Qt::Key_Shift);
    Click(1033); // save after recording
    for (const char* pNext : { "0010", "0011", "0012" }) {
        ASSERT_TRUE(WaitArmed());
        Click(1028);
        ASSERT_TRUE(PumpUntil([&] {
            return ById<QLineEdit>(m_run.Panel(), 1015)->text() == QLatin1String(pNext)
                && !m_run.Doc().m_capture.m_bSaving;
        }));
    }
    for (const char* pNumber : { "0009", "0010", "0011" })
        for (int iCamera = 1; iCamera <= 4; ++iCamera)
            EXPECT_EQ(test::FramesByFfprobe(File("untitle-" + std::string(pNumber) + "-cam" + std::to_string(iCamera))),
                "60/1,60\n")
                << pNumber;
    QStringList recent;
    for (const char* pNumber : { "0011", "0010", "0009" })
        recent.append(QString::fromStdString(File("untitle-" + std::string(pNumber) + "-cam1")));
    EXPECT_EQ(m_run.RecentFiles().mid(0, 3), recent) << "one of each take, the newest first";
}

TEST_F(OperatorDay, PresetRecordPlayMarkSaveAndOnceMore)
{
    m_run.StorePreset(1, 100, 1);
    ASSERT_TRUE(m_run.Start());
    Click(1005);
    ASSERT_TRUE(WaitArmed());
    QTest::keyClick(m_run.m_desktop->ViewOf(0), Qt::Key_F8); // nothing to prepare: live already
    EXPECT_TRUE(m_run.Button(1028).isEnabled());
    QTest::keyClick(&m_run.Panel(), Qt::Key_F9);
    ASSERT_TRUE(WaitRecorded());
    EXPECT_EQ(m_run.StatusText(), QStringLiteral("録画完了：100ﾌﾚｰﾑ　同期しています。"));

    Click(1022); // play
    EXPECT_EQ(Text(1035), QStringLiteral("0001/0100"));
    const QImage first = m_run.m_desktop->ViewOf(2)->CurrentPicture();
    for (int i = 0; i < 20; ++i)
        Click(1018);
    EXPECT_NE(m_run.m_desktop->ViewOf(2)->CurrentPicture(), first) << "the views follow the steps";
    Click(1017);
    EXPECT_EQ(Text(1035), QStringLiteral("0020/0100"));
    Click(1019); // start mark
    QTest::keyClick(&m_run.Panel(), Qt::Key_Right);
    for (int i = 0; i < 29; ++i)
        QTest::keyClick(&m_run.Panel(), Qt::Key_Up);
    Click(1020); // end mark
    EXPECT_EQ(Text(1036), QStringLiteral("20"));
    EXPECT_EQ(Text(1037), QStringLiteral("50"));
    Click(1023); // save
    ASSERT_TRUE(WaitArmed()) << "ready for the next recording";

    auto files = m_run.m_videos.Files();
    ASSERT_EQ(files.size(), 4U);
    for (std::size_t uiCamera = 0; uiCamera < 4; ++uiCamera) {
        const test::BarCodeFile& file = files[uiCamera];
        EXPECT_EQ(
            std::filesystem::path(file.strFileName).filename(), "untitle-cam" + std::to_string(uiCamera + 1) + ".avi");
        ASSERT_EQ(file.exposuresUs.size(), 31U) << "from mark to mark, both included";
        EXPECT_EQ(file.exposuresUs, files[0].exposuresUs) << "the same instants on every camera";
        for (std::size_t i = 1; i < 31; ++i)
            EXPECT_NEAR(file.exposuresUs[i] - file.exposuresUs[i - 1], 10000, 2);
    }

    Type(ById<QComboBox>(m_run.Panel(), 1014)->lineEdit(), "second");
    Click(1028);
    ASSERT_TRUE(WaitRecorded());
    Click(1023);
    ASSERT_TRUE(WaitArmed());
    files = m_run.m_videos.Files();
    ASSERT_EQ(files.size(), 8U);
    EXPECT_EQ(std::filesystem::path(files[4].strFileName).filename(), "second-cam1.avi");
    EXPECT_EQ(files[4].exposuresUs.size(), 100U) << "the marks belonged to the first recording";
    EXPECT_EQ(files[7].exposuresUs, files[4].exposuresUs);
    EXPECT_EQ(ById<QComboBox>(m_run.Panel(), 1014)->itemText(0), QStringLiteral("second")) << "newest title first";
}

TEST_F(OperatorDay, ThreeTakesSavedByThemselvesUnderRunningNumbers)
{
    m_run.StorePreset(2, 60, 1);
    ASSERT_TRUE(m_run.Start());
    Click(1006);
    ASSERT_TRUE(WaitArmed());
    Type(ById<QLineEdit>(m_run.Panel(), 1015), "0009");
    Click(1016);
    QTest::keyClick(&m_run.Panel(), Qt::Key_Shift);
    EXPECT_TRUE(Text(1013).endsWith(QStringLiteral("untitle-0009.avi"))) << Text(1013).toStdString();
    Click(1033);
    for (std::size_t uiTake = 1; uiTake <= 3; ++uiTake) {
        ASSERT_TRUE(WaitArmed());
        Click(1028);
        ASSERT_TRUE(
            PumpUntil([&] { return m_run.m_videos.Files().size() == 4 * uiTake && !m_run.Doc().m_capture.m_bSaving; }));
    }
    const auto files = m_run.m_videos.Files();
    const char* const names[] = { "untitle-0009-cam1.avi", "untitle-0010-cam1.avi", "untitle-0011-cam1.avi" };
    for (std::size_t uiTake = 0; uiTake < 3; ++uiTake) {
        EXPECT_EQ(std::filesystem::path(files[4 * uiTake].strFileName).filename(), names[uiTake]);
        for (std::size_t uiCamera = 0; uiCamera < 4; ++uiCamera)
            EXPECT_EQ(files[4 * uiTake + uiCamera].exposuresUs.size(), 60U);
    }
    EXPECT_EQ(ById<QLineEdit>(m_run.Panel(), 1015)->text(), QStringLiteral("0012"));
}

TEST_F(OperatorDay, MouseTurnsTheViewsTransform)
{
    ASSERT_TRUE(m_run.Start());
    CVireoView* pView = m_run.m_desktop->ViewOf(0);
    QTest::mousePress(pView, Qt::RightButton, Qt::NoModifier, { 100, 100 });
    QTest::mouseMove(pView, { 100, 103 });
    QTest::mouseMove(pView, { 100, 130 });
    QTest::mouseRelease(pView, Qt::RightButton, Qt::NoModifier, { 100, 130 });
    EXPECT_NEAR(pView->Affine()._11, 0.9, 1e-5);
    QTest::mouseDClick(pView, Qt::LeftButton);
    EXPECT_EQ(pView->Affine(), AffineTransform {});
}

} // namespace
} // namespace vireo
