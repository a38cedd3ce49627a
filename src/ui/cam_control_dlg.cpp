#include "ui/cam_control_dlg.h"

#include "app/format_text.h"
#include "camera/document_settings.h"
#include "capture/panel_rules.h"
#include "ui/property_set_dlg.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <utility>

namespace vireo {

namespace {

constexpr int kLampMs = 100; ///< a recording begins without a word to the panel
constexpr int kHistoryShown = 5;

void SetTextQuietly(QComboBox& combo, const std::string& strText)
{
    const QString strNew = QString::fromStdString(strText);
    const QSignalBlocker quiet(&combo);
    if (combo.currentText() != strNew)
        combo.setEditText(strNew);
}

} // namespace

CamControlDlg::CamControlDlg(CVireoDoc& doc, RunAction runAction, QWidget* pParent)
    : QDialog(pParent)
    , m_doc(doc)
    , m_runAction(std::move(runAction))
{
    setObjectName(QStringLiteral("312"));
    setWindowTitle(QStringLiteral("カメラコントロール"));
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
        | Qt::WindowCloseButtonHint);
    setModal(false);
    MakeControls();
    Connect();
    qApp->installEventFilter(this);
    m_lampTimer.setInterval(kLampMs);
    connect(&m_lampTimer, &QTimer::timeout, this, [this] { UpdateLamp(); });
}

CamControlDlg::~CamControlDlg() { qApp->removeEventFilter(this); }

void CamControlDlg::Open() // NOLINT(bugprone-virtual-near-miss): the window system calls it so
{
    UpdatePresetButtons();
    FillHistory();
    const CaptureFlags& capture = m_doc.m_capture;
    m_pTriggerWait->setChecked(capture.m_bTriggerWaitLinear || capture.m_bTriggerWaitRing);
    EnableFileControls(!(capture.m_bTriggerWaitLinear || capture.m_bPulseSync));
    UpdateInfo();
    UpdatePanelState();
    if (capture.m_bPlayback) {
        ShowFrameCounter();
        ShowMarks();
    }
    m_lampTimer.start();
}

void CamControlDlg::Connect()
{
    const auto click = [this](QAbstractButton* pButton, auto action) {
        connect(pButton, &QAbstractButton::clicked, this, [this, action] { m_runAction(action); });
    };
    for (int i = 0; i < kPresetButtons; ++i) {
        click(m_presets[static_cast<std::size_t>(i)], [this, i] { SelectPreset(i + 1); });
        click(m_editors[static_cast<std::size_t>(i)], [this, i] { ChangePreset(i + 1); });
    }
    click(m_pPrepare, [this] { Prepare(); });
    click(m_pStart, [this] { Start(); });
    click(m_pSave, [this] { Save(); });
    click(m_pPlay, [this] { TogglePlayback(); });
    click(m_pBack, [this] { Step(false); });
    click(m_pForward, [this] { Step(true); });
    click(m_pMarkStart, [this] { SetMark(true); });
    click(m_pMarkEnd, [this] { SetMark(false); });
    click(m_pTriggerWait, [this] { TriggerWaitClicked(); });
    click(m_pPulseSync, [this] { PulseSyncClicked(); });
    click(m_pSaveAfterRecord, [this] { SaveAfterRecordClicked(); });
    click(m_pSerial, [this] { SerialClicked(); });
    connect(m_pTitle, &QComboBox::editTextChanged, this, [this](const QString& strText) {
        m_doc.m_naming.m_strFileTitle = strText.toStdString();
        ShowFile();
    });
    connect(m_pSuffix, &QLineEdit::textEdited, this, [this](const QString& strText) {
        m_doc.m_naming.m_strSerialSuffix = strText.toStdString();
        ShowFile();
    });
}

// --- What the document says ---

