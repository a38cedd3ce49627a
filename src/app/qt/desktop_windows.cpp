#include "app/qt/application_look.h"
#include "app/qt/desktop.h"
#include "app/qt/icons.h"
#include "app/qt/printing.h"
#include "app/qt/verdict_text.h"
#include "app/settings_records.h"
#include "camera/document_lifecycle.h"
#include "camera/operator_actions.h"
#include "display/vireo_view.h"
#include "platform/qt/screen_placement.h"
#include "ui/about_dlg.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QLineEdit>
#include <QProgressBar>
#include <QScreen>

namespace vireo {

namespace {

constexpr WindowRect kClearedPanelRect { 0, 0, 365, 501 };

WindowRect ToWindowRect(const QRect& rect)
{
    return { rect.x(), rect.y(), rect.x() + rect.width(), rect.y() + rect.height() };
}

} // namespace

void Desktop::CarryOut(int iCommand)
{
    switch (iCommand) {
    case command::kSave:
        ShowVerdict(); // of the recording that is saved away now
        if (m_panel)
            m_panel->PressSave();
        break;
    case command::kTogglePanel:
        if (m_bDocumentOpen)
            ToggleControlPanel(*m_doc);
        break;
    case command::kExit:
        Close();
        QApplication::quit();
        break;
    case menu::kPanelPosition: ClearPanelPosition(); break;
    case menu::kSaveAvi: SaveAviFiles(); break;
    case menu::kPrint:
    case menu::kPrintDirect:
        if (CVireoView* pView = ActiveView())
            PrintWidget(*pView, m_frame.get(), iCommand == menu::kPrint ? Ask::Always : Ask::WithoutAPrinter);
        break;
    case menu::kCopy: CopyPicture(); break;
    case menu::kCascade:
    case menu::kTileRows:
    case menu::kTileColumns: ArrangeViews(iCommand); break;
    case menu::kAbout: ShowAbout(); break;
    case menu::kCustomize: m_frame->ToolBars().Customize(); break;
    case menu::kUndo:
    case menu::kCut:
    case menu::kPaste:
    case menu::kStatusBar: // posted: the frame's own commands
        m_frame->UpdateCommands();
        m_frame->Command(iCommand)->trigger();
        break;
    default:
        if (iCommand >= menu::kLookFirst && iCommand <= menu::kLookLast)
            m_frame->OnApplicationLook(iCommand);
        break;
    }
    if (m_frame && !m_bClosed)
        m_frame->UpdateCommands();
}

QWidget* Desktop::DialogOwner() { return m_frame && m_frame->isVisible() ? m_frame.get() : nullptr; }

void Desktop::OnTimer(int iTimer)
{
    if (!IsDocumentOpen())
        return;
    ForgetOldVerdict();
    HandleTimer(*m_doc, iTimer);
}

// --- Views ---

std::vector<CVireoView*> Desktop::Views() const
{
    std::vector<CVireoView*> views;
    for (CChildFrame* pFrame : m_frames)
        views.push_back(pFrame->View());
    return views;
}

CVireoView* Desktop::ViewOf(int iCamera) const
{
    for (CChildFrame* pFrame : m_frames)
        if (pFrame->View()->CameraIndex() == iCamera)
            return pFrame->View();
    return nullptr;
}

void Desktop::RedrawView(int iCamera)
{
    if (CVireoView* pView = ViewOf(iCamera))
        pView->Refresh();
}

void Desktop::PlaceViews()
{
    for (CVireoView* pView : Views())
        if (pView->MoveToStoredPlace())
            m_bViewsPlaced = true;
}

// As long as nobody has placed them: neither the settings file nor the operator.
void Desktop::TileUnplacedViews()
{
    if (m_bViewsPlaced || !m_bShown || m_frames.empty())
        return;
    for (CChildFrame* pFrame : m_frames) {
        const auto tile = m_tiles.constFind(pFrame);
        m_bViewsPlaced =
            m_bViewsPlaced || (tile != m_tiles.constEnd() && *tile != pFrame->View()->FrameRect().topLeft());
    }
    if (m_bViewsPlaced)
        return;
    const QSize window = m_frames.front()->size();
    const auto positions = TilePositions(static_cast<int>(m_frames.size()), window, m_frame->Area().viewport()->size());
    for (std::size_t i = 0; i < m_frames.size(); ++i) {
        CChildFrame* pFrame = m_frames[i];
        pFrame->View()->MoveFrame({ positions.at(static_cast<qsizetype>(i)), pFrame->size() });
        m_tiles[pFrame] = pFrame->View()->FrameRect().topLeft();
    }
}

void Desktop::ArrangeViews(int iCommand)
{
    if (m_frames.empty())
        return;
    m_bViewsPlaced = true;
    const int iCount = static_cast<int>(m_frames.size());
    const CChildFrame& first = *m_frames.front();
    const QSize area = m_frame->Area().viewport()->size();
    const int iTitle = first.height() - first.View()->height();
    const QList<QPoint> tiles = TilePositions(iCount, first.size(), area, iCommand == menu::kTileRows ? 1 : iCount);
    for (int i = 0; i < iCount; ++i) {
        CChildFrame* pFrame = m_frames[static_cast<std::size_t>(i)];
        const QPoint position = iCommand == menu::kCascade ? QPoint(iTitle, iTitle) * i : tiles.at(i);
        pFrame->View()->MoveFrame({ position, pFrame->size() });
        pFrame->raise(); // what overlaps leaves the beginning of the one before it free
    }
}

void Desktop::CopyPicture()
{
    if (auto* pEdit = qobject_cast<QLineEdit*>(QApplication::focusWidget())) {
        pEdit->copy();
        return;
    }
    const CVireoView* pView = ActiveView();
    const QImage picture = pView != nullptr ? pView->CurrentPicture() : QImage();
    if (!picture.isNull())
        QApplication::clipboard()->setImage(picture);
}

// --- Titles and texts ---

void Desktop::SetMainTitle(const std::string& strTitle) { m_frame->SetCaption(QString::fromStdString(strTitle)); }

void Desktop::SetStatusText(const std::string& strText) { m_frame->SetStatusText(QString::fromStdString(strText)); }

// Absolute: the next start may have another working directory.
void Desktop::AddRecentFile(const std::string& strFile)
{
    m_frame->AddRecentFile(QFileInfo(QString::fromStdString(strFile)).absoluteFilePath());
}

// Once for each recording, as soon as every camera has it.
void Desktop::ShowVerdict()
{
    const unsigned int uiCameras = m_doc->m_cameras.m_uiNumCameras;
    bool bDone = uiCameras > 0;
    for (unsigned int uiCamera = 0; uiCamera < uiCameras; ++uiCamera)
        bDone = bDone && m_doc->m_store.m_bRecordDone[uiCamera];
    if (bDone && !m_bVerdictShown) {
        m_frame->SetStatusText(TakeVerdictText(ReportTake(*m_doc)));
        m_bVerdictStands = true;
    }
    m_bVerdictShown = bDone;
    if (!bDone)
        ForgetOldVerdict();
}

// As soon as the next recording has begun, and at the latest when it has failed.
void Desktop::ForgetOldVerdict()
{
    if (!m_bVerdictStands)
        return;
    const CaptureFlags& capture = m_doc->m_capture;
    bool bBegun = capture.m_iCaptureState == capture_state::kRecording;
    bool bDone = true;
    for (unsigned int uiCamera = 0; uiCamera < m_doc->m_cameras.m_uiNumCameras; ++uiCamera) {
        bBegun = bBegun || capture.m_bThreadEnded[uiCamera];
        bDone = bDone && m_doc->m_store.m_bRecordDone[uiCamera];
    }
    if (bDone || !bBegun)
        return;
    m_frame->SetStatusText({});
    m_bVerdictStands = false;
    m_bVerdictShown = false;
}

void Desktop::ShowAbout()
{
    CAboutDlg2 dialog(ProgramIcon(), QStringLiteral(VIREO_VERSION), m_frame.get());
    dialog.exec();
}

// --- Panel ---

void Desktop::RefreshPanel()
{
    ShowVerdict();
    if (m_panel) {
        m_panel->UpdatePanelState();
        m_panel->UpdateInfo();
    }
    if (!m_bClosed)
        m_frame->UpdateCommands();
}

void Desktop::ShowControlPanel(bool bShow)
{
    if (bShow && !m_panel)
        OpenPanel();
    else if (!bShow && m_panel)
        ClosePanel();
}

void Desktop::OpenPanel()
{
    m_panel = std::make_unique<CamControlDlg>(
        *m_doc, [this](const std::function<void()>& action) { Run(action); }, m_frame.get());
    m_panel->Open();
    m_panel->adjustSize();
    QList<QRect> screens;
    for (const QScreen* pScreen : QGuiApplication::screens())
        screens.append(pScreen->availableGeometry());
    WindowRect stored;
    // Without a stored place beside the main window, where it hides no view.
    QPoint corner = m_frame->frameGeometry().topRight() + QPoint(1, 0);
    if (LoadControlPanelRect(m_app, stored)) {
        const QRect rect = StoredRect(stored.left, stored.top, stored.right, stored.bottom);
        corner = rect.isValid() ? rect.topLeft() : QPoint(0, 0);
    }
    m_panel->move(OnVisibleScreen(QRect(corner, m_panel->size()), screens).topLeft());
    SaveControlPanelRect(m_app, ToWindowRect(m_panel->frameGeometry()));
    if (m_bShown)
        m_panel->show();
}

void Desktop::StorePanelPlace()
{
    if (m_panel)
        SaveControlPanelRect(m_app, ToWindowRect(m_panel->frameGeometry()));
}

void Desktop::ClosePanel()
{
    StorePanelPlace();
    // Its own button or key may still be on the stack.
    m_panel->hide();
    m_panel.release()->deleteLater();
}

void Desktop::ClearPanelPosition()
{
    if (!m_panel)
        SaveControlPanelRect(m_app, kClearedPanelRect);
}

// --- Saving ---

void Desktop::SaveAviFiles()
{
    if (IsDocumentOpen())
        SaveFromMenu(*m_doc);
}

void Desktop::BeginProgress(int iRange)
{
    m_progress.SetRange(iRange);
    QProgressBar* pBar = m_panel ? m_panel->SaveBar() : nullptr;
    if (pBar == nullptr) {
        m_saveDialog = std::make_unique<SaveProgressBar>(m_frame.get());
        m_saveDialog->show();
        pBar = m_saveDialog->Bar();
    }
    pBar->setRange(0, std::max(1, m_progress.Maximum()));
    pBar->setValue(0);
}

void Desktop::SetProgress(int iPosition)
{
    if (QProgressBar* pBar = m_saveDialog ? m_saveDialog->Bar() : m_panel ? m_panel->SaveBar() : nullptr)
        pBar->setValue(m_progress.Position(iPosition));
}

void Desktop::EndProgress()
{
    SetProgress(0);
    m_saveDialog.reset();
}

} // namespace vireo
