#include "ui/up_down_edit.h"

#include "app/number_text.h"

#include <QLineEdit>
#include <algorithm>

namespace vireo {

UpDownEdit::UpDownEdit(int iEditId, int iUpDownId, QWidget* pParent)
    : QAbstractSpinBox(pParent)
{
    setObjectName(QString::number(iUpDownId));
    lineEdit()->setObjectName(QString::number(iEditId));
    lineEdit()->setAlignment(Qt::AlignRight);
    setKeyboardTracking(true);
}

void UpDownEdit::SetRange(int iMinimum, int iMaximum)
{
    m_iMinimum = iMinimum;
    m_iMaximum = std::max(iMinimum, iMaximum);
}

void UpDownEdit::SetPosition(int iPosition)
{
    lineEdit()->setText(QString::number(std::clamp(iPosition, m_iMinimum, m_iMaximum)));
}

int UpDownEdit::Number() const { return TextToInt(text().toStdString()); }

void UpDownEdit::stepBy(int iSteps)
{
    const std::int64_t iNumber = std::int64_t { Number() } + iSteps;
    SetPosition(static_cast<int>(std::clamp<std::int64_t>(iNumber, m_iMinimum, m_iMaximum)));
    selectAll();
}

QValidator::State UpDownEdit::validate(QString& /*strText*/, int& /*iCursor*/) const { return QValidator::Acceptable; }

QAbstractSpinBox::StepEnabled UpDownEdit::stepEnabled() const
{
    StepEnabled steps = StepNone;
    if (Number() < m_iMaximum)
        steps |= StepUpEnabled;
    if (Number() > m_iMinimum)
        steps |= StepDownEnabled;
    return steps;
}

} // namespace vireo
