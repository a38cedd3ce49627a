#include "app/settings_records.h"
#include "support/camera_document.h"
#include "support/qt_tools.h"
#include "ui/property_set_dlg.h"
#include "ui/up_down_edit.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace vireo {
namespace {

using test::ById;

QStringList Entries(const QComboBox& combo)
{
    QStringList texts;
    for (int i = 0; i < combo.count(); ++i)
        texts.append(combo.itemText(i));
    return texts;
}

class PropertySetDlgTest : public testing::Test {
protected:
    /// A document over these cameras, opened, with record times that memory allows.
    void Open(const char* pSource)
    {
        m_document = std::make_unique<test::CameraDocument>(pSource);
        ASSERT_TRUE(m_document->Open());
        m_document->Forget();
    }
    CVireoDoc& Doc() { return m_document->Doc(); }
    CaptureParameters& Parameters() { return Doc().m_parameters; }
    std::unique_ptr<PropertySetDlg> Dialog(int iPreset = 1, ChooseFolder chooseFolder = AskForFolder)
    {
        return std::make_unique<PropertySetDlg>(Doc(), iPreset, nullptr, std::move(chooseFolder));
    }
    static void Type(const QObject& dialog, int iId, const char* pText)
    {
        ById<QLineEdit>(dialog, iId)->setText(QString::fromUtf8(pText));
    }

    std::unique_ptr<test::CameraDocument> m_document;
};

TEST_F(PropertySetDlgTest, HasItsControlsWithTheirTexts)
{
    Open("simulated:GS3-U3-23S6M");
    const auto dialog = Dialog();
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("設定"));
    EXPECT_TRUE(ById<QLineEdit>(*dialog, 1042)->isReadOnly()) << "the button fills it";
    EXPECT_EQ(ById<QPushButton>(*dialog, 1043)->text(), QStringLiteral("変更"));
    EXPECT_EQ(ById<QLabel>(*dialog, 1052)->text(), QStringLiteral("画面サイズ："));
    EXPECT_EQ(ById<QCheckBox>(*dialog, 1054)->text(), QStringLiteral("外部入力ON (TTLﾚﾍﾞﾙHigh)"));
    EXPECT_EQ(ById<QPushButton>(*dialog, 1)->text(), QStringLiteral("OK"));
    EXPECT_EQ(ById<QPushButton>(*dialog, 2)->text(), QStringLiteral("キャンセル"));
    for (const auto& [iEdit, iUpDown] : { std::pair(1044, 1045), std::pair(1047, 1048), std::pair(1050, 1051) })
        EXPECT_EQ(ById<QAbstractSpinBox>(*dialog, iUpDown)->findChild<QLineEdit*>(), ById<QLineEdit>(*dialog, iEdit));
    EXPECT_EQ(Entries(*ById<QComboBox>(*dialog, 1049)),
        QStringList({ "1/10000", "1/5000", "1/2000", "1/1000", "1/500", "1/250", QStringLiteral("ｵｰﾌﾟﾝ") }));
    EXPECT_EQ(
        Entries(*ById<QComboBox>(*dialog, 1053)), QStringList({ "640x480", "1024x768", "1280x720", "1920x1080" }));
    QStringList labels;
    for (const QLabel* pLabel : dialog->findChildren<QLabel*>())
        labels.append(pLabel->text());
    for (const char* pLabel :
        { "ﾎﾞﾀﾝ名：", "ｾｰﾌﾞフォルダ：", "録画時間：秒", "ﾌﾚｰﾑﾚｰﾄ：", "ｶﾒﾗ番号：", "ｼｬｯﾀｰｽﾋﾟｰﾄﾞ：", "ｹﾞｲﾝ：" })
        EXPECT_TRUE(labels.contains(QString::fromUtf8(pLabel))) << pLabel;
}