void CamControlDlg::UpdatePanelState()
{
    const PanelState state = ComputePanelState(m_doc);
    EnableInputGroup(state.bInputGroup);
    m_pPrepare->setEnabled(state.bPrepare);
    m_pStart->setEnabled(state.bStart);
    m_pPlay->setEnabled(state.bPlay);
    m_pSave->setEnabled(state.bSave);
    m_pSaveAfterRecord->setEnabled(state.bSaveAfterRecord);
    m_pTriggerWait->setEnabled(state.bTriggerWait);
    RefreshPlaybackControls();
    UpdateLamp();
    update();
}

void CamControlDlg::EnableInputGroup(bool bEnable)
{
    for (std::size_t i = 0; i < kPresetButtons; ++i) {
        m_presets[i]->setEnabled(bEnable);
        m_editors[i]->setEnabled(bEnable);
    }
}

void CamControlDlg::EnableFileControls(bool bEnable)
{
    for (QWidget* pControl : { static_cast<QWidget*>(m_pTitle), static_cast<QWidget*>(m_pSuffix),
             static_cast<QWidget*>(m_pSerial), static_cast<QWidget*>(m_pSerialLabel) })
        pControl->setEnabled(bEnable);
}

void CamControlDlg::EnableCaptureControls(bool bEnable)
{
    EnableInputGroup(bEnable);
    for (QAbstractButton* pButton : { static_cast<QAbstractButton*>(m_pPrepare),
             static_cast<QAbstractButton*>(m_pStart), static_cast<QAbstractButton*>(m_pPlay),
             static_cast<QAbstractButton*>(m_pSave), static_cast<QAbstractButton*>(m_pTriggerWait),
             static_cast<QAbstractButton*>(m_pPulseSync), static_cast<QAbstractButton*>(m_pSaveAfterRecord) })
        pButton->setEnabled(bEnable);
    RefreshPlaybackControls();
}

void CamControlDlg::RefreshPlaybackControls()
{
    const bool bPlayback = m_doc.m_capture.m_bPlayback;
    for (QWidget* pControl : { static_cast<QWidget*>(m_pBack), static_cast<QWidget*>(m_pForward),
             static_cast<QWidget*>(m_pMarkStart), static_cast<QWidget*>(m_pMarkEnd), static_cast<QWidget*>(m_pFrame),
             static_cast<QWidget*>(m_pMarkStartValue), static_cast<QWidget*>(m_pMarkEndValue) })
        pControl->setEnabled(bPlayback);
}

void CamControlDlg::UpdateInfo()
{
    const PanelInfo info = vireo::UpdateInfo(m_doc);
    const auto text = [](const std::string& strText) { return QString::fromStdString(strText); };
    m_info.pPresetName->setText(text(info.strPresetName));
    m_info.pFile->setText(text(info.strFile));
    m_info.pRate->setText(text(info.strFrameRate));
    m_info.pShutter->setText(text(info.strShutter));
    m_info.pSize->setText(text(info.strSize));
    m_info.pGain->setText(text(info.strGain));
    m_info.pRecordTime->setText(text(info.strRecordTime));
    m_info.pState->setText(text(info.strState));

    for (int i = 0; i < kPresetButtons; ++i)
        m_presets[static_cast<std::size_t>(i)]->SetCurrent(m_doc.m_parameters.PresetIndex == i + 1);
    const Naming& naming = m_doc.m_naming;
    SetTextQuietly(*m_pTitle, naming.m_strFileTitle);
    m_pSerial->setChecked(naming.m_bSerialSuffix);
    m_pSuffix->setText(text(naming.m_strSerialSuffix));
    m_pPulseSync->setChecked(m_doc.m_capture.m_bPulseSync);
    m_pSaveAfterRecord->setChecked(m_doc.m_capture.m_bSaveAfterRecord);
}

void CamControlDlg::UpdatePresetButtons()
{
    UpdatePresetNames(m_doc);
    for (std::size_t i = 0; i < kPresetButtons; ++i) {
        QString strName = QString::fromStdString(m_doc.m_parameters.m_astrPresetNames[i]);
        m_presets[i]->setToolTip(PlainToolTip(strName));
        m_presets[i]->setText(strName.replace(QLatin1Char('&'), QStringLiteral("&&")));
    }
}

