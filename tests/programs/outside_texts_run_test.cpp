// Texts from outside with "%n" and "%s" in them, through the real programs: they come out as they went in.
#include "cooperation_run.h"
#include "platform/linux/partner_link_fixture.h"

namespace vireo {
namespace {

using test::RawPeer;
using test::RunTool;
using test::ToolResult;

constexpr const char* kHostile = "%n%s%n%100000d";

class OutsideTexts : public test::CooperationRun { };

TEST_F(OutsideTexts, OfAPartnerAndOfTheSettingsAreNeverFormats)
{
    const std::string strText = kHostile;
    std::string strSettings;
    for (int i = 0; i <= 4; ++i)
        strSettings += "[CAM_PROPERTY_DATA" + std::to_string(i) + "]\r\nbutton=" + strText + "\r\nPath=" + strText
            + "\r\nGain=" + strText + "\r\nSyncPath=" + strText + "\r\n";
    strSettings += "[FILENAME]\r\nfile1=" + strText + "\r\nfile2=" + strText + "\r\n";
    std::filesystem::create_directories(std::filesystem::path(SettingsFile()).parent_path());
    test::WriteFile(SettingsFile(), strSettings);
    StartPartner(strText);
    std::vector<std::string> tokens = Tokens("1 640 480 350 500 0 0", 4);
    tokens[0] = strText;
    tokens[8] = strText + ".avi";
    const auto program = Tessel(tokens);
    const std::string strSocket = RuntimeFolder() + "/tessel/" + PartnerSocketName("Tessel");
    while (!program->HasEnded() && !RawPeer(strSocket).IsConnected()) { }
    RawPeer peer(strSocket);
    peer.Say("copydata 1081 " + strText + "\n");
    EXPECT_EQ(peer.Hear(), "done") << "a text that starts and stops nothing";
    peer.Say(strText + "\n");
    EXPECT_EQ(peer.Hear(), "unknown");
    EXPECT_TRUE(m_partner->Out().empty());
    EXPECT_EQ(Ctl("start").iExit, 0);
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), "command 32781\ncommand 32782\n");
    EXPECT_EQ(Files().front(), strText + "-cam1-0000.avi");
    EXPECT_EQ(Files().size(), 4U);
    EXPECT_EQ(test::ReadFile(SettingsFile()).substr(0, strSettings.size()), strSettings);
}

TEST(OutsideTextsOfRecord, AreToldToTheLetter)
{
    const test::TemporaryFolder folder;
    const std::string strText = kHostile;
    const std::string strProgram = TESSEL_RECORD_PROGRAM;
    const struct {
        std::vector<std::string> command;
        int iExit;
    } kRows[] = {
        { { strProgram, "--cameras", strText, folder / "take" }, 2 },
        { { strProgram, "--cameras", "simulated:" + strText, folder / "take" }, 2 },
        { { "env", "TESSEL_CAMERAS=" + strText, strProgram, folder / "take" }, 2 },
        { { "env", "TESSEL_SIM_FAULTS=" + strText, strProgram, "--cameras", "simulated", folder / "take" }, 2 },
        { { "env", "TESSEL_MEMORY_LIMIT=" + strText, strProgram, "--cameras", "simulated", folder / "take" }, 2 },
        { { strProgram, "--fps", strText, folder / "take" }, 2 },
        { { strProgram, "--size", strText, folder / "take" }, 2 },
        { { strProgram, "--" + strText, folder / "take" }, 2 },
        { { strProgram, "--cameras", "simulated", folder / (strText + "/take") }, 1 },
        { { strProgram, "--cameras", "simulated:FL3-U3-13Y3M", "--seconds", "1", folder / strText }, 0 },
        { { strProgram, "--cameras", "simulated:FL3-U3-13Y3M", "--seconds", "1", "--json", folder / ("no/" + strText),
              folder / "take" },
            1 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.command));
        const ToolResult result = RunTool(row.command);
        EXPECT_EQ(result.iExit, row.iExit) << result.strErr;
        EXPECT_NE((result.strOut + result.strErr).find(strText), std::string::npos) << result.strErr;
    }
    EXPECT_TRUE(std::filesystem::exists(folder / (strText + "-0000.avi")));
}

} // namespace
} // namespace vireo
