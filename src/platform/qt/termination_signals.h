#pragma once
#include <QObject>
#include <functional>

class QSocketNotifier;

namespace vireo {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the user-interface thread, from its event loop.
/// A SIGHUP that is ignored already, as under nohup, stays so.
/// One at a time in a process; the signals have their default effect again when it is gone.
class TerminationSignals : public QObject {
public:
    explicit TerminationSignals(std::function<void()> onTermination);
    ~TerminationSignals() override;

private:
    std::function<void()> m_onTermination;
    QSocketNotifier* m_pNotifier = nullptr;
    bool m_bHangUpIgnored = false;
};

} // namespace vireo
