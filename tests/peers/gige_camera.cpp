#include "peers/gige_camera.h"

#include "peers/genicam_xml.h"
#include "peers/gige_bytes.h"

#include <arpa/inet.h>
#include <bit>
#include <cerrno>
#include <cstring>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

namespace vireo::peers {

namespace {

constexpr std::uint16_t kControlPort = 3956;
constexpr std::uint8_t kKey = 0x42;
constexpr std::size_t kHeader = 8;
constexpr std::uint32_t kBootstrapEnd = 0x1000;
constexpr std::uint32_t kFeatures = 0xA000;
constexpr std::uint32_t kXml = 0x10000;
constexpr std::uint32_t kTickFrequency = 125'000'000;

namespace reg {
constexpr std::uint32_t kMacHigh = 0x0008, kMacLow = 0x000C, kAddress = 0x0024, kMask = 0x0034, kVendor = 0x0048,
                        kModel = 0x0068, kVersion = 0x0088, kInfo = 0x00A8, kSerial = 0x00D8, kUrl = 0x0200,
                        kInterfaces = 0x0600, kChannels = 0x0904, kCapability = 0x0934, kHeartbeat = 0x0938,
                        kTickLow = 0x0940, kConfiguration = 0x0954, kControl = 0x0A00, kHostPort = 0x0D00,
                        kPacketSize = 0x0D04, kPacketDelay = 0x0D08, kDestination = 0x0D18, kSourcePort = 0x0D1C;
}
constexpr std::uint32_t kHeartbeatCanBeOff = 0x20000000;
constexpr std::uint32_t kCanResend = 0x4;
constexpr std::uint32_t kCanWriteMemory = 0x2;
constexpr std::uint32_t kFireTestPacket = 0x80000000;

enum Command : std::uint16_t {
    Discovery = 0x0002,
    PacketResend = 0x0040,
    ReadRegister = 0x0080,
    WriteRegister = 0x0082,
    ReadMemoryCommand = 0x0084,
    WriteMemoryCommand = 0x0086,
};
enum Status : std::uint16_t {
    Success = 0x0000,
    NotImplemented = 0x8001,
    InvalidParameter = 0x8002,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    BadAlignment = 0x8005,
    AccessDenied = 0x8006,
};

Status StatusOf(Access eAccess)
{
    switch (eAccess) {
    case Access::Done: return Success;
    case Access::BadAddress: return InvalidAddress;
    case Access::WriteProtected: return WriteProtect;
    case Access::BadValue: break;
    }
    return InvalidParameter;
}

bool Same(const sockaddr_in& a, const sockaddr_in& b)
{
    return a.sin_addr.s_addr == b.sin_addr.s_addr && a.sin_port == b.sin_port;
}

} // namespace

GigeCamera::GigeCamera(GigeCameraSetup setup)
    : m_setup(std::move(setup))
    , m_camera(m_setup.camera)
    , m_strXml(MakeGenicamXml(m_setup.camera, kFeatures))
    , m_bootstrap(kBootstrapEnd)
{
    m_strXml.resize((m_strXml.size() + 3) / 4 * 4, '\n'); // memory is read in words
    m_address.sin_family = AF_INET;
    m_address.sin_port = htons(kControlPort);
    InitBootstrap();
}

GigeCamera::~GigeCamera()
{
    close(m_iControl);
    close(m_iStream);
}

std::string GigeCamera::Open()
{
    if (inet_pton(AF_INET, m_setup.strAddress.c_str(), &m_address.sin_addr) != 1)
        return "not an address: " + m_setup.strAddress;
    SetWord(reg::kAddress, ntohl(m_address.sin_addr.s_addr));
    m_iControl = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    m_iStream = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in stream = m_address;
    stream.sin_port = 0;
    if (bind(m_iControl, reinterpret_cast<const sockaddr*>(&m_address), sizeof m_address) != 0
        || bind(m_iStream, reinterpret_cast<const sockaddr*>(&stream), sizeof stream) != 0)
        return "cannot answer at " + m_setup.strAddress + ": " + std::strerror(errno);
    const int iBytes = 4 << 20;
    setsockopt(m_iStream, SOL_SOCKET, SO_SNDBUF, &iBytes, sizeof iBytes);
    socklen_t uiSize = sizeof stream;
    getsockname(m_iStream, reinterpret_cast<sockaddr*>(&stream), &uiSize);
    SetWord(reg::kSourcePort, ntohs(stream.sin_port));
    return {};
}

void GigeCamera::InitBootstrap()
{
    SetWord(0x0000, 0x00010002); // version 1.2 of the protocol
    SetWord(0x0004, 0x80000001); // big-endian, UTF-8
    SetWord(reg::kMacHigh, 0x0200);
    SetWord(reg::kMacLow, m_setup.uiMac);
    SetWord(0x0010, 0x80000007);
    SetWord(0x0014, 0x00000005);
    SetWord(reg::kMask, 0xFF000000);
    SetText(reg::kVendor, "Software", 32);
    SetText(reg::kModel, m_setup.camera.strModel, 32);
    SetText(reg::kVersion, "1.0", 32);
    SetText(reg::kInfo, "none", 48);
    SetText(reg::kSerial, std::to_string(m_setup.camera.uiSerial), 16);
    char szUrl[64];
    std::snprintf(szUrl, sizeof szUrl, "Local:camera.xml;%x;%zx", kXml, m_strXml.size());
    SetText(reg::kUrl, szUrl, 512);
    SetWord(reg::kInterfaces, 1);
    SetWord(reg::kChannels, 1);
    SetWord(reg::kCapability, kHeartbeatCanBeOff | kCanResend | kCanWriteMemory);
    SetWord(reg::kHeartbeat, 3000);
    SetWord(reg::kTickLow, m_setup.bClock ? kTickFrequency : 0);
    SetWord(reg::kPacketSize, 1400);
}

void GigeCamera::SetText(std::uint32_t uiAddress, const std::string& strText, std::size_t uiSize)
{
    std::memcpy(m_bootstrap.data() + uiAddress, strText.data(), std::min(strText.size(), uiSize - 1));
}

std::uint32_t GigeCamera::Word(std::uint32_t uiAddress) const { return Load32(m_bootstrap.data() + uiAddress); }

void GigeCamera::SetWord(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    Store32(m_bootstrap.data() + uiAddress, uiValue);
}

void GigeCamera::Serve(std::int64_t now)
{
    std::uint8_t data[2048];
    sockaddr_in from {};
    socklen_t uiLength = sizeof from;
    for (;;) {
        const ssize_t iSize = recvfrom(m_iControl, data, sizeof data, 0, reinterpret_cast<sockaddr*>(&from), &uiLength);
        if (iSize < 0)
            break;
        m_asked.push_back({ now + m_setup.answerDelay, from, { data, data + iSize } });
    }
    for (; NextAnswer() <= now; m_asked.pop_front())
        Handle(m_asked.front().data.data(), m_asked.front().data.size(), m_asked.front().from, now);
}

std::int64_t GigeCamera::NextAnswer() const
{
    return m_asked.empty() ? std::numeric_limits<std::int64_t>::max() / 2 : m_asked.front().due;
}

void GigeCamera::Handle(const std::uint8_t* pData, std::size_t uiSize, const sockaddr_in& from, std::int64_t now)
{
    if (uiSize < kHeader || pData[0] != kKey || Load16(pData + 4) != uiSize - kHeader)
        return;
    const std::uint16_t uiCommand = Load16(pData + 2);
    const std::uint16_t uiRequest = Load16(pData + 6);
    const std::uint8_t* pBody = pData + kHeader;
    const std::size_t uiBody = uiSize - kHeader;
    if (IsOwner(from))
        m_heardOwner = now;
    if (m_bDeaf || m_bMute)
        return;
    std::vector<std::uint8_t> body;
    std::uint16_t uiStatus = NotImplemented;
    switch (uiCommand) {
    case Discovery: AnswerDiscovery(uiRequest, from); return;
    case PacketResend: Resend(pBody, uiBody); return;
    case ReadRegister: uiStatus = ReadWords(pBody, uiBody, body); break;
    case WriteRegister: uiStatus = WriteWords(pBody, uiBody, from, body); break;
    case ReadMemoryCommand: uiStatus = ReadMemory(pBody, uiBody, body); break;
    case WriteMemoryCommand: uiStatus = WriteMemory(pBody, uiBody, from, body); break;
    default: break;
    }
    if (IsOwner(from))
        m_heardOwner = now; // the command itself may have made it the owner
    if ((pData[1] & 1U) != 0)
        Reply(from, uiStatus, static_cast<std::uint16_t>(uiCommand + 1), uiRequest, body);
}

void GigeCamera::AnswerDiscovery(std::uint16_t uiRequest, const sockaddr_in& asker)
{
    Reply(asker, Success, Discovery + 1, uiRequest, { m_bootstrap.begin(), m_bootstrap.begin() + 0xF8 });
}

void GigeCamera::Reply(const sockaddr_in& to, std::uint16_t uiStatus, std::uint16_t uiAnswer, std::uint16_t uiRequest,
    const std::vector<std::uint8_t>& body)
{
    std::vector<std::uint8_t> data(kHeader);
    Store16(data.data(), uiStatus);
    Store16(data.data() + 2, uiAnswer);
    Store16(data.data() + 4, static_cast<std::uint16_t>(body.size()));
    Store16(data.data() + 6, uiRequest);
    data.insert(data.end(), body.begin(), body.end());
    sendto(m_iControl, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

std::uint16_t GigeCamera::ReadWords(const std::uint8_t* pBody, std::size_t uiSize, std::vector<std::uint8_t>& body)
{
    for (std::size_t i = 0; i + 4 <= uiSize; i += 4) {
        std::uint32_t uiValue = 0;
        const std::uint16_t uiStatus = ReadWord(Load32(pBody + i), uiValue);
        if (uiStatus != Success)
            return uiStatus;
        body.resize(body.size() + 4);
        Store32(body.data() + body.size() - 4, uiValue);
    }
    return Success;
}

std::uint16_t GigeCamera::ReadMemory(const std::uint8_t* pBody, std::size_t uiSize, std::vector<std::uint8_t>& body)
{
    if (uiSize < 8)
        return InvalidParameter;
    const std::uint32_t uiAddress = Load32(pBody);
    const std::uint32_t uiCount = Load16(pBody + 6);
    if (uiAddress % 4 != 0 || uiCount % 4 != 0)
        return BadAlignment;
    body.resize(4 + uiCount);
    Store32(body.data(), uiAddress);
    for (std::uint32_t i = 0; i < uiCount; i += 4) {
        std::uint32_t uiValue = 0;
        const std::uint16_t uiStatus = ReadWord(uiAddress + i, uiValue);
        if (uiStatus != Success) {
            body.clear();
            return uiStatus;
        }
        Store32(body.data() + 4 + i, uiValue);
    }
    return Success;
}

std::uint16_t GigeCamera::WriteWords(
    const std::uint8_t* pBody, std::size_t uiSize, const sockaddr_in& from, std::vector<std::uint8_t>& body)
{
    std::uint16_t uiDone = 0;
    std::uint16_t uiStatus = Success;
    for (std::size_t i = 0; i + 8 <= uiSize && uiStatus == Success; i += 8) {
        uiStatus = WriteWord(Load32(pBody + i), Load32(pBody + i + 4), from);
        if (uiStatus == Success)
            uiDone++;
    }
    body.resize(4);
    Store16(body.data() + 2, uiDone);
    return uiStatus;
}

std::uint16_t GigeCamera::WriteMemory(
    const std::uint8_t* pBody, std::size_t uiSize, const sockaddr_in& from, std::vector<std::uint8_t>& body)
{
    if (uiSize < 8 || uiSize % 4 != 0)
        return InvalidParameter;
    std::uint16_t uiStatus = Success;
    std::size_t i = 4;
    for (; i < uiSize && uiStatus == Success; i += 4)
        uiStatus = WriteWord(static_cast<std::uint32_t>(Load32(pBody) + i - 4), Load32(pBody + i), from);
    body.resize(4);
    Store16(body.data() + 2, static_cast<std::uint16_t>(i - 4));
    return uiStatus;
}

std::uint16_t GigeCamera::ReadWord(std::uint32_t uiAddress, std::uint32_t& uiValue) const
{
    if (uiAddress % 4 != 0)
        return BadAlignment;
    if (uiAddress < kBootstrapEnd) {
        uiValue = Word(uiAddress);
        return Success;
    }
    if (uiAddress >= kFeatures && uiAddress < kFeatures + feature::End)
        return StatusOf(m_camera.Read(uiAddress - kFeatures, uiValue));
    if (uiAddress >= kXml && uiAddress - kXml < m_strXml.size()) {
        m_bMute = m_setup.faults.bMuteOpened;
        uiValue = Load32(reinterpret_cast<const std::uint8_t*>(m_strXml.data()) + (uiAddress - kXml));
        return Success;
    }
    return InvalidAddress;
}

std::uint16_t GigeCamera::WriteWord(std::uint32_t uiAddress, std::uint32_t uiValue, const sockaddr_in& from)
{
    if (uiAddress % 4 != 0)
        return BadAlignment;
    if (uiAddress == reg::kControl)
        return WriteControl(uiValue, from);
    if (!IsOwner(from))
        return AccessDenied;
    if (uiAddress >= kFeatures && uiAddress < kFeatures + feature::End)
        return StatusOf(m_camera.Write(uiAddress - kFeatures, uiValue));
    switch (uiAddress) {
    case reg::kHeartbeat:
    case reg::kConfiguration:
    case reg::kHostPort:
    case reg::kPacketDelay:
    case reg::kDestination: SetWord(uiAddress, uiValue); return Success;
    case reg::kPacketSize:
        SetWord(uiAddress, uiValue & ~kFireTestPacket);
        if ((uiValue & kFireTestPacket) != 0 && m_setup.bTestPackets)
            SendTestPacket();
        return Success;
    default: return uiAddress < kBootstrapEnd ? WriteProtect : InvalidAddress;
    }
}

/// One program at a time controls the camera; giving control up ends its stream.
std::uint16_t GigeCamera::WriteControl(std::uint32_t uiValue, const sockaddr_in& from)
{
    if (m_owner.sin_port != 0 && !IsOwner(from))
        return AccessDenied;
    if ((uiValue & 3U) == 0)
        DropOwner();
    else
        m_owner = from;
    SetWord(reg::kControl, uiValue);
    return Success;
}

bool GigeCamera::IsOwner(const sockaddr_in& from) const { return m_owner.sin_port != 0 && Same(m_owner, from); }

void GigeCamera::DropOwner()
{
    m_owner = {};
    SetWord(reg::kControl, 0);
    SetWord(reg::kHostPort, 0);
    m_camera.StopAcquisition();
}

bool GigeCamera::LoseControl(std::uint64_t uiExposure)
{
    const PeerFaults& faults = m_setup.faults;
    const bool bSeize = faults.seize && uiExposure >= *faults.seize;
    if (m_bControlTaken || (!bSeize && !(faults.release && uiExposure >= *faults.release)))
        return false;
    m_bControlTaken = true;
    DropOwner();
    if (!bSeize)
        return true;
    m_owner = m_address; // nobody who could ask
    m_heardOwner = std::numeric_limits<std::int64_t>::max();
    SetWord(reg::kControl, 2);
    return true;
}

void GigeCamera::CheckHeartbeat(std::int64_t now)
{
    const bool bOff = (Word(reg::kConfiguration) & 1U) != 0;
    if (m_owner.sin_port != 0 && !bOff && now - m_heardOwner > std::int64_t { Word(reg::kHeartbeat) } * 1'000'000)
        DropOwner();
}

} // namespace vireo::peers
