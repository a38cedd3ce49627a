#pragma once
#include "platform/linux/file_descriptor.h"
#include "platform/system.h"

#include <string>

namespace vireo {

/// The lock on "Vireo.lock" in the runtime folder. The file stays; the lock on it is what counts, and
/// the kernel releases that with its holder.
class FileInstanceLock : public InstanceLock {
public:
    Result Acquire() override;
    void Release() override;
    std::string Reason() const override { return m_strReason; }

private:
    FileDescriptor m_file; ///< open while the lock is held
    std::string m_strReason;
};

} // namespace vireo
