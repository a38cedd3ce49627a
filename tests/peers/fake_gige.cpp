#include "peers/camera_wiring.h"
#include "peers/gige_bytes.h"
#include "peers/gige_camera.h"

#include <arpa/inet.h>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

// tessel-fake-gige: software GigE Vision cameras on addresses of this computer, wired to each other.
// Prints "ready" when they answer; ends on SIGINT, SIGTERM or when its input is closed (--until-eof).

namespace {

using namespace vireo::peers;

constexpr const char* kUsage =
    "tessel-fake-gige [--camera ADDRESS,SERIAL,MODEL[,modern|older|raw|unitless|rare|bare]]...\n"
    "                 [--count N] [--model MODEL] [--fault RULE]... [--trigger HZ[@DELAY_MS]] [--no-test-packets]\n"
    "                 [--no-clock] [--answer-delay MS] [--until-eof]\n"
    "  RULE = lose|torn|drop|deaf:CAMERA@N[xCOUNT] or hang|release|seize|quit:CAMERA@N\n"
    "         or quit:CAMERA@armed or mute:CAMERA@open\n"
    "  without --camera: N cameras (default 4) of a model (default GS3-PGE-23S6M) at 127.0.0.1, 127.0.0.2, ...\n";

volatile std::sig_atomic_t g_iQuit = 0;
void OnSignal(int) { g_iQuit = 1; }

struct Options {
    std::vector<GigeCameraSetup> cameras;
    std::vector<PeerFaults> faults;
    Generator generator;
    bool bUntilEof = false;
};

std::int64_t Monotonic()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

bool AddCamera(const std::string& strText, Options& options)
{
    std::vector<std::string> parts;
    for (std::size_t uiFrom = 0;;) {
        const std::size_t uiComma = strText.find(',', uiFrom);
        parts.push_back(strText.substr(uiFrom, uiComma - uiFrom));
        if (uiComma == std::string::npos)
            break;
        uiFrom = uiComma + 1;
    }
    if (parts.size() < 3 || parts.size() > 4)
        return false;
    GigeCameraSetup setup;
    setup.strAddress = parts[0];
    setup.camera.uiSerial = static_cast<std::uint32_t>(std::strtoul(parts[1].c_str(), nullptr, 10));
    setup.camera.strModel = parts[2];
    const std::pair<const char*, Dialect> kDialects[] = { { "modern", Dialect::Modern }, { "older", Dialect::Older },
        { "raw", Dialect::Raw }, { "unitless", Dialect::Unitless }, { "rare", Dialect::Rare },
        { "bare", Dialect::Bare } };
    bool bKnown = parts.size() == 3;
    for (const auto& [strName, eDialect] : kDialects)
        if (parts.size() == 4 && parts[3] == strName) {
            setup.camera.eDialect = eDialect;
            bKnown = true;
        }
    if (!bKnown)
        return false;
    options.cameras.push_back(std::move(setup));
    return true;
}

bool ParseOptions(int argc, char** argv, Options& options)
{
    int iCount = 4;
    bool bTestPackets = true;
    bool bClock = true;
    std::int64_t answerDelay = 0;
    std::string strModel = "GS3-PGE-23S6M";
    for (int i = 1; i < argc; i++) {
        const std::string strName = argv[i];
        if (strName == "--until-eof") {
            options.bUntilEof = true;
            continue;
        }
        if (strName == "--no-test-packets") {
            bTestPackets = false;
            continue;
        }
        if (strName == "--no-clock") {
            bClock = false;
            continue;
        }
        if (++i >= argc)
            return false;
        const std::string strValue = argv[i];
        bool bGood = false;
        if (strName == "--camera")
            bGood = AddCamera(strValue, options);
        else if (strName == "--fault")
            bGood = ParsePeerFault(strValue, options.faults);
        else if (strName == "--trigger")
            bGood = ParseGenerator(strValue, options.generator);
        else if (strName == "--answer-delay")
            bGood = (answerDelay = std::atoi(strValue.c_str()) * std::int64_t { 1'000'000 }) > 0;
        else if (strName == "--count")
            bGood = (iCount = std::atoi(strValue.c_str())) >= 1 && iCount <= 64;
        else if (strName == "--model")
            bGood = !(strModel = strValue).empty() && strModel.find(',') == std::string::npos;
        if (!bGood)
            return false;
    }
    if (options.cameras.empty())
        for (int i = 0; i < iCount; i++)
            AddCamera(
                "127.0.0." + std::to_string(i + 1) + "," + std::to_string(15000001 + i) + "," + strModel, options);
    for (std::size_t i = 0; i < options.cameras.size(); i++) {
        options.cameras[i].uiMac = static_cast<std::uint32_t>(i + 1);
        options.cameras[i].bTestPackets = bTestPackets;
        options.cameras[i].bClock = bClock;
        options.cameras[i].answerDelay = answerDelay;
        if (i < options.faults.size())
            options.cameras[i].faults = options.faults[i];
    }
    return options.faults.size() <= options.cameras.size();
}

/// Where discoveries for everybody arrive.
int OpenBroadcast()
{
    const int iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int iOn = 1;
    setsockopt(iSocket, SOL_SOCKET, SO_REUSEADDR, &iOn, sizeof iOn);
    setsockopt(iSocket, SOL_SOCKET, SO_REUSEPORT, &iOn, sizeof iOn);
    sockaddr_in everybody {};
    everybody.sin_family = AF_INET;
    everybody.sin_port = htons(3956);
    everybody.sin_addr.s_addr = INADDR_BROADCAST;
    if (bind(iSocket, reinterpret_cast<const sockaddr*>(&everybody), sizeof everybody) == 0)
        return iSocket;
    close(iSocket);
    return -1;
}

class Host {
public:
    explicit Host(Options options)
        : m_options(std::move(options))
        , m_start(Monotonic())
    {
        for (GigeCameraSetup& setup : m_options.cameras)
            m_cameras.push_back(std::make_unique<GigeCamera>(std::move(setup)));
        std::vector<WiredCamera*> inner;
        for (const auto& camera : m_cameras)
            inner.push_back(&camera->Camera());
        m_wiring = std::make_unique<CameraWiring>(inner, m_options.generator);
    }