TEST_F(PropertySetDlgTest, OpensWithThePresetAndItsLimits)
{
    Open("simulated:GS3-U3-23S6M");
    RecordingPreset preset;
    preset.ButtonLabel = "高速";
    preset.FrameRate = 200;
    preset.Shutter = -1;
    preset.WindowSize = 1;
    preset.Gain = 99.0F;
    preset.Path = "/data/takes";
    preset.IsMaster = false;
    preset.InitialCameraNumber = 25;
    SaveRecordingPreset(m_document->m_app, 3, preset);
    const auto dialog = Dialog(3);
    EXPECT_EQ(Parameters().PresetIndex, 3);
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1041)->text(), QStringLiteral("高速"));
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1042)->text(), QStringLiteral("/data/takes"));
    EXPECT_EQ(ById<QComboBox>(*dialog, 1046)->currentText(), QStringLiteral("200fps"));
    EXPECT_EQ(ById<QComboBox>(*dialog, 1049)->currentText(), QStringLiteral("ｵｰﾌﾟﾝ"));
    EXPECT_EQ(ById<QComboBox>(*dialog, 1053)->currentIndex(), 1);
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1050)->text(), QStringLiteral("29")) << "the model's limit";
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1047)->text(), QStringLiteral("20"));
    EXPECT_TRUE(ById<QCheckBox>(*dialog, 1054)->isChecked());
    const auto* pRecordSec = dynamic_cast<UpDownEdit*>(ById<QAbstractSpinBox>(*dialog, 1045));
    EXPECT_EQ(pRecordSec->Minimum(), 1);
    EXPECT_EQ(pRecordSec->Maximum(), RecordSecMaximum(Parameters(), 200));
}

TEST_F(PropertySetDlgTest, CameraOf118FpsOffersItInThePlaceOf120)
{
    Open("simulated:FL3-U3-13E4C");
    EXPECT_EQ(Entries(*ById<QComboBox>(*Dialog(), 1046)), QStringList({ "30fps", "60fps", "100fps", "118fps" }));
}

TEST_F(PropertySetDlgTest, SizeChangeLowersTheRateToTheNewCeiling)
{
    Open("simulated:2xFL3-U3-13Y3M");
    const auto dialog = Dialog();
    auto* pRate = ById<QComboBox>(*dialog, 1046);
    auto* pSize = ById<QComboBox>(*dialog, 1053);
    pRate->setCurrentIndex(pRate->count() - 1);
    ASSERT_EQ(pRate->currentText(), QStringLiteral("350fps"));
    pSize->setCurrentIndex(2);
    EXPECT_EQ(pRate->itemText(pRate->count() - 1), QStringLiteral("200fps"));
    EXPECT_EQ(pRate->currentText(), QStringLiteral("200fps"));
}

TEST_F(PropertySetDlgTest, RateChangeLowersTheRecordTime)
{
    Open("simulated:GS3-U3-23S6M");
    const auto dialog = Dialog();
    Parameters().m_iMaxRecordSec = { 100, 50, 30, 25, 20, 15, 12, 10, 8, 7 };
    auto* pRate = ById<QComboBox>(*dialog, 1046);
    const struct {
        const char* pTyped;
        const char* pShown;
    } rows[] = { { "60", "30" }, { "31s", "30" }, { "99999999999", "30" }, { "30.9", "30.9" }, { "12", "12" } };
    for (const auto& row : rows) {
        pRate->setCurrentText(QStringLiteral("60fps"));
        Type(*dialog, 1044, row.pTyped);
        pRate->setCurrentText(QStringLiteral("100fps"));
        EXPECT_EQ(ById<QLineEdit>(*dialog, 1044)->text(), QString(row.pShown)) << row.pTyped;
        pRate->setCurrentText(QStringLiteral("60fps"));
        EXPECT_EQ(ById<QLineEdit>(*dialog, 1044)->text(), QString(row.pShown)) << "never raised";
    }
}

TEST_F(PropertySetDlgTest, CamerasWithoutAnAnswerHaveNoSizeList)
{
    Open("simulated:GRAS-03K2");
    Parameters().m_iImageSizeIndex = 2;
    const auto dialog = Dialog();
    EXPECT_TRUE(ById<QLabel>(*dialog, 1052)->isHidden());
    EXPECT_TRUE(ById<QComboBox>(*dialog, 1053)->isHidden());
    EXPECT_FALSE(ById<QComboBox>(*dialog, 1053)->isEnabled());
    EXPECT_EQ(Entries(*ById<QComboBox>(*dialog, 1046)).last(), QStringLiteral("200fps")) << "the model's limit";
    dialog->accept();
    EXPECT_EQ(Parameters().m_iImageSizeIndex, 0);
}

