#include "camera/naming.h"

#include "app/native_path.h"

namespace vireo {

std::string JoinPath(const std::string& strFolder, const std::string& strName)
{
    const bool bNative = strFolder.find('/') != std::string::npos && !HasDriveLetter(strFolder);
    return strFolder + (bNative ? "/" : "\\") + strName;
}

void RememberTitle(Naming& naming)
{
    std::erase(naming.m_astrFileHistory, naming.m_strFileTitle);
    naming.m_astrFileHistory.insert(naming.m_astrFileHistory.begin(), naming.m_strFileTitle);
}

} // namespace vireo
