// The settings file: whatever bytes stand in it are read, and a rewrite leaves it as the rules say.
#include "app/ini_store.h"
#include "fuzz_input.h"
#include "platform/linux/code_page_932.h"
#include "support/recorded_window.h"
#include "support/temporary_folder.h"

using namespace vireo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes)
{
    static const test::TemporaryFolder folder(test::TemporaryFolder::Place::Memory);
    static const CodePage932 encoding;
    FuzzInput input(pBytes, uiBytes);
    const std::string strSection = input.Text();
    const std::string strKey = input.Text();
    const std::string strValue = input.Text();
    const std::string strFile = folder / "Tessel.ini";
    const std::string strOld = input.Rest();
    test::WriteFile(strFile, strOld);

    test::RecordedWindow window;
    IniStore store(window, encoding);
    store.SetFolder(folder.Path() + "/");
    (void)store.ReadInt(strSection, strKey, 7);
    (void)store.ReadString(strSection, strKey, "default");
    Require(window.MessageTexts().empty(), "a file that is there can be read");
    if (!store.WriteString(strSection, strKey, strValue)) {
        Require(window.MessageTexts().size() == 1, "a refused write is told once");
        Require(test::ReadFile(strFile) == strOld, "a refused write leaves the file");
        return 0;
    }
    const std::string strNew = test::ReadFile(strFile);
    Require(strNew.size() >= 2 && strNew.compare(strNew.size() - 2, 2, "\r\n") == 0, "the last line is ended");
    Require(!std::filesystem::exists(folder / "TempTesselIni"), "nothing is left beside the file");
    (void)store.ReadString(strSection, strKey, "default");
    return 0;
}
