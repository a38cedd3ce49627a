#include "programs/ctl_options.h"

#include "programs/version.h"

#include <CLI/CLI.hpp>

namespace vireo {

namespace {

constexpr const char* kFooter = "Exit status: 0 handled, 1 no program runs, 2 usage, 3 not understood, 4 refused,\n"
                                "5 no answer. A program that no partner has started handles both by doing nothing.";

} // namespace

ParsedCtl ParseCtlOptions(int iCount, const char* const* ppArguments)
{
    ParsedCtl parsed;
    CtlOptions& options = parsed.options;
    CLI::App app("Does for scripts what a partner program does with Tessel.", "tessel-ctl");
    app.set_version_flag("--version", std::string("tessel-ctl ") + kVersion);
    app.footer(kFooter);
    app.require_subcommand(1);
    app.add_subcommand("start", "Start the recording that the program is armed for");
    const CLI::App* pStop = app.add_subcommand("stop", "End the recording; a program that is only live closes");
    CLI::App* pListen =
        app.add_subcommand("listen", "Stand in for the partner's window: print a line for each message");
    pListen->add_option("--title", options.strTitle, "Title of the window, as in the program's first argument")
        ->required()
        ->check([](const std::string& strTitle) { return std::string(strTitle.empty() ? "the title is empty" : ""); });
    try {
        app.parse(iCount, ppArguments);
        parsed.bRun = true;
        options.eVerb = pListen->parsed() ? CtlOptions::Verb::Listen
            : pStop->parsed()             ? CtlOptions::Verb::Stop
                                          : CtlOptions::Verb::Start;
    } catch (const CLI::Success& done) {
        parsed.strText = done.get_name() == "CallForVersion" ? std::string(done.what()) + "\n" : app.help();
    } catch (const CLI::ParseError& error) {
        parsed.iStatus = ctl_status::kUsage;
        parsed.strText = std::string("tessel-ctl: ") + error.what() + "\nRun with --help for the commands.\n";
    }
    return parsed;
}

} // namespace vireo
