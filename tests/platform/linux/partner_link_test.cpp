#include "partner_link_fixture.h"
#include "platform/linux/socket_partner_link.h"
#include "support/no_thread_left.h"

#include <atomic>
#include <csignal>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>

namespace vireo {
namespace {

using test::PartnerLinkTest;
using test::RawPeer;
using testing::ElementsAre;
namespace fs = std::filesystem;

TEST_F(PartnerLinkTest, AWindowExistsWhileItListens)
{
    EXPECT_EQ(m_link.FindWindow("Tessel"), nullptr);
    std::unique_ptr<PartnerListener> listener = Listen();
    EXPECT_NE(m_link.FindWindow("Tessel"), nullptr);
    EXPECT_EQ(m_link.FindWindow("Tesse"), nullptr);
    EXPECT_EQ(m_link.FindWindow(""), nullptr);
    listener.reset();
    EXPECT_EQ(m_link.FindWindow("Tessel"), nullptr);
    EXPECT_FALSE(fs::exists(SocketFile()));
}

TEST_F(PartnerLinkTest, WithoutAThreadNobodyListensAndTheReasonIsTold)
{
    {
        const test::NoThreadLeft none;
        EXPECT_EQ(m_link.Listen("Tessel", m_inbox.Handler(), m_strError), nullptr);
    }
    EXPECT_THAT(m_strError, testing::StartsWith("Tessel: no thread: "));
    EXPECT_FALSE(fs::exists(SocketFile()));
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0); // the program still hears its signals
    EXPECT_NE(Listen(), nullptr);
}

TEST_F(PartnerLinkTest, TitlesOfAnyLengthAndScriptAreFound)
{
    for (const std::string& strTitle : { std::string("計測 解析"), std::string(40, 'x'), std::string(4000, 'y') }) {
        SCOPED_TRACE(strTitle.substr(0, 50));
        const auto listener = Listen(strTitle);
        EXPECT_NE(m_link.FindWindow(strTitle), nullptr);
    }
}

TEST_F(PartnerLinkTest, AFolderWithALongPathWorks)
{
    const std::string strLong = m_folder / std::string(120, 'p');
    fs::create_directory(strLong);
    m_runtime.Set(strLong);
    const auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->Send(5));
}

TEST_F(PartnerLinkTest, SendWaitsForTheHandlerAndPostDoesNot)
{
    const auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    m_inbox.Hold(true);
    EXPECT_TRUE(window->Post(partner::kRecordingStarted)); // returns though the handler does not
    m_inbox.WaitFor(1);
    std::atomic<bool> bSent = false;
    std::thread sender([&] {
        EXPECT_TRUE(window->Send(partner::kRecordingFinished));
        bSent = true;
    });
    EXPECT_FALSE(bSent) << "the first message is still in the handler";
    m_inbox.Hold(false);
    sender.join();
    EXPECT_THAT(m_inbox.WaitFor(2), ElementsAre("command 32781\n", "command 32782\n"));
}

TEST_F(PartnerLinkTest, OneWindowCarriesManyMessages)
{
    const auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    for (int i = 0; i < 50; ++i)
        ASSERT_TRUE(i % 2 == 0 ? window->Post(i) : window->Send(i));
    EXPECT_EQ(m_inbox.WaitFor(50).size(), 50U);
}

TEST_F(PartnerLinkTest, CancelEndsAWaitAndThoseToCome)
{
    const auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    m_inbox.Hold(true);
    std::thread sender([&] { EXPECT_TRUE(window->Send(1)) << "it was handed over"; });
    m_inbox.WaitFor(1);
    window->Cancel();
    sender.join(); // though the handler still runs
    EXPECT_TRUE(window->Send(2));
    m_inbox.Hold(false);
    EXPECT_EQ(m_inbox.WaitFor(2).size(), 2U) << "what was handed over arrives";
}

TEST_F(PartnerLinkTest, AWaitForABusyPartnerEndsByItself)
{
    const auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    m_inbox.Hold(true);
    EXPECT_TRUE(window->Send(1));
    m_inbox.Hold(false);
}

TEST_F(PartnerLinkTest, TheMessageThatEndsTheWindowIsAnsweredToo)
{
    for (int i = 0; i < 200; ++i) {
        std::promise<void> handled;
        std::unique_ptr<PartnerListener> listener = m_link.Listen(
            "Tessel", [&handled](const PartnerMessage&) { handled.set_value(); }, m_strError);
        ASSERT_NE(listener, nullptr) << m_strError;
        std::future<bool> served = std::async(std::launch::async, [] { return IsServed(1); });
        handled.get_future().wait();
        listener.reset();
        ASSERT_TRUE(served.get()) << i;
    }
}

TEST_F(PartnerLinkTest, WhyThereIsNoWindowIsTold)
{
    auto eAbsence = PartnerClient::Absence::Hung;
    EXPECT_EQ(PartnerClient::Find("Tessel", eAbsence), nullptr);
    EXPECT_EQ(eAbsence, PartnerClient::Absence::NobodyListens);
    test::WriteFile(m_folder / "file", "");
    m_runtime.Set(m_folder / "file"); // no folder can be made in it
    EXPECT_EQ(PartnerClient::Find("Tessel", eAbsence), nullptr);
    EXPECT_EQ(eAbsence, PartnerClient::Absence::Refused);
}

