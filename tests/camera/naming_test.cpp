#include "camera/naming.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

TEST(JoinPath, PutsASeparatorInBetweenThatFitsTheFolder)
{
    const struct {
        const char* strFolder;
        const char* strPath;
    } kRows[] = {
        { "c:\\", "c:\\\\take" }, // a folder that ends in one gets another
        { "d:\\計測", "d:\\計測\\take" },
        { "/home/op/Videos", "/home/op/Videos/take" },
        { "c:/Videos", "c:/Videos\\take" },
        { "Videos", "Videos\\take" },
        { "", "\\take" },
    };
    for (const auto& row : kRows)
        EXPECT_EQ(JoinPath(row.strFolder, "take"), row.strPath);
}

TEST(Naming, StartsWithTheBasePathOfItsParts)
{
    const Naming naming;
    EXPECT_EQ(naming.m_strFilePath, JoinPath(naming.m_strSaveFolder, naming.m_strFileTitle));
}

} // namespace
} // namespace vireo
