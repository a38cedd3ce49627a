#pragma once
#include "platform/platform.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

/// Time that moves only when somebody sleeps or waits with a deadline; for tests without threads.
class SteppedClock : public Clock {
public:
    ClockTime Now() const override { return m_now.load(); }
    void SleepUntil(ClockTime deadline) override
    {
        if (deadline > m_now.load())
            m_now.store(deadline);
    }
    void Wait(std::unique_lock<std::mutex>& lock, WaitPoint& /*point*/, ClockTime deadline) override
    {
        lock.unlock();
        if (deadline != kForever)
            SleepUntil(deadline);
        else
            std::this_thread::yield();
        lock.lock();
    }
    void NotifyAll(WaitPoint& /*point*/) override { }
    void AddThread(std::uint64_t /*uiThread*/) override { }
    void DropThread(std::uint64_t /*uiThread*/) override { }
    void EnterThread(std::uint64_t /*uiThread*/) override { }
    void LeaveThread(std::uint64_t /*uiThread*/) override { }
    std::uint64_t NewThreadNumber() override { return ++m_uiThreads; }

private:
    std::atomic<ClockTime> m_now = 0;
    std::atomic<std::uint64_t> m_uiThreads = 0;
};

/// Buses without a camera.
class NoCameras : public CameraLibrary, private BusManager {
public:
    BusManager& GetBusManager() override { return *this; }
    std::vector<CameraInfo> ListCameras() override { return {}; }
    std::unique_ptr<Camera> CreateCamera(const PGRGuid& /*guid*/) override { return nullptr; }
    std::unique_ptr<GigECamera> CreateGigECamera(const PGRGuid& /*guid*/) override { return nullptr; }
    Error StartSyncCapture(std::span<CameraBase* const> /*cameras*/) override { return {}; }

private:
    Error GetNumOfCameras(unsigned int& uiCount) override
    {
        uiCount = 0;
        return {};
    }
    Error GetCameraSerialNumberFromIndex(unsigned int /*uiIndex*/, unsigned int& /*uiSerialNumber*/) override
    {
        return ErrorType::NotFound;
    }
    Error GetCameraFromSerialNumber(unsigned int /*uiSerialNumber*/, PGRGuid& /*guid*/) override
    {
        return ErrorType::NotFound;
    }
    Error GetInterfaceTypeFromGuid(const PGRGuid& /*guid*/, InterfaceType& /*eInterface*/) override
    {
        return ErrorType::NotFound;
    }
};

/// Grey to Bgr or Bgru by repeating the value; Bayer tiles are ignored.
class GreyConverter : public PixelConverter {
public:
    Error Convert(const ImageView& source, PixelFormat eDestination, std::uint8_t* pDestination,
        std::size_t uiDestinationStride) const override
    {
        const std::size_t uiBytes = BytesPerPixel(eDestination);
        const bool bHoldsRows = source.uiRows == 0
            || std::uint64_t { source.uiStride } * (source.uiRows - 1) + source.uiCols <= source.uiDataSize;
        if (uiBytes < 3 || BytesPerPixel(source.eFormat) != 1 || !bHoldsRows)
            return ErrorType::ConversionFailed;
        for (std::size_t uiRow = 0; uiRow < source.uiRows; ++uiRow) {
            const std::uint8_t* pIn = source.pData + uiRow * source.uiStride;
            std::uint8_t* pOut = pDestination + uiRow * uiDestinationStride;
            for (std::size_t uiCol = 0; uiCol < source.uiCols; ++uiCol, pOut += uiBytes) {
                pOut[0] = pOut[1] = pOut[2] = pIn[uiCol];
                if (uiBytes == 4)
                    pOut[3] = 255;
            }
        }
        return {};
    }
};

/// One video file that a test looks at.
struct RecordedVideo {
    std::string strFileName;
    MJPGOption option;
    std::vector<std::vector<std::uint8_t>> frames; ///< first bytes of each appended frame
    bool bClosed = false;
};

