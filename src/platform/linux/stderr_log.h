#pragma once
#include "platform/log.h"

namespace vireo {

/// The log of the programs: every line in one piece on stderr. A closed stderr is no error.
class StderrLog : public Log {
public:
    void Write(std::string_view strLine) override;
};

} // namespace vireo