void CamControlDlg::FillHistory()
{
    const QSignalBlocker quiet(m_pTitle);
    const QString strTyped = m_pTitle->currentText();
    m_pTitle->clear();
    for (const std::string& strTitle : m_doc.m_naming.m_astrFileHistory) {
        if (m_pTitle->count() == kHistoryShown)
            break;
        m_pTitle->addItem(QString::fromStdString(strTitle));
    }
    m_pTitle->setEditText(strTyped);
}

void CamControlDlg::UpdateLamp()
{
    const CaptureFlags& capture = m_doc.m_capture;
    LampFlags flags;
    flags.bCapturing = capture.m_bCapturing;
    flags.bWaiting = capture.m_bTriggerWaitLinear || capture.m_bTriggerWaitRing;
    // A synchronised trigger wait stands in the recording state before the first edge has come.
    flags.bRecording = capture.m_iCaptureState == capture_state::kRecording
        && !(capture.m_bTriggerWaitRing && m_doc.m_store.m_isaveFrameCount[0] < 1);
    flags.bDone = m_doc.m_store.m_bRecordDone[0];
    flags.bPlayback = capture.m_bPlayback;
    flags.bSaving = capture.m_bSaving;
    m_pLamp->Show(LampOf(flags));
}

// --- Actions ---

void CamControlDlg::SelectPreset(int iPreset)
{
    vireo::SelectPreset(m_doc, iPreset);
    UpdatePanelState();
    UpdateInfo();
}

void CamControlDlg::ChangePreset(int iPreset)
{
    if (EditPreset(iPreset))
        SelectPreset(iPreset);
}

bool CamControlDlg::EditPreset(int iPreset)
{
    PropertySetDlg dialog(m_doc, iPreset, this);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    UpdatePresetButtons();
    UpdateInfo();
    return true;
}

void CamControlDlg::PressPrepare()
{
    if (m_pPrepare->isEnabled())
        m_runAction([this] { Prepare(); });
}

void CamControlDlg::PressStart()
{
    if (m_pStart->isEnabled())
        m_runAction([this] { Start(); });
}

void CamControlDlg::PressSave()
{
    m_runAction([this] { Save(); });
}

void CamControlDlg::Prepare()
{
    m_pTitle->setFocus();
    vireo::Prepare(m_doc, m_pTriggerWait->isChecked());
    UpdatePanelState();
}

void CamControlDlg::Start()
{
    EnableCaptureControls(false);
    if (!vireo::Start(m_doc))
        UpdatePanelState();
}

void CamControlDlg::Save()
{
    EnableCaptureControls(false);
    vireo::Save(m_doc);
    UpdatePanelState();
    UpdateInfo();
    FillHistory();
}

void CamControlDlg::TogglePlayback()
{
    vireo::TogglePlayback(m_doc);
    UpdatePanelState();
    if (!m_doc.m_capture.m_bPlayback)
        return;
    ShowFrameCounter();
    m_pMarkStartValue->setText(QStringLiteral("0"));
    m_pMarkEndValue->setText(QString::number(m_doc.m_store.m_iRecordTarget));
}

void CamControlDlg::ShowFrameCounter()
{
    m_pFrame->setText(QString::fromStdString(
        FormatText("%04d/%04d", m_doc.m_windows.m_iCurFrame + 1, m_doc.m_store.m_iRecordTarget.load())));
}

// They may have been set before this panel was opened.
void CamControlDlg::ShowMarks()
{
    const int iFirst = m_doc.m_capture.m_iSaveFirstFrame;
    const int iLast = m_doc.m_capture.m_iSaveLastFrame;
    m_pMarkStartValue->setText(QString::number(iFirst > 0 ? iFirst + 1 : 0));
    m_pMarkEndValue->setText(QString::number(iLast >= 0 ? iLast + 1 : m_doc.m_store.m_iRecordTarget.load()));
}

