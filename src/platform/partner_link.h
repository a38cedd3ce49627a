#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vireo {

/// Menu commands that tell the partner program how a recording goes.
namespace partner {
constexpr int kRecordingStarted = 32781;
constexpr int kRecordingFinished = 32782;
constexpr int kCopyDataIdentifier = 1081; ///< remote start and stop
} // namespace partner

/// Another program's window, found by its title. Any thread, one at a time.
class PartnerWindow {
public:
    virtual ~PartnerWindow() = default;
    /// Leaves the command with the partner and returns. False when it could not be handed over.
    virtual bool Post(int iCommand) = 0;
    /// Leaves the command and waits until the partner has handled it, 2 s at most; Cancel ends the wait.
    /// False when it could not be handed over or was refused; a wait that ended early is no failure.
    virtual bool Send(int iCommand) = 0;
    /// Ends a running Send and lets later ones return at once. Any thread.
    virtual void Cancel() = 0;
};

/// Messages that arrive for a window of this program.
struct PartnerMessage {
    enum class Kind { Command, CopyData } eKind = Kind::Command;
    int iIdentifier = 0; ///< command id, or the copy-data identifier
    std::string strText; ///< copy-data payload
};

/// A listening window; it stops listening when destroyed.
class PartnerListener {
public:
    virtual ~PartnerListener() = default;
};

/// Window messages between programs of the same user. Never blocks on a silent or hostile peer.
class PartnerLink {
public:
    virtual ~PartnerLink() = default;
    /// The top-level window with this title; null when there is none. Any thread.
    virtual std::shared_ptr<PartnerWindow> FindWindow(std::string_view strTitle) = 0;
    /// Listens under `strTitle`. The handler runs on a thread of the link; the sender is answered when
    /// it returns. Null, with the reason in `strError`, when the title is in use or the socket cannot be made.
    virtual std::unique_ptr<PartnerListener> Listen(
        std::string_view strTitle, std::function<void(const PartnerMessage&)> handler, std::string& strError) = 0;
};

} // namespace vireo
