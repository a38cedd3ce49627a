#include "platform/qt/termination_signals.h"
#include "support/qt_tools.h"

#include <csignal>

namespace vireo {
namespace {

TEST(TerminationSignals, AreHandledFromTheEventLoop)
{
    for (const int iSignal : { SIGTERM, SIGINT, SIGHUP }) {
        SCOPED_TRACE(iSignal);
        int iCalls = 0;
        const TerminationSignals signals([&] { ++iCalls; });
        raise(iSignal);
        EXPECT_EQ(iCalls, 0) << "not inside the signal handler";
        EXPECT_TRUE(test::PumpUntil([&] { return iCalls == 1; }));
    }
}

TEST(TerminationSignals, AHangUpThatIsIgnoredStaysSo)
{
    std::signal(SIGHUP, SIG_IGN);
    {
        int iCalls = 0;
        const TerminationSignals signals([&] { ++iCalls; });
        raise(SIGHUP);
        raise(SIGTERM); // comes after it
        EXPECT_TRUE(test::PumpUntil([&] { return iCalls > 0; }));
        test::Pump();
        EXPECT_EQ(iCalls, 1);
    }
    EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

TEST(TerminationSignals, HaveTheirOwnEffectAgainAfterwards)
{
    {
        const TerminationSignals signals([] {});
    }
    EXPECT_EXIT(raise(SIGTERM), testing::KilledBySignal(SIGTERM), "");
}

} // namespace
} // namespace vireo