TEST_F(PropertySetDlgTest, OkStoresThePreset)
{
    Open("simulated:GS3-U3-23S6M");
    const auto dialog = Dialog(4, [](QWidget*, const QString&) { return QStringLiteral("/data/new"); });
    Type(*dialog, 1041, "新しい設定");
    ById<QPushButton>(*dialog, 1043)->click();
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1042)->text(), QStringLiteral("/data/new"));
    Type(*dialog, 1044, "999");
    Type(*dialog, 1047, "20");
    Type(*dialog, 1050, "2.5");
    ById<QComboBox>(*dialog, 1049)->setCurrentText(QStringLiteral("ｵｰﾌﾟﾝ"));
    ById<QCheckBox>(*dialog, 1054)->setChecked(true);
    dialog->accept();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    const RecordingPreset stored = LoadRecordingPreset(m_document->m_app, 4);
    EXPECT_EQ(stored.ButtonLabel, "新しい設定");
    EXPECT_EQ(stored.Path, "/data/new");
    EXPECT_EQ(stored.RecTime, RecordSecMaximum(Parameters(), 30));
    EXPECT_EQ(stored.InitialCameraNumber, 20);
    EXPECT_FLOAT_EQ(stored.Gain, 2.5F);
    EXPECT_EQ(stored.Shutter, -1);
    EXPECT_TRUE(stored.TriggerLowHigh);
    EXPECT_FALSE(stored.IsMaster);
}

TEST_F(PropertySetDlgTest, OkKeepsTheFolderThatWasThere)
{
    Open("simulated:GS3-U3-23S6M");
    RecordingPreset preset;
    preset.Path = "d:\\takes";
    SaveRecordingPreset(m_document->m_app, 1, preset);
    const auto dialog = Dialog(1, [](QWidget*, const QString&) { return std::nullopt; });
    ById<QPushButton>(*dialog, 1043)->click();
    dialog->accept();
    EXPECT_EQ(LoadRecordingPreset(m_document->m_app, 1).Path, "d:\\takes");
}

TEST_F(PropertySetDlgTest, RefusalsShowTheirTextAndStayOpen)
{
    Open("simulated:GS3-U3-23S6M");
    const auto dialog = Dialog();
    dialog->show();
    for (const auto& [pNumber, pText] : { std::pair("0", "ｶﾒﾗ番号の初期値が範囲外です 0"),
             std::pair("21", "ｶﾒﾗ番号の初期値が範囲外です 21"), std::pair("x", "ｶﾒﾗ番号の初期値が範囲外です 0") }) {
        m_document->Forget();
        Type(*dialog, 1047, pNumber);
        dialog->accept();
        EXPECT_TRUE(dialog->isVisible());
        EXPECT_EQ(m_document->Messages(), std::vector<std::string> { pText });
    }
    m_document->Forget();
    Type(*dialog, 1047, "1");
    ById<QComboBox>(*dialog, 1053)->setCurrentIndex(-1);
    dialog->accept();
    EXPECT_EQ(m_document->Messages(), std::vector<std::string> { "画面ｻｲｽﾞが選択されていません" });
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(LoadRecordingPreset(m_document->m_app, 1), RecordingPreset {}) << "nothing was written";
}

TEST_F(PropertySetDlgTest, CancelBringsEverythingBack)
{
    Open("simulated:GS3-U3-23S6M");
    Parameters().PresetIndex = 2;
    Parameters().m_strPresetName = "before";
    Parameters().m_iFps = 60;
    Parameters().m_fGain = 7.5F;
    Parameters().InitialCameraNumber = 5;
    Doc().m_naming.m_strSaveFolder = "/before";
    const auto maxima = Parameters().m_iMaxRecordSec;
    RecordingPreset other;
    other.ButtonLabel = "other";
    other.FrameRate = 100;
    other.Path = "/other";
    SaveRecordingPreset(m_document->m_app, 3, other);

    const auto dialog = Dialog(3);
    ById<QComboBox>(*dialog, 1053)->setCurrentIndex(3);
    Type(*dialog, 1047, "21");
    dialog->accept(); // refused: some fields are taken already
    dialog->reject();
    EXPECT_EQ(Parameters().PresetIndex, 2);
    EXPECT_EQ(Parameters().m_strPresetName, "before");
    EXPECT_EQ(Parameters().m_iFps, 60);
    EXPECT_FLOAT_EQ(Parameters().m_fGain, 7.5F);
    EXPECT_EQ(Parameters().InitialCameraNumber, 5);
    EXPECT_EQ(Parameters().m_iMaxRecordSec, maxima);
    EXPECT_EQ(Doc().m_naming.m_strSaveFolder, "/before");
    EXPECT_EQ(LoadRecordingPreset(m_document->m_app, 3), LoadRecordingPreset(m_document->m_app, 3));
    EXPECT_EQ(LoadRecordingPreset(m_document->m_app, 3).ButtonLabel, "other");
}

