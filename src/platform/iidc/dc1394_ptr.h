#pragma once
#include <dc1394/dc1394.h>
#include <memory>

namespace vireo {

struct Dc1394Free {
    void operator()(dc1394camera_t* pCamera) const { dc1394_camera_free(pCamera); }
    void operator()(dc1394camera_list_t* pList) const { dc1394_camera_free_list(pList); }
};
using Dc1394Context = std::shared_ptr<dc1394_t>; ///< outlives every camera of it
using Dc1394Camera = std::unique_ptr<dc1394camera_t, Dc1394Free>;
using Dc1394List = std::unique_ptr<dc1394camera_list_t, Dc1394Free>;

} // namespace vireo
