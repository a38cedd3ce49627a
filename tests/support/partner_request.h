#pragma once
#include "app/cooperation.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

/// A partner that is there and imposes 640x480 with `iFps`, one camera for each file.
inline CooperationRequest PartnersRequest(int iFps, std::vector<std::string> files)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.PartnerPresent = true;
    request.PartnerTitle = "Marten";
    request.CoopFlag = 1;
    request.CoopWidth = 640;
    request.CoopHeight = 480;
    request.CoopFrameRate = iFps;
    request.CoopShutter = 500;
    request.CoopFileCount = static_cast<int>(files.size());
    for (std::size_t i = 0; i < files.size(); ++i)
        request.CoopFileNames[i] = std::move(files[i]);
    return request;
}

} // namespace vireo::test
