#include "platform/linux/partner_link_fixture.h"
#include "support/run_tool.h"
#include "support/running_program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <thread>

namespace vireo {
namespace {

using test::RawPeer;
using test::RunningProgram;
using test::RunTool;
using test::ToolResult;
using testing::ElementsAre;
using testing::HasSubstr;

/// The program itself, with what it talks to played by the test.
class TesselCtl : public test::PartnerLinkTest {
protected:
    static ToolResult Ctl(const char* pVerb) { return RunTool({ TESSEL_CTL_PROGRAM, pVerb }); }
    /// Listening as Marten when it returns.
    static std::unique_ptr<RunningProgram> ListenAsMarten(
        const std::string& strOutput = "/dev/stdout", const std::string& strLead = "")
    {
        // A shell puts the output where the test wants it, and is then the program.
        auto program = std::make_unique<RunningProgram>(std::vector<std::string> {
            "sh", "-c", strLead + "exec " TESSEL_CTL_PROGRAM " listen --title Marten > " + strOutput });
        EXPECT_TRUE(program->WaitForErr("listening as Marten\n")) << program->Err();
        return program;
    }
};

/// Takes one connection, hears one line, says something and hangs up.
class RudeProgram {
public:
    RudeProgram(const std::string& strFolder, const std::string& strSaid)
    {
        std::filesystem::create_directory(strFolder);
        const SocketAddress address(strFolder, PartnerSocketName("Tessel"));
        EXPECT_EQ(bind(m_socket.Number(), address.Get(), address.Size()), 0);
        EXPECT_EQ(listen(m_socket.Number(), 5), 0);
        m_thread = std::thread([this, strSaid] {
            pollfd connection { m_socket.Number(), POLLIN, 0 };
            poll(&connection, 1, -1);
            const FileDescriptor peer(accept4(m_socket.Number(), nullptr, nullptr, SOCK_CLOEXEC));
            char c = 0;
            while (recv(peer.Number(), &c, 1, 0) == 1 && c != '\n')
                m_strHeard += c;
            send(peer.Number(), strSaid.data(), strSaid.size(), MSG_NOSIGNAL);
        });
    }
    ~RudeProgram() { m_thread.join(); }

private:
    FileDescriptor m_socket = MakeSocket();
    std::string m_strHeard;
    std::thread m_thread;
};

TEST_F(TesselCtl, StartAndStopAreCopyData)
{
    const auto program = Listen();
    for (const char* pVerb : { "start", "stop" }) {
        const ToolResult result = Ctl(pVerb);
        EXPECT_EQ(result.iExit, 0);
        EXPECT_EQ(result.strOut + result.strErr, "");
    }
    EXPECT_THAT(m_inbox.WaitFor(2), ElementsAre("copydata 1081 2\n", "copydata 1081 1\n"));
}

TEST_F(TesselCtl, NobodyThereIsStatusOne)
{
    const ToolResult result = Ctl("start");
    EXPECT_EQ(result.iExit, 1);
    EXPECT_EQ(result.strErr, "tessel-ctl: no program is running\n");
}

TEST_F(TesselCtl, WrongUseIsStatusTwo) { EXPECT_EQ(Ctl("strat").iExit, 2); }

TEST_F(TesselCtl, AnswersOtherThanDoneHaveAStatusEach)
{
    const struct {
        const char* pAnswer;
        int iExit;
        const char* pSaid;
    } kRows[] = {
        { "unknown\n", 3, "tessel-ctl: the program did not understand\n" },
        { "", 4, "tessel-ctl: the program hung up\n" },
        { "don", 4, "tessel-ctl: the program hung up\n" },
        { "what?\n", 4, "tessel-ctl: the program hung up\n" },
        { "done\n", 0, "" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pAnswer);
        const RudeProgram program(m_folder / "tessel", row.pAnswer);
        const ToolResult result = Ctl("stop");
        EXPECT_EQ(result.iExit, row.iExit);
        EXPECT_EQ(result.strErr, row.pSaid);
        std::filesystem::remove(SocketFile());
    }
}

TEST_F(TesselCtl, AFolderOfSomebodyElseIsStatusFour)
{
    test::WriteFile(m_folder / "tessel", "no folder");
    const ToolResult result = Ctl("start");
    EXPECT_EQ(result.iExit, 4);
    EXPECT_EQ(result.strErr, "tessel-ctl: the program is another user's\n");
}

TEST_F(TesselCtl, AProgramThatHangsIsStatusFive)
{
    const auto program = Listen();
    m_inbox.Hold(true);
    const ToolResult result = Ctl("start");
    EXPECT_EQ(result.iExit, 5);
    EXPECT_EQ(result.strErr, "tessel-ctl: the program has not answered\n");
    m_inbox.Hold(false);
}

TEST_F(TesselCtl, AListenerPrintsALineForEachMessage)
{
    const auto listener = ListenAsMarten();
    const auto window = m_link.FindWindow("Marten");
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->Post(partner::kRecordingStarted));
    EXPECT_TRUE(listener->WaitForOut("command 32781\n"));
    EXPECT_TRUE(window->Send(partner::kRecordingFinished));
    EXPECT_TRUE(listener->WaitForOut("command 32782\n")) << "printed at once, not when the program ends";
    const auto client = PartnerClient::Find("Marten");
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(client->Ask({ PartnerMessage::Kind::CopyData, 7, "計測 1" }), PartnerClient::Answer::Done);
    listener->Signal(SIGTERM);
    EXPECT_EQ(listener->WaitForEnd(), 0);
    EXPECT_EQ(listener->Out(), "command 32781\ncommand 32782\ncopydata 7 計測 1\n");
    EXPECT_EQ(listener->Err(), "tessel-ctl: listening as Marten\n");
}

TEST_F(TesselCtl, AListenerEndsWellOnEitherSignal)
{
    for (const int iSignal : { SIGINT, SIGTERM, SIGHUP }) {
        const auto listener = ListenAsMarten();
        EXPECT_TRUE(std::filesystem::exists(SocketFile("Marten")));
        listener->Signal(iSignal);
        EXPECT_EQ(listener->WaitForEnd(), 0) << iSignal;
        EXPECT_FALSE(std::filesystem::exists(SocketFile("Marten"))) << iSignal;
    }
}

TEST_F(TesselCtl, AListenerUnderNohupOutlivesItsTerminal)
{
    const auto listener = ListenAsMarten("/dev/stdout", "trap '' HUP; ");
    listener->Signal(SIGHUP);
    EXPECT_TRUE(m_link.FindWindow("Marten")->Send(1));
    EXPECT_TRUE(listener->WaitForOut("command 1\n"));
    listener->Signal(SIGTERM);
    EXPECT_EQ(listener->WaitForEnd(), 0);
}

TEST_F(TesselCtl, ATitleThatIsTakenIsNotListenedUnder)
{
    const auto listener = ListenAsMarten();
    const ToolResult second = RunTool({ TESSEL_CTL_PROGRAM, "listen", "--title", "Marten" });
    EXPECT_EQ(second.iExit, 1);
    EXPECT_EQ(second.strErr, "tessel-ctl: Marten: another program listens under this title\n");
    EXPECT_NE(m_link.FindWindow("Marten"), nullptr) << "the first one still listens";
}

TEST_F(TesselCtl, AListenerTellsOfPeersThatTalkNonsense)
{
    const auto listener = ListenAsMarten();
    RawPeer peer(SocketFile("Marten"));
    peer.Say("hello\n");
    EXPECT_EQ(peer.Hear(), "unknown");
    EXPECT_TRUE(listener->WaitForErr("partner link Marten: a line was not understood\n"));
    EXPECT_EQ(listener->Out(), "");
}

/// A reader's end of a pipe that a listener prints into.
class PrintedPipe : public TesselCtl {
protected:
    PrintedPipe()
    {
        EXPECT_EQ(mkfifo(m_strPipe.c_str(), 0600), 0);
        m_reader = FileDescriptor(open(m_strPipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
    const std::string m_strPipe = m_folder / "pipe";
    FileDescriptor m_reader;
};

TEST_F(PrintedPipe, WithoutAReaderEndsTheListener)
{
    const auto listener = ListenAsMarten(m_strPipe);
    m_reader.Close();
    EXPECT_TRUE(m_link.FindWindow("Marten")->Post(1));
    EXPECT_EQ(listener->WaitForEnd(), 1);
    EXPECT_THAT(listener->Err(), HasSubstr("tessel-ctl: the output takes no lines\n"));
    EXPECT_FALSE(std::filesystem::exists(SocketFile("Marten")));
}

TEST_F(PrintedPipe, WhoseReaderSleepsKeepsNoListenerFromEnding)
{
    const auto listener = ListenAsMarten(m_strPipe);
    const auto client = PartnerClient::Find("Marten");
    ASSERT_NE(client, nullptr);
    const PartnerMessage large { PartnerMessage::Kind::CopyData, 1, std::string(4000, 'x') };
    auto eAnswer = PartnerClient::Answer::Done;
    while (eAnswer == PartnerClient::Answer::Done)
        eAnswer = client->Ask(large);
    EXPECT_EQ(eAnswer, PartnerClient::Answer::None) << "the pipe is full";
    listener->Signal(SIGTERM);
    EXPECT_EQ(listener->WaitForEnd(), 0);
}

} // namespace
} // namespace vireo
