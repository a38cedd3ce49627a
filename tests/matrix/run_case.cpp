#include "app/format_text.h"
#include "matrix/matrix_cases.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>

namespace vireo::test {

namespace {

constexpr ClockTime kPatience = 5 * kNsPerSecond; // more than any failure may take

/// Spoils the settings file, and puts it right again.
class SpoiltSettings {
public:
    SpoiltSettings(const std::string& strFolder, FileFault eFault)
        : m_strFile(strFolder + "Tessel.ini")
        , m_strTemporary(strFolder + "TempTesselIni")
        , m_eFault(eFault)
        , m_strBytes(ReadFile(m_strFile))
    {
        namespace fs = std::filesystem;
        if (eFault == FileFault::Missing || eFault == FileFault::IsFolder)
            fs::remove(m_strFile);
        if (eFault == FileFault::IsFolder)
            fs::create_directory(m_strFile);
        if (eFault == FileFault::TemporaryTaken)
            fs::create_directory(m_strTemporary);
        if (eFault == FileFault::DiskFull) {
            getrlimit(RLIMIT_FSIZE, &m_limit);
            rlimit none = m_limit;
            none.rlim_cur = 0;
            m_pHandler = std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &none);
        }
    }
    ~SpoiltSettings()
    {
        if (m_eFault == FileFault::None)
            return;
        if (m_eFault == FileFault::DiskFull) {
            setrlimit(RLIMIT_FSIZE, &m_limit);
            (void)std::signal(SIGXFSZ, m_pHandler);
        }
        std::error_code ignored;
        if (m_eFault == FileFault::IsFolder)
            std::filesystem::remove(m_strFile, ignored);
        std::filesystem::remove(m_strTemporary, ignored);
        if (m_eFault == FileFault::Missing || m_eFault == FileFault::IsFolder)
            WriteFile(m_strFile, m_strBytes);
    }
    SpoiltSettings(const SpoiltSettings&) = delete;
    SpoiltSettings& operator=(const SpoiltSettings&) = delete;
    /// Whether the file is what it was, or was not ours to keep.
    bool IsUntouched() const
    {
        return m_eFault == FileFault::None || m_eFault == FileFault::Missing || m_eFault == FileFault::IsFolder
            || ReadFile(m_strFile) == m_strBytes;
    }

private:
    const std::string m_strFile;
    const std::string m_strTemporary;
    const FileFault m_eFault;
    const std::string m_strBytes;
    rlimit m_limit {};
    void (*m_pHandler)(int) = nullptr;
};

class Judgement {
public:
    Judgement(const MatrixCase& testCase, MatrixBench& bench)
        : m_case(testCase)
        , m_expected(testCase.expected)
        , m_bench(bench)
    {
    }
    void Require(bool bTrue, const std::string& strWrong)
    {
        if (!bTrue)
            m_wrong.push_back(strWrong);
    }
    void RequireNothing(const std::string& strWrong) { Require(strWrong.empty(), strWrong); }

    void OfAct(bool bWhole, ClockTime took)
    {
        Require(bWhole == m_expected.bWhole, bWhole ? "all went as if nothing had failed" : "not all was done");
        Require(took <= kPatience, FormatText("it took %.1f s", static_cast<double>(took) / kNsPerSecond));
        OfMessages();
        Require(m_bench.ExitsPosted() == (m_expected.bExit ? 1 : 0),
            FormatText("the program is told %d times to end", m_bench.ExitsPosted()));
        if (m_expected.bStandstill)
            RequireNothing(m_bench.JudgeStandstill());
        if (m_case.scene.pRig->bPartner || m_expected.iResult != 0)
            Require(m_bench.Result() == m_expected.iResult, FormatText("the partner is told %d", m_bench.Result()));
    }
    void OfRecording()
    {
        const bool bSaving = m_case.scene.eState == State::Saving || m_case.scene.eState == State::SavingElsewhere;
        if (m_expected.bKeeps)
            RequireNothing(m_bench.JudgeRecording(1, false));
        if (m_expected.bKeeps && bSaving)
            RequireNothing(m_bench.SaveOnceMore());
        if (!m_expected.bKeeps && bSaving)
            RequireNothing(m_bench.JudgeFiles(m_expected.iSkipped));
        if (m_case.scene.eState != State::Recording)
            return;
        if (m_expected.iKeptFrames > 0)
            RequireNothing(m_bench.JudgeRecording(m_expected.iKeptFrames, false));
        if (m_expected.bWhole && !m_expected.bLoss)
            RequireNothing(m_bench.JudgeRecording(1, false));
        // Whatever was lost: it passes for whole only when it is.
        if (m_expected.bLoss && m_bench.TakeVerdict() == Verdict::InSync)
            RequireNothing(m_bench.JudgeRecording(1, false));
        if (m_expected.bLoss && m_case.fault.iNth > 8)
            Require(m_bench.TakeVerdict() != Verdict::InSync, "the loss is not told");
    }
    std::vector<std::string> Take() { return std::move(m_wrong); }

private:
    void OfMessages()
    {
        const std::vector<std::string> shown = m_bench.Messages();
        bool bFits = true;
        if (m_expected.bExact) {
            bFits = shown.size() == m_expected.messages.size();
            for (std::size_t i = 0; bFits && i < shown.size(); ++i)
                bFits = MatchesText(m_expected.messages[i], shown[i]);
        } else {
            bFits = !m_expected.bTold || !shown.empty();
            std::vector<std::string> stated = m_expected.messages;
            for (const std::string& strShown : shown) {
                const auto found = std::find_if(stated.begin(), stated.end(),
                    [&](const std::string& strPattern) { return MatchesText(strPattern, strShown); });
                bFits = bFits && found != stated.end();
                if (found != stated.end())
                    stated.erase(found);
            }
        }
        if (bFits)
            return;
        std::string strWrong = "shown:";
        for (const std::string& strShown : shown)
            strWrong += " \"" + strShown + "\"";
        strWrong += shown.empty() ? " nothing" : "";
        strWrong += m_expected.bExact ? "; stated:" : "";
        for (std::size_t i = 0; m_expected.bExact && i < m_expected.messages.size(); ++i)
            strWrong += " \"" + m_expected.messages[i] + "\"";
        m_wrong.push_back(strWrong);
    }

    const MatrixCase& m_case;
    const Expected& m_expected;
    MatrixBench& m_bench;
    std::vector<std::string> m_wrong;
};

} // namespace

std::vector<std::string> RunCase(const MatrixCase& testCase)
{
    MatrixBench bench(testCase.scene);
    Judgement judgement(testCase, bench);
    bench.Prepare();
    {
        const SpoiltSettings settings(bench.SettingsFolder(), testCase.eFile);
        const ClockTime before = bench.Now();
        bench.Board().Watch(testCase.eFile == FileFault::None ? std::optional(testCase.fault) : std::nullopt);
        const bool bWhole = bench.Act();
        const ClockTime took = bench.Now() - before - bench.Board().Held() - bench.UsualTime();
        bench.Board().Forgive();
        judgement.OfAct(bWhole, took);
        judgement.Require(settings.IsUntouched(), "the settings file has changed");
    }
    judgement.OfRecording();
    judgement.RequireNothing(bench.RecordAgain(testCase.expected.bStartOver));
    judgement.RequireNothing(bench.Close());
    return judgement.Take();
}

} // namespace vireo::test
