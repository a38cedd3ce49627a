// The texts that name cameras to simulate and what goes wrong with them.
#include "fuzz_input.h"
#include "platform/simulated/simulated_setup.h"

using namespace vireo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes)
{
    FuzzInput input(pBytes, uiBytes);
    const std::string strSource = input.Text();
    const std::string strRules = input.Rest();
    std::vector<SimulatedCameraSpec> cameras { { "GS3-U3-23S6M", 1 } };
    const std::vector<SimulatedCameraSpec> before = cameras;
    const std::string strWrong = ParseSimulatedSource(strSource, cameras);
    Require(strWrong.find('\n') == std::string::npos, "one line");
    Require(strWrong.empty() ? cameras.size() > before.size() : cameras == before, "all of it or nothing");
    Require(cameras.size() <= kMaxSimulatedCameras, "no more cameras than any program opens");
    SimulatedFaults faults;
    const std::string strWrongRule = ParseSimulatedFaults(strRules, cameras.size(), faults);
    Require(strWrongRule.find('\n') == std::string::npos, "one line");
    Require(faults.cameras.size() <= cameras.size(), "faults of cameras that are there");
    Require(strWrongRule.empty() || (faults.cameras.empty() && faults.errors.empty() && !faults.generator),
        "all rules or none");
    return 0;
}
