#pragma once
#include "platform/clock.h"
#include "platform/window_system.h"

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

/// Everything that was asked of the screen, in the order of the calls.
struct WindowRecord {
    std::vector<OperatorMessage> messages;
    std::vector<int> commands; ///< posted command ids
    std::vector<bool> viewTimers; ///< each SetViewTimers
    int iExitTimers = 0; ///< StartExitTimer calls
    std::map<int, int> redraws; ///< calls by camera
    int iPlacements = 0; ///< PlaceViews calls
    std::vector<std::string> mainTitles;
    int iPanelRefreshes = 0;
    std::vector<bool> panelShown; ///< each ShowControlPanel
    std::vector<std::string> statusTexts;
    std::vector<std::string> recentFiles; ///< each AddRecentFile
    std::vector<int> progressRanges; ///< each BeginProgress
    std::vector<int> progressPositions; ///< of all of them
    int iProgressEnds = 0;
    std::vector<int> settleMs; ///< each Settle
    std::vector<std::vector<CameraInfo>> confirmedCameras; ///< each ConfirmCameras
    std::vector<SavePathRequest> savePathRequests; ///< each ChooseSavePath

    std::vector<std::string> MessageTexts() const
    {
        std::vector<std::string> texts;
        for (const OperatorMessage& message : messages)
            texts.push_back(message.strText);
        return texts;
    }
};

/// A screen that records what it is asked and answers from a script. Nothing happens later: a posted
/// command or timer is only noted; the hooks let a test react. Any thread.
class RecordedWindow : public WindowSystem {
public:
    /// With a clock, Settle sleeps on it and WaitFor can be used.
    explicit RecordedWindow(Clock* pClock = nullptr)
        : m_pClock(pClock)
    {
    }

    /// A copy of what was recorded until now.
    WindowRecord Record() const
    {
        std::lock_guard lock(m_mutex);
        return m_record;
    }
    std::vector<std::string> MessageTexts() const { return Record().MessageTexts(); }
    void Clear()
    {
        std::lock_guard lock(m_mutex);
        m_record = {};
    }

    /// The next answers, first in first out. Without any: cameras are confirmed, the path is cancelled.
    void AnswerConfirmCameras(bool bAnswer)
    {
        std::lock_guard lock(m_mutex);
        m_confirmAnswers.push_back(bAnswer);
    }
    void AnswerSavePath(std::optional<std::string> strPath)
    {
        std::lock_guard lock(m_mutex);
        m_savePathAnswers.push_back(std::move(strPath));
    }
    /// Called on the caller's thread, outside the lock, after the message or command was recorded.
    void OnMessage(std::function<void(const OperatorMessage&)> hook)
    {
        std::lock_guard lock(m_mutex);
        m_onMessage = std::move(hook);
    }
    void OnCommand(std::function<void(int)> hook)
    {
        std::lock_guard lock(m_mutex);
        m_onCommand = std::move(hook);
    }

    /// Waits on the clock until `condition(record)` holds; false when `deadline` passed first.
    template <typename Condition> bool WaitFor(ClockTime deadline, Condition condition)
    {
        std::unique_lock lock(m_mutex);
        return m_pClock->WaitUntil(lock, m_changed, deadline, [&] { return condition(std::as_const(m_record)); });
    }

    void ShowMessage(const OperatorMessage& message) override
    {
        Note([&](WindowRecord& record) { record.messages.push_back(message); });
        Call(m_onMessage, message);
    }
    bool ConfirmCameras(std::span<const CameraInfo> cameras) override
    {
        bool bAnswer = true;
        Note([&](WindowRecord& record) {
            record.confirmedCameras.emplace_back(cameras.begin(), cameras.end());
            bAnswer = TakeAnswer(m_confirmAnswers, true);
        });
        return bAnswer;
    }
    std::optional<std::string> ChooseSavePath(const SavePathRequest& request) override
    {
        std::optional<std::string> strAnswer;
        Note([&](WindowRecord& record) {
            record.savePathRequests.push_back(request);
            strAnswer = TakeAnswer(m_savePathAnswers, std::optional<std::string>());
        });
        return strAnswer;
    }
    void PostCommand(int iCommand) override
    {
        Note([&](WindowRecord& record) { record.commands.push_back(iCommand); });
        Call(m_onCommand, iCommand);
    }
    void SetViewTimers(bool bOn) override
    {
        Note([&](WindowRecord& record) { record.viewTimers.push_back(bOn); });
    }
    void StartExitTimer() override
    {
        Note([&](WindowRecord& record) { ++record.iExitTimers; });
    }
    void RedrawView(int iCamera) override
    {
        Note([&](WindowRecord& record) { ++record.redraws[iCamera]; });
    }
    void PlaceViews() override
    {
        Note([&](WindowRecord& record) { ++record.iPlacements; });
    }
    void SetMainTitle(const std::string& strTitle) override
    {
        Note([&](WindowRecord& record) { record.mainTitles.push_back(strTitle); });
    }
    void RefreshPanel() override
    {
        Note([&](WindowRecord& record) { ++record.iPanelRefreshes; });
    }
    void ShowControlPanel(bool bShow) override
    {
        Note([&](WindowRecord& record) { record.panelShown.push_back(bShow); });
    }
    void SetStatusText(const std::string& strText) override
    {
        Note([&](WindowRecord& record) { record.statusTexts.push_back(strText); });
    }
    void AddRecentFile(const std::string& strFile) override
    {
        Note([&](WindowRecord& record) { record.recentFiles.push_back(strFile); });
    }
    void BeginProgress(int iRange) override
    {
        Note([&](WindowRecord& record) { record.progressRanges.push_back(iRange); });
    }
    void SetProgress(int iPosition) override
    {
        Note([&](WindowRecord& record) { record.progressPositions.push_back(iPosition); });
    }
    void EndProgress() override
    {
        Note([&](WindowRecord& record) { ++record.iProgressEnds; });
    }
    void Settle(int iMilliseconds) override
    {
        Note([&](WindowRecord& record) { record.settleMs.push_back(iMilliseconds); });
        if (m_pClock != nullptr)
            m_pClock->SleepMs(iMilliseconds);
    }

private:
    template <typename Change> void Note(Change change)
    {
        {
            std::lock_guard lock(m_mutex);
            change(m_record);
        }
        if (m_pClock != nullptr)
            m_pClock->NotifyAll(m_changed);
    }
    template <typename Hook, typename Argument> void Call(const Hook& hook, const Argument& argument)
    {
        Hook copy;
        {
            std::lock_guard lock(m_mutex);
            copy = hook;
        }
        if (copy)
            copy(argument);
    }
    template <typename Answer> static Answer TakeAnswer(std::deque<Answer>& answers, Answer otherwise)
    {
        if (answers.empty())
            return otherwise;
        Answer answer = std::move(answers.front());
        answers.pop_front();
        return answer;
    }

    Clock* m_pClock;
    mutable std::mutex m_mutex;
    WaitPoint m_changed;
    WindowRecord m_record;
    std::deque<bool> m_confirmAnswers;
    std::deque<std::optional<std::string>> m_savePathAnswers;
    std::function<void(const OperatorMessage&)> m_onMessage;
    std::function<void(int)> m_onCommand;
};

} // namespace vireo::test
