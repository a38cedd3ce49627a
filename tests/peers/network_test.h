#pragma once
#include <gtest/gtest.h>
#include <string>

namespace vireo::peers {

/// What hangs on the software USB cables of every such test program, in this order.
constexpr const char* kUsbCameras = "u3v:GS3-U3-23S6M:17000001,iidc:GS3-U3-23S6C:17000042";

/// Pulls the plug of the n-th of them, or puts it in again; lets its next frames come in pieces; has another
/// program hold it; lets it hold on to every request; lets it answer none while its frames flow.
void PlugUsb(unsigned int uiCamera, bool bIn);
void TearUsb(unsigned int uiCamera, int iFrames);
void ClaimUsb(unsigned int uiCamera, bool bElsewhere);
void HangUsb(unsigned int uiCamera, bool bHung);
void MuteUsb(unsigned int uiCamera, bool bMute);

/// Why this program got no network of its own; empty when it has one. Set by main().
const std::string& NetworkRefusal();

/// A test that talks to software cameras. Skipped, with the reason, where the kernel forbids a network of
/// the test's own; where changes are judged (CI is set) that is a failure.
class NetworkTest : public testing::Test {
protected:
    void SetUp() override;
};

} // namespace vireo::peers
