#pragma once
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <string>

namespace vireo::test {

/// A file that was written by hand, in the folder that the test's target names as VIREO_GOLDEN_FOLDER.
inline std::string Golden(const std::string& strName)
{
    const std::string strPath = std::string(VIREO_GOLDEN_FOLDER) + "/" + strName;
    std::string strBytes = ReadFile(strPath);
    EXPECT_FALSE(strBytes.empty()) << "no " << strPath;
    return strBytes;
}

} // namespace vireo::test
