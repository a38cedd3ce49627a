#pragma once
#include "capture/take_report.h"

#include <QString>

namespace vireo {

/// What the operator is told of a take in the status bar.
QString TakeVerdictText(const TakeReport& report);

} // namespace vireo
