#include "programs/camera_sources.h"

#include "platform/genicam/genicam_library.h"
#include "platform/iidc/iidc_library.h"
#include "platform/joined/joined_library.h"
#include "platform/simulated/simulated_library.h"
#include "platform/simulated/simulated_setup.h"
#include "platform/simulated/text_scan.h"

#include <array>
#include <vector>

namespace vireo {

namespace {

/// What was asked for, read but not opened yet.
struct Sources {
    GenicamSetup genicam;
    SimulatedSetup simulated; ///< of all simulated items together
};

std::string ReadGenicam(std::string_view strSource, Sources& sources)
{
    const std::size_t uiColon = strSource.find(':');
    if (uiColon != std::string_view::npos)
        sources.genicam.strInterface = strSource.substr(uiColon + 1);
    return uiColon + 1 == strSource.size() ? "camera source " + Quoted(strSource) + " names no interface" : "";
}

std::string ReadIidc(std::string_view strSource, Sources&)
{
    return strSource == "iidc" ? "" : "camera source " + Quoted(strSource) + " takes nothing behind the colon";
}

std::string ReadSimulated(std::string_view strSource, Sources& sources)
{
    return ParseSimulatedSource(strSource, sources.simulated.cameras);
}

std::unique_ptr<CameraLibrary> OpenGenicam(Clock& clock, Log& log, const Sources& sources)
{
    return MakeGenicamLibrary(clock, log, sources.genicam);
}

std::unique_ptr<CameraLibrary> OpenIidc(Clock& clock, Log& log, const Sources&) { return MakeIidcLibrary(clock, log); }

std::unique_ptr<CameraLibrary> OpenSimulated(Clock& clock, Log&, const Sources& sources)
{
    return MakeSimulatedLibrary(clock, sources.simulated);
}

// The one list of the backends; nothing outside this file knows what stands behind a name.
struct Backend {
    std::string_view strName;
    bool bRepeats; ///< may be named again: its cameras add up
    std::string (*pRead)(std::string_view strSource, Sources& sources);
    std::unique_ptr<CameraLibrary> (*pOpen)(Clock& clock, Log& log, const Sources& sources);
};
constexpr std::array<Backend, 3> kBackends { {
    { "genicam", false, ReadGenicam, OpenGenicam },
    { "iidc", false, ReadIidc, OpenIidc },
    { "simulated", true, ReadSimulated, OpenSimulated },
} };
constexpr std::string_view kRealHardware = "genicam,iidc";

const Backend* FindBackend(std::string_view strSource)
{
    const std::string_view strName = strSource.substr(0, strSource.find(':'));
    for (const Backend& backend : kBackends)
        if (backend.strName == strName)
            return &backend;
    return nullptr;
}

std::vector<std::string_view> Split(std::string_view strText)
{
    std::vector<std::string_view> items;
    for (std::size_t uiBegin = 0;;) {
        const std::size_t uiEnd = strText.find(',', uiBegin);
        items.push_back(strText.substr(uiBegin, uiEnd - uiBegin));
        if (uiEnd == std::string_view::npos)
            return items;
        uiBegin = uiEnd + 1;
    }
}

/// Reads one item and puts its backend behind those that were named before.
std::string ReadSource(std::string_view strSource, Sources& sources, std::vector<const Backend*>& backends)
{
    const Backend* pBackend = FindBackend(strSource);
    if (pBackend == nullptr)
        return "unknown camera source: " + Quoted(strSource);
    bool bNamed = false;
    for (const Backend* pEarlier : backends)
        bNamed = bNamed || pEarlier == pBackend;
    if (bNamed && !pBackend->bRepeats)
        return "camera source " + Quoted(strSource) + " is named twice";
    if (!bNamed)
        backends.push_back(pBackend);
    return pBackend->pRead(strSource, sources);
}

} // namespace

std::unique_ptr<CameraLibrary> OpenCameraSources(
    std::string_view strSources, std::string_view strFaults, Clock& clock, Log& log, std::string& strError)
{
    Sources sources;
    std::vector<const Backend*> backends;
    for (const std::string_view strSource : Split(strSources.empty() ? kRealHardware : strSources)) {
        strError = ReadSource(strSource, sources, backends);
        if (!strError.empty())
            return nullptr;
    }
    strError = ParseSimulatedFaults(strFaults, sources.simulated.cameras.size(), sources.simulated.faults);
    if (!strError.empty())
        return nullptr;
    std::vector<std::unique_ptr<CameraLibrary>> libraries;
    libraries.reserve(backends.size());
    for (const Backend* pBackend : backends)
        libraries.push_back(pBackend->pOpen(clock, log, sources));
    if (libraries.size() == 1)
        return std::move(libraries.front());
    return MakeJoinedLibrary(log, std::move(libraries));
}

} // namespace vireo
