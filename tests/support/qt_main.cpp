#include "platform/qt/japanese_texts.h"
#include "support/own_display.h"
#include "support/temporary_folder.h"

#include <QApplication>
#include <gtest/gtest.h>
#include <memory>

#if defined(VIREO_TEST_ON_DISPLAY) && defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#define VIREO_TEST_NAMED_LEAKS 1
#endif

namespace {

#ifdef VIREO_TEST_ON_DISPLAY

class NoDisplay : public testing::Environment {
public:
    explicit NoDisplay(std::string strReason)
        : m_strReason(std::move(strReason))
    {
    }
    void SetUp() override
    {
        if (std::getenv("CI") != nullptr)
            FAIL() << m_strReason;
        GTEST_SKIP() << m_strReason;
    }

private:
    std::string m_strReason;
};

// Whatever platform the surroundings ask for: these tests need an X server that nobody else draws on.
std::unique_ptr<vireo::test::OwnDisplay> ChoosePlatform()
{
    auto display = std::make_unique<vireo::test::OwnDisplay>();
    setenv("DISPLAY", display->Name().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    return display;
}

#else

std::unique_ptr<vireo::test::OwnDisplay> ChoosePlatform()
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return nullptr;
}

#endif

} // namespace

// The application object of the tests of windows. Profile files land in a folder of their own.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();

    const vireo::test::TemporaryFolder folder;
    setenv("XDG_CONFIG_HOME", folder.Path().c_str(), 1);
    std::unique_ptr<vireo::test::OwnDisplay> display;
#ifdef VIREO_TEST_ON_DISPLAY
    try {
        display = ChoosePlatform();
    } catch (const std::exception& exception) {
        testing::AddGlobalTestEnvironment(new NoDisplay(exception.what()));
        return RUN_ALL_TESTS();
    }
#else
    display = ChoosePlatform();
#endif
    int iToolkitArguments = 1;
    QApplication application(iToolkitArguments, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    vireo::InstallJapanese(application);
    const int iStatus = RUN_ALL_TESTS();
#ifdef VIREO_TEST_NAMED_LEAKS
    // The GL driver goes with the application object; what it leaves behind would bear no library's name then.
    const int iLeaks = __lsan_do_recoverable_leak_check();
    display.reset();
    std::filesystem::remove_all(folder.Path());
    std::_Exit(iStatus != 0 ? iStatus : iLeaks);
#endif
    return iStatus;
}
