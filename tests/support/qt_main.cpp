#include "platform/qt/japanese_texts.h"
#include "support/own_display.h"
#include "support/temporary_folder.h"

#include <QApplication>
#include <gtest/gtest.h>
#include <memory>

// The application object of the tests of windows. Profile files land in a folder of their own.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();

    const vireo::test::TemporaryFolder folder;
    setenv("XDG_CONFIG_HOME", folder.Path().c_str(), 1);
    std::unique_ptr<vireo::test::OwnDisplay> display;
    if (std::getenv("VIREO_TEST_OWN_DISPLAY") != nullptr) {
        display = std::make_unique<vireo::test::OwnDisplay>();
        setenv("DISPLAY", display->Name().c_str(), 1);
    } else {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    }
    int iToolkitArguments = 1;
    QApplication application(iToolkitArguments, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    vireo::InstallJapanese(application);
    return RUN_ALL_TESTS();
}
