#include "ui/cam_control_dlg.h"

#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace vireo {

namespace {

constexpr int kGap = 8;
constexpr int kSmallGap = 5;

constexpr std::array<int, kPresetButtons> kPresetIds = { 1005, 1006, 1007, 1008 };
constexpr std::array<int, kPresetButtons> kEditorIds = { 1004, 1009, 1010, 1011 };

QPushButton* Button(int iId, const char* pText, bool bEnabled = true)
{
    auto* pButton = WithId(new QPushButton(QString::fromUtf8(pText)), iId);
    pButton->setAutoDefault(false);
    pButton->setEnabled(bEnabled);
    return pButton;
}

QCheckBox* Box(int iId, const char* pText) { return WithId(new QCheckBox(QString::fromUtf8(pText)), iId); }

QLabel* ValueLabel(int iId, const char* pText)
{
    auto* pLabel = WithId(new QLabel(QString::fromUtf8(pText)), iId);
    pLabel->setTextFormat(Qt::PlainText);
    return pLabel;
}

/// A number in a sunken field, wide enough for `pWidest`.
QLabel* CounterLabel(int iId, const char* pText, const char* pWidest)
{
    QLabel* pLabel = ValueLabel(iId, pText);
    pLabel->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    pLabel->setAlignment(Qt::AlignCenter);
    pLabel->setAutoFillBackground(true);
    pLabel->setBackgroundRole(QPalette::Base);
    pLabel->setMinimumWidth(pLabel->fontMetrics().horizontalAdvance(QString::fromUtf8(pWidest)) + 14);
    return pLabel;
}

/// A group without a caption, framed as the one with it.
QGroupBox* Card() { return new QGroupBox; }

} // namespace

void CamControlDlg::MakeControls()
{
    m_pLamp = new LampBand;
    m_pLamp->setObjectName(QStringLiteral("lamp"));
    m_pTitle = WithId(new QComboBox, 1014);
    m_pTitle->setEditable(true);
    m_pTitle->setInsertPolicy(QComboBox::NoInsert);
    m_pTitle->setCompleter(nullptr);
    m_pTitle->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_pTitle->setMinimumContentsLength(12);
    m_pSuffix = WithId(new QLineEdit, 1015);
    m_pSuffix->setMaximumWidth(fontMetrics().horizontalAdvance(QStringLiteral("00000000")) + 16);
    m_pSerial = WithId(new IndicatorBox(QStringLiteral("チェック1")), 1016);
    m_pSerialLabel = ValueLabel(1021, "：連番");
    for (std::size_t i = 0; i < kPresetButtons; ++i) {
        m_presets[i] = WithId(new PresetButton(static_cast<int>(i) + 1), kPresetIds[i]);
        m_presets[i]->setAutoDefault(false);
        m_presets[i]->setMinimumHeight(fontMetrics().height() * 2 + 6);
        m_editors[i] = Button(kEditorIds[i], "設定変更");
    }
    m_pPrepare = Button(1024, "計測準備", false);
    m_pPrepare->setToolTip(QStringLiteral("F8"));
    m_pStart = Button(1028, "スタート");
    m_pStart->setToolTip(QStringLiteral("F9"));
    m_pSave = Button(1023, "保存", false);
    m_pPlay = Button(1022, "再生", false);
    for (QPushButton* pButton : { m_pPrepare, m_pStart, m_pPlay, m_pSave })
        pButton->setMinimumHeight(fontMetrics().height() * 2 + 6);
    m_pBack = Button(1017, "<", false);
    m_pForward = Button(1018, ">", false);
    for (QPushButton* pButton : { m_pBack, m_pForward })
        pButton->setMaximumWidth(fontMetrics().height() * 3);
    m_pMarkStart = Button(1019, "開始", false);
    m_pMarkEnd = Button(1020, "終了", false);
    m_pFrame = CounterLabel(1035, "0/0", "00000/00000");
    m_pMarkStartValue = CounterLabel(1036, "0", "00000");
    m_pMarkEndValue = CounterLabel(1037, "0", "00000");
    m_pTriggerWait = Box(1032, "ﾄﾘｶﾞ待");
    m_pPulseSync = Box(1031, "連続パルス同期");
    m_pSaveAfterRecord = Box(1033, "録画後保存");
    m_pSaveBar = WithId(new BandProgressBar, 1029);
    m_pSaveBar->setRange(0, 1);
    m_pSaveBar->setValue(0);

    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(10, 10, 10, 10);
    pLayout->setSpacing(kGap);
    pLayout->addWidget(m_pLamp);
    pLayout->addWidget(LayOutPresets());
    pLayout->addWidget(LayOutFileName());
    pLayout->addWidget(LayOutCapture());
    pLayout->addWidget(LayOutPlayback());
    pLayout->addWidget(LayOutInfo(), 1);
    pLayout->addWidget(m_pSaveBar);
    MakeHiddenBoxes();
    SetKeyboardOrder();
}

// Part of the panel's control set, without a place on it.
void CamControlDlg::MakeHiddenBoxes()
{
    const struct {
        int iId;
        const char* pText;
    } boxes[] = { { 1038, "モノクロ" }, { 1030, "パルス信号" }, { 1056, "保存後骨格検出後終了" } };
    for (const auto& box : boxes) {
        QCheckBox* pBox = Box(box.iId, box.pText);
        pBox->setParent(this);
        pBox->hide();
    }
    m_pPulseSync->setParent(this);
    m_pPulseSync->hide();
}