    std::string Open()
    {
        for (const auto& camera : m_cameras)
            if (std::string strError = camera->Open(); !strError.empty())
                return strError;
        m_iBroadcast = OpenBroadcast();
        return m_iBroadcast < 0 ? std::string("cannot listen for broadcasts: ") + std::strerror(errno) : std::string();
    }

    int Run()
    {
        std::vector<pollfd> waits;
        for (const auto& camera : m_cameras)
            waits.push_back({ camera->ControlSocket(), POLLIN, 0 });
        waits.push_back({ m_iBroadcast, POLLIN, 0 });
        waits.push_back({ m_options.bUntilEof ? STDIN_FILENO : -1, POLLIN, 0 });
        while (g_iQuit == 0) {
            std::int64_t next = m_wiring->NextTime();
            for (const auto& camera : m_cameras)
                next = std::min(next, camera->NextAnswer());
            const std::int64_t wait = std::clamp<std::int64_t>(next - Now(), 0, 100'000'000);
            const timespec limit { 0, static_cast<long>(wait) };
            ppoll(waits.data(), waits.size(), &limit, nullptr);
            ServeAll();
            if (waits[m_cameras.size()].revents != 0)
                ServeBroadcast();
            if (waits.back().revents != 0 && ReadInput() <= 0)
                return 0;
            if (IsTiredOfWaiting())
                std::_Exit(3);
            for (const Exposure& exposure : m_wiring->Advance(Now()))
                if (!m_cameras[exposure.uiCamera]->SendFrame(exposure))
                    std::_Exit(3); // as sudden as a pulled plug
                else
                    ServeAll(); // a program that asks does not wait for the other cameras' frames
        }
        return 0;
    }

private:
    std::int64_t Now() const { return Monotonic() - m_start; }

    void ServeAll()
    {
        for (const auto& camera : m_cameras) {
            camera->Serve(Now());
            camera->CheckHeartbeat(Now());
        }
    }

    /// A camera with that fault has been armed for a second.
    bool IsTiredOfWaiting()
    {
        bool bArmed = false;
        for (const auto& camera : m_cameras)
            bArmed =
                bArmed || (camera->Faults().bQuitArmed && camera->Camera().Acquiring() && camera->Camera().TriggerOn());
        if (!bArmed)
            m_armedAt = Now();
        return Now() - m_armedAt > kNsPerSecond;
    }

    static ssize_t ReadInput()
    {
        char data[256];
        return read(STDIN_FILENO, data, sizeof data);
    }

    void ServeBroadcast()
    {
        std::uint8_t data[256];
        sockaddr_in from {};
        socklen_t uiLength = sizeof from;
        while (recvfrom(m_iBroadcast, data, sizeof data, 0, reinterpret_cast<sockaddr*>(&from), &uiLength) >= 8)
            if (data[0] == 0x42 && Load16(data + 2) == 0x0002)
                for (const auto& camera : m_cameras)
                    camera->AnswerDiscovery(Load16(data + 6), from);
    }

    Options m_options;
    std::int64_t m_start;
    std::vector<std::unique_ptr<GigeCamera>> m_cameras;
    std::unique_ptr<CameraWiring> m_wiring;
    int m_iBroadcast = -1;
    std::int64_t m_armedAt = 0;
};

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
    Host host(std::move(options));
    if (const std::string strError = host.Open(); !strError.empty()) {
        std::fprintf(stderr, "tessel-fake-gige: %s\n", strError.c_str());
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return host.Run();
}
