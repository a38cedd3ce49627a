#pragma once
#include "app/recording_preset.h"
#include "camera/capture_parameters.h"

#include <random>
#include <string>
#include <string_view>

namespace vireo::test {

/// How somebody outside ends a recording.
enum class StopKind {
    None, ///< nobody does
    Request, ///< the partner, or the operator's key: it ends in step
    Keep, ///< a signal: what there is is kept
    Break, ///< the operator prepares anew: it is given up
};

/// Cameras, faults, presets and stops, drawn from a seed: the same ones for the same seed.
class RandomSession {
public:
    explicit RandomSession(unsigned int uiSeed)
        : m_random(uiSeed)
    {
    }

    static constexpr int kOutsideHz = 30; ///< of the trigger from outside

    std::string strSource;
    std::string strFaults;
    bool bTrigger = false; ///< recordings begin with a trigger from outside
    int iTakes = 1;

    /// Draws the next session.
    void Draw()
    {
        static constexpr struct {
            const char* pModel;
            int iLargestSize; ///< image-size index that its sensor has room for
        } kModels[] = { { "FL3-U3-13Y3M@13000001", 2 }, { "GS3-U3-23S6M@17000001", 3 }, { "GS3-U3-23S6C@17000001", 3 },
            { "GS3-PGE-23S6M@15000001", 3 }, { "FL3-U3-13E4C@14000001", 2 }, { "GRAS-03K2@12000001", 0 } };
        const auto& model = kModels[Between(0, 5)];
        m_iCameras = Between(1, 4);
        m_iLargestSize = model.iLargestSize;
        m_bInStep = !std::string_view(model.pModel).starts_with("GRAS");
        strSource = "simulated:" + std::to_string(m_iCameras) + "x" + model.pModel;
        strFaults.clear();
        m_bMayEndEarly = false;
        m_bMayRefuse = false;
        m_bExact = true;
        m_bMayLoseTheFirst = false;
        bTrigger = false;
        iTakes = Between(1, 6);
        if (Chance(40))
            return;
        bTrigger = Chance(15);
        if (bTrigger) {
            Add("trigger:" + std::to_string(kOutsideHz) + "@" + std::to_string(Between(100, 900)));
            return;
        }
        for (int i = Between(1, 3); i > 0; --i)
            AddFault();
    }
    RecordingPreset Preset()
    {
        RecordingPreset preset;
        preset.RecTime = 1;
        preset.FrameRate = kFrameRates[static_cast<std::size_t>(Between(0, static_cast<int>(kFrameRates.size()) - 1))];
        preset.WindowSize = Chance(80) ? 0 : Between(0, m_iLargestSize);
        preset.Shutter = Chance(20) ? -1 : 1000;
        if (bTrigger)
            preset.FrameRate = 60; // the generator's pace is what counts
        return preset;
    }
    StopKind Stop()
    {
        static constexpr StopKind kKinds[] = { StopKind::Request, StopKind::Keep, StopKind::Break };
        return Chance(55) ? StopKind::None : kKinds[Between(0, 2)];
    }
    bool Chance(int iPercent) { return Between(1, 100) <= iPercent; }
    int Between(int iFirst, int iLast) { return std::uniform_int_distribution(iFirst, iLast)(m_random); }

    /// A fault may end a recording, or keep it from beginning.
    bool MayEndEarly() const { return m_bMayEndEarly; }
    /// A fault may keep the cameras from being configured.
    bool MayRefuse() const { return m_bMayRefuse; }
    /// Nothing moves the exposures of a camera in step away from the others', not even a little.
    bool IsExact() const { return m_bExact; }
    /// The cameras expose on common edges; else each runs free.
    bool IsInStep() const { return m_bInStep; }
    /// The exposures come at the pace of the trigger from outside; cameras that run free wait for its level only.
    bool HasOutsidePace() const { return bTrigger && m_bInStep; }
    /// A camera may fall out of the trigger's step and pace itself.
    bool LosesItsTrigger() const { return strFaults.find("untrigger:") != std::string::npos; }
    /// The first exposures of a capture may be lost; no camera can tell, and it is one or more behind from then on.
    bool MayLoseTheFirst() const { return m_bMayLoseTheFirst; }
    /// A fault may keep two cameras' clocks from being compared: frames that arrive late, or clocks of their own where
    /// no common edge says what the other should show.
    bool MayBeUnchecked() const
    {
        const bool bOwnClock =
            strFaults.find("skew:") != std::string::npos || strFaults.find("drift:") != std::string::npos;
        return strFaults.find("stall:") != std::string::npos || (bOwnClock && !m_bInStep);
    }

private:
    /// Not the same kind twice at the same camera: that would be wrong use.
    void Add(const std::string& strRule)
    {
        const std::string strKind = strRule.substr(0, strRule.find_first_of("@="));
        if (strFaults.find(strKind) == std::string::npos)
            strFaults += (strFaults.empty() ? "" : ";") + strRule;
    }
    void AddFault()
    {
        const std::string strCamera = std::to_string(Between(0, m_iCameras - 1));
        const int iAt = Between(0, Chance(60) ? 40 : 150);
        const std::string strAt = strCamera + "@" + std::to_string(iAt);
        const int iKind = Between(0, 11);
        m_bMayLoseTheFirst = m_bMayLoseTheFirst || (iAt == 0 && iKind <= 2);
        switch (iKind) {
        case 0: return Add("drop:" + strAt + "x" + std::to_string(Between(1, 20)));
        case 1: return Add("missedge:" + strAt);
        case 2: return Add("torn:" + strAt + "x" + std::to_string(Between(1, 3)));
        case 3: return Add("stall:" + strAt + "=" + std::to_string(Between(1, 300)));
        case 4: return Add("skew:" + strCamera + "=" + std::to_string(Between(1, 5000)));
        case 5: m_bExact = false; return Add("drift:" + strCamera + "=" + std::to_string(Between(1, 150)));
        case 6: m_bExact = false; return Add("phase:" + strCamera + "=" + std::to_string(Between(1, 3000)));
        case 7: m_bExact = false; return Add("untrigger:" + strAt);
        case 8: m_bMayEndEarly = true; return Add("hang:" + strAt);
        case 9: m_bMayEndEarly = m_bMayRefuse = true; return Add("unplug:" + strAt);
        case 10:
            m_bMayEndEarly = true;
            return Add(
                "error:RetrieveBuffer:" + std::to_string(Between(2, 17)) + "@" + std::to_string(Between(1, 900)));
        default:
            m_bMayEndEarly = m_bMayRefuse = true;
            return Add("error:StartCapture:" + std::to_string(Between(2, 17)) + "@" + std::to_string(Between(1, 12)));
        }
    }

    std::mt19937 m_random;
    int m_iCameras = 1;
    int m_iLargestSize = 0;
    bool m_bMayEndEarly = false;
    bool m_bMayRefuse = false;
    bool m_bExact = true;
    bool m_bInStep = false;
    bool m_bMayLoseTheFirst = false;
};

} // namespace vireo::test
