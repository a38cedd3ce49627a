#include "peers/network_test.h"
#include "platform/genicam/arrival_tap.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace vireo {

namespace {

constexpr std::uint16_t kPort = 45001;
enum Kind : std::uint8_t { kLeader = 1, kTrailer = 2, kPayload = 3 };

class ArrivalTapTest : public peers::NetworkTest {
protected:
    ~ArrivalTapTest() override { close(m_iSocket); }
    /// A packet of a stream, on its way over the loopback interface when this returns.
    void Send(std::uint8_t uiFrame, Kind eKind, std::uint16_t uiPort = kPort) const
    {
        const std::vector<std::uint8_t> packet { 0, 0, 0x12, uiFrame, eKind, 0, 0, 7, 0, 0, 0, 0 };
        sockaddr_in to {};
        to.sin_family = AF_INET;
        to.sin_port = htons(uiPort);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(sendto(m_iSocket, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
            static_cast<ssize_t>(packet.size()));
    }
    int m_iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

TEST_F(ArrivalTapTest, TheLastPacketOfAFrameTellsItsAge)
{
    ArrivalTap tap(kPort);
    Send(1, kTrailer);
    Send(2, kTrailer);
    const auto first = tap.AgeOf(0x1201);
    const auto second = tap.AgeOf(0x1202);
    ASSERT_TRUE(first && second);
    EXPECT_GE(*first, 0);
    EXPECT_GE(*second, 0);
    EXPECT_GE(*tap.AgeOf(0x1201), *first); // it grows older
}

TEST_F(ArrivalTapTest, OtherPacketsTellNothing)
{
    ArrivalTap tap(kPort);
    Send(3, kLeader);
    Send(4, kPayload);
    Send(5, kTrailer, kPort + 1);
    Send(6, kTrailer);
    for (const std::uint64_t uiFrame : { 0x1203U, 0x1204U, 0x1205U, 0x1207U, 0U })
        EXPECT_FALSE(tap.AgeOf(uiFrame).has_value()) << uiFrame;
    EXPECT_TRUE(tap.AgeOf(0x1206).has_value());
}

} // namespace

} // namespace vireo
