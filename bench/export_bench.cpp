// How fast a recording becomes a file: the writer against encoding alone on all cores, and against other
// programs at the same quality. Everything lies in memory; every frame of every file is decoded and
// compared.
#include "avi_check.h"
#include "bench_report.h"
#include "export_footage.h"
#include "export_peers.h"
#include "platform/imaging/mjpeg_video.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>

namespace vireo::bench {
namespace {

constexpr int kRounds = 3;
constexpr double kQualitySlackDb = 0.5; ///< of the pictures beside the fastest peer's
constexpr double kLimitGoal = 0.9;
constexpr double kPeerGoal = 1.7;
constexpr const char* kEncodeOnly = "encode only";
constexpr const char* kMemoryFolder = "/dev/shm";

/// Runs an exporter and checks its file. Frames per second; throws when a frame is wrong.
double RunChecked(const Exporter& exporter, const Footage& footage, const std::string& strFolder, AviCheck& check)
{
    const std::string strFile = strFolder + "/out.avi";
    const double dSeconds = exporter.run(strFile);
    const std::string strPart = PartFileName(strFile, 0);
    const bool bPart = std::filesystem::exists(strPart);
    check = CheckAvi(bPart ? strPart : strFile, footage);
    std::filesystem::remove(bPart ? strPart : strFile);
    if (check.uiFrames != exporter.uiFrames || check.uiBad != 0) {
        throw std::runtime_error(exporter.strName + ", " + footage.Name() + ": " + std::to_string(check.uiFrames)
            + " of " + std::to_string(exporter.uiFrames) + " frames are right, " + std::to_string(check.uiBad)
            + " wrong");
    }
    return static_cast<double>(exporter.uiFrames) / dSeconds;
}

void PrintExporter(const std::string& strName, const std::vector<double>& rates, const AviCheck& check)
{
    std::printf("  %-20s %8.0f fps", strName.c_str(), Median(rates));
    if (check.uiFrames > 0)
        std::printf("  %7.0f bytes a frame, %.1f dB",
            static_cast<double>(check.uiBytes) / static_cast<double>(check.uiFrames), check.dPsnr);
    std::printf("\n");
}

void BenchFootage(const Figure& toEncoding, const Figure& toPeers, const Footage& footage)
{
    const test::TemporaryFolder folder;
    const Exporter own = OwnWriter(footage);
    const std::vector<Exporter> peers = Peers(footage, folder.Path());
    std::map<std::string, std::vector<double>> rates;
    std::map<std::string, AviCheck> checks;
    std::vector<double> toLimit;
    std::vector<double> toPeer;
    std::vector<double> fastest;
    EncodeOnly(footage); // warm up
    for (int iRound = 0; iRound < kRounds; ++iRound) {
        // One after the other in each round: a neighbour's load then meets all of them.
        const double dLimit = static_cast<double>(footage.m_uiFrames) / EncodeOnly(footage);
        rates[kEncodeOnly].push_back(dLimit);
        const double dOwn = RunChecked(own, footage, folder.Path(), checks[own.strName]);
        rates[own.strName].push_back(dOwn);
        double dFastest = 0.0;
        for (const Exporter& peer : peers) {
            if (iRound > 0 && peer.bOnce)
                continue;
            const double dPeer = RunChecked(peer, footage, folder.Path(), checks[peer.strName]);
            rates[peer.strName].push_back(dPeer);
            dFastest = std::max(dFastest, dPeer);
        }
        toLimit.push_back(dOwn / dLimit);
        toPeer.push_back(dOwn / dFastest);
        fastest.push_back(dFastest);
    }
    const auto best = std::max_element(peers.begin(), peers.end(),
        [&rates](const Exporter& a, const Exporter& b) { return Median(rates[a.strName]) < Median(rates[b.strName]); });
    if (checks[own.strName].dPsnr < checks[best->strName].dPsnr - kQualitySlackDb)
        throw std::runtime_error(own.strName + ", " + footage.Name() + ": poorer pictures than " + best->strName);
    std::printf("%s, %zu frames, quality %d:\n", footage.Name().c_str(), footage.m_uiFrames, kQuality);
    for (const auto& [strName, values] : rates)
        PrintExporter(strName, values, checks[strName]);
    const std::string strOwn = Text("%.0f fps", Median(rates[own.strName]));
    AgainstPeer(toEncoding, strOwn, Text("encoding alone on all cores, %.0f fps", Median(rates[kEncodeOnly])),
        Median(toLimit), Goal::AtLeast, kLimitGoal);
    AgainstPeer(toPeers, strOwn, Text("fastest other program, %.0f fps", Median(fastest)), Median(toPeer),
        Goal::AtLeast, kPeerGoal);
}

} // namespace
} // namespace vireo::bench

int main()
{
    using namespace vireo::bench;
    if (std::filesystem::is_directory(kMemoryFolder))
        setenv("TMPDIR", kMemoryFolder, 1);
    try {
        BenchFootage(
            { "saving grey 640x480" }, { "saving grey 640x480, other programs" }, Footage(480, 640, false, 200, 600));
        BenchFootage({ "saving grey 1920x1080" }, { "saving grey 1920x1080, other programs" },
            Footage(1080, 1920, false, 40, 120));
        BenchFootage({ "saving colour 640x480" }, { "saving colour 640x480, other programs" },
            Footage(480, 640, true, 200, 600));
        BenchFootage({ "saving colour 1920x1080" }, { "saving colour 1920x1080, other programs" },
            Footage(1080, 1920, true, 40, 120));
    } catch (const std::exception& exception) {
        // Not std::exit where it happens: the files lie in memory and must go.
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
