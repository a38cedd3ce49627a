#include "peers/gige_bytes.h"
#include "peers/gige_camera.h"

#include <algorithm>
#include <arpa/inet.h>
#include <sys/socket.h>

// The stream side of a software GigE camera: leader, pixels and trailer of every frame as datagrams.

namespace vireo::peers {

namespace {

constexpr std::uint32_t kHostPort = 0x0D00, kPacketSize = 0x0D04, kDestination = 0x0D18;
constexpr std::uint32_t kDatagramOverhead = 36; ///< headers of IP, UDP and the stream protocol
constexpr std::size_t kStreamHeader = 8;
constexpr std::uint32_t kLeader = 1, kTrailer = 2, kPayload = 3;
constexpr std::uint16_t kImage = 1; ///< payload type
constexpr std::uint16_t kResent = 0x0100, kUnavailable = 0x800C; ///< packet status
constexpr std::size_t kBatch = 64;
constexpr std::uint32_t kNoSkip = 0xFFFFFFFF;

sockaddr_in Destination(std::uint32_t uiAddress, std::uint32_t uiPort)
{
    sockaddr_in to {};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(uiAddress);
    to.sin_port = htons(static_cast<std::uint16_t>(uiPort));
    return to;
}

} // namespace

std::uint32_t GigeCamera::PacketData() const { return std::max(Word(kPacketSize) & 0xFFFFU, 128U) - kDatagramOverhead; }

/// Every camera has a clock of its own: another zero and a slightly different rate.
std::uint64_t GigeCamera::Ticks(std::int64_t time) const
{
    if (!m_setup.bClock)
        return 0;
    const std::int64_t offset = std::int64_t { m_setup.camera.uiSerial % 97 } * 1'000'000'123;
    const std::int64_t ppm = m_setup.camera.uiSerial % 21 - std::int64_t { 10 };
    return static_cast<std::uint64_t>(offset + time + time / 1'000'000 * ppm) / 8; // 125 MHz
}

GigeCamera::Packet GigeCamera::MakePacket(
    const Block& block, const std::uint8_t* pPixels, std::uint32_t uiPacket, std::uint16_t uiStatus) const
{
    const std::uint32_t uiBytes = m_camera.FrameBytes();
    const std::uint32_t uiPackets = (uiBytes + PacketData() - 1) / PacketData();
    Packet packet;
    std::uint8_t* p = packet.head.data();
    std::uint32_t uiFormat = kPayload;
    packet.uiHead = kStreamHeader;
    if (uiPacket == 0) {
        uiFormat = kLeader;
        packet.uiHead = kStreamHeader + 36;
        Store16(p + 10, kImage);
        Store32(p + 12, static_cast<std::uint32_t>(Ticks(block.start) >> 32));
        Store32(p + 16, static_cast<std::uint32_t>(Ticks(block.start)));
        Store32(p + 20, m_camera.Word(feature::PixelFormat));
        Store32(p + 24, m_camera.Width());
        Store32(p + 28, m_camera.Height());
        Store32(p + 32, m_camera.Word(feature::OffsetX));
        Store32(p + 36, m_camera.Word(feature::OffsetY));
    } else if (uiPacket > uiPackets) {
        uiFormat = kTrailer;
        packet.uiHead = kStreamHeader + 8;
        Store16(p + 10, kImage);
        Store32(p + 12, m_camera.Height());
    } else {
        const std::size_t uiAt = std::size_t { uiPacket - 1 } * PacketData();
        packet.pData = pPixels + uiAt;
        packet.uiData = std::min<std::size_t>(PacketData(), uiBytes - uiAt);
    }
    Store16(p, uiStatus);
    Store16(p + 2, block.uiBlock);
    Store32(p + 4, uiFormat << 24 | uiPacket);
    return packet;
}

void GigeCamera::SendPackets(
    const Block& block, std::uint32_t uiFirst, std::uint32_t uiLast, std::uint32_t uiSkip, std::uint16_t uiStatus)
{
    const std::uint8_t* pPixels =
        m_scenery.Paint({ m_camera.Width(), m_camera.Height(), m_camera.IsColour() }, block.start);
    sockaddr_in to = Destination(Word(kDestination), Word(kHostPort) & 0xFFFFU);
    std::array<Packet, kBatch> packets;
    std::array<iovec, 2 * kBatch> parts {};
    std::array<mmsghdr, kBatch> messages {};
    for (std::uint32_t uiPacket = uiFirst; uiPacket <= uiLast;) {
        unsigned uiCount = 0;
        for (; uiCount < kBatch && uiPacket <= uiLast; uiPacket++) {
            if (uiPacket == uiSkip)
                continue;
            Packet& packet = packets[uiCount] = MakePacket(block, pPixels, uiPacket, uiStatus);
            iovec* pParts = &parts[std::size_t { 2 } * uiCount];
            pParts[0] = { packet.head.data(), packet.uiHead };
            pParts[1] = { const_cast<std::uint8_t*>(packet.pData), packet.uiData };
            msghdr& message = messages[uiCount].msg_hdr;
            message.msg_name = &to;
            message.msg_namelen = sizeof to;
            message.msg_iov = pParts;
            message.msg_iovlen = packet.uiData != 0 ? 2 : 1;
            uiCount++;
        }
        for (unsigned uiSent = 0; uiSent < uiCount;) {
            const int iNow = sendmmsg(m_iStream, messages.data() + uiSent, uiCount - uiSent, 0);
            if (iNow <= 0)
                return; // nobody listens: as lost as on a pulled cable
            uiSent += static_cast<unsigned>(iNow);
        }
    }
}

bool GigeCamera::SendFrame(const Exposure& exposure)
{
    const PeerFaults& faults = m_setup.faults;
    if (faults.quit && exposure.uiNumber >= *faults.quit)
        return false;
    m_bDeaf = Contains(faults.deaf, exposure.uiNumber);
    if (LoseControl(exposure.uiNumber))
        return true;
    if ((faults.hang && exposure.uiNumber >= *faults.hang) || Word(kHostPort) == 0)
        return true;
    m_uiBlock = static_cast<std::uint16_t>(m_uiBlock == 0xFFFF ? 1 : m_uiBlock + 1); // 0 is never used
    if (Contains(faults.drop, exposure.uiNumber))
        return true;
    Block& block = m_blocks[m_uiBlock % m_blocks.size()];
    block = { m_uiBlock, exposure.uiNumber, exposure.start };
    const std::uint32_t uiPackets = (m_camera.FrameBytes() + PacketData() - 1) / PacketData();
    const bool bLose = Contains(faults.lose, exposure.uiNumber) || Contains(faults.torn, exposure.uiNumber);
    SendPackets(block, 0, uiPackets + 1, bLose ? (uiPackets + 1) / 2 : kNoSkip, 0);
    return true;
}

/// A program asks for packets again: which block, from which packet to which.
void GigeCamera::Resend(const std::uint8_t* pBody, std::size_t uiSize)
{
    if (uiSize < 12)
        return;
    const std::uint16_t uiBlock = Load16(pBody + 2);
    const Block& block = m_blocks[uiBlock % m_blocks.size()];
    const std::uint32_t uiPackets = (m_camera.FrameBytes() + PacketData() - 1) / PacketData();
    const std::uint32_t uiFirst = Load32(pBody + 4) & 0xFFFFFFU;
    const std::uint32_t uiLast = std::min(Load32(pBody + 8) & 0xFFFFFFU, uiPackets + 1);
    if (uiBlock == 0 || block.uiBlock != uiBlock || uiFirst > uiLast)
        return;
    if (!Contains(m_setup.faults.torn, block.uiNumber)) {
        SendPackets(block, uiFirst, uiLast, kNoSkip, kResent);
        return;
    }
    Packet packet;
    Store16(packet.head.data(), kUnavailable);
    Store16(packet.head.data() + 2, uiBlock);
    Store32(packet.head.data() + 4, kPayload << 24 | uiFirst);
    const sockaddr_in to = Destination(Word(kDestination), Word(kHostPort) & 0xFFFFU);
    sendto(m_iStream, packet.head.data(), kStreamHeader, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

void GigeCamera::SendTestPacket()
{
    const sockaddr_in to = Destination(Word(kDestination), Word(kHostPort) & 0xFFFFU);
    const std::vector<std::uint8_t> data((Word(kPacketSize) & 0xFFFFU) - 28); // IP and UDP come on top
    sendto(m_iStream, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

} // namespace vireo::peers
