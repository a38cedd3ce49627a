#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/image.h"
#include "platform/log.h"
#include "platform/memory.h"
#include "platform/partner_link.h"
#include "platform/system.h"
#include "platform/video_writer.h"
#include "platform/window_system.h"

namespace vireo {

/// Everything outside the core, put together once by a program's main() and alive until it ends.
struct Platform {
    Clock& clock;
    Log& log;
    CameraLibrary& cameras;
    WindowSystem& window;
    Memory& memory;
    const PixelConverter& converter;
    VideoWriters& video;
    PartnerLink& partner;
    const Paths& paths;
    const TextEncoding& encoding;
};

} // namespace vireo
