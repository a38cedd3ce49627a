#include "platform/simulated/simulated_setup.h"

#include <gmock/gmock.h>

namespace vireo {
namespace {

SimulatedFaults Parsed(std::string_view strRules)
{
    SimulatedFaults faults;
    EXPECT_EQ(ParseSimulatedFaults(strRules, 4, faults), "");
    faults.cameras.resize(4);
    return faults;
}

TEST(FaultRules, ReadsEveryKind)
{
    const SimulatedFaults faults = Parsed("drop:0@100;drop:0@200x3; skew:1=-250.5 ;drift:1=100;phase:2=3000;"
                                          "missedge:2@7x2;untrigger:3@50;torn:3@9;stall:3@12=40.25;hang:0@500;"
                                          "unplug:1@600;;");
    EXPECT_THAT(faults.cameras[0].drop, testing::ElementsAre(NumberRange { 100, 1 }, NumberRange { 200, 3 }));
    EXPECT_EQ(faults.cameras[0].hang, 500U);
    EXPECT_EQ(faults.cameras[1].skew, -250'500);
    EXPECT_EQ(faults.cameras[1].drift, 100'000);
    EXPECT_EQ(faults.cameras[1].unplug, 600U);
    EXPECT_EQ(faults.cameras[2].phase, 3'000'000);
    EXPECT_THAT(faults.cameras[2].missedge, testing::ElementsAre(NumberRange { 7, 2 }));
    EXPECT_EQ(faults.cameras[3].untrigger, 50U);
    EXPECT_THAT(faults.cameras[3].torn, testing::ElementsAre(NumberRange { 9, 1 }));
    ASSERT_EQ(faults.cameras[3].stall.size(), 1U);
    EXPECT_EQ(faults.cameras[3].stall[0].uiNumber, 12U);
    EXPECT_EQ(faults.cameras[3].stall[0].delay, 40'250'000);
}

TEST(FaultRules, ReadsFailingCalls)
{
    const SimulatedFaults faults = Parsed("error:StartCapture:13;error:RetrieveBuffer:41@3#2");
    ASSERT_EQ(faults.errors.size(), 2U);
    EXPECT_EQ(faults.errors[0].eOperation, Operation::StartCapture);
    EXPECT_EQ(faults.errors[0].eType, ErrorType::OutOfResources);
    EXPECT_EQ(faults.errors[0].uiCall, 1U);
    EXPECT_FALSE(faults.errors[0].camera);
    EXPECT_EQ(faults.errors[1].eOperation, Operation::RetrieveBuffer);
    EXPECT_EQ(faults.errors[1].eType, ErrorType::InconsistentFrame);
    EXPECT_EQ(faults.errors[1].uiCall, 3U);
    EXPECT_EQ(faults.errors[1].camera, 2U);
}

TEST(FaultRules, ReadsTheGenerator)
{
    EXPECT_EQ(Parsed("trigger:100").generator->iMilliHertz, 100'000);
    EXPECT_FALSE(Parsed("trigger:100").generator->delay);
    EXPECT_EQ(Parsed("trigger:29.97@1500").generator->iMilliHertz, 29'970);
    EXPECT_EQ(Parsed("trigger:29.97@1500").generator->delay, 1500 * kNsPerMs);
}

TEST(FaultRules, NoTextMeansNoFaults)
{
    for (const char* pText : { "", ";", " ; " }) {
        const SimulatedFaults faults = Parsed(pText);
        EXPECT_TRUE(faults.errors.empty());
        EXPECT_FALSE(faults.generator);
    }
}

TEST(FaultRules, NamesTheBadRule)
{
    const char* const kBad[] = { "drop", "drop:", "drop:1", "drop:1@", "drop:x@1", "drop:4@1", "drop:1@1x0",
        "drop:1@1x", "drop:1@-1", "fall:1@1", "Drop:1@1", "skew:1", "skew:1=", "skew:1=a", "skew:1=1.2345", "skew:1=1.",
        "skew:1=99999999999999", "skew:9=1", "drift:1=500001", "drift:1=1e3", "phase:1=-1", "phase:5=1", "missedge:1",
        "untrigger:1", "untrigger:1@2x3", "torn:1@", "stall:1@2", "stall:1@2=", "stall:1@2=-4", "hang:1=2", "unplug:@2",
        "error:Fly:18", "error:StartCapture", "error:StartCapture:0", "error:StartCapture:21",
        "error:StartCapture:18@0", "error:StartCapture:18@", "error:StartCapture:18#4", "error:StartCapture:18#",
        "error:StartSyncCapture:18#1", "error:GetNumOfCameras:18#0", "trigger:0", "trigger:-5",
        "trigger:", "trigger:100@", "trigger:100@-1", "trigger:100001" };
    for (const std::string strBad : kBad) {
        SCOPED_TRACE(strBad);
        SimulatedFaults faults;
        const std::string strError = ParseSimulatedFaults("drop:0@1; " + strBad + " ;torn:1@2", 4, faults);
        EXPECT_THAT(strError, testing::HasSubstr('"' + strBad + '"'));
        EXPECT_EQ(strError.find('\n'), std::string::npos);
        EXPECT_TRUE(faults.cameras.empty()); // untouched
    }
}

TEST(FaultRules, WhatCanOnlyBeOnceIsRefusedTwice)
{
    for (const char* pTwice : { "skew:1=1;skew:1=2", "drift:1=1;drift:1=1", "untrigger:1@1;untrigger:1@2",
             "hang:1@1;hang:1@2", "unplug:1@1;unplug:1@1", "trigger:5;trigger:6" }) {
        SimulatedFaults faults;
        EXPECT_THAT(ParseSimulatedFaults(pTwice, 2, faults), testing::HasSubstr("twice")) << pTwice;
    }
}

TEST(FaultRules, EveryOperationIsFoundByItsName)
{
    for (std::size_t i = 0; i < kOperationCount; ++i) {
        const auto eOperation = static_cast<Operation>(i);
        EXPECT_FALSE(OperationName(eOperation).empty());
        EXPECT_EQ(FindOperation(OperationName(eOperation)), eOperation);
    }
    EXPECT_FALSE(FindOperation("retrievebuffer"));
}

} // namespace
} // namespace vireo
