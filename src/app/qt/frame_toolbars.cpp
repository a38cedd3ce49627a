#include "app/qt/frame_toolbars.h"

#include "app/qt/customize_dlg.h"

#include <QAction>
#include <QEvent>
#include <QMainWindow>
#include <QMenu>
#include <QToolBar>
#include <QToolButton>

namespace vireo {

namespace {

constexpr int kStateVersion = 1;
constexpr int kFoldMs = 700; ///< pointer gone this long: a bar folds
constexpr int kStripWidth = 7;
constexpr const char* kStateKey = "Workspace/DockState";
constexpr const char* kBarsKey = "ToolBars";

} // namespace

/// One toolbar, with the strip that stands for it while it is folded.
class FrameToolBars::Bar : public QObject {
public:
    Bar(QMainWindow& frame, const QString& strId)
        : m_frame(frame)
        , m_pBar(new QToolBar(&frame))
        , m_pStrip(new QToolBar(&frame))
    {
        m_pBar->setObjectName(strId);
        m_pBar->setIconSize(QSize(20, 20));
        m_pStrip->setObjectName(strId + QStringLiteral("_strip"));
        m_pStrip->setMovable(false);
        auto* pHandle = new QWidget;
        pHandle->setFixedSize(kStripWidth * 8, kStripWidth);
        m_pStrip->addWidget(pHandle);
        frame.addToolBar(Qt::TopToolBarArea, m_pBar);
        frame.addToolBar(Qt::TopToolBarArea, m_pStrip);
        m_pStrip->hide();
        m_pBar->installEventFilter(this);
        m_pStrip->installEventFilter(this);
        m_foldTimer.setSingleShot(true);
        m_foldTimer.setInterval(kFoldMs);
        connect(&m_foldTimer, &QTimer::timeout, this, [this] { Fold(); });
    }
    ~Bar() override
    {
        m_frame.removeToolBar(m_pBar);
        m_frame.removeToolBar(m_pStrip);
        delete m_pBar;
        delete m_pStrip;
    }

    void SetAutoHide(bool bAutoHide)
    {
        m_bAutoHide = bAutoHide;
        if (bAutoHide)
            m_foldTimer.start();
        else
            Unfold();
    }
    void SetVisible(bool bVisible)
    {
        m_bVisible = bVisible;
        m_pStrip->hide();
        m_pBar->setVisible(bVisible);
        if (bVisible && m_bAutoHide)
            m_foldTimer.start();
    }
    [[nodiscard]] bool IsVisible() const { return m_bVisible; }

    QMainWindow& m_frame;
    QToolBar* m_pBar;
    QToolBar* m_pStrip;
    ToolBarContent m_content;

protected:
    bool eventFilter(QObject* pReceiver, QEvent* pEvent) override
    {
        if (!m_bAutoHide || !m_bVisible)
            return false;
        if (pReceiver == m_pStrip && (pEvent->type() == QEvent::Enter || pEvent->type() == QEvent::MouseButtonPress))
            Unfold();
        else if (pReceiver == m_pBar && pEvent->type() == QEvent::Enter)
            m_foldTimer.stop();
        else if (pReceiver == m_pBar && pEvent->type() == QEvent::Leave)
            m_foldTimer.start();
        return false;
    }

private:
    void Fold()
    {
        if (!m_bAutoHide || !m_bVisible || m_pBar->isFloating() || m_pBar->underMouse())
            return;
        m_frame.insertToolBar(m_pBar, m_pStrip); // on the side where the bar is docked
        m_pBar->hide();
        m_pStrip->show();
    }
    void Unfold()
    {
        m_pStrip->hide();
        m_pBar->setVisible(m_bVisible);
        if (m_bAutoHide)
            m_foldTimer.start();
    }

