#include "peers/network_test.h"

#include "peers/own_network.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>
#include <vector>

namespace vireo::peers {

namespace {

std::string g_strRefusal;

} // namespace

const std::string& NetworkRefusal() { return g_strRefusal; }

namespace {

/// Asks the stand-in for one of its own functions.
void TellUsb(const char* strFunction, unsigned int uiCamera, int iValue)
{
    const auto pFunction = reinterpret_cast<void (*)(unsigned int, int)>(dlsym(RTLD_DEFAULT, strFunction));
    ASSERT_NE(pFunction, nullptr);
    pFunction(uiCamera, iValue);
}

} // namespace

void PlugUsb(unsigned int uiCamera, bool bIn) { TellUsb("TesselUsbPlug", uiCamera, bIn ? 1 : 0); }
void TearUsb(unsigned int uiCamera, int iFrames) { TellUsb("TesselUsbTear", uiCamera, iFrames); }
void ClaimUsb(unsigned int uiCamera, bool bElsewhere) { TellUsb("TesselUsbClaim", uiCamera, bElsewhere ? 1 : 0); }
void MuteUsb(unsigned int uiCamera, bool bMute) { TellUsb("TesselUsbMute", uiCamera, bMute ? 1 : 0); }
void HangUsb(unsigned int uiCamera, bool bHung) { TellUsb("TesselUsbHang", uiCamera, bHung ? 1 : 0); }

void NetworkTest::SetUp()
{
    if (g_strRefusal.empty())
        return;
    const char* strCi = std::getenv("CI");
    if (strCi != nullptr && *strCi != '\0')
        FAIL() << g_strRefusal;
    GTEST_SKIP() << g_strRefusal;
}

} // namespace vireo::peers

namespace {

/// Starts this program over with software in the place of libusb, so that no real cable is touched.
void PreloadUsbStandin(char** argv)
{
    constexpr const char* kPreload = "LD_PRELOAD";
    const char* strNow = std::getenv(kPreload);
    if (strNow != nullptr && std::strstr(strNow, TESSEL_USB_STANDIN) != nullptr)
        return;
    const std::string strAll = strNow != nullptr ? std::string(TESSEL_USB_STANDIN ":") + strNow : TESSEL_USB_STANDIN;
    setenv(kPreload, strAll.c_str(), 1);
    setenv("TESSEL_USB_CAMERAS", vireo::peers::kUsbCameras, 0);
    // The sanitizer's own library then stands second, which it would not like.
    const char* strOptions = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", (std::string(strOptions != nullptr ? strOptions : "") + ":verify_asan_link_order=0").c_str(),
        1);
    execv("/proc/self/exe", argv);
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<char*> arguments(argv, argv + argc + 1); // gtest takes its own out
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests)) {
        PreloadUsbStandin(const_cast<char**>(arguments.data()));
        vireo::peers::g_strRefusal = vireo::peers::EnterOwnNetwork();
    }
    return RUN_ALL_TESTS();
}
