#pragma once
#include <QAbstractButton>
#include <QComboBox>
#include <QGlyphRun>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QStyle>
#include <QStyleOption>
#include <QTableWidget>
#include <QTextLayout>
#include <QWidget>
#include <functional>

namespace vireo::test {

/// Whether this widget's font, with what stands in for it, has a glyph for every character; wide and half-width kana.
inline bool ShowsJapanese(const QWidget& widget)
{
    QTextLayout layout(QStringLiteral("設定変更フォルダｶﾒﾗｺﾝﾄﾛｰﾙﾄﾘｶﾞ待"), widget.font());
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const QList<QGlyphRun> runs = layout.glyphRuns();
    for (const QGlyphRun& run : runs)
        if (run.glyphIndexes().contains(0U))
            return false;
    return !runs.isEmpty();
}

/// The texts in this shown window that have less room than they need. `mayBeShortened`: widgets that shorten theirs
/// by themselves, with the whole in a tool tip.
inline QStringList CutTexts(const QWidget& window, const std::function<bool(const QWidget&)>& mayBeShortened = {})
{
    QStringList cut;
    const auto check = [&](const QWidget& widget, const QString& strText, int iRoom, int iNeed) {
        if (iRoom < iNeed)
            cut.append(QStringLiteral("%1 %2 \"%3\": %4 of %5")
                           .arg(QString::fromLatin1(widget.metaObject()->className()), widget.objectName(), strText)
                           .arg(iRoom)
                           .arg(iNeed));
    };
    for (const QWidget* pWidget : window.findChildren<QWidget*>()) {
        if (!pWidget->isVisible() || (mayBeShortened && mayBeShortened(*pWidget)))
            continue;
        if (const auto* pPush = qobject_cast<const QPushButton*>(pWidget)) {
            QStyleOptionButton option;
            option.initFrom(pPush);
            const QRect contents = pPush->style()->subElementRect(QStyle::SE_PushButtonContents, &option, pPush);
            check(*pPush, pPush->text(), contents.width(), pPush->fontMetrics().horizontalAdvance(pPush->text()));
            check(*pPush, pPush->text(), contents.height(), pPush->fontMetrics().height());
        } else if (const auto* pButton = qobject_cast<const QAbstractButton*>(pWidget)) {
            if (!pButton->text().isEmpty())
                check(*pButton, pButton->text(), pButton->width(), pButton->minimumSizeHint().width());
        } else if (const auto* pLabel = qobject_cast<const QLabel*>(pWidget); pLabel && !pLabel->text().isEmpty()) {
            check(*pLabel, pLabel->text(), pLabel->contentsRect().width(),
                pLabel->fontMetrics().horizontalAdvance(pLabel->text()));
            check(*pLabel, pLabel->text(), pLabel->height(), pLabel->fontMetrics().height());
        } else if (const auto* pCombo = qobject_cast<const QComboBox*>(pWidget)) {
            QStyleOptionComboBox option;
            option.initFrom(pCombo);
            option.editable = pCombo->isEditable();
            const QRect field =
                pCombo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, pCombo);
            for (int i = 0; i < pCombo->count() && !pCombo->isEditable(); ++i)
                check(*pCombo, pCombo->itemText(i), field.width(),
                    pCombo->fontMetrics().horizontalAdvance(pCombo->itemText(i)));
            check(*pCombo, pCombo->currentText(), field.height(), pCombo->fontMetrics().height());
        } else if (const auto* pEdit = qobject_cast<const QLineEdit*>(pWidget)) {
            check(*pEdit, pEdit->text(), pEdit->height(), pEdit->fontMetrics().height());
        } else if (const auto* pGroup = qobject_cast<const QGroupBox*>(pWidget)) {
            check(*pGroup, pGroup->title(), pGroup->width(), pGroup->fontMetrics().horizontalAdvance(pGroup->title()));
        } else if (const auto* pTable = qobject_cast<const QTableWidget*>(pWidget)) {
            for (int iColumn = 0; iColumn < pTable->columnCount(); ++iColumn) {
                const QHeaderView& header = *pTable->horizontalHeader();
                check(*pTable, pTable->horizontalHeaderItem(iColumn)->text(), header.sectionSize(iColumn),
                    header.sectionSizeHint(iColumn));
                for (int iRow = 0; iRow < pTable->rowCount(); ++iRow)
                    check(*pTable, pTable->item(iRow, iColumn)->text(), header.sectionSize(iColumn),
                        pTable->fontMetrics().horizontalAdvance(pTable->item(iRow, iColumn)->text()));
            }
            check(*pTable, QStringLiteral("all columns"), pTable->viewport()->width(),
                pTable->horizontalHeader()->length());
        } else if (const auto* pBar = qobject_cast<const QMenuBar*>(pWidget); pBar && !pBar->actions().isEmpty()) {
            QAction* pLast = pBar->actions().constLast();
            check(*pBar, pLast->text(), pBar->width(), pBar->actionGeometry(pLast).right() + 1);
            check(*pBar, pLast->text(), pBar->actionGeometry(pLast).width(),
                pBar->fontMetrics().horizontalAdvance(pLast->text().remove(QLatin1Char('&'))));
        }
        const QWidget* pParent = pWidget->parentWidget();
        if (pParent == &window && !pWidget->isWindow() && !window.rect().contains(pWidget->geometry()))
            cut.append(QStringLiteral("%1 reaches beyond the window").arg(pWidget->objectName()));
    }
    return cut;
}

} // namespace vireo::test
