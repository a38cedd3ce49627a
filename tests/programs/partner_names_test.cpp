// File names as a partner may give them: whatever they say, files come into being only where the operating system
// lets this user write, nothing that exists is touched, and what is refused is told.
#include "app/settings_records.h"
#include "capture/messages.h"
#include "platform/imaging/mjpeg_video.h"
#include "soak/session.h"
#include "support/other_user.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

using namespace vireo;
using namespace vireo::test;

namespace {

namespace fs = std::filesystem;

/// A short recording of one camera, to be saved under a partner's names again and again.
class PartnersRecording {
public:
    PartnersRecording()
        : m_session("simulated:1xFL3-U3-13Y3M", "", *m_video)
    {
        RecordingPreset preset;
        preset.FrameRate = 30;
        EXPECT_TRUE(m_session.Open() && ApplyPresetValues(Doc(), preset) && m_session.WaitLive() && Start(Doc()));
        EXPECT_TRUE(m_session.WaitFor(10 * kNsPerSecond, [this] { return !Doc().m_capture.m_bCapturing; }));
        StopGrab(Doc());
        EXPECT_TRUE(m_session.HasRecording());
    }
    ExportResult SaveAs(const std::string& strName)
    {
        m_session.Store().m_bRecordDone[0] = true; // also when the last name was good
        Doc().m_capture.m_iSaveLastFrame = 2;
        CooperationRequest request;
        request.CooperationMode = true;
        request.CoopFileNames[0] = strName;
        request.CoopFileCount = 1;
        m_session.App().SetRequest(request);
        m_session.App().SetCooperationResult(0);
        return SaveAvi(Doc());
    }
    CVireoDoc& Doc() { return m_session.Doc(); }
    Session& GetSession() { return m_session; }

private:
    std::unique_ptr<VideoWriters> m_video = MakeVideoWriters();
    Session m_session;
};

/// Every entry below a folder, with what a regular file holds; links are not followed.
std::map<std::string, std::string> Inventory(const std::string& strFolder)
{
    std::map<std::string, std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(strFolder))
        entries[entry.path().lexically_relative(strFolder)] =
            entry.is_regular_file() && !entry.is_symlink() ? ReadFile(entry.path()) : "";
    return entries;
}

TEST(PartnerNames, LeadNowhereWhereThisUserMayNotWrite)
{
    const TemporaryFolder closed; // of another user, or made so
    WriteFile(closed / "old-0000.avi", "an older take");
    ASSERT_EQ(chmod(closed.Path().c_str(), 0555), 0);
    EXPECT_TRUE(RunAsOtherUser([&] {
        const TemporaryFolder work;
        fs::current_path(work.Path());
        fs::create_directory("folder-0000.avi");
        fs::create_symlink(closed / "planted", "dangling-0000.avi");
        fs::create_symlink(closed / "old-0000.avi", "link-0000.avi");
        WriteFile("taken-0000.avi", "an older take");
        PartnersRecording recording;
        const struct {
            std::string strName;
            const char* pTold;
        } kRows[] = {
            { "../../../../../../../../etc/tessel-test.avi", "Permission denied" },
            { "/tessel-test.avi", "Permission denied" },
            { closed / "new.avi", "Permission denied" },
            { "..\\..\\..\\..\\..\\..\\etc\\tessel-test.avi", "Permission denied" },
            { "/proc/self/tessel-test.avi", "No such file or directory" },
            { "/dev/null/tessel-test.avi", "Not a directory" },
            { "missing/folder/take.avi", "No such file or directory" },
            { "~/take.avi", "No such file or directory" },
            { "q:\\take.avi", "no folder for drive q:" },
            { "missing/%s%n%s%n.avi", "missing/%s%n%s%n-0000.avi" },
            { std::string("take\0.avi/../../etc/x", 20) + ".avi", messages::kNameConversionFailed.strFormat.data() },
            { std::string(260, 'n') + ".avi", messages::kNameConversionFailed.strFormat.data() },
            { "/" + std::string(4096, 'n') + ".avi", messages::kNameConversionFailed.strFormat.data() },
            { std::string(250, 'n') + ".avi", "File name too long" },
        };
        for (const auto& row : kRows) {
            SCOPED_TRACE(row.strName.substr(0, 60));
            const auto before = Inventory(work.Path());
            const std::size_t uiTold = recording.GetSession().Messages().size();
            EXPECT_FALSE(recording.SaveAs(row.strName).bComplete);
            const std::vector<std::string> messages = recording.GetSession().Messages();
            ASSERT_EQ(messages.size(), uiTold + 1);
            EXPECT_NE(messages.back().find(row.pTold), std::string::npos) << messages.back();
            EXPECT_TRUE(recording.GetSession().HasRecording());
            EXPECT_EQ(Inventory(work.Path()), before);
        }
        // A name that is taken is asked about, whatever stands there; nobody answers here.
        for (const char* pName : { "folder.avi", "dangling.avi", "link.avi", "taken.avi" }) {
            SCOPED_TRACE(pName);
            const auto before = Inventory(work.Path());
            EXPECT_FALSE(recording.SaveAs(pName).bComplete);
            EXPECT_TRUE(recording.GetSession().HasRecording());
            EXPECT_EQ(Inventory(work.Path()), before);
        }
        fs::current_path("/");
    }));
    EXPECT_EQ(Inventory(closed.Path()), (std::map<std::string, std::string> { { "old-0000.avi", "an older take" } }));
    ASSERT_EQ(chmod(closed.Path().c_str(), 0700), 0);
    EXPECT_FALSE(fs::exists("/etc/tessel-test-0000.avi"));
}

TEST(PartnerNames, AreTakenToTheLetter)
{
    EXPECT_TRUE(RunAsOtherUser([] {
        PartnersRecording recording;
        for (const std::string strName : { "%s%n%d%x", "line\nbreak", "-rf", "$(touch planted)", "`touch planted`",
                 "; touch planted ;", "<b>bold", "a'b\"c", ".hidden", "カメラ", "\xFF\xFE", " " }) {
            SCOPED_TRACE(strName);
            const TemporaryFolder work;
            fs::current_path(work.Path());
            EXPECT_TRUE(recording.SaveAs(strName + ".avi").bComplete);
            const auto entries = Inventory(work.Path());
            ASSERT_EQ(entries.size(), 1U);
            EXPECT_EQ(entries.begin()->first, strName + "-0000.avi");
            fs::current_path("/");
        }
        EXPECT_TRUE(recording.GetSession().Messages().empty());
    }));
}

} // namespace
