#pragma once
#include <QDialog>
#include <QProgressBar>

namespace vireo {

/// Range and positions of a progress bar: up to 65535 as they are, larger ones scaled to it.
class ProgressScale {
public:
    void SetRange(int iRange) { m_iRange = iRange > 0 ? iRange : 0; }
    [[nodiscard]] int Maximum() const { return m_iRange < kLargest ? m_iRange : kLargest; }
    [[nodiscard]] int Position(int iPosition) const
    {
        if (iPosition <= 0)
            return 0;
        if (iPosition >= m_iRange)
            return Maximum();
        return m_iRange <= kLargest ? iPosition
                                    : static_cast<int>(static_cast<long long>(iPosition) * kLargest / m_iRange);
    }

private:
    static constexpr int kLargest = 65535;
    int m_iRange = 0;
};

/// Shows how far a save has come while the control panel is closed: a small modeless dialog.
class SaveProgressBar : public QDialog {
public:
    explicit SaveProgressBar(QWidget* pParent = nullptr);
    [[nodiscard]] QProgressBar* Bar() const { return m_pBar; }
    /// The save ends it, nobody else.
    void reject() override { }

private:
    QProgressBar* m_pBar;
};

} // namespace vireo
