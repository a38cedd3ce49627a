#pragma once
#include "platform/linux/file_descriptor.h"
#include "platform/linux/partner_client.h"
#include "platform/linux/partner_protocol.h"
#include "platform/linux/socket_partner_link.h"
#include "platform/linux/unix_socket.h"
#include "support/environment.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace vireo::test {

/// What a listening window was told; its handler can be held up.
class Inbox {
public:
    std::function<void(const PartnerMessage&)> Handler()
    {
        return [this](const PartnerMessage& message) {
            std::unique_lock lock(m_mutex);
            m_texts.push_back(FormatPartnerLine(message));
            m_changed.notify_all();
            m_changed.wait(lock, [this] { return !m_bHeld; });
        };
    }
    void Hold(bool bHold)
    {
        std::lock_guard lock(m_mutex);
        m_bHeld = bHold;
        m_changed.notify_all();
    }
    /// Waits until `uiCount` messages have come.
    std::vector<std::string> WaitFor(std::size_t uiCount)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_texts.size() >= uiCount; });
        return m_texts;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_texts;
    bool m_bHeld = false;
};

/// A peer that sends what it likes.
class RawPeer {
public:
    explicit RawPeer(const std::string& strFile)
        : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const std::filesystem::path path(strFile);
        const SocketAddress address(path.parent_path(), path.filename());
        m_bConnected = connect(m_socket.Number(), address.Get(), address.Size()) == 0;
    }
    bool IsConnected() const { return m_bConnected; }
    void Say(const std::string& strBytes)
    {
        // A peer that was thrown out may not be able to say it all.
        m_bConnected = send(m_socket.Number(), strBytes.data(), strBytes.size(), MSG_NOSIGNAL)
            == static_cast<ssize_t>(strBytes.size());
    }
    /// Something was said to it that it has not heard yet.
    bool HasNews() const
    {
        pollfd wait { m_socket.Number(), POLLIN, 0 };
        return poll(&wait, 1, 0) > 0;
    }
    void EndSaying() { shutdown(m_socket.Number(), SHUT_WR); }
    /// The next line; empty at the end of the connection.
    std::string Hear()
    {
        std::string strLine;
        char c = 0;
        while (recv(m_socket.Number(), &c, 1, 0) == 1) {
            if (c == '\n')
                return strLine;
            strLine += c;
        }
        return "";
    }

private:
    FileDescriptor m_socket;
    bool m_bConnected = false;
};

class PartnerLinkTest : public testing::Test {
protected:
    std::unique_ptr<PartnerListener> Listen(const std::string& strTitle = "Tessel")
    {
        std::unique_ptr<PartnerListener> listener = m_link.Listen(strTitle, m_inbox.Handler(), m_strError);
        EXPECT_NE(listener, nullptr) << m_strError;
        return listener;
    }
    std::string SocketFile(const std::string& strTitle = "Tessel") const
    {
        return m_folder / "tessel/" + PartnerSocketName(strTitle);
    }
    RawPeer Peer() const { return RawPeer(SocketFile()); }
    /// A well-behaved program gets its answer in time.
    static bool IsServed(int iCommand)
    {
        const auto client = PartnerClient::Find("Tessel");
        return client != nullptr
            && client->Ask({ PartnerMessage::Kind::Command, iCommand, "" }) == PartnerClient::Answer::Done;
    }

    TemporaryFolder m_folder;
    EnvironmentVariable m_runtime { "XDG_RUNTIME_DIR", m_folder.Path() };
    RecordedLog m_log;
    Inbox m_inbox;
    SocketPartnerLink m_link { m_log };
    std::string m_strError;
};

} // namespace vireo::test
