#pragma once
#include "capture/take_report.h"

#include <string>

namespace vireo {

/// The take report as one JSON object, indented, with a line end. Texts that are no UTF-8 are repaired.
std::string TakeReportJson(const TakeReport& report);
/// The same with `error`, for a recording or save that failed.
std::string TakeReportJson(const TakeReport& report, const std::string& strError);

/// The saved frames of a camera as a table, one line each under a heading, comma-separated: index in the files,
/// number of the exposure, embedded time without its wraps (s), time since the frame before (µs), residual against
/// camera 0 (µs), and "ok", "missed-before N" or "out-of-sync". What cannot be told is empty.
std::string TakeCsv(const TakeReport& report, std::size_t uiCamera);

/// One line for one camera's files: name, frames, rate, verdict.
std::string CameraLine(const TakeReport& report, std::size_t uiCamera);

} // namespace vireo
