#pragma once
#include <string>
#include <sys/types.h>
#include <vector>

namespace vireo::peers {

/// A host of software GigE cameras in a process of its own, which ends with this object (or with this
/// process, however that ends).
class PeerProcess {
public:
    /// Starts `tessel-fake-gige` with the given arguments and waits until its cameras answer.
    explicit PeerProcess(const std::vector<std::string>& arguments);
    ~PeerProcess();
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    bool Ready() const { return m_bReady; }
    /// Ends it without any farewell, as a pulled plug does.
    void Kill();
    /// Holds it still, and lets it go on.
    void Freeze() const;
    void Thaw() const;

private:
    pid_t m_pid = -1;
    int m_iInput = -1;
    bool m_bReady = false;
};

} // namespace vireo::peers
