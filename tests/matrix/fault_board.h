#pragma once
#include "platform/clock.h"
#include "support/recording_library.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace vireo::test {

/// What the core calls beside the camera library: memory, files, pictures, partner, screen, threads. In the order of
/// the interfaces; a call is counted behind the library's operations.
enum class Seam {
    AvailableKiB,
    CreateArena,
    Reserve,
    Release,
    Region,
    ResidentKiB,
    StartTouching,
    StopTouching,
    TouchedBytes,
    IsShort,
    CreateVideo,
    OpenVideo,
    AppendVideo,
    CloseVideo,
    GetFiles,
    ReadBack,
    Convert,
    WriteSidecar,
    FindWindow,
    PostPartner,
    SendPartner,
    CancelPartner,
    Drive,
    Decode,
    Encode,
    ShowMessage,
    ConfirmCameras,
    ChooseSavePath,
    PostCommand,
    SetViewTimers,
    StartExitTimer,
    RedrawView,
    PlaceViews,
    SetMainTitle,
    RefreshPanel,
    ShowControlPanel,
    SetStatusText,
    AddRecentFile,
    BeginProgress,
    SetProgress,
    EndProgress,
    Settle,
    CreateThread,
};
constexpr std::size_t kSeamCount = static_cast<std::size_t>(Seam::CreateThread) + 1;

/// A library operation or a seam, as one number.
using CallKind = std::size_t;
constexpr CallKind KindOf(Operation eOperation) { return static_cast<CallKind>(eOperation); }
constexpr CallKind KindOf(Seam eSeam) { return kOperationCount + static_cast<CallKind>(eSeam); }
constexpr CallKind kCallKinds = kOperationCount + kSeamCount;
std::string KindName(CallKind kind);

/// How a call goes wrong.
enum class Way {
    Refused, ///< the bus did not carry it; it did not happen
    AnswerLost, ///< it happened, its answer got lost on the way
    TimedOut, ///< no answer within a second; it did not happen
    Unplugged, ///< the camera is gone with this call
    BoxLeftOpen, ///< refused, and the operator leaves the message standing
    FetchTimeout, ///< a fetch that says no frame came
    FetchNothing, ///< a fetch that says nothing is to be delivered; the frame stays
    FetchInconsistent, ///< a fetch that finds an inconsistent frame
    Torn, ///< the frame arrives incomplete
    Lost, ///< the frame does not arrive
    Late, ///< the frame arrives 300 ms late
    Hung, ///< no frame arrives from here on
    Fails, ///< a seam gives the answer that its interface has for a failure
    Differs, ///< a seam gives a wrong answer
    Slow, ///< the call takes 700 ms
};
const char* WayName(Way eWay);

/// One call, as the board saw it.
struct SeenCall {
    CallKind kind = 0;
    int iCamera = kNoCamera;
    int iNth = 0; ///< among the calls of this kind and camera, from 1
    bool bUi = true; ///< made on the user-interface thread
    std::string strArguments;
    bool bFailed = false; ///< it was made to fail
};

/// A fault to be met.
struct PlannedFault {
    CallKind kind = 0;
    int iCamera = kNoCamera; ///< of this camera; kAnyCamera: of any
    int iNth = 1; ///< the call that goes wrong; 0 = every one
    Way eWay = Way::Refused;
    bool bOnwards = false; ///< every later one as well
};
constexpr int kAnyCamera = -2;

/// Where every call out of the core comes by: it counts them, and lets the planned one go wrong. Any thread.
class FaultBoard {
public:
    explicit FaultBoard(Clock& clock)
        : m_clock(clock)
        , m_ui(std::this_thread::get_id())
    {
    }
    /// Counts anew, with one fault or none. What hangs or is gone comes back.
    void Watch(std::optional<PlannedFault> fault);
    /// Nothing more goes wrong, but what is gone stays so.
    void Forgive();
    /// Nothing is counted and nothing goes wrong.
    void Rest();

    std::vector<SeenCall> Calls() const;
    /// Time that went by in calls that were made slow.
    ClockTime Held() const;
    bool IsGone(int iCamera) const;

    /// A call of a seam: how it goes wrong, if it does. A slow one has taken its time.
    std::optional<Way> Enter(Seam eSeam);
    /// A call of the library, which the board carries out.
    Error Around(const LibraryCall& call, const std::function<Error()>& perform);

private:
    std::optional<Way> Note(CallKind kind, int iCamera, const std::string& strArguments);
    Error Fetch(const LibraryCall& call, const std::function<Error()>& perform, std::optional<Way> way);
    Error FetchNoMore(int iCamera, const std::function<Error()>& perform);
    void Hold(ClockTime time);
    bool Contains(const std::set<int>& cameras, int iCamera) const;

    Clock& m_clock;
    const std::thread::id m_ui;
    mutable std::mutex m_mutex;
    bool m_bWatching = false;
    std::optional<PlannedFault> m_fault;
    std::vector<SeenCall> m_calls;
    std::map<std::pair<CallKind, int>, int> m_counts;
    std::map<CallKind, int> m_kindCounts;
    std::map<int, int> m_timeoutMs; ///< of each camera's fetch, as last configured
    std::set<int> m_gone;
    std::set<int> m_hung;
    ClockTime m_held = 0;
    bool m_bBoxStands = false;
};

} // namespace vireo::test
