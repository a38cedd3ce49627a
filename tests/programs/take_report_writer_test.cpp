#include "programs/take_report_writer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace vireo;

namespace {

TakeReport MakeReport()
{
    TakeReport report;
    report.iFpsRequested = 400;
    report.dFpsMeasured = 399.98;
    report.iFrames = 2000;
    report.uiMissed = 3;
    report.uiOutOfSync = 1;
    report.dRecordSeconds = 5.0;
    report.dSaveSeconds = 1.25;
    report.uiStoreKiB = 620;
    report.eVerdict = Verdict::FramesMissed;
    report.strReason = "camera 2 misses 3 before frame 120";
    CameraReport camera;
    camera.iNumber = 2;
    camera.uiSerial = 13000002;
    camera.strModel = "FL3-U3-13Y3M";
    camera.eInterface = InterfaceType::Usb3;
    camera.files = { "take-cam2-0000.avi", "take-cam2-0001.avi" };
    camera.iFirstSaved = 10;
    camera.iSaved = 1990;
    camera.iReadBack = 1999;
    camera.iFrames = 2000;
    camera.dFirstTimestamp = 9.125;
    camera.gaps = { { 120, 3 } };
    camera.iLostBefore = 1;
    camera.dMaxIntervalUs = 10000.0;
    camera.dMaxOffsetUs = 12.5;
    camera.dClockPpm = -7.25;
    camera.statistics = { 4, 5, 6 };
    camera.uiColdSlots = 7;
    camera.bLost = true;
    report.cameras.push_back(camera);
    return report;
}

} // namespace

TEST(TakeReportWriter, EveryFieldIsThereUnderItsName)
{
    const auto json = nlohmann::json::parse(TakeReportJson(MakeReport()));
    EXPECT_EQ(json.at("fps_requested"), 400);
    EXPECT_EQ(json.at("fps_measured"), 399.98);
    EXPECT_EQ(json.at("frames"), 2000);
    EXPECT_EQ(json.at("missed"), 3);
    EXPECT_EQ(json.at("out_of_sync"), 1);
    EXPECT_EQ(json.at("record_seconds"), 5.0);
    EXPECT_EQ(json.at("save_seconds"), 1.25);
    EXPECT_EQ(json.at("store_kib"), 620);
    EXPECT_EQ(json.at("verdict"), "frames missed");
    EXPECT_FALSE(json.contains("error"));
    const auto& camera = json.at("cameras").at(0);
    EXPECT_EQ(camera.at("index"), 0);
    EXPECT_EQ(camera.at("number"), 2);
    EXPECT_EQ(camera.at("serial"), 13000002);
    EXPECT_EQ(camera.at("model"), "FL3-U3-13Y3M");
    EXPECT_EQ(camera.at("interface"), "USB3");
    EXPECT_EQ(camera.at("files"), (std::vector<std::string> { "take-cam2-0000.avi", "take-cam2-0001.avi" }));
    EXPECT_EQ(camera.at("first_saved"), 10);
    EXPECT_EQ(camera.at("saved"), 1990);
    EXPECT_EQ(camera.at("read_back"), 1999);
    EXPECT_EQ(camera.at("frames"), 2000);
    EXPECT_EQ(camera.at("first_timestamp"), 9.125);
    EXPECT_EQ(camera.at("gaps"), nlohmann::json::parse("[[120, 3]]"));
    EXPECT_EQ(camera.at("lost_before"), 1);
    EXPECT_EQ(camera.at("max_interval_us"), 10000.0);
    EXPECT_EQ(camera.at("max_offset_us"), 12.5);
    EXPECT_EQ(camera.at("clock_ppm"), -7.25);
    EXPECT_EQ(camera.at("incomplete"), 4);
    EXPECT_EQ(camera.at("underruns"), 5);
    EXPECT_EQ(camera.at("resends"), 6);
    EXPECT_EQ(camera.at("cold_slots"), 7);
    EXPECT_EQ(camera.at("lost"), true);
}

TEST(TakeReportWriter, AFailureIsToldInTheReport)
{
    const auto json = nlohmann::json::parse(TakeReportJson(MakeReport(), "ｶﾒﾗの接続に失敗しました。(12)"));
    EXPECT_EQ(json.at("error"), "ｶﾒﾗの接続に失敗しました。(12)");
}

TEST(TakeReportWriter, FilesThatNobodyLookedAtHaveNoCount)
{
    TakeReport report = MakeReport();
    report.cameras[0].iReadBack = -1;
    EXPECT_TRUE(nlohmann::json::parse(TakeReportJson(report)).at("cameras").at(0).at("read_back").is_null());
}

