#include "camera/camera_model_kind.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace vireo;

TEST(CameraModelKind, IsToldByTextsAnywhereInTheName)
{
    using enum CameraModelKind;
    const struct {
        const char* pModel;
        CameraModelKind eKinds;
    } kRows[] = {
        { "GS3-U3-23S6M", Gs3Usb3 }, { "A GS3-U3-23S6C-C", Gs3Usb3 }, { "GS3-PGE-23S6M", Gs3GigE },
        { "GS3-PGE-23S6C", Gs3GigE }, { "FL3-U3-13Y3M", Fl3Mono }, { "FL3-U3-13E4C", Fl3Colour },
        { "Dragonfly Express DX-BW", DragonflyExpress }, { "GRAS-03K2", Gras }, { "GRAS-03S2M", Gras },
        { "FFMV-03M2C", Ffmv }, { "DR2-13S2C", OlderFireWire }, { "Flea 2G", OlderFireWire },
        { "FL2-03S2M", OlderFireWire }, { "Flea3", Other }, // no blank behind "Flea"
        { "gs3-u3-23s6m", Other }, // case counts
        { "GS3-U3-41C6M", Other }, { "", Other }, { "GRAS-03 FFMV-03", Gras | Ffmv }, // both
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pModel);
        EXPECT_EQ(ClassifyModel(row.pModel), row.eKinds);
    }
}

TEST(CameraModelKind, ExactlySixModelsAreStrobeCapable)
{
    for (const char* pModel :
        { "GS3-U3-23S6M", "GS3-U3-23S6C", "GS3-PGE-23S6M", "GS3-PGE-23S6C", "FL3-U3-13Y3M", "FL3-U3-13E4C" })
        EXPECT_TRUE(IsStrobeCapable(pModel)) << pModel;
    for (const char* pModel : { "GRAS-03K2", "FFMV-03", "Dragonfly Express", "DX-BW", "FL2-03", "GS3-U3-41C6M" })
        EXPECT_FALSE(IsStrobeCapable(pModel)) << pModel;
}

TEST(CameraModelKind, LimitRowsStandInTheOrderInWhichTheyApply)
{
    const auto rows = ModelLimitTable();
    ASSERT_EQ(rows.size(), 8U);
    std::vector<std::vector<int>> values;
    for (const ModelLimits& row : rows)
        values.push_back({ row.iGainMinDb, row.iGainMaxDb, row.iMaxFps });
    EXPECT_EQ(values,
        (std::vector<std::vector<int>> { { 0, 29, 350 }, { 0, 29, 250 }, { 0, 18, 400 }, { 0, 18, 118 },
            { -6, 30, 200 }, { 0, 24, 200 }, { 0, 12, 60 }, { 0, 24, 60 } }));
}
