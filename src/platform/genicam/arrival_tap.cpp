#include "platform/genicam/arrival_tap.h"

#include "platform/clock.h"

#include <arpa/inet.h>
#include <cstring>
#include <ctime>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vireo {

namespace {

constexpr int kQueueBytes = 1 << 20; ///< some thousand frames
constexpr std::uint8_t kTrailer = 2; ///< the packet that ends a frame

std::int64_t WallClock()
{
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

/// Lets nothing through but the ends of frames that go to `uiPort`: all else would be copied for nothing.
bool Filter(int iSocket, std::uint16_t uiPort)
{
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9), // protocol of the IP header
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 17, 0, 6), // UDP
        BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0), // length of the IP header
        BPF_STMT(BPF_LD | BPF_H | BPF_IND, 2),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, uiPort, 0, 3),
        BPF_STMT(BPF_LD | BPF_B | BPF_IND, 8 + 4), // kind of packet, behind the UDP header
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kTrailer, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, 128),
        BPF_STMT(BPF_RET | BPF_K, 0),
    };
    const sock_fprog program { sizeof code / sizeof *code, code };
    return setsockopt(iSocket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

} // namespace

ArrivalTap::ArrivalTap(std::uint16_t uiPort)
    : m_iSocket(socket(AF_PACKET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) // silent until it is bound
{
    const int iOn = 1;
    sockaddr_ll everywhere {};
    everywhere.sll_family = AF_PACKET;
    everywhere.sll_protocol = htons(ETH_P_IP);
    if (m_iSocket < 0)
        return;
    setsockopt(m_iSocket, SOL_SOCKET, SO_RCVBUF, &kQueueBytes, sizeof kQueueBytes);
    if (Filter(m_iSocket, uiPort) && setsockopt(m_iSocket, SOL_SOCKET, SO_TIMESTAMPNS, &iOn, sizeof iOn) == 0
        && bind(m_iSocket, reinterpret_cast<const sockaddr*>(&everywhere), sizeof everywhere) == 0)
        return;
    close(m_iSocket);
    m_iSocket = -1;
}

ArrivalTap::~ArrivalTap()
{
    if (m_iSocket >= 0)
        close(m_iSocket);
}

std::optional<std::int64_t> ArrivalTap::AgeOf(std::uint64_t uiFrameId)
{
    while (m_iSocket >= 0 && ReadOne()) { }
    const Stamp& stamp = m_stamps[uiFrameId % m_stamps.size()];
    if (uiFrameId == 0 || stamp.uiFrameId != uiFrameId)
        return std::nullopt;
    const std::int64_t age = WallClock() - stamp.time;
    return age >= 0 && age < kNsPerSecond ? std::optional(age) : std::nullopt; // the wall clock may have been set
}

/// False when nothing is left.
bool ArrivalTap::ReadOne()
{
    std::uint8_t packet[128];
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec))];
    sockaddr_ll from {};
    iovec data { packet, sizeof packet };
    msghdr message {};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t iSize = recvmsg(m_iSocket, &message, 0);
    if (iSize < 0)
        return false;
    const std::size_t uiHeader = std::size_t { 4 } * (packet[0] & 0xFU);
    const cmsghdr* pControl = CMSG_FIRSTHDR(&message);
    // What leaves over the loopback interface is seen twice.
    if (from.sll_pkttype == PACKET_OUTGOING || static_cast<std::size_t>(iSize) < uiHeader + 16 || pControl == nullptr
        || pControl->cmsg_type != SCM_TIMESTAMPNS)
        return true;
    timespec time {};
    std::memcpy(&time, CMSG_DATA(pControl), sizeof time);
    const std::uint8_t* pNumber = packet + uiHeader + 8 + 2;
    const auto uiFrameId = static_cast<std::uint64_t>(pNumber[0] << 8 | pNumber[1]);
    m_stamps[uiFrameId % m_stamps.size()] = { uiFrameId, time.tv_sec * kNsPerSecond + time.tv_nsec };
    return true;
}

} // namespace vireo
