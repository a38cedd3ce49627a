#pragma once
#include <QAbstractSpinBox>

namespace vireo {

/// An edit with an up-down beside it: anything can be typed, the arrows move whole numbers within a range.
class UpDownEdit : public QAbstractSpinBox {
public:
    /// `iEditId` names the edit, `iUpDownId` the arrows.
    UpDownEdit(int iEditId, int iUpDownId, QWidget* pParent = nullptr);

    void SetRange(int iMinimum, int iMaximum);
    [[nodiscard]] int Minimum() const { return m_iMinimum; }
    [[nodiscard]] int Maximum() const { return m_iMaximum; }
    /// Shows a number, limited to the range.
    void SetPosition(int iPosition);
    /// The whole number that the text begins with, not limited to the range.
    [[nodiscard]] int Number() const;
    [[nodiscard]] QLineEdit* Edit() const { return lineEdit(); }

    void stepBy(int iSteps) override;
    QValidator::State validate(QString& strText, int& iCursor) const override;

protected:
    [[nodiscard]] StepEnabled stepEnabled() const override;

private:
    int m_iMinimum = 0;
    int m_iMaximum = 100;
};

} // namespace vireo
