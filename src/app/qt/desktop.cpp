#include "app/qt/desktop.h"

#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/operator_actions.h"
#include "display/vireo_view.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <algorithm>

namespace vireo {

namespace {

constexpr const char* kOrganisation = "アプリケーション ウィザードで生成されたローカル アプリケーション";
constexpr const char* kWindowTitle = "Tessel"; ///< partners find the main window by it, whatever its caption
constexpr const char* kDocumentTitle = "キャプチャー1";
constexpr const char* kCommandFailed = "コマンドを実行できませんでした。";

} // namespace

Desktop::Desktop(CVireoApp& app, QtWindowSystem& window)
    : m_app(app)
    , m_window(window)
    , m_profile(QString::fromUtf8(kOrganisation), QString::fromLatin1(kWindowTitle))
    , m_doc(std::make_unique<CVireoDoc>(app))
{
}

Desktop::~Desktop()
{
    Close();
    m_window.SetWindows(nullptr);
    m_frames.clear();
    m_panel.reset();
    m_frame.reset(); // views before the document that they draw
}

bool Desktop::Start()
{
    MakeFrame();
    m_window.SetWindows(this);
    Listen(); // a partner that is told of a start may answer before the windows are there
    CChildFrame& first = OpenView();
    if (!OnNewDocument(*m_doc)) {
        m_bDocumentOpen = true; // what is connected is released
        Close();
        return false;
    }
    m_bDocumentOpen = true;
    InitialUpdate(first);
    for (unsigned int uiWindow = 1; uiWindow < m_app.WindowCount(); ++uiWindow)
        InitialUpdate(OpenView());
    m_frame->SetDocumentTitle(QString::fromUtf8(kDocumentTitle));

    m_bShown = true;
    m_frame->ShowAsStored();
    for (CChildFrame* pFrame : m_frames)
        pFrame->show();
    TileUnplacedViews();
    if (m_panel)
        m_panel->show();
    m_frame->Area().setActiveSubWindow(m_frames.front());
    m_frames.front()->View()->setFocus();
    m_frame->UpdateCommands();
    return true;
}

void Desktop::MakeFrame()
{
    CMainFrame::Hooks hooks;
    hooks.onCommand = [this](int iCommand) { Run([this, iCommand] { CarryOut(iCommand); }); };
    // Through the queue: a close that is asked for while something runs comes when that has ended.
    hooks.onClose = [this] { m_window.PostCommand(command::kExit); };
    hooks.commandStates = [this] {
        CommandStates states;
        states.bDocument = IsDocumentOpen();
        states.bRecorded = m_doc->m_store.m_bRecordDone[0];
        states.bPanelShown = m_doc->m_windows.m_bControlPanelShown;
        states.bSaving = m_doc->m_capture.m_bSaving;
        return states;
    };
    hooks.filterKey = [this](QWidget& receiver, int iKey) { return FilterKey(receiver, iKey); };
    hooks.onAreaResized = [this] { TileUnplacedViews(); };
    m_frame = std::make_unique<CMainFrame>(m_app, m_profile, std::move(hooks));
}

CChildFrame& Desktop::OpenView()
{
    ViewHooks hooks;
    hooks.updateCaptureStatus = [this](double dFps, unsigned uiMissed, unsigned uiOutOfSync) {
        m_frame->UpdateCaptureStatus(dFps, uiMissed, uiOutOfSync);
    };
    hooks.prepare = [this] {
        if (m_panel)
            m_panel->PressPrepare();
    };
    hooks.start = [this] {
        if (m_panel)
            m_panel->PressStart();
    };
    hooks.contextMenu = [this](const QPoint& global) {
        m_frame->UpdateCommands();
        m_frame->EditContextMenu()->popup(global);
    };
    auto* pView = new CVireoView(*m_doc, std::move(hooks));
    auto* pFrame = new CChildFrame(pView, [this](CChildFrame& frame) { OnViewClosed(frame); });
    m_frame->Area().addSubWindow(pFrame, pFrame->windowFlags());
    m_frames.push_back(pFrame);
    return *pFrame;
}

void Desktop::InitialUpdate(CChildFrame& frame)
{
    frame.resize(frame.sizeHint());
    if (frame.View()->OnInitialUpdate())
        m_bViewsPlaced = true;
}

void Desktop::Run(const std::function<void()>& action)
{
    const UiQueue::Busy busy(m_window.Queue());
    action();
}

// --- The partner ---

void Desktop::Listen()
{
    m_requests =
        std::make_unique<LinkRequests>([this](std::function<void()> work) { m_window.Queue().Post(std::move(work)); },
            [this](const PartnerMessage& message) { OnPartnerMessage(message); });
    std::string strError;
    m_listener = m_app.GetPlatform().partner.Listen(
        kWindowTitle, [pRequests = m_requests.get()](const PartnerMessage& message) { pRequests->Deliver(message); },
        strError);
    if (!m_listener)
        m_app.GetPlatform().log.Write("partner link: " + strError);
}

void Desktop::OnPartnerMessage(const PartnerMessage& message)
{
    if (message.eKind == PartnerMessage::Kind::Command) {
        CarryOut(message.iIdentifier);
        return;
    }
    if (!m_app.Request().NotifiesPartner() || message.iIdentifier != partner::kCopyDataIdentifier)
        return;
    if (IsDocumentOpen())
        HandlePartnerCopyData(*m_doc, message.iIdentifier, message.strText);
    else
        m_window.ShowMessage({ kCommandFailed, {}, false });
}

// --- Keys ---

CVireoView* Desktop::ActiveView() const
{
    if (m_frames.empty())
        return nullptr;
    const auto* pActive = dynamic_cast<CChildFrame*>(m_frame->Area().currentSubWindow());
    return pActive != nullptr ? pActive->View() : m_frames.front()->View();
}

// The focus of the main window rests on a view, unless a menu or an edit field has it.
bool Desktop::FilterKey(QWidget& receiver, int iKey)
{
    CVireoView* pView = ActiveView();
    if (pView == nullptr || qobject_cast<QMenuBar*>(&receiver) != nullptr)
        return false;
    // A key that an edit field has no use for comes to its parents next.
    if (const QWidget* pFocus = m_frame->focusWidget(); pFocus != nullptr && pFocus->inherits("QLineEdit"))
        return false;
    return pView->FilterKey(iKey);
}

// --- The end ---

void Desktop::OnViewClosed(CChildFrame& frame)
{
    frame.View()->OnDestroy();
    std::erase(m_frames, &frame);
    m_tiles.remove(&frame);
    if (m_frames.empty())
        Run([this] { CloseDocument(); });
    m_frame->UpdateCommands();
}

void Desktop::CloseDocument()
{
    if (!m_bDocumentOpen)
        return;
    m_bDocumentOpen = false;
    m_window.SetViewTimers(false);
    OnCloseDocument(*m_doc);
    m_frame->SetDocumentTitle({});
    m_frame->UpdateCommands();
}

void Desktop::Close()
{
    if (m_bClosed || !m_frame)
        return;
    m_bClosed = true;
    // The link first: a thread of it may wait for an answer.
    if (m_requests)
        m_requests->Close();
    m_listener.reset();
    CloseDocument();
    for (CChildFrame* pFrame : std::vector<CChildFrame*>(m_frames)) {
        if (m_bShown)
            pFrame->View()->OnDestroy();
        std::erase(m_frames, pFrame);
    }
    if (m_bShown)
        m_frame->Store();
    m_frame->hide();
    m_window.Queue().Discard();
}

void Desktop::EndWithoutDisplay()
{
    if (m_bClosed || !m_frame)
        return;
    m_bClosed = true;
    m_window.ShowNothingMore();
    if (m_requests)
        m_requests->Close();
    m_listener.reset();
    if (m_bShown) {
        for (CChildFrame* pFrame : m_frames)
            pFrame->View()->OnDestroy();
        StorePanelPlace();
        m_frame->Store();
    }
    // The writers of a save that is under way still read the frames; the process ends with them.
    if (m_bDocumentOpen && !m_doc->m_capture.m_bSaving)
        OnCloseDocument(*m_doc);
}

} // namespace vireo