TEST(TakeReportWriter, BytesThatAreNoTextDoNotBreakIt)
{
    TakeReport report = MakeReport();
    report.cameras[0].strModel = "bad\xFFname";
    EXPECT_TRUE(nlohmann::json::accept(TakeReportJson(report)));
}

TEST(TakeReportWriter, TheTableHasALineForEachSavedFrame)
{
    TakeReport report;
    report.dOffsetLimitUs = 1250.0;
    CameraReport camera;
    camera.iSaved = 5;
    camera.times = { 127.9975, 128.0, 128.0025, 128.01, 128.0125 };
    camera.exposures = { 40, 41, -1, 45, 46 };
    camera.gaps = { { 2, 1 }, { 3, 2 } };
    camera.bCompared = true;
    report.cameras = { camera, camera };
    report.cameras[1].gaps = { { 3, 2 } };
    report.cameras[1].offsetsUs = { 1250.0, -1250.5, 0.25, 5000.0, 0.0 };
    EXPECT_EQ(TakeCsv(report, 0),
        "frame,exposure,time_s,interval_us,residual_us,state\n"
        "0,40,127.9975000,,0.00,ok\n"
        "1,41,128.0000000,2500.00,0.00,ok\n"
        "2,,128.0025000,2500.00,0.00,missed-before 1\n"
        "3,45,128.0100000,7500.00,0.00,missed-before 2\n"
        "4,46,128.0125000,2500.00,0.00,ok\n");
    EXPECT_EQ(TakeCsv(report, 1),
        "frame,exposure,time_s,interval_us,residual_us,state\n"
        "0,40,127.9975000,,1250.00,ok\n"
        "1,41,128.0000000,2500.00,-1250.50,out-of-sync\n"
        "2,,128.0025000,2500.00,0.25,ok\n"
        "3,45,128.0100000,7500.00,5000.00,missed-before 2\n"
        "4,46,128.0125000,2500.00,0.00,ok\n");
}

TEST(TakeReportWriter, TheTableOfASavedRangeBeginsWithItsFirstFrame)
{
    TakeReport report;
    CameraReport camera;
    camera.iFirstSaved = 1;
    camera.iSaved = 2;
    camera.times = { 1.0, 1.01, 1.02, 1.05 };
    camera.exposures = { 4, 5, 6, 9 };
    camera.gaps = { { 1, 1 }, { 3, 2 } };
    camera.bCompared = true;
    report.cameras = { camera };
    EXPECT_EQ(TakeCsv(report, 0),
        "frame,exposure,time_s,interval_us,residual_us,state\n"
        "0,5,1.0100000,10000.00,0.00,missed-before 1\n"
        "1,6,1.0200000,10000.00,0.00,ok\n");
}

TEST(TakeReportWriter, ResidualsThatCannotBeToldAreEmptyAndAccuseNobody)
{
    TakeReport report;
    report.dOffsetLimitUs = 100.0;
    CameraReport camera;
    camera.iSaved = 1;
    camera.times = { 1.0 };
    camera.exposures = { 4 };
    report.cameras = { camera, camera };
    report.cameras[1].offsetsUs = { 5000.0 };
    report.cameras[1].bCompared = false;
    EXPECT_TRUE(TakeCsv(report, 1).ends_with("0,4,1.0000000,,,ok\n")) << TakeCsv(report, 1);
}

TEST(TakeReportWriter, ALinePerCameraNamesFilesFramesRateAndVerdict)
{
    EXPECT_EQ(CameraLine(MakeReport(), 0),
        "take-cam2-0000.avi take-cam2-0001.avi: 1990 of 2000 frames, 399.98 fps, frames missed (camera 2 misses 3 "
        "before frame 120), 1999 read back, 1 lost before the recording");
    TakeReport report = MakeReport();
    report.cameras[0].iLostBefore = 0;
    report.cameras[0].iReadBack = 1990;
    EXPECT_TRUE(CameraLine(report, 0).ends_with("before frame 120)"));
    report.cameras[0].iReadBack = -1;
    EXPECT_TRUE(CameraLine(report, 0).ends_with(", not read back"));
    report.cameras[0].iSaved = 2000;
    EXPECT_NE(CameraLine(report, 0).find("avi: 2000 frames,"), std::string::npos);
    report.cameras[0].files.clear();
    EXPECT_TRUE(CameraLine(report, 0).starts_with("camera 2 (13000002): no file: 2000 frames, "));
    EXPECT_TRUE(CameraLine(report, 0).ends_with("before frame 120)"));
}
