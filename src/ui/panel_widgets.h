#pragma once
#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace vireo {

/// Names a control by the number under which others find it; returns it.
template <typename Control> Control* WithId(Control* pControl, int iId)
{
    pControl->setObjectName(QString::number(iId));
    return pControl;
}

/// For setToolTip, which takes what looks like markup for markup: a text that comes from outside stays a text.
QString PlainToolTip(const QString& strText);

/// A line of text that is shortened in the middle when it does not fit; the whole text is its tool tip.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(QWidget* pParent = nullptr);
    /// Hides QLabel's: keeps the tool tip right.
    void setText(const QString& strText);
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* pEvent) override;
};

/// A progress bar as a thin band: a groove while nothing is saved.
class BandProgressBar : public QProgressBar {
public:
    explicit BandProgressBar(QWidget* pParent = nullptr);

protected:
    void paintEvent(QPaintEvent* pEvent) override;
};

/// A check box whose label is another widget beside it: its own text is there for the ear, not the eye.
class IndicatorBox : public QCheckBox {
public:
    explicit IndicatorBox(const QString& strText, QWidget* pParent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* pEvent) override;
};

/// A preset's button: its caption is the preset's name, shortened when it does not fit; without one it still shows its
/// number. The preset in force is underlined.
class PresetButton : public QPushButton {
public:
    explicit PresetButton(int iNumber, QWidget* pParent = nullptr);
    void SetCurrent(bool bCurrent);
    [[nodiscard]] bool IsCurrent() const { return m_bCurrent; }

protected:
    void paintEvent(QPaintEvent* pEvent) override;

private:
    int m_iNumber;
    bool m_bCurrent = false;
};

/// What the capture is doing, as the panel's lamp shows it.
enum class CaptureLamp { Idle, Live, Waiting, Recording, Recorded, Playback, Saving };

/// What the lamp looks at.
struct LampFlags {
    bool bCapturing = false;
    bool bRecording = false;
    bool bWaiting = false; ///< for the external trigger
    bool bDone = false;
    bool bPlayback = false;
    bool bSaving = false;
};
constexpr CaptureLamp LampOf(const LampFlags& flags)
{
    if (flags.bSaving)
        return CaptureLamp::Saving;
    if (flags.bPlayback)
        return CaptureLamp::Playback;
    if (flags.bCapturing && flags.bRecording)
        return CaptureLamp::Recording;
    if (flags.bDone)
        return CaptureLamp::Recorded;
    if (!flags.bCapturing)
        return CaptureLamp::Idle;
    return flags.bWaiting ? CaptureLamp::Waiting : CaptureLamp::Live;
}
QColor LampColour(CaptureLamp eLamp);

/// A band across the panel in the colour of what the capture is doing.
class LampBand : public QWidget {
public:
    explicit LampBand(QWidget* pParent = nullptr);
    void Show(CaptureLamp eLamp);
    [[nodiscard]] CaptureLamp Lamp() const { return m_eLamp; }

protected:
    void paintEvent(QPaintEvent* pEvent) override;

private:
    CaptureLamp m_eLamp = CaptureLamp::Idle;
};

} // namespace vireo
