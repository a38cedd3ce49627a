#pragma once
#include "platform/simulated/scene.h"

#include <memory>

namespace vireo::peers {

/// What a software camera looks at: the scene of the simulated cameras, at whatever size was set.
class Scenery {
public:
    /// The frame whose exposure began at `start` (ns since the host's start); valid until the next call.
    const std::uint8_t* Paint(const SceneShape& shape, std::int64_t start, const FrameHeader& header = {});

private:
    std::shared_ptr<const SceneBackgrounds> m_backgrounds;
    std::unique_ptr<Scene> m_scene;
};

} // namespace vireo::peers