/// Writers that keep what they are given. An error set here is returned by every later call of its kind.
class RecordedVideos : public VideoWriters {
public:
    static constexpr std::size_t kKeptBytes = 16;
    Error m_openError, m_appendError, m_closeError, m_readBackError;
    int m_iLostOnDisk = 0; ///< frames that a file lacks when it is read back

    std::unique_ptr<FlyCapture2Video> Create() override { return std::make_unique<Writer>(*this); }
    Error ReadBack(const std::string& strFile, int& iFrames) override
    {
        std::lock_guard lock(m_mutex);
        iFrames = 0;
        for (const RecordedVideo& video : m_videos)
            if (PartOf(video.strFileName) == strFile)
                iFrames = static_cast<int>(video.frames.size()) - m_iLostOnDisk;
        return m_readBackError;
    }
    std::vector<RecordedVideo> Videos() const
    {
        std::lock_guard lock(m_mutex);
        return { m_videos.begin(), m_videos.end() };
    }

private:
    static std::string PartOf(std::string strFile) { return strFile.insert(strFile.rfind('.'), "-0000"); }

    class Writer : public FlyCapture2Video {
    public:
        explicit Writer(RecordedVideos& owner)
            : m_owner(owner)
        {
        }
        Error Open(const std::string& strFileName, const MJPGOption& option) override
        {
            std::lock_guard lock(m_owner.m_mutex);
            if (!m_owner.m_openError.IsOk())
                return m_owner.m_openError;
            m_pVideo = &m_owner.m_videos.emplace_back();
            m_pVideo->strFileName = strFileName;
            m_pVideo->option = option;
            return {};
        }
        Error Append(const Image& image) override
        {
            std::lock_guard lock(m_owner.m_mutex);
            if (!m_owner.m_appendError.IsOk())
                return m_owner.m_appendError;
            const std::size_t uiKept = std::min<std::size_t>(kKeptBytes, image.GetDataSize());
            m_pVideo->frames.emplace_back(image.GetData(), image.GetData() + uiKept);
            return {};
        }
        Error Close() override
        {
            std::lock_guard lock(m_owner.m_mutex);
            if (m_pVideo != nullptr)
                m_pVideo->bClosed = true;
            return m_owner.m_closeError;
        }
        std::vector<std::string> GetFiles() const override
        {
            std::lock_guard lock(m_owner.m_mutex);
            if (m_pVideo == nullptr)
                return {};
            return { PartOf(m_pVideo->strFileName) };
        }

    private:
        RecordedVideos& m_owner;
        RecordedVideo* m_pVideo = nullptr;
    };

    mutable std::mutex m_mutex;
    std::deque<RecordedVideo> m_videos; ///< elements never move
};

/// A desktop of partner windows. Any thread.
class FakePartnerLink : public PartnerLink {
public:
    /// One message that a window was handed.
    struct Sent {
        std::string strTitle;
        int iCommand = 0;
        bool bWaited = false; ///< by Send, not Post
        friend bool operator==(const Sent&, const Sent&) = default;
    };
    /// What Post and Send answer.
    std::atomic<bool> m_bDelivers = true;

    void Open(const std::string& strTitle)
    {
        std::lock_guard lock(m_mutex);
        m_titles.insert(strTitle);
    }
    void Close(const std::string& strTitle)
    {
        std::lock_guard lock(m_mutex);
        m_titles.erase(strTitle);
    }
    std::vector<Sent> Messages() const
    {
        std::lock_guard lock(m_mutex);
        return m_sent;
    }
    std::vector<std::string> Lookups() const
    {
        std::lock_guard lock(m_mutex);
        return m_lookups;
    }
    int Cancels() const { return m_iCancels.load(); }
    /// Called on the sender's thread by each Send, outside the lock; may block like a busy partner.
    void OnSend(std::function<void(int)> hook)
    {
        std::lock_guard lock(m_mutex);
        m_onSend = std::move(hook);
    }
    /// Hands a message to the listener of that title; false when nobody listens.
    bool Deliver(const std::string& strTitle, const PartnerMessage& message)
    {
        std::function<void(const PartnerMessage&)> handler;
        {
            std::lock_guard lock(m_mutex);
            const auto found = m_handlers.find(strTitle);
            if (found == m_handlers.end())
                return false;
            handler = found->second;
        }
        handler(message);
        return true;
    }

