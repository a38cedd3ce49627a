#include "partner_link_fixture.h"
#include "platform/linux/partner_listener.h"
#include "support/other_user.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace vireo {
namespace {

using test::PartnerLinkTest;
using test::RawPeer;
using testing::ElementsAre;
namespace fs = std::filesystem;

TEST_F(PartnerLinkTest, WhatIsNotUnderstoodIsAnsweredSoAndEndsTheConnection)
{
    const auto listener = Listen();
    const std::string kGarbage[] = { "\n", "hello\n", "command x\n", "GET / HTTP/1.1\r\n\r\n", "command 1\r\n",
        std::string("\0\0\0\0\n", 5), "\xFF\xFE\n", std::string(4097, 'a') + "\n", std::string(5000, 'b'),
        std::string(1 << 20, 'c'), "copydata 1081 " + std::string(4083, 'd') + "\n" };
    for (const std::string& strGarbage : kGarbage) {
        SCOPED_TRACE(testing::PrintToString(strGarbage.substr(0, 20)));
        RawPeer peer = Peer();
        peer.Say(strGarbage + "command 1\n");
        EXPECT_EQ(peer.Hear(), "unknown");
        EXPECT_EQ(peer.Hear(), "");
    }
    EXPECT_TRUE(m_log.Contains("not understood"));
    EXPECT_TRUE(m_log.Contains("too long"));
    EXPECT_TRUE(IsServed(9));
    EXPECT_THAT(m_inbox.WaitFor(1), ElementsAre("command 9\n")) << "nothing behind the garbage was obeyed";
}

TEST_F(PartnerLinkTest, ALineOfTheLargestSizeIsTaken)
{
    const auto listener = Listen();
    RawPeer peer = Peer();
    const std::string strLine = "copydata 1081 " + std::string(4096 - 14, 'x');
    peer.Say(strLine + "\n" + strLine + "\n");
    EXPECT_EQ(peer.Hear(), "done");
    EXPECT_EQ(peer.Hear(), "done");
}

TEST_F(PartnerLinkTest, HalfALineIsNoMessage)
{
    const auto listener = Listen();
    RawPeer peer = Peer();
    peer.Say("command 1\ncommand 2");
    peer.EndSaying();
    EXPECT_EQ(peer.Hear(), "done");
    EXPECT_EQ(peer.Hear(), "");
    EXPECT_EQ(m_inbox.WaitFor(1).size(), 1U);
}

TEST_F(PartnerLinkTest, WhatWasSaidBeforeLeavingIsHeard)
{
    const auto listener = Listen();
    m_inbox.Hold(true);
    {
        RawPeer peer = Peer();
        peer.Say("command 1\ncommand 2\ncommand 3\n");
    }
    m_inbox.Hold(false);
    EXPECT_THAT(m_inbox.WaitFor(3), ElementsAre("command 1\n", "command 2\n", "command 3\n"));
}

TEST_F(PartnerLinkTest, ASilentPeerHoldsNobodyUp)
{
    auto listener = Listen();
    const RawPeer silent = Peer();
    RawPeer half = Peer();
    half.Say("command ");
    EXPECT_TRUE(IsServed(1));
    EXPECT_TRUE(silent.IsConnected());
    half.Say("2\n");
    EXPECT_EQ(half.Hear(), "done") << "silence is no reason to be thrown out";
    listener.reset(); // nor does it keep the window from closing
}

TEST_F(PartnerLinkTest, APeerThatDoesNotListenHoldsNobodyUp)
{
    const auto listener = Listen();
    RawPeer deaf = Peer();
    std::string strLines;
    for (int i = 0; i < 1000; ++i)
        strLines += "command 1\n";
    for (int i = 0; i < 5; ++i)
        deaf.Say(strLines); // 5,000 answers that nobody fetches
    EXPECT_TRUE(IsServed(2));
    EXPECT_EQ(m_inbox.WaitFor(5'001).size(), 5'001U);
}

TEST_F(PartnerLinkTest, AThousandConnectionsHoldNobodyUp)
{
    rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 2048);
    if (limit.rlim_cur < 1200)
        GTEST_SKIP() << "not enough descriptors";
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);

