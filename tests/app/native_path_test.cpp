#include "app/native_path.h"
#include "support/fakes.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

TEST(NativePath, TurnsBackslashesAndDriveLettersIntoFolders)
{
    test::FakePaths paths;
    paths.m_drives = { { 'c', "/home/op/Videos" }, { 'd', "/mnt/data" } };
    const struct {
        const char* strPath;
        const char* strNative;
    } kRows[] = {
        { "", "" },
        { "/videos/a.avi", "/videos/a.avi" },
        { "take\\1.avi", "take/1.avi" },
        { "c:\\", "/home/op/Videos/" },
        { "c:", "/home/op/Videos/" },
        { "c:\\\\untitle", "/home/op/Videos//untitle" },
        { "C:\\My Data\\cam1.avi", "/home/op/Videos/My Data/cam1.avi" },
        { "D:/x/y", "/mnt/data/x/y" },
        { "c:name", "/home/op/Videos/name" },
        { "c:\\計測\\ソ", "/home/op/Videos/計測/ソ" },
        { "1:\\x", "1:/x" },
        { "ab:\\x", "ab:/x" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strPath);
        std::string strError;
        EXPECT_EQ(ToNativePath(paths, row.strPath, strError), row.strNative);
        EXPECT_EQ(strError, "");
    }
}

TEST(NativePath, ADriveWithoutAFolderIsAnErrorThatNamesIt)
{
    const test::FakePaths paths;
    std::string strError;
    EXPECT_EQ(ToNativePath(paths, "E:\\takes\\1.avi", strError), std::nullopt);
    EXPECT_NE(strError.find("e:"), std::string::npos) << strError;
}

} // namespace
} // namespace vireo
