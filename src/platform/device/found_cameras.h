#pragma once
#include "platform/camera_library.h"
#include "platform/log.h"

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace vireo {

// What libraries of real cameras do alike with the cameras that they found. A record has the members `guid` and
// `info`; `info` may lack what is known of an open camera only.

/// Null when no camera has that identifier.
template <typename Record> const Record* FindByGuid(const std::vector<Record>& cameras, const PGRGuid& guid)
{
    const auto found =
        std::find_if(cameras.begin(), cameras.end(), [&](const Record& camera) { return camera.guid == guid; });
    return found != cameras.end() ? &*found : nullptr;
}

/// Two cameras with one number cannot be told apart, and neither is taken for the other: the log says which they are,
/// in the words of `describe`.
template <typename Record, typename Describe>
Error FindGuidBySerial(
    const std::vector<Record>& cameras, unsigned int uiSerial, Log& log, Describe describe, PGRGuid& guid)
{
    const Record* pFound = nullptr;
    for (const Record& camera : cameras) {
        if (camera.info.serialNumber != uiSerial)
            continue;
        if (pFound != nullptr) {
            const std::string strText = "two cameras have the serial number " + std::to_string(uiSerial) + ": "
                + describe(*pFound) + " and " + describe(camera);
            log.Write(strText);
            return { ErrorType::InvalidParameter, strText };
        }
        pFound = &camera;
    }
    if (pFound == nullptr)
        return { ErrorType::NotFound, "no camera " + std::to_string(uiSerial) };
    guid = pFound->guid;
    return {};
}

template <typename Record> std::vector<CameraInfo> InfosOf(const std::vector<Record>& cameras)
{
    std::vector<CameraInfo> infos;
    infos.reserve(cameras.size());
    for (const Record& camera : cameras)
        infos.push_back(camera.info);
    return infos;
}

/// Makes every camera ready first, so that nothing but one command lies between the first one's start and the last
/// one's. `own` gives the library's own object of a camera, null for another library's.
template <typename Own> Error StartTogether(std::span<CameraBase* const> cameras, Own own)
{
    std::vector<decltype(own(nullptr))> ready;
    Error error;
    for (CameraBase* pCamera : cameras) {
        auto* pOwn = own(pCamera);
        error = pOwn != nullptr ? pOwn->PrepareCapture() : Error(ErrorType::InvalidParameter);
        if (!error.IsOk())
            break;
        ready.push_back(pOwn);
    }
    for (std::size_t i = 0; i < ready.size() && error.IsOk(); i++)
        error = ready[i]->BeginCapture();
    if (error.IsOk())
        return error;
    for (auto* pOwn : ready)
        pOwn->CancelRetrieve(); // those that are dead are waited for side by side
    for (auto* pOwn : ready)
        (void)pOwn->StopCapture();
    return error;
}

} // namespace vireo
