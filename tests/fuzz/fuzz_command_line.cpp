// What a partner passes on the command line.
#include "app/cooperation.h"
#include "fuzz_input.h"

using namespace vireo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes)
{
    FuzzInput input(pBytes, uiBytes);
    const std::vector<std::string> tokens = SplitCommandLine(input.Rest());
    const CooperationRequest request = ParseCooperation(tokens);
    Require(request.CoopFileCount >= 0 && request.CoopFileCount <= kCoopMaxFiles, "four files at most");
    Require(!request.CooperationMode || (tokens.size() >= 9 && !tokens[8].empty()), "nine tokens make a request");
    Require(request.CooperationMode || !request.NotifiesPartner(), "nobody is told without a request");
    for (int i = 0; i < request.CoopFileCount; ++i)
        Require(request.CoopFileNames[static_cast<std::size_t>(i)] == tokens[static_cast<std::size_t>(8 + i)],
            "file names are taken as they are");
    (void)SwitchOnes(request.CoopSwitches);
    (void)SwitchTens(request.CoopSwitches);
    Require(!SwitchStartsBySelf(request.CoopSwitches) || !SwitchShowsKeyPrompts(request.CoopSwitches),
        "what starts by itself asks for no key");
    return 0;
}
