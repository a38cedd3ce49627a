#include "platform/simulated/camera_models.h"
#include "platform/simulated/simulated_setup.h"

#include <gmock/gmock.h>

namespace vireo {
namespace {

using Specs = std::vector<SimulatedCameraSpec>;

TEST(CameraModels, KnowsTheInterfaceAndColourByTheName)
{
    const struct {
        const char* pName;
        InterfaceType eInterface;
        bool bColour;
        std::uint32_t uiWidth, uiHeight;
    } kRows[] = {
        { "GS3-U3-23S6M", InterfaceType::Usb3, false, 1920, 1200 },
        { "GS3-U3-23S6C", InterfaceType::Usb3, true, 1920, 1200 },
        { "GS3-PGE-23S6M", InterfaceType::GigE, false, 1920, 1200 },
        { "GS3-PGE-23S6C", InterfaceType::GigE, true, 1920, 1200 },
        { "FL3-U3-13Y3M", InterfaceType::Usb3, false, 1280, 1024 },
        { "FL3-U3-13E4C", InterfaceType::Usb3, true, 1280, 1024 },
        { "GRAS-03K2", InterfaceType::Ieee1394, false, 640, 480 },
        { "GRAS-03K2C", InterfaceType::Ieee1394, true, 640, 480 },
        { "FFMV-03M2M", InterfaceType::Ieee1394, false, 640, 480 },
        { "FFMV-03M2C", InterfaceType::Ieee1394, true, 640, 480 },
        { "DR2-HIBW", InterfaceType::Ieee1394, false, 640, 480 },
        { "Flea ", InterfaceType::Ieee1394, false, 640, 480 },
        { "FL2-03S2C", InterfaceType::Ieee1394, true, 640, 480 },
        { "Dragonfly Express", InterfaceType::Ieee1394, false, 640, 480 },
        { "DX-BW", InterfaceType::Ieee1394, false, 656, 490 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        const CameraModel* const pModel = FindCameraModel(row.pName);
        ASSERT_NE(pModel, nullptr);
        EXPECT_EQ(InterfaceOfModel(row.pName), row.eInterface);
        EXPECT_EQ(IsColourModel(row.pName), row.bColour);
        EXPECT_EQ(pModel->uiSensorWidth, row.uiWidth);
        EXPECT_EQ(pModel->uiSensorHeight, row.uiHeight);
    }
}

TEST(CameraModels, KnowsNoOthers)
{
    for (const char* pName :
        { "", "Flea", "Flea3", "GS3-U3-23S6", "GS3-U3-23S6MX", "gras-03k2", "GRAS-03;K2", "FL3-U3" })
        EXPECT_EQ(FindCameraModel(pName), nullptr) << pName;
}

TEST(CameraModels, EveryRowIsWholeAndFoundByItsOwnText)
{
    for (const CameraModel& model : CameraModelTable()) {
        SCOPED_TRACE(model.strText);
        EXPECT_EQ(FindCameraModel(model.strText), &model);
        EXPECT_GT(model.modes[0].uiMaxWidth, 0U);
        EXPECT_LE(model.modes[0].uiMaxWidth, model.uiSensorWidth);
        EXPECT_GT(model.modes[0].uiRowNs, 0U);
        EXPECT_EQ(model.uiMaxPacket % kPacketUnit, 0U);
        EXPECT_LT(model.fGainMinDb, model.fGainMaxDb);
    }
}

TEST(CameraSource, ReadsModelsCountsAndSerialNumbers)
{
    const struct {
        const char* pSource;
        Specs specs;
    } kRows[] = {
        { "simulated",
            { { "FL3-U3-13Y3M", 13000001 }, { "FL3-U3-13Y3M", 13000002 }, { "FL3-U3-13Y3M", 13000003 },
                { "FL3-U3-13Y3M", 13000004 } } },
        { "simulated:2xGS3-U3-23S6M@17000001+GS3-PGE-23S6C",
            { { "GS3-U3-23S6M", 17000001 }, { "GS3-U3-23S6M", 17000002 }, { "GS3-PGE-23S6C", 15100001 } } },
        { "simulated:GRAS-03K2@7+GRAS-03K2@3", { { "GRAS-03K2", 7 }, { "GRAS-03K2", 3 } } },
        { "simulated:DX-BW+2xDX-BW", { { "DX-BW", 7100001 }, { "DX-BW", 7100002 }, { "DX-BW", 7100003 } } },
        { "simulated:1xFlea @5", { { "Flea ", 5 } } },
        { "simulated:FFMV-03M2C@4294967295", { { "FFMV-03M2C", 4294967295U } } },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pSource);
        Specs specs;
        EXPECT_EQ(ParseSimulatedSource(row.pSource, specs), "");
        EXPECT_EQ(specs, row.specs);
    }
}

TEST(CameraSource, AppendsToTheCamerasOfAnEarlierSource)
{
    Specs specs { { "FL3-U3-13Y3M", 13000001 } };
    EXPECT_EQ(ParseSimulatedSource("simulated:FL3-U3-13Y3M", specs), "");
    EXPECT_EQ(specs, (Specs { { "FL3-U3-13Y3M", 13000001 }, { "FL3-U3-13Y3M", 13000002 } }));
}

TEST(CameraSource, NamesTheBadItem)
{
    const struct {
        const char* pSource;
        const char* pNamed;
    } kRows[] = {
        { "simulate", "\"simulate\"" },
        { "simulated2", "\"simulated2\"" },
        { "simulated:", "\"\"" },
        { "simulated:GRAS-03K2+", "\"\"" },
        { "simulated:GRAS-03K2+2xFoo@1", "\"2xFoo@1\"" },
        { "simulated:Flea3", "\"Flea3\"" },
        { "simulated:0xGRAS-03K2", "\"0xGRAS-03K2\"" },
        { "simulated:65xGRAS-03K2", "\"65xGRAS-03K2\"" },
        { "simulated:-1xGRAS-03K2", "\"-1xGRAS-03K2\"" },
        { "simulated:2GRAS-03K2", "\"2GRAS-03K2\"" },
        { "simulated:99999999999999999999xGRAS-03K2", "\"99999999999999999999xGRAS-03K2\"" },
        { "simulated:GRAS-03K2@", "\"GRAS-03K2@\"" },
        { "simulated:GRAS-03K2@x", "\"GRAS-03K2@x\"" },
        { "simulated:GRAS-03K2@4294967296", "\"GRAS-03K2@4294967296\"" },
        { "simulated:2xGRAS-03K2@4294967295", "\"2xGRAS-03K2@4294967295\"" },
        { "simulated:GRAS-03K2@5+DX-BW@5", "\"DX-BW@5\"" },
        { "simulated:40xGRAS-03K2+40xDX-BW", "\"40xDX-BW\"" },
        { "simulated:a\nb\x7F", "\"a\\x0ab\\x7f\"" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pSource);
        Specs specs { { "DX-BW", 1 } };
        const std::string strError = ParseSimulatedSource(row.pSource, specs);
        EXPECT_THAT(strError, testing::HasSubstr(row.pNamed));
        EXPECT_EQ(strError.find('\n'), std::string::npos);
        EXPECT_EQ(specs.size(), 1U); // untouched
    }
}

} // namespace
} // namespace vireo