TEST_F(PartnerLinkTest, APartnerThatHasGoneTakesNothing)
{
    auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    listener.reset();
    EXPECT_FALSE(window->Send(1));
    EXPECT_FALSE(window->Post(1));
}

TEST_F(PartnerLinkTest, APartnerThatWasStartedAgainIsReached)
{
    auto listener = Listen();
    const auto window = m_link.FindWindow("Tessel");
    ASSERT_NE(window, nullptr);
    listener.reset();
    listener = Listen();
    EXPECT_TRUE(window->Send(7));
    EXPECT_THAT(m_inbox.WaitFor(1), ElementsAre("command 7\n"));
}

TEST_F(PartnerLinkTest, CopyDataIsAskedAndAnswered)
{
    const auto listener = Listen();
    const auto client = PartnerClient::Find("Tessel");
    ASSERT_NE(client, nullptr);
    using Kind = PartnerMessage::Kind;
    EXPECT_EQ(client->Ask({ Kind::CopyData, 1081, "2" }), PartnerClient::Answer::Done);
    EXPECT_EQ(client->Ask({ Kind::CopyData, -1, "2" }), PartnerClient::Answer::Unknown);
    EXPECT_EQ(client->Ask({ Kind::CopyData, 1081, "2\ncommand 32782" }), PartnerClient::Answer::Lost);
    EXPECT_THAT(m_inbox.WaitFor(1), ElementsAre("copydata 1081 2\n"));
}

TEST_F(PartnerLinkTest, ATitleIsTakenOnce)
{
    auto listener = Listen();
    EXPECT_EQ(m_link.Listen("Tessel", m_inbox.Handler(), m_strError), nullptr);
    EXPECT_NE(m_strError.find("Tessel"), std::string::npos) << m_strError;
    EXPECT_NE(m_link.FindWindow("Tessel"), nullptr) << "the first one goes on";
    listener.reset();
    Listen();
}

TEST_F(PartnerLinkTest, ASocketThatACrashLeftIsReplaced)
{
    fs::create_directory(m_folder / "tessel");
    {
        const SocketAddress address(m_folder / "tessel", PartnerSocketName("Tessel"));
        const FileDescriptor socket = MakeSocket();
        ASSERT_EQ(bind(socket.Number(), address.Get(), address.Size()), 0);
        ASSERT_EQ(listen(socket.Number(), 1), 0);
    }
    ASSERT_TRUE(fs::is_socket(SocketFile()));
    EXPECT_EQ(m_link.FindWindow("Tessel"), nullptr) << "its file is there, but nobody listens";
    const auto listener = Listen();
    EXPECT_NE(m_link.FindWindow("Tessel"), nullptr);
}

TEST_F(PartnerLinkTest, AnEndingListenerLeavesTheSocketOfItsSuccessor)
{
    auto first = Listen();
    fs::remove(SocketFile());
    const auto second = Listen();
    first.reset();
    EXPECT_NE(m_link.FindWindow("Tessel"), nullptr);
}

TEST_F(PartnerLinkTest, EveryLineIsAnsweredInOrder)
{
    const auto listener = Listen();
    RawPeer peer = Peer();
    peer.Say("command 1\ncopydata 1081 a b\ncommand ");
    EXPECT_EQ(peer.Hear(), "done");
    EXPECT_EQ(peer.Hear(), "done");
    peer.Say("3\n");
    EXPECT_EQ(peer.Hear(), "done");
    EXPECT_THAT(m_inbox.WaitFor(3), ElementsAre("command 1\n", "copydata 1081 a b\n", "command 3\n"));
}

TEST_F(PartnerLinkTest, TheAnswerComesAfterTheHandlerHasRun)
{
    const auto listener = Listen();
    m_inbox.Hold(true);
    RawPeer first = Peer();
    first.Say("command 1\n");
    m_inbox.WaitFor(1);
    RawPeer second = Peer();
    second.Say("garbage\n");
    EXPECT_EQ(second.Hear(), "unknown") << "the others are heard meanwhile";
    EXPECT_FALSE(first.HasNews());
    m_inbox.Hold(false);
    EXPECT_EQ(first.Hear(), "done");
}

TEST_F(PartnerLinkTest, AnotherProcessIsReachedAndItsDeathIsNoticed)
{
    int heard[2];
    ASSERT_EQ(pipe(heard), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        std::string strError;
        const auto tell = [&](const PartnerMessage& message) {
            const std::string strLine = FormatPartnerLine(message);
            if (write(heard[1], strLine.data(), strLine.size()) < 0)
                _exit(1);
        };
        const auto listener = m_link.Listen("Marten", tell, strError);
        if (listener == nullptr || write(heard[1], "ready\n", 6) != 6)
            _exit(1);
        pause();
        _exit(0);
    }
    const auto readLine = [&] {
        std::string strLine;
        for (char c = 0; c != '\n' && read(heard[0], &c, 1) == 1;)
            strLine += c;
        return strLine;
    };
    EXPECT_EQ(readLine(), "ready\n");
    const auto window = m_link.FindWindow("Marten");
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->Send(partner::kRecordingFinished));
    EXPECT_EQ(readLine(), "command 32782\n");
    kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_FALSE(window->Send(1));
    EXPECT_EQ(m_link.FindWindow("Marten"), nullptr);
    EXPECT_NE(m_link.Listen("Marten", m_inbox.Handler(), m_strError), nullptr) << m_strError;
    close(heard[0]);
    close(heard[1]);
}

} // namespace
} // namespace vireo
