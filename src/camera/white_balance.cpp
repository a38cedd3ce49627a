#include "camera/white_balance.h"

#include "capture/camera_properties.h"
#include "capture/messages.h"

namespace vireo {

namespace {

constexpr std::string_view kOwnValues[] = { "GRAS-03", "FFMV-03" };
constexpr std::string_view kKeepTheirs[] = { "FL2-03", "FL3-U3-13E4C", "GS3-" };

template <std::size_t N> bool ContainsAny(std::string_view strModel, const std::string_view (&texts)[N])
{
    for (const std::string_view strText : texts)
        if (strModel.find(strText) != strModel.npos)
            return true;
    return false;
}

} // namespace

RedBlue WhiteBalanceValues(std::string_view strModel, const WhiteBalance& stored)
{
    if (ContainsAny(strModel, kOwnValues))
        return { stored.GR, stored.GB };
    return { stored.R, stored.B };
}

bool WritesWhiteBalance(std::string_view strModel) { return !ContainsAny(strModel, kKeepTheirs); }

bool ApplyWhiteBalance(CVireoDoc& doc, std::size_t uiCamera)
{
    WindowSystem& window = doc.GetPlatform().window;
    CameraBase& camera = CameraOf(doc, uiCamera);
    Property property;
    if (!ReadProperty(doc, camera, PropertyType::WhiteBalance, property))
        return false;
    CameraInfo info;
    if (!Passed(window, camera.GetCameraInfo(info), messages::kCameraInfoReadFailed))
        return false;

    const RedBlue values = WhiteBalanceValues(info.modelName, doc.m_cameras.m_whiteBalance[uiCamera]);
    property.valueA = values.uiRed;
    property.valueB = values.uiBlue;
    if (!WritesWhiteBalance(info.modelName))
        return true;
    return Passed(window, camera.SetProperty(property), messages::kPropertyWriteFailed);
}

} // namespace vireo
