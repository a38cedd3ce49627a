#pragma once
#include "matrix/call_rows.h"

#include <string>
#include <vector>

namespace vireo::test {

/// What can be wrong with the settings file.
enum class FileFault { None, Missing, IsFolder, TemporaryTaken, DiskFull };

/// What must come of a fault.
struct Expected {
    std::vector<std::string> messages; ///< patterns
    bool bExact = true; ///< these and no others, in this order; else each at most once, and one at least if `bTold`
    bool bTold = false;
    bool bWhole = true; ///< the act does all that it does without the fault
    bool bStandstill = false; ///< nothing runs or is armed
    bool bExit = false; ///< the program is told to end
    bool bStartOver = false; ///< the operator has to start the program again
    bool bKeeps = false; ///< the recording that there was is still in the store
    int iSkipped = 0; ///< cameras that are not saved, on the operator's wish
    int iKeptFrames = 0; ///< of a recording that was cut; 0 = nothing is asked
    bool bLoss = false; ///< a frame was lost in the recording: it must not pass for a whole one
    int iResult = 0; ///< for the partner
};

struct MatrixCase {
    Scene scene;
    PlannedFault fault;
    FileFault eFile = FileFault::None;
    Expected expected;
    std::string Name() const;
};

/// Everything that the scenes' calls make: they are run once without a fault, and looked at.
struct Matrix {
    std::vector<MatrixCase> cases;
    std::size_t uiSites = 0; ///< calls of one kind, camera, argument and place in the program
    std::vector<std::string> strangers; ///< calls that have no row, and rows that no call has
};
Matrix MakeMatrix();

/// What was wrong, in words; empty when all was as it is to be.
std::vector<std::string> RunCase(const MatrixCase& testCase);

/// Cases of the calls beside the library.
void AddSeamCases(const Scene& scene, std::span<const SeenCall> calls, std::vector<MatrixCase>& cases);
void AddFileCases(const Scene& scene, std::vector<MatrixCase>& cases);
/// Seams whose interface has no failure to give, or that are slow at most.
bool CanFail(Seam eSeam);

} // namespace vireo::test
