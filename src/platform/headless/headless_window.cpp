#include "platform/headless/headless_window.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr ClockTime kConditionPoll = 10 * kNsPerMs; ///< how soon a change that nobody announced is seen

std::string OneLine(std::string strText)
{
    while (!strText.empty() && (strText.back() == '\n' || strText.back() == '\r'))
        strText.pop_back();
    std::replace(strText.begin(), strText.end(), '\n', ' ');
    return strText;
}

} // namespace

HeadlessWindow::HeadlessWindow(Clock& clock, std::function<void(const std::string&)> showLine)
    : m_clock(clock)
    , m_showLine(std::move(showLine))
    , m_timers { Timer { timer::kRefreshLive, 100 * kNsPerMs, kForever },
        Timer { timer::kRefreshSlow, 200 * kNsPerMs, kForever }, Timer { timer::kExit, 0, kForever } }
{
}

HeadlessWindow::~HeadlessWindow() { ShowLines(); }

bool HeadlessWindow::WaitFor(const std::function<bool()>& condition, ClockTime deadline)
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        while (ServeOne(lock)) { }
        m_bWoken = false;
        lock.unlock();
        ShowLines();
        const bool bHolds = condition();
        const ClockTime now = m_clock.Now();
        lock.lock();
        if (bHolds)
            return true;
        if (now >= deadline)
            return false;
        const ClockTime until = std::min({ deadline, NextDue(), now + kConditionPoll });
        m_clock.WaitUntil(lock, m_changed, until,
            [this] { return m_bWoken || m_uiShown < m_messages.size() || !m_commands.empty() || m_bPanelRefresh; });
    }
}

// Carries out one thing that is due, without the lock. False when nothing was.
bool HeadlessWindow::ServeOne(std::unique_lock<std::mutex>& lock)
{
    const auto unlocked = [&lock](const auto& handler, auto... arguments) {
        lock.unlock();
        if (handler)
            handler(arguments...);
        lock.lock();
        return true;
    };
    if (!m_commands.empty()) {
        const int iCommand = m_commands.front();
        m_commands.pop_front();
        return unlocked(m_onCommand, iCommand);
    }
    if (m_bPanelRefresh) {
        m_bPanelRefresh = false;
        return unlocked(m_onPanelRefresh);
    }
    const ClockTime now = m_clock.Now();
    for (Timer& timer : m_timers) {
        if (timer.due > now)
            continue;
        timer.due = timer.period == 0 ? kForever : now + timer.period;
        return unlocked(m_onTimer, timer.iId);
    }
    return false;
}

ClockTime HeadlessWindow::NextDue() const
{
    ClockTime next = kForever;
    for (const Timer& timer : m_timers)
        next = std::min(next, timer.due);
    return next;
}

void HeadlessWindow::Wake()
{
    {
        std::lock_guard lock(m_mutex);
        m_bWoken = true;
    }
    m_clock.NotifyAll(m_changed);
}

std::vector<std::string> HeadlessWindow::Messages() const
{
    std::lock_guard lock(m_mutex);
    return m_messages;
}

void HeadlessWindow::ShowMessage(const OperatorMessage& message)
{
    const std::string strLine =
        OneLine(message.strTitle.empty() ? message.strText : message.strTitle + ": " + message.strText);
    {
        std::lock_guard lock(m_mutex);
        m_messages.push_back(strLine);
    }
    if (std::this_thread::get_id() == m_uiThread)
        ShowLines();
    else
        Wake();
}

// The lines of all messages until now. Nobody who reports waits for a terminal.
void HeadlessWindow::ShowLines()
{
    std::unique_lock lock(m_mutex);
    while (m_uiShown < m_messages.size()) {
        const std::string strLine = m_messages[m_uiShown++];
        lock.unlock();
        if (m_showLine)
            m_showLine(strLine);
        lock.lock();
    }
}

bool HeadlessWindow::ConfirmCameras(std::span<const CameraInfo>) { return true; }

std::optional<std::string> HeadlessWindow::ChooseSavePath(const SavePathRequest&) { return std::nullopt; }

void HeadlessWindow::PostCommand(int iCommand)
{
    {
        std::lock_guard lock(m_mutex);
        m_commands.push_back(iCommand);
    }
    m_clock.NotifyAll(m_changed);
}

void HeadlessWindow::SetViewTimers(bool bOn)
{
    std::lock_guard lock(m_mutex);
    for (Timer& timer : m_timers)
        if (timer.period != 0)
            timer.due = bOn ? m_clock.Now() + timer.period : kForever;
}

void HeadlessWindow::StartExitTimer()
{
    std::lock_guard lock(m_mutex);
    for (Timer& timer : m_timers)
        if (timer.iId == timer::kExit)
            timer.due = m_clock.Now() + 200 * kNsPerMs;
}

void HeadlessWindow::RedrawView(int) { }

void HeadlessWindow::SetMainTitle(const std::string&) { }

void HeadlessWindow::RefreshPanel()
{
    {
        std::lock_guard lock(m_mutex);
        m_bPanelRefresh = true;
    }
    m_clock.NotifyAll(m_changed);
}

void HeadlessWindow::ShowControlPanel(bool) { }

void HeadlessWindow::SetStatusText(const std::string&) { }

void HeadlessWindow::AddRecentFile(const std::string&) { }

void HeadlessWindow::BeginProgress(int iRange)
{
    m_iProgressRange = iRange;
    SetProgress(0);
}

void HeadlessWindow::SetProgress(int iPosition)
{
    if (m_onProgress)
        m_onProgress(iPosition, m_iProgressRange);
}

void HeadlessWindow::Settle(int iMilliseconds) { m_clock.SleepMs(iMilliseconds); }

} // namespace vireo