TEST_F(PropertySetDlgTest, NothingOfARunningCaptureChangesWhileItIsOpen)
{
    Open("simulated:2xGS3-U3-23S6M");
    const CaptureSnapshot before = Doc().m_capture.m_running;
    const int iTarget = Doc().m_store.m_iRecordTarget;
    RecordingPreset other;
    other.FrameRate = 150;
    other.WindowSize = 3;
    SaveRecordingPreset(m_document->m_app, 2, other);
    const auto dialog = Dialog(2);
    EXPECT_EQ(Parameters().m_iFps, 150);
    EXPECT_EQ(Doc().m_capture.m_running.iFps, before.iFps);
    EXPECT_EQ(Doc().m_capture.m_running.iWidth, before.iWidth);
    EXPECT_EQ(Doc().m_store.m_iRecordTarget, iTarget);
    EXPECT_TRUE(Doc().m_capture.m_bCapturing);
}

TEST_F(PropertySetDlgTest, AbsurdPresetsAreShownWithoutASelection)
{
    Open("simulated:GS3-U3-23S6M");
    RecordingPreset preset;
    preset.FrameRate = -1;
    preset.Shutter = 0;
    preset.WindowSize = 77;
    preset.RecTime = -2000000000;
    preset.Gain = -1e30F;
    preset.InitialCameraNumber = -5;
    SaveRecordingPreset(m_document->m_app, 1, preset);
    const auto dialog = Dialog(1);
    EXPECT_EQ(ById<QComboBox>(*dialog, 1046)->currentIndex(), -1);
    EXPECT_EQ(ById<QComboBox>(*dialog, 1049)->currentIndex(), -1);
    EXPECT_EQ(ById<QComboBox>(*dialog, 1053)->currentIndex(), -1);
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1044)->text(), QStringLiteral("1"));
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1050)->text(), QStringLiteral("0"));
    EXPECT_EQ(ById<QLineEdit>(*dialog, 1047)->text(), QStringLiteral("1"));
}

TEST_F(PropertySetDlgTest, EnterInAFieldMeansOk)
{
    Open("simulated:GS3-U3-23S6M");
    const auto dialog = Dialog();
    dialog->show();
    EXPECT_TRUE(ById<QPushButton>(*dialog, 1)->isDefault());
    EXPECT_FALSE(ById<QPushButton>(*dialog, 1043)->isDefault());
    Type(*dialog, 1041, "by key");
    test::PressKey(*ById<QLineEdit>(*dialog, 1041), Qt::Key_Return);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(Parameters().m_strPresetName, "by key");
}

// What a field holds is a text: none of them takes the dialog, the settings file or the next load along.
TEST_F(PropertySetDlgTest, EveryFieldBearsEveryText)
{
    Open("simulated:GS3-U3-23S6M");
    const std::string strLong(100000, '9');
    const char* const texts[] = { "", " ", "0", "-1", "-2147483648", "2147483648", "99999999999999999999", "1e308",
        "nan", "abc", "%s%n%d", "１２", "3;4=[CAM01]", strLong.c_str() };
    for (const int iField : { 1041, 1044, 1047, 1050 }) {
        for (const char* pText : texts) {
            SCOPED_TRACE(std::to_string(iField) + " " + std::string(pText).substr(0, 30));
            const auto dialog = Dialog(2);
            Type(*dialog, 1044, "1");
            Type(*dialog, 1047, "1");
            Type(*dialog, 1050, "0");
            Type(*dialog, iField, pText);
            ById<QPushButton>(*dialog, 1)->click();
            const bool bRefused = dialog->result() != QDialog::Accepted;
            const bool bNumber = std::string(pText).starts_with("1e") || std::string(pText).starts_with("3;");
            EXPECT_EQ(bRefused, iField == 1047 && !bNumber) << "only a camera number can be wrong";
            dialog->reject();
            const auto again = Dialog(2);
            EXPECT_GE(ById<UpDownEdit>(*again, 1045)->text().toInt(), 1);
            EXPECT_GE(ById<UpDownEdit>(*again, 1048)->text().toInt(), 1);
            EXPECT_GE(ById<UpDownEdit>(*again, 1051)->text().toInt(), Parameters().m_iGainMinDb);
            EXPECT_LE(ById<UpDownEdit>(*again, 1051)->text().toInt(), Parameters().m_iGainMaxDb);
        }
    }
}

} // namespace
} // namespace vireo
