#pragma once
#include "camera/operator_actions.h"
#include "camera/vireo_doc.h"
#include "ui/panel_widgets.h"

#include <QDialog>
#include <QTimer>
#include <array>
#include <functional>

class QAbstractButton;
class QComboBox;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace vireo {

/// Runs an action of the operator: nothing that is posted meanwhile comes in between.
using RunAction = std::function<void(const std::function<void()>&)>;

/// Presets on the panel.
constexpr int kPresetButtons = 4;

/// "カメラコントロール": the operator's console. It holds no rules: its buttons call the operator's
/// actions, and what can be pressed follows the document's flags. Each control has its id as its name.
/// User-interface thread. The close box asks for the panel's toggle and changes nothing itself.
class CamControlDlg : public QDialog {
public:
    CamControlDlg(CVireoDoc& doc, RunAction runAction, QWidget* pParent = nullptr);
    ~CamControlDlg() override;

    /// Fills everything from the document; once, before it is shown.
    void Open(); // NOLINT(bugprone-virtual-near-miss): the window system calls it so

    /// Which buttons can be pressed, from the document's flags.
    void UpdatePanelState();
    /// Information group and file-name controls, from the document.
    void UpdateInfo();
    /// The captions of the preset buttons, from the settings file.
    void UpdatePresetButtons();
    void EnableInputGroup(bool bEnable);
    void EnableFileControls(bool bEnable);
    void EnableCaptureControls(bool bEnable);
    void RefreshPlaybackControls();

    /// The buttons' actions; nothing happens while the button cannot be pressed.
    void PressPrepare();
    void PressStart();
    void PressSave();

    /// Settings dialog for preset `iPreset`. @return whether it ended with OK.
    bool EditPreset(int iPreset);

    [[nodiscard]] QProgressBar* SaveBar() const { return m_pSaveBar; }
    [[nodiscard]] QPushButton* PrepareButton() const { return m_pPrepare; }
    [[nodiscard]] QPushButton* StartButton() const { return m_pStart; }

    void reject() override;

protected:
    void changeEvent(QEvent* pEvent) override;
    void closeEvent(QCloseEvent* pEvent) override;
    bool eventFilter(QObject* pReceiver, QEvent* pEvent) override;

private:
    struct InfoLabels {
        ElidedLabel* pPresetName = nullptr;
        ElidedLabel* pFile = nullptr;
        QLabel* pRate = nullptr;
        QLabel* pShutter = nullptr;
        QLabel* pSize = nullptr;
        QLabel* pGain = nullptr;
        QLabel* pRecordTime = nullptr;
        QLabel* pState = nullptr;
    };

    // Layout.
    void MakeControls();
    void MakeHiddenBoxes();
    QWidget* LayOutPresets();
    QWidget* LayOutFileName();
    QWidget* LayOutCapture();
    QWidget* LayOutPlayback();
    QWidget* LayOutInfo();
    void SetKeyboardOrder();

    // Actions.
    void Connect();
    void SelectPreset(int iPreset);
    void ChangePreset(int iPreset);
    void Prepare();
    void Start();
    void Save();
    void TogglePlayback();
    void Step(bool bForward);
    void SetMark(bool bStart);
    void TriggerWaitClicked();
    void PulseSyncClicked();
    void SaveAfterRecordClicked();
    void SerialClicked();

    void ShowFile();
    void ShowFrameCounter();
    void ShowMarks();
    void FillHistory();
    void UpdateLamp();
    bool FilterKeyPress(int iKey);
    void KeyReleased();

    CVireoDoc& m_doc;
    RunAction m_runAction;
    QTimer m_lampTimer;

    LampBand* m_pLamp = nullptr;
    QComboBox* m_pTitle = nullptr;
    QLineEdit* m_pSuffix = nullptr;
    IndicatorBox* m_pSerial = nullptr;
    QLabel* m_pSerialLabel = nullptr;
    std::array<PresetButton*, kPresetButtons> m_presets {};
    std::array<QPushButton*, kPresetButtons> m_editors {};
    QPushButton* m_pPrepare = nullptr;
    QPushButton* m_pStart = nullptr;
    QPushButton* m_pSave = nullptr;
    QPushButton* m_pPlay = nullptr;
    QPushButton* m_pBack = nullptr;
    QPushButton* m_pForward = nullptr;
    QPushButton* m_pMarkStart = nullptr;
    QPushButton* m_pMarkEnd = nullptr;
    QLabel* m_pFrame = nullptr;
    QLabel* m_pMarkStartValue = nullptr;
    QLabel* m_pMarkEndValue = nullptr;
    QCheckBox* m_pTriggerWait = nullptr;
    QCheckBox* m_pPulseSync = nullptr;
    QCheckBox* m_pSaveAfterRecord = nullptr;
    InfoLabels m_info;
    QProgressBar* m_pSaveBar = nullptr;
};

} // namespace vireo
