#pragma once
#include "capture/take_report.h"

namespace vireo {

/// Puts what is known of a take beside its files, for who evaluates them. The recording never depends on it.
class TakeSidecar {
public:
    virtual ~TakeSidecar() = default;
    /// Describes the cameras whose files were completed (`iReadBack` is not negative). Replaces no file; a
    /// failure is one line of the log. User-interface thread; blocks it.
    virtual void Write(const TakeReport& report) = 0;
};

} // namespace vireo
