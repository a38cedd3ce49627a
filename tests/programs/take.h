#pragma once
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "programs/recorder.h"
#include "support/bar_code_videos.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

/// One take by tessel-record's recorder: simulated cameras, virtual time, and files that keep each frame's bar
/// code, so that what the report says can be held against what the pictures show.
class Take {
public:
    /// `parts`: memory, converter and writers of the test's own; with those there are no bar codes to look at.
    Take(std::string strCameras, std::string strFaults, RecordOptions options, TestPlatformParts parts = {})
        : m_options(std::move(options))
    {
        SimulatedSetup setup;
        EXPECT_EQ(ParseSimulatedSource(strCameras, setup.cameras), "");
        EXPECT_EQ(ParseSimulatedFaults(strFaults, setup.cameras.size(), setup.faults), "");
        m_library = MakeSimulatedLibrary(m_clock, setup);
        parts.pClock = &m_clock;
        parts.pCameras = m_library.get();
        parts.pWindow = &m_window;
        if (parts.pVideo == nullptr)
            parts.pVideo = &m_videos;
        m_test = std::make_unique<TestPlatform>(parts);
        std::ofstream(m_folder.Path() + "/Tessel.ini");
        if (m_options.strBase.empty())
            m_options.strBase = m_folder.Path() + "/take";
    }

    RecordOutcome Run()
    {
        CVireoApp app(m_test->m_platform);
        app.SetIniFolder(m_folder.Path() + "/");
        app.SetSidecar(m_pSidecar);
        Recorder recorder(
            app, m_window, m_options, [this] { return m_clock.Now() >= m_stopAt ? 1 : 0; }, [](const std::string&) {});
        return recorder.Run();
    }

    std::vector<BarCodeFile> Files() const { return m_videos.Files(); }
    std::vector<std::string> Messages() const { return m_window.Messages(); }
    const TemporaryFolder& Folder() const { return m_folder; }
    FakeMemory& Memory() { return m_test->m_memory; }

    ClockTime m_stopAt = kForever;
    TakeSidecar* m_pSidecar = nullptr;
    BarCodeVideos m_videos;
    VirtualClock m_clock;
    HeadlessWindow m_window { m_clock, {} };

private:
    TemporaryFolder m_folder;
    RecordOptions m_options;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_test;
};

inline RecordOptions At(int iFps, int iSeconds, int iSize = 0)
{
    RecordOptions options;
    options.iFps = iFps;
    options.iSeconds = iSeconds;
    options.iImageSizeIndex = iSize;
    return options;
}

/// Gaps as the pictures show them: intervals of several periods.
inline std::vector<Gap> GapsOfPictures(const BarCodeFile& file, double dPeriodUs)
{
    std::vector<Gap> gaps;
    for (std::size_t i = 1; i < file.exposuresUs.size(); ++i) {
        const double dPeriods = (file.exposuresUs[i] - file.exposuresUs[i - 1]) / dPeriodUs;
        const int iMissing = static_cast<int>(dPeriods + 0.5) - 1;
        if (iMissing > 0)
            gaps.push_back({ static_cast<int>(i), iMissing });
    }
    return gaps;
}

/// Whether frame i shows the same moment on every camera, for all i.
inline bool PicturesAgree(const std::vector<BarCodeFile>& files)
{
    for (const BarCodeFile& file : files)
        if (file.exposuresUs != files.front().exposuresUs)
            return false;
    return true;
}

/// How far the exposures of a camera's frames are from those of camera 0's, us; the largest of all frames.
inline double LargestOffsetOfPictures(const std::vector<BarCodeFile>& files, std::size_t uiCamera)
{
    double dLargest = 0.0;
    for (std::size_t i = 0; i < files[uiCamera].exposuresUs.size(); ++i)
        dLargest = std::max(dLargest,
            std::abs(
                static_cast<double>(files[uiCamera].exposuresUs[i]) - static_cast<double>(files[0].exposuresUs[i])));
    return dLargest;
}

/// The first frame whose exposure is more than `dLimitUs` from that of camera 0's; -1 when none is.
inline int FirstOffsetOfPictures(const std::vector<BarCodeFile>& files, std::size_t uiCamera, double dLimitUs)
{
    for (std::size_t i = 0; i < files[uiCamera].exposuresUs.size(); ++i)
        if (std::abs(static_cast<double>(files[uiCamera].exposuresUs[i]) - static_cast<double>(files[0].exposuresUs[i]))
            > dLimitUs)
            return static_cast<int>(i);
    return -1;
}

inline void ExpectGapsAsPictured(const RecordOutcome& outcome, const std::vector<BarCodeFile>& files, double dPeriodUs)
{
    ASSERT_EQ(outcome.report.cameras.size(), files.size());
    for (std::size_t c = 0; c < files.size(); ++c) {
        SCOPED_TRACE(testing::Message() << "camera " << c);
        EXPECT_EQ(outcome.report.cameras[c].gaps, GapsOfPictures(files[c], dPeriodUs));
    }
}

constexpr const char* kFour = "simulated";

} // namespace vireo::test