    bool m_bAutoHide = false;
    bool m_bVisible = true;
    QTimer m_foldTimer;
};

FrameToolBars::FrameToolBars(QMainWindow& frame, const CommandActions& actions, QSettings& profile)
    : m_frame(frame)
    , m_actions(actions)
    , m_profile(profile)
{
    SetContents({ StandardContent() });
}

FrameToolBars::~FrameToolBars() = default;

ToolBarContent FrameToolBars::StandardContent()
{
    return { QStringLiteral("標準"),
        { menu::kSaveAvi, 0, menu::kCut, menu::kCopy, menu::kPaste, menu::kPrint, 0, menu::kPanel, 0, menu::kAbout },
        false, true };
}

std::vector<ToolBarContent> FrameToolBars::Contents() const
{
    std::vector<ToolBarContent> contents;
    for (const auto& bar : m_bars) {
        contents.push_back(bar->m_content);
        contents.back().bVisible = bar->IsVisible();
    }
    return contents;
}

void FrameToolBars::SetContents(const std::vector<ToolBarContent>& contents)
{
    while (m_bars.size() > contents.size())
        m_bars.pop_back();
    while (m_bars.size() < contents.size())
        m_bars.push_back(std::make_unique<Bar>(m_frame, QStringLiteral("toolbar%1").arg(m_bars.size() + 316)));
    for (std::size_t i = 0; i < contents.size(); ++i)
        Fill(*m_bars[i], contents[i]);
}

void FrameToolBars::Fill(Bar& bar, const ToolBarContent& content)
{
    bar.m_content = content;
    bar.m_pBar->setWindowTitle(content.strName);
    bar.m_pBar->clear();
    for (const int iCommand : content.commands) {
        if (iCommand == 0)
            bar.m_pBar->addSeparator();
        else if (QAction* pAction = m_actions.value(iCommand))
            bar.m_pBar->addAction(pAction);
    }
    auto* pCustomize = new QToolButton;
    pCustomize->setText(QStringLiteral("カスタマイズ..."));
    pCustomize->setObjectName(QStringLiteral("125"));
    pCustomize->setAutoRaise(true);
    QObject::connect(pCustomize, &QToolButton::clicked, &bar, [this] { m_actions.value(menu::kCustomize)->trigger(); });
    bar.m_pBar->addSeparator();
    bar.m_pBar->addWidget(pCustomize);
    bar.SetAutoHide(content.bAutoHide);
    bar.SetVisible(content.bVisible);
}

void FrameToolBars::Restore()
{
    const int iCount = m_profile.beginReadArray(QLatin1String(kBarsKey));
    std::vector<ToolBarContent> contents;
    for (int i = 0; i < iCount; ++i) {
        m_profile.setArrayIndex(i);
        ToolBarContent content;
        content.strName = m_profile.value(QStringLiteral("name")).toString();
        content.bAutoHide = m_profile.value(QStringLiteral("autoHide")).toBool();
        content.bVisible = m_profile.value(QStringLiteral("visible"), true).toBool();
        for (const QString& strCommand : m_profile.value(QStringLiteral("commands")).toStringList())
            if (strCommand == QLatin1String("0") || m_actions.contains(strCommand.toInt()))
                content.commands.append(strCommand.toInt());
        contents.push_back(content);
    }
    m_profile.endArray();
    if (!contents.empty()) {
        contents.front().strName = StandardContent().strName;
        SetContents(contents);
    }
    if (m_frame.restoreState(m_profile.value(QLatin1String(kStateKey)).toByteArray(), kStateVersion))
        for (const auto& bar : m_bars)
            bar->SetVisible(bar->IsVisible()); // a strip may have been stored
}

void FrameToolBars::Store()
{
    m_profile.remove(QLatin1String(kBarsKey));
    m_profile.beginWriteArray(QLatin1String(kBarsKey));
    int i = 0;
    for (const ToolBarContent& content : Contents()) {
        m_profile.setArrayIndex(i++);
        QStringList commands;
        for (const int iCommand : content.commands)
            commands.append(QString::number(iCommand));
        m_profile.setValue(QStringLiteral("name"), content.strName);
        m_profile.setValue(QStringLiteral("autoHide"), content.bAutoHide);
        m_profile.setValue(QStringLiteral("visible"), content.bVisible);
        m_profile.setValue(QStringLiteral("commands"), commands);
    }
    m_profile.endArray();
    m_profile.setValue(QLatin1String(kStateKey), m_frame.saveState(kStateVersion));
}

void FrameToolBars::FillMenu(QMenu& menu)
{
    for (std::size_t i = 0; i < m_bars.size(); ++i) {
        QAction* pAction = menu.addAction(m_bars[i]->m_content.strName);
        if (i == 0)
            pAction->setObjectName(QString::number(menu::kToolBar));
        pAction->setCheckable(true);
        pAction->setChecked(m_bars[i]->IsVisible());
        QObject::connect(
            pAction, &QAction::toggled, m_bars[i].get(), [pBar = m_bars[i].get()](bool bOn) { pBar->SetVisible(bOn); });
    }
}

void FrameToolBars::Customize()
{
    CustomizeDlg dialog(Contents(), m_actions, &m_frame);
    if (dialog.exec() != QDialog::Accepted)
        return;
    SetContents(dialog.Contents());
    Store();
}

} // namespace vireo
