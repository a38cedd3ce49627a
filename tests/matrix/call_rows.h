#pragma once
#include "matrix/matrix_bench.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vireo::test {

/// What a call's failure does.
enum class Effect {
    GoesOn, ///< nothing is said, and everything is done
    Told, ///< said, and everything is done
    GivesUp, ///< said, and nothing runs afterwards
    Ends, ///< a fetch: said, the capture ends, and a recording is kept as far as it came
};

/// Where a camera is in what the program does with it, as far as its calls tell.
enum class Step {
    New,
    Found,
    Known,
    Connected,
    Ready,
    Configure,
    Balance,
    Colours,
    Coloured,
    Clear,
    Pre,
    Started,
    Running,
    Button,
    Pressed,
    Post,
    Level,
    Recorded,
    Flowing,
    Beginning,
    Closed,
    Buses, ///< calls that concern no camera
};

/// Who makes the call, and for whom. A row holds for a call that has all its marks.
namespace mark {
constexpr unsigned kUi = 1; ///< on the user-interface thread
constexpr unsigned kWorker = 2; ///< on a thread of the capture
constexpr unsigned kMaster = 4; ///< of camera 0
constexpr unsigned kSlave = 8; ///< of another
constexpr unsigned kRing = 16;
constexpr unsigned kFree = 32; ///< not in step
constexpr unsigned kPartner = 64;
constexpr unsigned kPanel = 128; ///< no partner
constexpr unsigned kWaiting = 256; ///< for the outside trigger
} // namespace mark

/// One call site of the library: where it stands among the calls, and what its failure means.
struct CallRow {
    Step eStep;
    unsigned uiMarks;
    Operation eOperation;
    const char* pArguments; ///< the call's begin so
    const char* pMessage; ///< with error 20 and camera 1; empty: none
    Effect eEffect;
    Step eNext; ///< where it leads
};
std::span<const CallRow> CallRows();

/// The rows of an act's calls, in their order; null where there is none, as for a seam.
std::vector<const CallRow*> MatchRows(const Scene& scene, std::span<const SeenCall> calls);

/// The text of a row's message for another error and camera. '*' stands for anything.
std::string MessageOf(const CallRow& row, int iCamera, int iError);
bool MatchesText(const std::string& strPattern, const std::string& strText);

} // namespace vireo::test