    const auto listener = Listen();
    std::vector<RawPeer> crowd;
    for (int i = 0; i < 1000; ++i) {
        crowd.push_back(Peer());
        ASSERT_TRUE(crowd.back().IsConnected()) << i;
    }
    EXPECT_TRUE(IsServed(1));
    EXPECT_THAT(m_inbox.WaitFor(1), ElementsAre("command 1\n"));
    const auto files = fs::directory_iterator("/proc/self/fd");
    EXPECT_LT(std::distance(begin(files), end(files)), 1000 + 150) << "the listener keeps few of them";
    EXPECT_TRUE(m_log.Contains("too many connections"));
    EXPECT_EQ(crowd.front().Hear(), "") << "the one that was silent longest is gone";
    crowd.back().Say("command 2\n");
    EXPECT_EQ(crowd.back().Hear(), "done") << "the newest is not";
    limit.rlim_cur = before;
    setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(PartnerLinkTest, ACrowdThatSpeaksIsHeardToTheLast)
{
    const auto listener = Listen();
    constexpr std::size_t kSpeakers = 500;
    for (std::size_t i = 0; i < kSpeakers; ++i) {
        RawPeer peer = Peer();
        ASSERT_TRUE(peer.IsConnected());
        peer.Say("command 1\n");
    }
    EXPECT_EQ(m_inbox.WaitFor(kSpeakers).size(), kSpeakers);
}

TEST_F(PartnerLinkTest, RunningOutOfDescriptorsPasses)
{
    const auto listener = Listen();
    // A sanitizer opens a pipe to look at an object whose virtual functions it has not seen called yet.
    Log& log = m_log;
    log.Write("descriptors run out\n");
    ASSERT_TRUE(m_log.Contains("descriptors run out"));
    FileDescriptor client = MakeSocket();
    std::vector<FileDescriptor> hoard;
    rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = 256;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    for (int iCopy = dup(client.Number()); iCopy >= 0; iCopy = dup(client.Number()))
        hoard.emplace_back(iCopy);

    const SocketAddress address(m_folder / "tessel", PartnerSocketName("Tessel"));
    EXPECT_EQ(connect(client.Number(), address.Get(), address.Size()), 0);
    const std::string strLine = "command 1\n";
    EXPECT_EQ(send(client.Number(), strLine.data(), strLine.size(), 0), 10);
    while (!m_log.Contains("no file descriptor"))
        std::this_thread::yield();
    hoard.clear();
    EXPECT_THAT(m_inbox.WaitFor(1), ElementsAre("command 1\n"));
    limit.rlim_cur = before;
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// A window whose program has stopped running: its socket is there, nobody ever takes a connection.
class HungPartner : public PartnerLinkTest {
protected:
    HungPartner()
    {
        fs::create_directory(m_folder / "tessel");
        const SocketAddress address(m_folder / "tessel", PartnerSocketName("Hung"));
        EXPECT_EQ(bind(m_socket.Number(), address.Get(), address.Size()), 0);
        EXPECT_EQ(listen(m_socket.Number(), 1), 0);
    }
    FileDescriptor m_socket = MakeSocket();
};

TEST_F(HungPartner, HoldsNobodyUp)
{
    const auto window = m_link.FindWindow("Hung");
    ASSERT_NE(window, nullptr) << "it exists as far as anybody can tell";
    EXPECT_TRUE(window->Post(1));
    window->Cancel();
    EXPECT_TRUE(window->Send(2));
}

TEST_F(HungPartner, WithAFullQueueDoesNotExist)
{
    std::vector<FileDescriptor> queue;
    const SocketAddress address(m_folder / "tessel", PartnerSocketName("Hung"));
    do {
        queue.push_back(ConnectSocket(address, {}));
    } while (queue.back().IsOpen());
    EXPECT_EQ(errno, EAGAIN);
    auto eAbsence = PartnerClient::Absence::NobodyListens;
    EXPECT_EQ(PartnerClient::Find("Hung", eAbsence), nullptr);
    EXPECT_EQ(eAbsence, PartnerClient::Absence::Hung);
    EXPECT_EQ(m_link.Listen("Hung", m_inbox.Handler(), m_strError), nullptr) << "but its title is taken";
}

class OtherUsers : public PartnerLinkTest {
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs two users";
    }
    /// Lets everybody in, as nobody should.
    void OpenDoors() const
    {
        chmod(m_folder.Path().c_str(), 0777);
        chmod((m_folder / "tessel").c_str(), 0777);
    }
};

TEST_F(OtherUsers, AreRefusedByAListener)
{
    const auto listener = Listen();
    OpenDoors();
    chmod(SocketFile().c_str(), 0777);
    EXPECT_TRUE(test::RunAsOtherUser([&] {
        RawPeer peer = Peer();
        EXPECT_TRUE(peer.IsConnected());
        peer.Say("command 1\n");
        EXPECT_EQ(peer.Hear(), "");
    }));
    EXPECT_TRUE(IsServed(2));
    EXPECT_THAT(m_inbox.WaitFor(1), ElementsAre("command 2\n"));
    EXPECT_TRUE(m_log.Contains("another user"));
}

TEST_F(OtherUsers, AreNotTakenForTheWindow)
{
    fs::create_directory(m_folder / "tessel");
    OpenDoors();
    int ready[2];
    int over[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(over), 0);
    std::thread impostor([&] {
        EXPECT_TRUE(test::RunAsOtherUser([&] {
            const SocketAddress address(m_folder / "tessel", PartnerSocketName("Marten"));
            const FileDescriptor socket = MakeSocket();
            EXPECT_EQ(bind(socket.Number(), address.Get(), address.Size()), 0);
            EXPECT_EQ(listen(socket.Number(), 5), 0);
            char c = 'x';
            EXPECT_EQ(write(ready[1], &c, 1), 1);
            EXPECT_EQ(read(over[0], &c, 1), 1);
        }));
    });
    char c = 0;
    EXPECT_EQ(read(ready[0], &c, 1), 1);
    EXPECT_TRUE(fs::is_socket(SocketFile("Marten")));
    auto eAbsence = PartnerClient::Absence::NobodyListens;
    EXPECT_EQ(PartnerClient::Find("Marten", eAbsence), nullptr);
    EXPECT_EQ(eAbsence, PartnerClient::Absence::Refused);
    EXPECT_EQ(write(over[1], &c, 1), 1);
    impostor.join();
    for (const int iEnd : { ready[0], ready[1], over[0], over[1] })
        close(iEnd);
}

} // namespace
} // namespace vireo
