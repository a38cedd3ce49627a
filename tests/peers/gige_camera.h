#pragma once
#include "peers/camera_wiring.h"
#include "peers/peer_faults.h"
#include "peers/scenery.h"
#include "peers/soft_camera.h"

#include <array>
#include <cstdint>
#include <deque>
#include <netinet/in.h>
#include <string>
#include <vector>

namespace vireo::peers {

struct GigeCameraSetup {
    SoftCameraSetup camera;
    std::string strAddress; ///< IPv4 address of this computer that the camera answers at
    std::uint32_t uiMac = 0; ///< low half of its hardware address
    bool bTestPackets = true; ///< it sends them when asked
    bool bClock = true; ///< it says how fast its clock runs
    std::int64_t answerDelay = 0; ///< ns
    PeerFaults faults;
};

/// A GigE Vision camera made of software: control protocol and stream protocol over real sockets.
/// One thread.
class GigeCamera {
public:
    explicit GigeCamera(GigeCameraSetup setup);
    ~GigeCamera();
    GigeCamera(const GigeCamera&) = delete;
    GigeCamera& operator=(const GigeCamera&) = delete;

    /// Opens the sockets. @return empty, or what went wrong.
    std::string Open();
    int ControlSocket() const { return m_iControl; }
    SoftCamera& Camera() { return m_camera; }
    const PeerFaults& Faults() const { return m_setup.faults; }

    /// Answers everything that has arrived and is due. `now` in ns since the host's start.
    void Serve(std::int64_t now);
    /// When the next answer is due, ns; far away when none is owed.
    std::int64_t NextAnswer() const;
    /// Answers a discovery that came to everybody.
    void AnswerDiscovery(std::uint16_t uiRequest, const sockaddr_in& asker);
    /// Takes control from a program that has gone silent.
    void CheckHeartbeat(std::int64_t now);
    /// Sends the frame of an exposure. False when a fault says that the host ends here.
    bool SendFrame(const Exposure& exposure);

private:
    struct Packet {
        std::array<std::uint8_t, 48> head {};
        std::size_t uiHead = 0;
        const std::uint8_t* pData = nullptr;
        std::size_t uiData = 0;
    };
    void InitBootstrap();
    void SetText(std::uint32_t uiAddress, const std::string& strText, std::size_t uiSize);
    std::uint32_t Word(std::uint32_t uiAddress) const;
    void SetWord(std::uint32_t uiAddress, std::uint32_t uiValue);

    void Handle(const std::uint8_t* pData, std::size_t uiSize, const sockaddr_in& from, std::int64_t now);
    void Reply(const sockaddr_in& to, std::uint16_t uiStatus, std::uint16_t uiAnswer, std::uint16_t uiRequest,
        const std::vector<std::uint8_t>& body);
    std::uint16_t ReadWords(const std::uint8_t* pBody, std::size_t uiSize, std::vector<std::uint8_t>& body);
    std::uint16_t ReadMemory(const std::uint8_t* pBody, std::size_t uiSize, std::vector<std::uint8_t>& body);
    std::uint16_t WriteWords(
        const std::uint8_t* pBody, std::size_t uiSize, const sockaddr_in& from, std::vector<std::uint8_t>& body);
    std::uint16_t WriteMemory(
        const std::uint8_t* pBody, std::size_t uiSize, const sockaddr_in& from, std::vector<std::uint8_t>& body);
    std::uint16_t ReadWord(std::uint32_t uiAddress, std::uint32_t& uiValue) const;
    std::uint16_t WriteWord(std::uint32_t uiAddress, std::uint32_t uiValue, const sockaddr_in& from);
    std::uint16_t WriteControl(std::uint32_t uiValue, const sockaddr_in& from);
    bool IsOwner(const sockaddr_in& from) const;
    void DropOwner();
    /// Takes control from the program that has it, as faults say. True when they do.
    bool LoseControl(std::uint64_t uiExposure);
    void SendTestPacket();

    std::uint32_t PacketData() const;
    /// What was sent under a block number, for packets asked for again: the scene can be painted anew.
    struct Block {
        std::uint16_t uiBlock = 0; ///< 0: none
        std::uint64_t uiNumber = 0;
        std::int64_t start = 0;
    };
    Packet MakePacket(
        const Block& block, const std::uint8_t* pPixels, std::uint32_t uiPacket, std::uint16_t uiStatus) const;
    void SendPackets(
        const Block& block, std::uint32_t uiFirst, std::uint32_t uiLast, std::uint32_t uiSkip, std::uint16_t uiStatus);
    void Resend(const std::uint8_t* pBody, std::size_t uiSize);
    std::uint64_t Ticks(std::int64_t time) const;

    struct Asked {
        std::int64_t due = 0;
        sockaddr_in from {};
        std::vector<std::uint8_t> data;
    };

    GigeCameraSetup m_setup;
    SoftCamera m_camera;
    Scenery m_scenery;
    std::string m_strXml;
    std::vector<std::uint8_t> m_bootstrap;
    int m_iControl = -1;
    int m_iStream = -1;
    sockaddr_in m_address {};
    sockaddr_in m_owner {}; ///< port 0: nobody controls
    std::int64_t m_heardOwner = 0;
    bool m_bControlTaken = false; ///< once, by a fault
    bool m_bDeaf = false;
    mutable bool m_bMute = false; ///< for good, by a fault
    std::deque<Asked> m_asked;
    std::uint16_t m_uiBlock = 0xFF00; ///< wraps after a short while
    std::array<Block, 16> m_blocks {};
};

} // namespace vireo::peers
