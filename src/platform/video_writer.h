#pragma once
#include "platform/image.h"

#include <memory>
#include <string>
#include <vector>

namespace vireo {

/// How a Motion-JPEG file is written.
struct MJPGOption {
    float frameRate = 15.0F; ///< fps; written as an exact ratio (118/1, 2997/100)
    unsigned int quality = 75; ///< JPEG quality 1..100
};

/// Writes one recording as Motion-JPEG AVI: BASE-0000.avi, and BASE-0001.avi and so on when a part
/// would pass 2,000,000,000 bytes. Each part is complete and playable by itself; a part that was cut
/// off by a crash plays up to the last flush. One thread at a time.
///
/// Frames are compressed on all cores and written in order. The pixels of an appended image are read
/// until Close (or the destructor) returns: slots of the frame store are wrapped, not copied.
class FlyCapture2Video {
public:
    /// Ends the file as Close does, when it is open; errors are lost then.
    virtual ~FlyCapture2Video() = default;
    /// Creates the first part, exclusively: a file that exists is never touched.
    /// @param strFileName  native path with ".avi"; "-0000" is inserted before the extension.
    /// @return FileOpenFailed with the operating system's reason, InvalidParameter (rate or quality).
    virtual Error Open(const std::string& strFileName, const MJPGOption& option) = 0;
    /// Queues one frame (Mono8, Raw8 with or without Bayer tiles); waits while the look-ahead is full.
    /// @return FileWriteFailed or EncodeFailed, also for an earlier frame; the file is then cut back to
    ///         its last whole frame at Close. InvalidParameter when the size differs from the first frame's.
    virtual Error Append(const Image& image) = 0;
    /// Writes what is queued, the index and the final header.
    /// @return the first error since Open that Append did not report; FileCloseFailed.
    virtual Error Close() = 0;
    /// Native paths of the parts written so far, in order.
    virtual std::vector<std::string> GetFiles() const = 0;
};

/// Makes writers, and reads back what they have written. Any thread.
class VideoWriters {
public:
    virtual ~VideoWriters() = default;
    virtual std::unique_ptr<FlyCapture2Video> Create() = 0;
    /// Looks at one closed part from outside: header, index and the sizes that they tell, and decodes the first
    /// and the last frame. Reads no other picture.
    /// @param iFrames  out: the frames that the index leads to; 0 on failure.
    /// @return FileOpenFailed or FileCloseFailed with the reason, which does not name the file.
    virtual Error ReadBack(const std::string& strFile, int& iFrames) = 0;
};

} // namespace vireo
