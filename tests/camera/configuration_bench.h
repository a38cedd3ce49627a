#pragma once
#include "camera/configuration.h"
#include "capture/frame_store_alloc.h"
#include "support/camera_document.h"
#include "support/fake_grab_threads.h"

#include <stdexcept>

namespace vireo::test {

using Texts = std::vector<std::string>;

/// Connected cameras with a store, and nothing configured yet.
class Bench : public CameraDocument {
public:
    explicit Bench(
        std::string_view strSource, int iFps = 30, int iImageSizeIndex = 0, const CooperationRequest& request = {})
        : CameraDocument(strSource, request)
    {
        GrabThreadsAsked() = {};
        if (!Connect())
            throw std::runtime_error("cannot connect");
        Parameters().m_iFps = iFps;
        Parameters().m_iImageSizeIndex = iImageSizeIndex;
        Parameters().m_fGain = 3.0F;
        AllocateFrameStore(Doc());
        Forget();
    }
    bool Configure() { return ConfigureCameras(Doc()); }
};

/// What a register was given, in order.
inline Texts WritesTo(const Bench& bench, std::uint32_t uiAddress, int iCamera = 0)
{
    Texts values;
    for (const std::string& strWrite : bench.m_library.Arguments(Operation::WriteRegister, iCamera))
        if (strWrite.starts_with(Hex(uiAddress) + "="))
            values.push_back(strWrite.substr(7));
    return values;
}

/// What a property was given, in order.
inline Texts SetsOf(const Bench& bench, PropertyType eType, int iCamera = 0)
{
    const std::string strPrefix = std::to_string(static_cast<int>(eType)) + " ";
    Texts values;
    for (const std::string& strSet : bench.m_library.Arguments(Operation::SetProperty, iCamera))
        if (strSet.starts_with(strPrefix))
            values.push_back(strSet.substr(strPrefix.size()));
    return values;
}

} // namespace vireo::test
