#include "matrix/matrix_cases.h"

#include "app/cooperation.h"
#include "app/format_text.h"

#include <algorithm>
#include <map>
#include <set>

namespace vireo::test {

namespace {

using Rows = std::vector<const CallRow*>;

struct Trace {
    const Scene& scene;
    const std::vector<SeenCall>& calls;
    const Rows& rows;
};

int ErrorOf(Way eWay)
{
    switch (eWay) {
    case Way::Unplugged: return 12;
    case Way::TimedOut:
    case Way::FetchTimeout: return 18;
    case Way::FetchNothing: return 32;
    case Way::FetchInconsistent: return 41;
    default: return 20;
    }
}

constexpr int kAlreadyStarted = 7;
constexpr const char* kAnyTriggerText = "SynchroStrobePre()->SetTriggerMode() (20)*";

bool IsFetch(const SeenCall& call) { return call.kind == KindOf(Operation::RetrieveBuffer); }

// Where a configuration fails the program ends, but after the panel's own preparing it stays.
bool EndsProgram(const Scene& scene, const CallRow& row)
{
    const bool bConnecting = row.eStep < Step::Connected || row.eOperation == Operation::GetNumOfCameras;
    return !bConnecting && scene.eState != State::Armed && scene.eState != State::Waiting;
}

int ResultOf(const Scene& scene, const CallRow& row)
{
    if (row.eOperation == Operation::GetNumOfCameras)
        return cooperation_result::kNoCamera;
    const bool bConfiguring = scene.pRig->bPartner && row.eStep >= Step::Connected;
    return bConfiguring ? cooperation_result::kConfigurationFailed : 0;
}

void GiveUp(Expected& expected, const Scene& scene, const CallRow& row)
{
    expected.bWhole = false;
    expected.bStandstill = true;
    expected.bExit = EndsProgram(scene, row);
    expected.bStartOver = expected.bExit || scene.eState == State::Starting;
    expected.iResult = ResultOf(scene, row);
}

// A recording that a camera breaks off is kept as far as all of them came. Free-running cameras give some frames
// to the alignment of their starts.
int KeptAfter(const Scene& scene, int iFetch)
{
    const int iSlack = scene.pRig->bRing ? 4 : 14;
    return scene.eState == State::Recording ? std::max(iFetch - iSlack, 0) : 0;
}

void EndCapture(Expected& expected, const Scene& scene, int iFetch)
{
    expected.bWhole = false;
    expected.bStandstill = true;
    expected.iKeptFrames = KeptAfter(scene, iFetch);
}

void Add(std::vector<MatrixCase>& cases, const Trace& trace, const PlannedFault& fault, Expected expected)
{
    const bool bSaved = trace.scene.eState == State::Saving || trace.scene.eState == State::SavingElsewhere;
    expected.bKeeps = trace.scene.eState == State::Playback;
    expected.bExit = expected.bExit || (bSaved && trace.scene.pRig->bPartner); // its run ends by itself
    expected.bStartOver = expected.bStartOver || trace.scene.eState == State::Closing;
    cases.push_back({ trace.scene, fault, FileFault::None, std::move(expected) });
}

// One call that fails.
Expected ExpectOne(const Trace& trace, std::size_t uiCall, Way eWay)
{
    const CallRow& row = *trace.rows[uiCall];
    const SeenCall& call = trace.calls[uiCall];
    Expected expected;
    if (row.eEffect != Effect::GoesOn)
        expected.messages.push_back(MessageOf(row, call.iCamera, ErrorOf(eWay)));
    if (row.eEffect == Effect::GivesUp)
        GiveUp(expected, trace.scene, row);
    return expected;
}

// The texts of all calls that the camera gets; each may be said as often as it stands there.
void AddEveryText(Expected& expected, const Trace& trace, int iCamera, int iError)
{
    expected.bExact = false;
    expected.bTold = true;
    std::set<const CallRow*> fetches;
    for (std::size_t i = 0; i < trace.calls.size(); ++i) {
        const CallRow* const pRow = trace.rows[i];
        if (trace.calls[i].iCamera != iCamera || pRow == nullptr || pRow->eEffect == Effect::GoesOn)
            continue;
        if (!IsFetch(trace.calls[i]) || fetches.insert(pRow).second)
            expected.messages.push_back(MessageOf(*pRow, iCamera, iError));
    }
}

// A camera that never stops refuses to be configured while it runs.
Expected ExpectNoStop(const Trace& trace, int iCamera, std::size_t uiFrom)
{
    Expected expected;
    const CallRow* pRefuses = nullptr;
    bool bStopped = false;
    for (std::size_t i = uiFrom; i < trace.calls.size(); ++i) {
        const CallRow* const pRow = trace.rows[i];
        if (pRow == nullptr)
            continue;
        bStopped = bStopped || (pRow->eStep == Step::Post && pRow->eOperation == Operation::StopCapture);
        if (bStopped && pRefuses == nullptr && pRow->eStep == Step::Configure && pRow->eEffect == Effect::GivesUp)
            pRefuses = pRow;
    }
    if (pRefuses == nullptr)
        return expected;
    GiveUp(expected, trace.scene, *pRefuses);
    for (int c = 0; c < trace.scene.pRig->iCameras; ++c)
        if (iCamera == kAnyCamera || c == iCamera)
            AddEveryText(expected, trace, c, kAlreadyStarted);
    return expected;
}

// What is said beside the message with which a start is given up, as it is undone.
void AddUndoing(Expected& expected, const Trace& trace, const CallRow& row, const SeenCall& call)
{
    const bool bFlushing = call.strArguments.find("time-out 0 ") != std::string::npos;
    if (row.eStep == Step::Clear && row.eOperation == Operation::SetConfiguration && bFlushing)
        expected.messages.push_back(expected.messages.back()); // it is written back, and that fails too
    // In trigger wait camera 0 gives no strobe that would have to be switched off.
    const bool bStrobe = row.eStep == Step::Started && trace.scene.eState != State::Waiting;
    for (const CallRow& other : CallRows())
        if (bStrobe && other.eStep == Step::Post && other.eOperation == row.eOperation)
            expected.messages.push_back(MessageOf(other, call.iCamera, ErrorOf(Way::Refused)));
}

// Every call of the kind fails from one on, until the program gives up.
Expected ExpectEach(const Trace& trace, CallKind kind, int iCamera, std::size_t uiFrom)
{
    Expected expected;
    bool bPutBackTold = false; // only the first failure of putting the cameras back is shown
    std::set<int> colourless; // cameras that could not say that they see colours
    for (std::size_t i = uiFrom; i < trace.calls.size(); ++i) {
        const SeenCall& call = trace.calls[i];
        const CallRow* const pRow = trace.rows[i];
        if (call.kind != kind || pRow == nullptr || (iCamera != kAnyCamera && call.iCamera != iCamera))
            continue;
        if (pRow->eStep == Step::Flowing && pRow->eOperation == Operation::WriteRegister && !expected.messages.empty())
            continue; // the level that could not be flipped is not put back
        if (pRow->eNext == Step::Balance && kind == KindOf(Operation::GetCameraInfo))
            colourless.insert(call.iCamera);
        if (pRow->eStep == Step::Colours && colourless.contains(call.iCamera))
            continue;
        const bool bPutBack = pRow->eNext == Step::Post;
        if (pRow->eEffect == Effect::GoesOn || (bPutBack && bPutBackTold))
            continue;
        bPutBackTold = bPutBackTold || bPutBack;
        expected.messages.push_back(MessageOf(*pRow, call.iCamera, ErrorOf(Way::Refused)));
        if (bPutBackTold && pRow->eStep == Step::Pre && kind == KindOf(Operation::SetTriggerMode))
            expected.messages.back() = kAnyTriggerText; // it is still on, and to be switched off first
        if (pRow->eEffect == Effect::GivesUp) {
            GiveUp(expected, trace.scene, *pRow);
            AddUndoing(expected, trace, *pRow, call);
            break;
        }
        if (pRow->eEffect == Effect::Ends) {
            EndCapture(expected, trace.scene, 0);
            if (iCamera == kAnyCamera) // the other cameras' threads may have come as far
                for (int c = 0; c < trace.scene.pRig->iCameras; ++c)
                    AddEveryText(expected, trace, c, ErrorOf(Way::Refused));
            break;
        }
    }
    return expected;
}

Expected ExpectAlways(const Trace& trace, CallKind kind, int iCamera, std::size_t uiFrom = 0)
{
    const bool bStop = kind == KindOf(Operation::StopCapture);
    Expected expected = bStop ? ExpectNoStop(trace, iCamera, uiFrom) : Expected {};
    if (expected.bWhole)
        expected = ExpectEach(trace, kind, iCamera, uiFrom);
    // What cannot be put back stays as it is, until it can.
    for (const Operation eOperation : { Operation::GetCameraInfo, Operation::GetStrobe, Operation::SetStrobe,
             Operation::GetTriggerMode, Operation::SetTriggerMode, Operation::StopCapture })
        if (kind == KindOf(eOperation))
            expected.bStandstill = false;
    return expected;
}

// The camera answers nothing any more. What else is said must be said of this camera, and once.
Expected ExpectUnplugged(const Trace& trace, std::size_t uiCall)
{
    const int iCamera = trace.calls[uiCall].iCamera;
    Expected expected;
    expected.bStartOver = true;
    const CallRow* pEnd = nullptr;
    const CallRow* pGivesUp = nullptr;
    for (std::size_t i = uiCall; i < trace.calls.size(); ++i) {
        const CallRow* const pRow = trace.rows[i];
        if (trace.calls[i].iCamera != iCamera || pRow == nullptr || pRow->eEffect == Effect::GoesOn)
            continue;
        if (pEnd != nullptr && pRow->eStep == Step::Running)
            break; // nobody goes on to the preset
        expected.bTold = true;
        if (pEnd == nullptr && pRow->eEffect == Effect::Ends)
            pEnd = pRow;
        if (pGivesUp == nullptr && pRow->eEffect == Effect::GivesUp)
            pGivesUp = pRow;
    }
    const bool bTold = expected.bTold;
    AddEveryText(expected, trace, iCamera, ErrorOf(Way::Unplugged));
    expected.bTold = bTold;
    // Where its fetch meets it first, the capture's own end meets it too.
    for (const CallRow& row : CallRows())
        if (row.eNext == Step::Post && row.eOperation == Operation::GetCameraInfo && row.eStep == Step::Flowing)
            expected.messages.push_back(MessageOf(row, iCamera, ErrorOf(Way::Unplugged)));
    if (pEnd != nullptr)
        EndCapture(expected, trace.scene, IsFetch(trace.calls[uiCall]) ? trace.calls[uiCall].iNth : 0);
    if (pGivesUp != nullptr)
        GiveUp(expected, trace.scene, *pGivesUp);
    return expected;
}

// Fetches of a running capture, at some places of the run.
std::set<int> FetchNumbers(const Trace& trace, int iCamera)
{
    int iCalls = 0;
    for (const SeenCall& call : trace.calls)
        iCalls += IsFetch(call) && !call.bUi && call.iCamera == iCamera ? 1 : 0;
    int iLast = std::max(iCalls - 2, 1); // the last ones may still wait as the act ends
    if (trace.scene.eState == State::Recording)
        iLast = trace.scene.pRig->bPartner ? 10 : 24;
    std::set<int> numbers;
    for (const int iNumber : { 1, 2, 3, 5, 8, 13, 19, iLast })
        if (iNumber <= iLast && iNumber <= iCalls)
            numbers.insert(iNumber);
    return numbers;
}

bool IsDue(const Scene& scene) { return scene.eState != State::Waiting || !scene.pRig->bRing; }

// No frame can be spoilt while none comes.
bool IsPossible(const Scene& scene, Way eWay)
{
    return IsDue(scene) || (eWay != Way::Torn && eWay != Way::Lost && eWay != Way::Late);
}

Expected ExpectFetch(const Trace& trace, std::size_t uiCall, Way eWay, int iWorkerNth)
{
    const SeenCall& call = trace.calls[uiCall];
    const CallRow& row = *trace.rows[uiCall];
    const Scene& scene = trace.scene;
    const bool bRecording = scene.eState == State::Recording;
    Expected expected;
    const auto end = [&](int iError) {
        expected.messages.push_back(MessageOf(row, call.iCamera, iError));
        EndCapture(expected, scene, iWorkerNth);
    };
    switch (eWay) {
    case Way::Refused:
    case Way::FetchInconsistent: end(ErrorOf(eWay)); break;
    case Way::FetchTimeout:
        if (call.iCamera > 0) // camera 0 has a time-out of its own, and asks again
            end(ErrorOf(eWay));
        break;
    case Way::Hung:
        if (scene.eState != State::Waiting)
            end(ErrorOf(Way::FetchTimeout));
        break;
    case Way::Torn:
    case Way::Lost: expected.bLoss = bRecording; break;
    default: break;
    }
    return expected;
}

void AddFetches(const Trace& trace, std::vector<MatrixCase>& cases)
{
    for (int c = 0; c < trace.scene.pRig->iCameras; ++c) {
        const std::set<int> numbers = FetchNumbers(trace, c);
        int iNth = 0;
        for (std::size_t i = 0; i < trace.calls.size(); ++i) {
            const SeenCall& call = trace.calls[i];
            if (!IsFetch(call) || call.bUi || call.iCamera != c || trace.rows[i] == nullptr)
                continue;
            if (!numbers.contains(++iNth))
                continue;
            const bool bInTime = iNth < 3 || trace.scene.eState == State::Recording; // to be noticed in the act
            for (const Way eWay : { Way::Refused, Way::FetchTimeout, Way::FetchNothing, Way::FetchInconsistent,
                     Way::Torn, Way::Lost, Way::Late, Way::Hung })
                if (IsPossible(trace.scene, eWay) && (eWay != Way::Hung || bInTime))
                    Add(cases, trace, { call.kind, c, call.iNth, eWay }, ExpectFetch(trace, i, eWay, iNth));
            Expected unplugged = ExpectUnplugged(trace, i);
            unplugged.iKeptFrames = KeptAfter(trace.scene, iNth);
            Add(cases, trace, { call.kind, c, call.iNth, Way::Unplugged }, unplugged);
        }
    }
}

void AddLibraryCases(const Trace& trace, std::vector<MatrixCase>& cases)
{
    std::set<std::pair<CallKind, int>> kinds;
    for (std::size_t i = 0; i < trace.calls.size(); ++i) {
        const SeenCall& call = trace.calls[i];
        if (call.kind >= kOperationCount || trace.rows[i] == nullptr)
            continue;
        if (kinds.emplace(call.kind, call.iCamera).second) {
            Add(cases, trace, { call.kind, call.iCamera, 0, Way::Refused },
                ExpectAlways(trace, call.kind, call.iCamera));
            if (call.iCamera != kNoCamera && kinds.emplace(call.kind, kAnyCamera).second)
                Add(cases, trace, { call.kind, kAnyCamera, 0, Way::Refused },
                    ExpectAlways(trace, call.kind, kAnyCamera));
        }
        if (IsFetch(call) && !call.bUi)
            continue;
        std::vector<Way> ways = { Way::Refused, Way::BoxLeftOpen };
        if (IsFetch(call)) {
            ways.push_back(Way::FetchNothing);
            Add(cases, trace, { call.kind, call.iCamera, call.iNth, Way::FetchInconsistent }, {}); // drained as well
        } else {
            ways.insert(ways.end(), { Way::AnswerLost, Way::TimedOut });
        }
        if (trace.rows[i]->eEffect == Effect::GoesOn)
            std::erase(ways, Way::BoxLeftOpen);
        for (const Way eWay : ways)
            Add(cases, trace, { call.kind, call.iCamera, call.iNth, eWay }, ExpectOne(trace, i, eWay));
        if (call.iCamera == kNoCamera)
            continue;
        Add(cases, trace, { call.kind, call.iCamera, call.iNth, Way::Unplugged }, ExpectUnplugged(trace, i));
        Add(cases, trace, { call.kind, call.iCamera, call.iNth, Way::Refused, true },
            ExpectAlways(trace, call.kind, call.iCamera, i));
    }
    AddFetches(trace, cases);
}

// Calls that no scene makes: the camera settings' dialog and the status bar are the desktop's own, and a box is
// shown only where something fails.
bool IsElsewhere(CallKind kind)
{
#ifdef VIREO_TEST_SANITIZED // which sees to the threads itself
    if (kind == KindOf(Seam::CreateThread))
        return true;
#endif
    return kind == KindOf(Operation::GetPropertyInfo) || kind == KindOf(Seam::SetStatusText)
        || kind == KindOf(Seam::ShowMessage);
}

} // namespace

std::string MatrixCase::Name() const
{
    std::string strName = std::string(scene.pRig->pName) + ", " + StateName(scene.eState) + ": ";
    constexpr const char* kFiles[] = { "", "missing", "a folder", "temporary file taken", "disk full" };
    if (eFile != FileFault::None)
        return strName + "settings file " + kFiles[static_cast<std::size_t>(eFile)];
    strName += KindName(fault.kind);
    if (fault.iCamera == kAnyCamera)
        strName += " of every camera";
    else if (fault.iCamera != kNoCamera)
        strName += FormatText(" of camera %d", fault.iCamera);
    return strName
        + (fault.iNth == 0 ? std::string(", always, ")
                           : FormatText(", call %d%s, ", fault.iNth, fault.bOnwards ? " and on" : ""))
        + WayName(fault.eWay);
}

Matrix MakeMatrix()
{
    Matrix matrix;
    std::set<const CallRow*> used;
    std::set<CallKind> seen;
    std::set<std::string> sites;
    for (const Scene& scene : Scenes()) {
        MatrixBench bench(scene);
        bench.Prepare();
        bench.Board().Watch(std::nullopt);
        const bool bWhole = bench.Act();
        const std::vector<SeenCall> calls = bench.Board().Calls();
        bench.Board().Rest();
        const Rows rows = MatchRows(scene, calls);
        const std::string strScene = std::string(scene.pRig->pName) + ", " + StateName(scene.eState) + ": ";
        if (!bWhole || !bench.Messages().empty())
            matrix.strangers.push_back(strScene + "does not go well without a fault");
        for (std::size_t i = 0; i < calls.size(); ++i) {
            seen.insert(calls[i].kind);
            sites.insert(strScene + KindName(calls[i].kind) + calls[i].strArguments
                + FormatText(" %d %d", calls[i].iCamera,
                    rows[i] == nullptr ? -1 : static_cast<int>(rows[i] - CallRows().data())));
            if (calls[i].kind < kOperationCount && rows[i] == nullptr)
                matrix.strangers.push_back(
                    strScene + "no row for " + KindName(calls[i].kind) + " " + calls[i].strArguments);
            used.insert(rows[i]);
        }
        AddLibraryCases({ scene, calls, rows }, matrix.cases);
        AddSeamCases(scene, calls, matrix.cases);
        AddFileCases(scene, matrix.cases);
    }
    matrix.uiSites = sites.size();
    for (const CallRow& row : CallRows())
        if (!used.contains(&row))
            matrix.strangers.push_back(FormatText("no call for row %d: ", static_cast<int>(&row - CallRows().data()))
                + std::string(OperationName(row.eOperation)) + " " + row.pArguments);
    for (CallKind kind = 0; kind < kCallKinds; ++kind)
        if (!seen.contains(kind) && !IsElsewhere(kind))
            matrix.strangers.push_back("nothing calls " + KindName(kind));
    return matrix;
}

} // namespace vireo::test
