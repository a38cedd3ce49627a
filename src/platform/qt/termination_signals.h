#pragma once
#include <QObject>
#include <functional>

class QSocketNotifier;

namespace vireo {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the user-interface thread, from its event loop.
/// One at a time in a process; the signals have their default effect again when it is gone.
class TerminationSignals : public QObject {
public:
    explicit TerminationSignals(std::function<void()> onTermination);
    ~TerminationSignals() override;

private:
    std::function<void()> m_onTermination;
    QSocketNotifier* m_pNotifier = nullptr;
};

} // namespace vireo
