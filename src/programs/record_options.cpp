#include "programs/record_options.h"

#include "camera/capture_parameters.h"
#include "programs/version.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>

namespace vireo {

namespace {

constexpr int kColourRate = 118; ///< fps; one colour model stops short of 120

std::string RateCheck(const std::string& strText)
{
    int iRate = 0;
    std::from_chars(strText.data(), strText.data() + strText.size(), iRate);
    if (iRate == kColourRate || std::find(kFrameRates.begin(), kFrameRates.end(), iRate) != kFrameRates.end())
        return {};
    return "the frame rate is one of 30, 60, 100, 118, 120, 150, 200, 250, 300, 350, 400, not " + strText;
}

std::string ShutterCheck(std::string& strText)
{
    if (strText == "open") {
        strText = "-1";
        return {};
    }
    static constexpr const char* kShutters[] = { "250", "500", "1000", "2000", "5000", "10000" };
    if (std::find(std::begin(kShutters), std::end(kShutters), strText) != std::end(kShutters))
        return {};
    return "the shutter is one of 250, 500, 1000, 2000, 5000, 10000 (1/D s) or open, not " + strText;
}

// "nan" is within every range.
std::string NumberCheck(const std::string& strText)
{
    return std::isfinite(std::strtod(strText.c_str(), nullptr)) ? std::string() : "not a number: " + strText;
}

} // namespace

ParsedOptions ParseRecordOptions(int iCount, const char* const* ppArguments)
{
    const CLI::Validator isNumber(NumberCheck, "");
    ParsedOptions parsed;
    RecordOptions& options = parsed.options;
    CLI::App app("Records from all cameras at the same instants and writes one AVI file per camera.", "tessel-record");
    app.set_version_flag("--version", std::string("tessel-record ") + kVersion);
    app.add_option("BASE", options.strBase, "Files are BASE-camN-0000.avi (BASE-0000.avi for one camera)")->required();
    app.add_option("--preset", options.iPreset, "Values of preset 1..4 in the settings file; other options override")
        ->check(CLI::Range(1, 4));
    app.add_option("--fps", options.iFps, "Frame rate")->check(CLI::Validator(RateCheck, "RATE"));
    app.add_option("--size", options.iImageSizeIndex, "640x480, 1024x768, 1280x720 or 1920x1080")
        ->transform(CLI::CheckedTransformer(
            std::map<std::string, int> { { "640x480", 0 }, { "1024x768", 1 }, { "1280x720", 2 }, { "1920x1080", 3 } }));
    app.add_option("--shutter", options.iShutter, "Exposure: D for 1/D s, or open")
        ->transform(CLI::Validator(ShutterCheck, "D|open"));
    app.add_option("--gain", options.fGain, "Gain in dB")->check(CLI::Range(-20.0, 60.0))->check(isNumber);
    app.add_option("--seconds", options.iSeconds, "Length of the recording")->check(CLI::Range(1, 3600));
    app.add_option("--cameras", options.strCameras, "Camera sources, as TESSEL_CAMERAS");
    app.add_flag("--trigger-wait", options.bTriggerWait, "Wait for the external trigger");
    app.add_option("--timeout", options.dTimeoutSeconds, "Give up waiting after this many seconds")
        ->check(CLI::Range(0.001, 1e7))
        ->check(isNumber);
    const CLI::Option* pJson =
        app.add_option("--json", options.strJson, "Write the take report to a file, or to - (stdout)");
    app.add_flag("--quiet", options.bQuiet, "No progress line");
    app.add_flag("--strict", options.bStrict, "Exit with 3 when frames are missed or out of sync");
    try {
        app.parse(iCount, ppArguments);
        parsed.bRun = !options.strBase.empty();
        if (!parsed.bRun) {
            parsed.iStatus = 2;
            parsed.strText = "BASE is empty";
        }
    } catch (const CLI::Success& done) {
        parsed.strText = done.get_name() == "CallForVersion" ? std::string(done.what()) + "\n" : app.help();
    } catch (const CLI::ParseError& error) {
        parsed.iStatus = 2;
        parsed.strText = std::string(error.what()) + " (--help lists the options)";
        if (!pJson->results().empty())
            options.strJson = pJson->results().back(); // the report tells of the error as well
    }
    return parsed;
}

} // namespace vireo
