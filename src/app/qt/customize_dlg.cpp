#include "app/qt/customize_dlg.h"

#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>

namespace vireo {

namespace {

constexpr int kCommandRole = Qt::UserRole;

QPushButton* Button(const char* pText, const char* pName)
{
    auto* pButton = new QPushButton(QString::fromUtf8(pText));
    pButton->setObjectName(QString::fromLatin1(pName));
    pButton->setAutoDefault(false);
    return pButton;
}

} // namespace

CustomizeDlg::CustomizeDlg(std::vector<ToolBarContent> contents, const CommandActions& actions, QWidget* pParent)
    : QDialog(pParent)
    , m_contents(std::move(contents))
    , m_actions(actions)
    , m_pToolBars(new QListWidget)
    , m_pAvailable(new QListWidget)
    , m_pCommands(new QListWidget)
    , m_pAutoHide(new QCheckBox(QStringLiteral("自動的に隠す")))
    , m_pNew(Button("新規作成...", "new"))
    , m_pRename(Button("名前の変更...", "rename"))
    , m_pDelete(Button("削除", "delete"))
    , m_pReset(Button("リセット", "reset"))
    , m_pAdd(Button("追加 >>", "add"))
    , m_pRemove(Button("<< 除去", "remove"))
    , m_pUp(Button("上へ", "up"))
    , m_pDown(Button("下へ", "down"))
{
    setObjectName(QStringLiteral("customize"));
    setWindowTitle(QStringLiteral("カスタマイズ"));
    m_pToolBars->setObjectName(QStringLiteral("toolbars"));
    m_pAvailable->setObjectName(QStringLiteral("available"));
    m_pCommands->setObjectName(QStringLiteral("commands"));
    LayOut();
    FillAvailable();
    Connect();
    FillToolBars(0);
}

void CustomizeDlg::LayOut()
{
    auto* pGrid = new QGridLayout(this);
    pGrid->setContentsMargins(16, 16, 16, 14);
    pGrid->setHorizontalSpacing(12);
    pGrid->setVerticalSpacing(8);
    pGrid->addWidget(new QLabel(QStringLiteral("ツール バー：")), 0, 0);
    pGrid->addWidget(new QLabel(QStringLiteral("コマンド：")), 0, 1);
    pGrid->addWidget(new QLabel(QStringLiteral("ツール バーのボタン：")), 0, 3);
    pGrid->addWidget(m_pToolBars, 1, 0);
    pGrid->addWidget(m_pAvailable, 1, 1);
    pGrid->addWidget(m_pCommands, 1, 3);
    auto* pMiddle = new QVBoxLayout; // without a spacing of their own, inner layouts have none
    pMiddle->setSpacing(6);
    pMiddle->addStretch(1);
    for (QPushButton* pButton : { m_pAdd, m_pRemove, m_pUp, m_pDown })
        pMiddle->addWidget(pButton);
    pMiddle->addStretch(1);
    pGrid->addLayout(pMiddle, 1, 2);
    auto* pBarButtons = new QGridLayout;
    pBarButtons->setSpacing(6);
    pBarButtons->addWidget(m_pNew, 0, 0);
    pBarButtons->addWidget(m_pRename, 0, 1);
    pBarButtons->addWidget(m_pDelete, 1, 0);
    pBarButtons->addWidget(m_pReset, 1, 1);
    pGrid->addLayout(pBarButtons, 2, 0);
    pGrid->addWidget(m_pAutoHide, 2, 3, Qt::AlignTop);
    auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(pButtons, &QDialogButtonBox::accepted, this, [this] { accept(); });
    connect(pButtons, &QDialogButtonBox::rejected, this, [this] { reject(); });
    pGrid->addWidget(pButtons, 3, 0, 1, 4);
    for (QListWidget* pList : { m_pAvailable, m_pCommands })
        pList->setMinimumWidth(fontMetrics().height() * 13); // the longest command with its icon
    pGrid->setColumnStretch(1, 1);
    pGrid->setColumnStretch(3, 1);
    resize(fontMetrics().height() * 52, fontMetrics().height() * 28);
}

void CustomizeDlg::Connect()
{
    connect(m_pToolBars, &QListWidget::currentRowChanged, this, [this] { FillCommands(); });
    connect(m_pToolBars, &QListWidget::itemChanged, this, [this](QListWidgetItem* pItem) {
        m_contents[static_cast<std::size_t>(m_pToolBars->row(pItem))].bVisible = pItem->checkState() == Qt::Checked;
    });
    connect(m_pNew, &QPushButton::clicked, this, [this] {
        bool bOk = false;
        const QString strName =
            QInputDialog::getText(this, QStringLiteral("ツール バー名"), QStringLiteral("ツール バー名："),
                QLineEdit::Normal, QStringLiteral("ツール バー %1").arg(m_contents.size()), &bOk);
        if (bOk && !strName.trimmed().isEmpty())
            AddToolBar(strName.trimmed());
    });
    connect(m_pRename, &QPushButton::clicked, this, [this] { RenameToolBar(); });
    connect(m_pDelete, &QPushButton::clicked, this, [this] { DeleteToolBar(); });
    connect(m_pReset, &QPushButton::clicked, this, [this] { ResetToolBar(); });
    connect(m_pAdd, &QPushButton::clicked, this, [this] { AddCommand(); });
    connect(m_pRemove, &QPushButton::clicked, this, [this] { RemoveCommand(); });
    connect(m_pUp, &QPushButton::clicked, this, [this] { MoveCommand(-1); });
    connect(m_pDown, &QPushButton::clicked, this, [this] { MoveCommand(1); });
    connect(m_pAutoHide, &QCheckBox::toggled, this, [this](bool bOn) {
        if (ToolBarContent* pContent = Current())
            pContent->bAutoHide = bOn;
    });
    connect(m_pAvailable, &QListWidget::itemDoubleClicked, this, [this] { AddCommand(); });
    connect(m_pCommands, &QListWidget::itemDoubleClicked, this, [this] { RemoveCommand(); });
}

ToolBarContent* CustomizeDlg::Current()
{
    const int iRow = m_pToolBars->currentRow();
    return iRow >= 0 && iRow < static_cast<int>(m_contents.size()) ? &m_contents[static_cast<std::size_t>(iRow)]
                                                                   : nullptr;
}

QString CustomizeDlg::TextOf(int iCommand) const
{
    const QAction* pAction = m_actions.value(iCommand);
    return pAction != nullptr ? PlainCommandText(*pAction) : QStringLiteral("（区切り線）");
}

void CustomizeDlg::FillToolBars(int iSelect)
{
    const QSignalBlocker quiet(m_pToolBars);
    m_pToolBars->clear();
    for (const ToolBarContent& content : m_contents) {
        auto* pItem = new QListWidgetItem(content.strName, m_pToolBars);
        pItem->setFlags(pItem->flags() | Qt::ItemIsUserCheckable);
        pItem->setCheckState(content.bVisible ? Qt::Checked : Qt::Unchecked);
    }
    m_pToolBars->setCurrentRow(iSelect);
    FillCommands();
}

void CustomizeDlg::FillAvailable()
{
    const auto add = [this](int iCommand) {
        auto* pItem = new QListWidgetItem(TextOf(iCommand), m_pAvailable);
        pItem->setData(kCommandRole, iCommand);
        if (const QAction* pAction = m_actions.value(iCommand))
            pItem->setIcon(pAction->icon());
    };
    for (const CommandRow& row : CommandTable())
        if (row.bOnToolBar)
            add(row.iId);
    add(0);
}

void CustomizeDlg::FillCommands()
{
    m_pCommands->clear();
    const ToolBarContent* pContent = Current();
    const bool bOwn = m_pToolBars->currentRow() > 0;
    m_pRename->setEnabled(bOwn);
    m_pDelete->setEnabled(bOwn);
    m_pReset->setEnabled(m_pToolBars->currentRow() == 0);
    m_pAutoHide->setEnabled(pContent != nullptr);
    if (pContent == nullptr)
        return;
    m_pAutoHide->setChecked(pContent->bAutoHide);
    for (const int iCommand : pContent->commands) {
        auto* pItem = new QListWidgetItem(TextOf(iCommand), m_pCommands);
        if (const QAction* pAction = m_actions.value(iCommand))
            pItem->setIcon(pAction->icon());
    }
}

void CustomizeDlg::AddToolBar(const QString& strName)
{
    m_contents.push_back({ strName, {}, false, true });
    FillToolBars(static_cast<int>(m_contents.size()) - 1);
}

void CustomizeDlg::SelectToolBar(int iToolBar) { m_pToolBars->setCurrentRow(iToolBar); }

void CustomizeDlg::RenameToolBar()
{
    ToolBarContent* pContent = Current();
    bool bOk = false;
    const QString strName = QInputDialog::getText(this, QStringLiteral("ツール バー名"),
        QStringLiteral("ツール バー名："), QLineEdit::Normal, pContent->strName, &bOk);
    if (!bOk || strName.trimmed().isEmpty())
        return;
    pContent->strName = strName.trimmed();
    FillToolBars(m_pToolBars->currentRow());
}

void CustomizeDlg::DeleteToolBar()
{
    const int iRow = m_pToolBars->currentRow();
    m_contents.erase(m_contents.begin() + iRow);
    FillToolBars(iRow - 1);
}

void CustomizeDlg::ResetToolBar()
{
    m_contents.front() = FrameToolBars::StandardContent();
    FillToolBars(0);
}

void CustomizeDlg::AddCommand()
{
    ToolBarContent* pContent = Current();
    const QListWidgetItem* pItem = m_pAvailable->currentItem();
    if (pContent == nullptr || pItem == nullptr)
        return;
    const int iRow =
        m_pCommands->currentRow() >= 0 ? m_pCommands->currentRow() + 1 : static_cast<int>(pContent->commands.size());
    pContent->commands.insert(iRow, pItem->data(kCommandRole).toInt());
    FillCommands();
    m_pCommands->setCurrentRow(iRow);
}

void CustomizeDlg::RemoveCommand()
{
    ToolBarContent* pContent = Current();
    const int iRow = m_pCommands->currentRow();
    if (pContent == nullptr || iRow < 0)
        return;
    pContent->commands.removeAt(iRow);
    FillCommands();
    m_pCommands->setCurrentRow(std::min(iRow, m_pCommands->count() - 1));
}

void CustomizeDlg::MoveCommand(int iStep)
{
    ToolBarContent* pContent = Current();
    const int iRow = m_pCommands->currentRow();
    const int iTo = iRow + iStep;
    if (pContent == nullptr || iRow < 0 || iTo < 0 || iTo >= pContent->commands.size())
        return;
    pContent->commands.swapItemsAt(iRow, iTo);
    FillCommands();
    m_pCommands->setCurrentRow(iTo);
}

} // namespace vireo