    std::shared_ptr<PartnerWindow> FindWindow(std::string_view strTitle) override
    {
        std::lock_guard lock(m_mutex);
        m_lookups.emplace_back(strTitle);
        if (!m_titles.contains(std::string(strTitle)))
            return nullptr;
        return std::make_shared<Window>(*this, std::string(strTitle));
    }
    std::unique_ptr<PartnerListener> Listen(
        std::string_view strTitle, std::function<void(const PartnerMessage&)> handler, std::string& strError) override
    {
        std::lock_guard lock(m_mutex);
        if (!m_handlers.emplace(std::string(strTitle), std::move(handler)).second) {
            strError = "title in use";
            return nullptr;
        }
        return std::make_unique<Listener>(*this, std::string(strTitle));
    }

private:
    class Window : public PartnerWindow {
    public:
        Window(FakePartnerLink& link, std::string strTitle)
            : m_link(link)
            , m_strTitle(std::move(strTitle))
        {
        }
        bool Post(int iCommand) override { return Leave(iCommand, false); }
        bool Send(int iCommand) override
        {
            std::function<void(int)> hook;
            {
                std::lock_guard lock(m_link.m_mutex);
                hook = m_link.m_onSend;
            }
            const bool bDelivered = Leave(iCommand, true);
            if (hook)
                hook(iCommand);
            return bDelivered;
        }
        void Cancel() override { ++m_link.m_iCancels; }

    private:
        bool Leave(int iCommand, bool bWaited)
        {
            std::lock_guard lock(m_link.m_mutex);
            if (!m_link.m_bDelivers)
                return false;
            m_link.m_sent.push_back({ m_strTitle, iCommand, bWaited });
            return true;
        }
        FakePartnerLink& m_link;
        std::string m_strTitle;
    };
    class Listener : public PartnerListener {
    public:
        Listener(FakePartnerLink& link, std::string strTitle)
            : m_link(link)
            , m_strTitle(std::move(strTitle))
        {
        }
        ~Listener() override
        {
            std::lock_guard lock(m_link.m_mutex);
            m_link.m_handlers.erase(m_strTitle);
        }

    private:
        FakePartnerLink& m_link;
        std::string m_strTitle;
    };

    mutable std::mutex m_mutex;
    std::set<std::string> m_titles;
    std::vector<Sent> m_sent;
    std::vector<std::string> m_lookups;
    std::map<std::string, std::function<void(const PartnerMessage&)>> m_handlers;
    std::function<void(int)> m_onSend;
    std::atomic<int> m_iCancels = 0;
};

/// Folders as the test says.
class FakePaths : public Paths {
public:
    std::string m_strApplicationData;
    std::optional<std::string> m_strWorkingDirectory = "/";
    std::map<char, std::string> m_drives;

    std::string ApplicationData() const override { return m_strApplicationData; }
    std::optional<std::string> WorkingDirectory() const override { return m_strWorkingDirectory; }
    std::optional<std::string> Drive(char cLetter, std::string& strError) const override
    {
        const auto found = m_drives.find(cLetter);
        if (found != m_drives.end())
            return found->second;
        strError = std::string("no folder for drive ") + cLetter + ":";
        return std::nullopt;
    }
};

/// Settings text that is UTF-8 on disk as well.
class Utf8Encoding : public TextEncoding {
public:
    std::string Decode(std::string_view strBytes) const override { return std::string(strBytes); }
    std::optional<std::string> Encode(std::string_view strText) const override { return std::string(strText); }
};

} // namespace vireo::test
