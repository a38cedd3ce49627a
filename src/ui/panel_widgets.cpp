#include "ui/panel_widgets.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTextDocument>

namespace vireo {

namespace {

struct LampRow {
    CaptureLamp eLamp;
    QRgb colour;
    const char* strTip;
};
constexpr LampRow kLamps[] = {
    { CaptureLamp::Idle, 0xFF8A9099, "停止中" },
    { CaptureLamp::Live, 0xFF2E9E5B, "ライブ" },
    { CaptureLamp::Waiting, 0xFFE39A1C, "外部入力ﾄﾘｶﾞ待" },
    { CaptureLamp::Recording, 0xFFD63A32, "録画中" },
    { CaptureLamp::Recorded, 0xFF2F6FD0, "録画済み" },
    { CaptureLamp::Playback, 0xFF7A4FC4, "再生" },
    { CaptureLamp::Saving, 0xFF0F8F9C, "保存中" },
};

const LampRow& RowOf(CaptureLamp eLamp)
{
    for (const LampRow& row : kLamps)
        if (row.eLamp == eLamp)
            return row;
    return kLamps[0];
}

} // namespace

QString PlainToolTip(const QString& strText)
{
    return Qt::mightBeRichText(strText) ? Qt::convertFromPlainText(strText) : strText;
}

ElidedLabel::ElidedLabel(QWidget* pParent)
    : QLabel(pParent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setText(const QString& strText)
{
    QLabel::setText(strText);
    setToolTip(PlainToolTip(strText.trimmed()));
}

QSize ElidedLabel::minimumSizeHint() const
{
    return { fontMetrics().horizontalAdvance(QLatin1Char('0')) * 8, QLabel::minimumSizeHint().height() };
}

void ElidedLabel::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    const QRect inside = contentsRect();
    const QString strShown = fontMetrics().elidedText(text(), Qt::ElideMiddle, inside.width());
    style()->drawItemText(&painter, inside, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, palette(),
        isEnabled(), strShown, foregroundRole());
}

BandProgressBar::BandProgressBar(QWidget* pParent)
    : QProgressBar(pParent)
{
    setFixedHeight(8);
    setTextVisible(false);
}

void BandProgressBar::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor window = palette().color(QPalette::Window);
    const QRectF groove = QRectF(rect()).adjusted(0, 1, 0, -1);
    QPainterPath shape;
    shape.addRoundedRect(groove, groove.height() / 2, groove.height() / 2);
    painter.setClipPath(shape);
    painter.fillRect(rect(), window.lightness() < 128 ? window.lighter(140) : window.darker(112));
    if (value() > minimum() && maximum() > minimum()) {
        QRectF done = groove;
        done.setWidth(groove.width() * (value() - minimum()) / (maximum() - minimum()));
        painter.fillRect(done, palette().color(QPalette::Highlight));
    }
}

IndicatorBox::IndicatorBox(const QString& strText, QWidget* pParent)
    : QCheckBox(strText, pParent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize IndicatorBox::sizeHint() const
{
    return { style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this) + 4,
        std::max(style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, this) + 4, fontMetrics().height()) };
}

void IndicatorBox::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();
    style()->drawControl(QStyle::CE_CheckBox, &option, &painter, this);
}

PresetButton::PresetButton(int iNumber, QWidget* pParent)
    : QPushButton(QStringLiteral("Button%1").arg(iNumber), pParent)
    , m_iNumber(iNumber)
{
}

void PresetButton::SetCurrent(bool bCurrent)
{
    if (m_bCurrent == bCurrent)
        return;
    m_bCurrent = bCurrent;
    update();
}

void PresetButton::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    // Centred as it is, a text too long would lose its beginning too.
    const int iWidth = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this).width();
    option.text = option.fontMetrics.elidedText(option.text, Qt::ElideRight, iWidth, Qt::TextShowMnemonic);
    style()->drawControl(QStyle::CE_PushButton, &option, &painter, this);
    if (text().isEmpty()) {
        painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::PlaceholderText));
        painter.drawText(rect(), Qt::AlignCenter, QString::number(m_iNumber));
    }
    if (m_bCurrent) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().highlight());
        painter.drawRoundedRect(QRectF(width() * 0.2, height() - 6.5, width() * 0.6, 3), 1.5, 1.5);
    }
}

QColor LampColour(CaptureLamp eLamp) { return QColor::fromRgb(RowOf(eLamp).colour); }

LampBand::LampBand(QWidget* pParent)
    : QWidget(pParent)
{
    setFixedHeight(6);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setToolTip(QString::fromUtf8(RowOf(m_eLamp).strTip));
}

void LampBand::Show(CaptureLamp eLamp)
{
    if (m_eLamp == eLamp)
        return;
    m_eLamp = eLamp;
    setToolTip(QString::fromUtf8(RowOf(eLamp).strTip));
    setAccessibleName(toolTip());
    update();
}

void LampBand::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(LampColour(m_eLamp));
    painter.drawRoundedRect(rect(), 3, 3);
}

} // namespace vireo
