#include "peers/scenery.h"

#include <algorithm>
#include <vector>

namespace vireo::peers {

namespace {

/// Cameras of one shape share the still part of the picture, which takes a while to make.
std::shared_ptr<const SceneBackgrounds> BackgroundsOf(const SceneShape& shape)
{
    static std::vector<std::shared_ptr<const SceneBackgrounds>> s_all;
    const auto found =
        std::find_if(s_all.begin(), s_all.end(), [&](const auto& entry) { return entry->Shape() == shape; });
    if (found != s_all.end())
        return *found;
    return s_all.emplace_back(std::make_shared<const SceneBackgrounds>(shape));
}

} // namespace

const std::uint8_t* Scenery::Paint(const SceneShape& shape, std::int64_t start, const FrameHeader& header)
{
    if (!m_scene || !(m_scene->Shape() == shape)) {
        m_backgrounds = BackgroundsOf(shape);
        m_scene = std::make_unique<Scene>(*m_backgrounds);
    }
    return m_scene->Render(start, header);
}

} // namespace vireo::peers
