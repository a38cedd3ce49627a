#include "app/qt/link_requests.h"
#include "support/qt_tools.h"

#include <atomic>
#include <deque>
#include <thread>

namespace vireo {
namespace {

/// Posted work that the test does when it likes.
class LinkRequestsTest : public testing::Test {
protected:
    void DoAll()
    {
        for (;;) {
            std::function<void()> work;
            {
                const std::lock_guard lock(m_mutex);
                if (m_work.empty())
                    return;
                work = std::move(m_work.front());
                m_work.pop_front();
            }
            work();
        }
    }
    bool HasWork()
    {
        const std::lock_guard lock(m_mutex);
        return !m_work.empty();
    }

    std::mutex m_mutex;
    std::deque<std::function<void()>> m_work;
    std::vector<std::string> m_handled;
    std::unique_ptr<LinkRequests> m_requests = std::make_unique<LinkRequests>(
        [this](std::function<void()> work) {
            const std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        },
        [this](const PartnerMessage& message) { m_handled.push_back(message.strText); });
};

TEST_F(LinkRequestsTest, SenderIsAnsweredAfterTheHandlerHasRun)
{
    std::atomic<bool> bAnswered = false;
    std::thread link([&] {
        m_requests->Deliver({ PartnerMessage::Kind::CopyData, 1081, "2" });
        bAnswered = true;
    });
    ASSERT_TRUE(test::PumpUntil([this] { return HasWork(); }));
    EXPECT_FALSE(bAnswered);
    DoAll();
    link.join();
    EXPECT_TRUE(bAnswered);
    EXPECT_EQ(m_handled, std::vector<std::string> { "2" });
}

TEST_F(LinkRequestsTest, ClosingLetsTheSenderGoAndDropsTheMessage)
{
    std::thread link([&] { m_requests->Deliver({ PartnerMessage::Kind::CopyData, 1081, "1" }); });
    ASSERT_TRUE(test::PumpUntil([this] { return HasWork(); }));
    m_requests->Close();
    link.join();
    m_requests.reset();
    DoAll(); // comes too late
    EXPECT_TRUE(m_handled.empty());
}

TEST_F(LinkRequestsTest, NothingWaitsOnceClosed)
{
    m_requests->Close();
    m_requests->Deliver({ PartnerMessage::Kind::Command, 57665, {} });
    EXPECT_FALSE(HasWork());
}

} // namespace
} // namespace vireo
