#include "cooperation_run.h"
#include "platform/linux/partner_link_fixture.h"
#include "support/other_user.h"

#include <sys/resource.h>
#include <sys/stat.h>

namespace vireo {
namespace {

using test::CooperationRun;
using test::RawPeer;
using test::RunningProgram;

/// The whole program, armed and waiting for its partner, among peers that mean it harm or do not think.
class HostilePeers : public CooperationRun {
protected:
    void SetUp() override
    {
        // Left by a program that was killed.
        ASSERT_TRUE(std::filesystem::create_directory(Socket().parent_path()));
        {
            const SocketAddress address(Socket().parent_path(), Socket().filename());
            const FileDescriptor stale = MakeSocket();
            ASSERT_EQ(bind(stale.Number(), address.Get(), address.Size()), 0);
        }
        StartPartner();
        m_program = Tessel(Tokens("1 640 480 350 500 0 0", 4));
        while (!m_program->HasEnded() && !RawPeer(Socket()).IsConnected()) { }
    }
    std::filesystem::path Socket() const { return RuntimeFolder() + "/tessel/" + PartnerSocketName("Tessel"); }
    /// What the program is there for still works, from start to end.
    void RecordToTheEnd()
    {
        EXPECT_FALSE(m_program->HasEnded()) << m_program->Err();
        EXPECT_EQ(Ctl("start").iExit, 0);
        EXPECT_EQ(m_program->WaitForEnd(), 0) << m_program->Err();
        EXPECT_EQ(m_partner->Out(), "command 32781\ncommand 32782\n");
        EXPECT_EQ(Files().size(), 4U);
        EXPECT_FALSE(std::filesystem::exists(Socket()));
    }
    std::unique_ptr<RunningProgram> m_program;
};

TEST_F(HostilePeers, WhoTalkNonsenseAreToldSoAndLogged)
{
    const std::string kGarbage[] = { "hello\n", "\n", "command\n", "command -1\n", "copydata 1081x 1\n",
        std::string("\0\xFF\x01\n", 4), "copydata 99999999999 1\n", "COMMAND 57665\n" };
    for (const std::string& strGarbage : kGarbage) {
        RawPeer peer(Socket());
        peer.Say(strGarbage + "command 57665\n"); // nothing behind garbage is obeyed: this would end the program
        EXPECT_EQ(peer.Hear(), "unknown") << testing::PrintToString(strGarbage);
        EXPECT_EQ(peer.Hear(), "");
    }
    EXPECT_TRUE(m_program->WaitForErr("partner link Tessel: a line was not understood\n", 8)) << m_program->Err();
    RawPeer longWinded(Socket());
    longWinded.Say(std::string(1 << 16, 'x'));
    EXPECT_EQ(longWinded.Hear(), "unknown");
    EXPECT_TRUE(m_program->WaitForErr("partner link Tessel: a line is too long\n")) << m_program->Err();
    RecordToTheEnd();
}

TEST_F(HostilePeers, WhoSayHalfOrNothingOrDoNotListenHoldNobodyUp)
{
    const RawPeer silent(Socket());
    RawPeer half(Socket());
    half.Say("copydata 1081");
    RawPeer deaf(Socket());
    for (int i = 0; i < 1000; ++i)
        deaf.Say("command 1\n"); // a command of nobody; the answers are never read
    RawPeer gone(Socket());
    gone.Say("copydata 1081 ");
    gone.EndSaying();
    EXPECT_EQ(gone.Hear(), "") << "half a message is none";
    RecordToTheEnd();
}

TEST_F(HostilePeers, WhoComeInAThousandHoldNobodyUp)
{
    rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 2048);
    if (limit.rlim_cur < 1200)
        GTEST_SKIP() << "not enough descriptors";
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<RawPeer> crowd;
    for (int i = 0; i < 1000; ++i) {
        crowd.emplace_back(Socket());
        ASSERT_TRUE(crowd.back().IsConnected()) << i << m_program->Err();
    }
    EXPECT_TRUE(m_program->WaitForErr("partner link Tessel: too many connections: the silent ones are closed\n"));
    RecordToTheEnd();
}

TEST_F(HostilePeers, OfAnotherUserAreRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    for (const std::filesystem::path& path : { Socket().parent_path().parent_path().parent_path(),
             Socket().parent_path().parent_path(), Socket().parent_path(), Socket() })
        chmod(path.c_str(), 0777); // lets everybody in, as nobody should
    EXPECT_TRUE(test::RunAsOtherUser([this] {
        RawPeer peer(Socket());
        EXPECT_TRUE(peer.IsConnected());
        peer.Say("command 57665\n");
        EXPECT_EQ(peer.Hear(), "");
    }));
    EXPECT_TRUE(m_program->WaitForErr("partner link Tessel: a peer of another user was refused\n"));
    RecordToTheEnd();
}

} // namespace
} // namespace vireo
