#pragma once
#include "matrix/fault_board.h"
#include "support/recorded_window.h"

namespace vireo::test {

/// The recorded screen, with a board that every call comes by.
class FaultyWindow : public WindowSystem {
public:
    FaultyWindow(FaultBoard& board, Clock& clock)
        : m_board(board)
        , m_inner(&clock)
    {
    }
    RecordedWindow& Inner() { return m_inner; }
    const RecordedWindow& Inner() const { return m_inner; }

    void ShowMessage(const OperatorMessage& message) override
    {
        m_inner.ShowMessage(message);
        (void)m_board.Enter(Seam::ShowMessage); // the box may stand
    }
    bool ConfirmCameras(std::span<const CameraInfo> cameras) override
    {
        return m_board.Enter(Seam::ConfirmCameras) != Way::Fails && m_inner.ConfirmCameras(cameras);
    }
    std::optional<std::string> ChooseSavePath(const SavePathRequest& request) override
    {
        const std::optional<Way> way = m_board.Enter(Seam::ChooseSavePath);
        m_inner.AnswerSavePath(way == Way::Fails ? std::nullopt
                : way == Way::Differs
                ? std::optional(request.strInitialFolder + std::string(400, 'x'))
                : std::optional(request.strInitialFolder + "\\other" + std::to_string(++m_iNames)));
        return m_inner.ChooseSavePath(request);
    }
    void PostCommand(int iCommand) override
    {
        (void)m_board.Enter(Seam::PostCommand);
        m_inner.PostCommand(iCommand);
    }
    void SetViewTimers(bool bOn) override
    {
        (void)m_board.Enter(Seam::SetViewTimers);
        m_inner.SetViewTimers(bOn);
    }
    void StartExitTimer() override
    {
        (void)m_board.Enter(Seam::StartExitTimer);
        m_inner.StartExitTimer();
    }
    void RedrawView(int iCamera) override
    {
        (void)m_board.Enter(Seam::RedrawView);
        m_inner.RedrawView(iCamera);
    }
    void PlaceViews() override
    {
        (void)m_board.Enter(Seam::PlaceViews);
        m_inner.PlaceViews();
    }
    void SetMainTitle(const std::string& strTitle) override
    {
        (void)m_board.Enter(Seam::SetMainTitle);
        m_inner.SetMainTitle(strTitle);
    }
    void RefreshPanel() override
    {
        (void)m_board.Enter(Seam::RefreshPanel);
        m_inner.RefreshPanel();
    }
    void ShowControlPanel(bool bShow) override
    {
        (void)m_board.Enter(Seam::ShowControlPanel);
        m_inner.ShowControlPanel(bShow);
    }
    void SetStatusText(const std::string& strText) override
    {
        (void)m_board.Enter(Seam::SetStatusText);
        m_inner.SetStatusText(strText);
    }
    void AddRecentFile(const std::string& strFile) override
    {
        (void)m_board.Enter(Seam::AddRecentFile);
        m_inner.AddRecentFile(strFile);
    }
    void BeginProgress(int iRange) override
    {
        (void)m_board.Enter(Seam::BeginProgress);
        m_inner.BeginProgress(iRange);
    }
    void SetProgress(int iPosition) override
    {
        (void)m_board.Enter(Seam::SetProgress);
        m_inner.SetProgress(iPosition);
    }
    void EndProgress() override
    {
        (void)m_board.Enter(Seam::EndProgress);
        m_inner.EndProgress();
    }
    void Settle(int iMilliseconds) override
    {
        (void)m_board.Enter(Seam::Settle);
        m_inner.Settle(iMilliseconds);
    }

private:
    FaultBoard& m_board;
    RecordedWindow m_inner;
    int m_iNames = 0;
};

} // namespace vireo::test