void CamControlDlg::Step(bool bForward)
{
    if (bForward)
        StepForward(m_doc);
    else
        StepBack(m_doc);
    ShowFrameCounter();
}

void CamControlDlg::SetMark(bool bStart)
{
    if (bStart)
        SetMarkStart(m_doc);
    else
        SetMarkEnd(m_doc);
    (bStart ? m_pMarkStartValue : m_pMarkEndValue)->setText(QString::number(m_doc.m_windows.m_iCurFrame + 1));
}

void CamControlDlg::TriggerWaitClicked()
{
    const bool bLinear = m_doc.m_capture.m_iCaptureMode == capture_mode::kLinear;
    if (!bLinear)
        m_pTitle->setFocus();
    const bool bOn = ToggleTriggerWait(m_doc);
    m_pTriggerWait->setChecked(bOn);
    UpdatePanelState();
    EnableFileControls(!bLinear || !bOn);
}

void CamControlDlg::PulseSyncClicked()
{
    const bool bWasOn = m_doc.m_capture.m_bPulseSync;
    const bool bOn = TogglePulseSync(m_doc);
    m_pPulseSync->setChecked(bOn);
    if (bOn == bWasOn)
        return; // refused
    UpdatePanelState();
    EnableFileControls(!bOn);
}

void CamControlDlg::SaveAfterRecordClicked() { m_pSaveAfterRecord->setChecked(ToggleSaveAfterRecord(m_doc)); }

void CamControlDlg::SerialClicked()
{
    m_doc.m_naming.m_bSerialSuffix = m_pSerial->isChecked();
    UpdateInfo();
}

void CamControlDlg::ShowFile()
{
    m_info.pFile->setText(
        QString::fromStdString(JoinPath(m_doc.m_naming.m_strSaveFolder, TitleWithSuffix(m_doc.m_naming)) + ".avi"));
}

// --- Keys ---

bool CamControlDlg::eventFilter(QObject* pReceiver, QEvent* pEvent)
{
    if (pEvent->type() != QEvent::KeyPress && pEvent->type() != QEvent::KeyRelease)
        return false;
    auto* pWidget = qobject_cast<QWidget*>(pReceiver);
    if (pWidget == nullptr || pWidget->window() != this)
        return false;
    auto& key = static_cast<QKeyEvent&>(*pEvent);
    if (pEvent->type() == QEvent::KeyPress)
        return FilterKeyPress(key.key());
    KeyReleased();
    // A button that went down with the space bar has to come up with it.
    return key.key() != Qt::Key_Space || qobject_cast<QAbstractButton*>(pWidget) == nullptr;
}

bool CamControlDlg::FilterKeyPress(int iKey)
{
    switch (iKey) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape: return true;
    case Qt::Key_F8: PressPrepare(); return true;
    case Qt::Key_F9: PressStart(); return true;
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Left:
    case Qt::Key_Down:
        if (!m_doc.m_capture.m_bPlayback)
            return false;
        m_runAction([this, iKey] { Step(iKey == Qt::Key_Right || iKey == Qt::Key_Up); });
        return true;
    default: return false;
    }
}

void CamControlDlg::KeyReleased()
{
    m_doc.m_naming.m_strFileTitle = m_pTitle->currentText().toStdString();
    if (m_pSerial->isChecked())
        m_doc.m_naming.m_strSerialSuffix = m_pSuffix->text().toStdString();
    ShowFile();
}

void CamControlDlg::reject() { m_doc.GetPlatform().window.PostCommand(command::kTogglePanel); }

// Another look needs more room, or less.
void CamControlDlg::changeEvent(QEvent* pEvent)
{
    QDialog::changeEvent(pEvent);
    if (pEvent->type() == QEvent::StyleChange && isVisible())
        QMetaObject::invokeMethod(
            this, [this] { adjustSize(); }, Qt::QueuedConnection);
}

void CamControlDlg::closeEvent(QCloseEvent* pEvent)
{
    pEvent->ignore();
    reject();
}

} // namespace vireo