QWidget* CamControlDlg::LayOutPresets()
{
    QGroupBox* pCard = Card();
    auto* pGrid = new QGridLayout(pCard);
    pGrid->setContentsMargins(kGap, kGap, kGap, kGap);
    pGrid->setHorizontalSpacing(kGap);
    pGrid->setVerticalSpacing(kSmallGap);
    for (std::size_t i = 0; i < kPresetButtons; ++i) {
        const int iColumn = static_cast<int>(i);
        pGrid->addWidget(m_presets[i], 0, iColumn);
        pGrid->addWidget(m_editors[i], 1, iColumn);
        pGrid->setColumnStretch(iColumn, 1);
        pGrid->setColumnMinimumWidth(iColumn, fontMetrics().height() * 5);
        m_presets[i]->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    return pCard;
}

QWidget* CamControlDlg::LayOutFileName()
{
    QGroupBox* pCard = Card();
    auto* pRow = new QHBoxLayout(pCard);
    pRow->setContentsMargins(kGap, kGap, kGap, kGap);
    pRow->setSpacing(kSmallGap);
    pRow->addWidget(m_pTitle, 1);
    pRow->addSpacing(kGap);
    pRow->addWidget(m_pSerial);
    pRow->addWidget(m_pSerialLabel);
    pRow->addWidget(m_pSuffix);
    return pCard;
}

QWidget* CamControlDlg::LayOutCapture()
{
    QGroupBox* pCard = Card();
    auto* pGrid = new QGridLayout(pCard);
    pGrid->setContentsMargins(kGap, kGap, kGap, kGap);
    pGrid->setHorizontalSpacing(kGap);
    pGrid->setVerticalSpacing(kGap);
    QPushButton* const buttons[] = { m_pPrepare, m_pStart, m_pPlay, m_pSave };
    for (int iColumn = 0; iColumn < 4; ++iColumn) {
        pGrid->addWidget(buttons[iColumn], 0, iColumn);
        pGrid->setColumnStretch(iColumn, 1);
        pGrid->setColumnMinimumWidth(iColumn, fontMetrics().height() * 5);
    }
    pGrid->addWidget(m_pTriggerWait, 1, 0, 1, 2);
    pGrid->addWidget(m_pSaveAfterRecord, 1, 2, 1, 2);
    return pCard;
}

QWidget* CamControlDlg::LayOutPlayback()
{
    QGroupBox* pCard = Card();
    auto* pRow = new QHBoxLayout(pCard);
    pRow->setContentsMargins(kGap, kGap, kGap, kGap);
    pRow->setSpacing(kSmallGap);
    pRow->addWidget(m_pBack);
    pRow->addWidget(m_pFrame, 2);
    pRow->addWidget(m_pForward);
    pRow->addSpacing(kGap);
    pRow->addWidget(m_pMarkStart);
    pRow->addWidget(m_pMarkStartValue, 1);
    pRow->addSpacing(kSmallGap);
    pRow->addWidget(m_pMarkEnd);
    pRow->addWidget(m_pMarkEndValue, 1);
    return pCard;
}

QWidget* CamControlDlg::LayOutInfo()
{
    auto* pGroup = new QGroupBox(QStringLiteral("情報"));
    auto* pGrid = new QGridLayout(pGroup);
    pGrid->setContentsMargins(kGap, kGap, kGap, kGap);
    pGrid->setHorizontalSpacing(kSmallGap);
    pGrid->setVerticalSpacing(kSmallGap);
    m_info.pPresetName = WithId(new ElidedLabel, 1027);
    m_info.pFile = WithId(new ElidedLabel, 1013);
    m_info.pRate = ValueLabel(1000, "");
    m_info.pShutter = ValueLabel(1001, "");
    m_info.pSize = ValueLabel(1002, "");
    m_info.pGain = ValueLabel(1003, "");
    m_info.pRecordTime = ValueLabel(1012, "");
    m_info.pState = ValueLabel(10534, " ");

    const struct {
        const char* pText;
        QWidget* pValue;
        int iRow, iColumn, iSpan;
    } rows[] = {
        { "設定名：", m_info.pPresetName, 0, 0, 3 },
        { "ﾌｧｲﾙ名：", m_info.pFile, 1, 0, 3 },
        { "ﾌﾚｰﾑﾚｰﾄ：", m_info.pRate, 2, 0, 1 },
        { "ｼｬｯﾀｰｽﾋﾟｰﾄﾞ：", m_info.pShutter, 2, 2, 1 },
        { "ｻｲｽﾞ：", m_info.pSize, 3, 0, 1 },
        { "ｹﾞｲﾝ：", m_info.pGain, 3, 2, 1 },
        { "録画時間：", m_info.pRecordTime, 4, 0, 1 },
        { "状態：", m_info.pState, 4, 2, 1 },
    };
    for (const auto& row : rows) {
        auto* pCaption = new QLabel(QString::fromUtf8(row.pText));
        pCaption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        pGrid->addWidget(pCaption, row.iRow, row.iColumn);
        pGrid->addWidget(row.pValue, row.iRow, row.iColumn + 1, 1, row.iSpan);
    }
    pGrid->setColumnStretch(1, 1);
    pGrid->setColumnStretch(3, 1);
    pGrid->setRowStretch(5, 1);
    return pGroup;
}

void CamControlDlg::SetKeyboardOrder()
{
    QWidget* const order[] = { m_presets[0], m_presets[1], m_presets[2], m_presets[3], m_editors[0], m_editors[1],
        m_editors[2], m_editors[3], m_pTitle, m_pSerial, m_pSuffix, m_pPrepare, m_pStart, m_pPlay, m_pSave,
        m_pTriggerWait, m_pSaveAfterRecord, m_pBack, m_pForward, m_pMarkStart, m_pMarkEnd };
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
}

} // namespace vireo
