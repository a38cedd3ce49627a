#pragma once
#include "capture/take_sidecar.h"
#include "matrix/fault_board.h"
#include "support/bar_code_videos.h"
#include "support/fake_memory.h"
#include "support/fakes.h"
#include "support/recorded_window.h"

#include <memory>
#include <sys/mman.h>
#include <utility>

namespace vireo::test {

// The platform beside the cameras, with a board that every call comes by. Each class forwards its whole
// interface: an operation that is added to one does not compile until it stands on the board.

class FaultyArena : public FrameArena {
public:
    FaultyArena(FaultBoard& board, std::unique_ptr<FrameArena> inner)
        : m_board(board)
        , m_inner(std::move(inner))
    {
    }
    bool Reserve(std::size_t uiRegions, std::uint64_t uiBytes) override
    {
        if (m_board.Enter(Seam::Reserve) == Way::Fails) {
            m_inner->Release();
            return false;
        }
        m_bShort = false;
        const bool bReserved = m_inner->Reserve(uiRegions, uiBytes);
        for (std::size_t i = 0; bReserved && i < uiRegions; ++i) // thousands of stores: in large pages, if there are
            (void)madvise(m_inner->Region(i), uiBytes, MADV_HUGEPAGE);
        return bReserved;
    }
    void Release() override
    {
        (void)m_board.Enter(Seam::Release);
        m_bShort = false;
        m_inner->Release();
    }
    std::byte* Region(std::size_t uiRegion) const override
    {
        (void)m_board.Enter(Seam::Region);
        return m_inner->Region(uiRegion);
    }
    std::uint64_t ResidentKiB() const override
    {
        (void)m_board.Enter(Seam::ResidentKiB);
        return m_inner->ResidentKiB();
    }
    void StartTouching(std::uint64_t uiFirstBytes, ClockTime deadline, std::function<void()> onShort) override
    {
        const std::optional<Way> way = m_board.Enter(Seam::StartTouching);
        m_bCold = way == Way::Differs;
        if (way == Way::Fails && !m_bShort.exchange(true))
            onShort();
        m_inner->StartTouching(uiFirstBytes, deadline, std::move(onShort));
    }
    void StopTouching() override
    {
        (void)m_board.Enter(Seam::StopTouching);
        m_inner->StopTouching();
    }
    std::uint64_t TouchedBytes(std::size_t uiRegion) const override
    {
        (void)m_board.Enter(Seam::TouchedBytes);
        return m_bCold ? 0 : m_inner->TouchedBytes(uiRegion);
    }
    bool IsShort() const override
    {
        (void)m_board.Enter(Seam::IsShort);
        return m_bShort;
    }

private:
    FaultBoard& m_board;
    std::unique_ptr<FrameArena> m_inner;
    std::atomic<bool> m_bShort = false;
    std::atomic<bool> m_bCold = false; ///< the machine is too slow to touch anything in time
};

class FaultyMemory : public Memory {
public:
    FaultyMemory(FaultBoard& board, std::uint64_t uiAvailableKiB)
        : m_board(board)
        , m_inner(uiAvailableKiB)
    {
    }
    std::uint64_t AvailableKiB() const override
    {
        return m_board.Enter(Seam::AvailableKiB) == Way::Fails ? 0 : m_inner.AvailableKiB();
    }
    std::unique_ptr<FrameArena> CreateArena() override
    {
        (void)m_board.Enter(Seam::CreateArena);
        return std::make_unique<FaultyArena>(m_board, m_inner.CreateArena());
    }

private:
    FaultBoard& m_board;
    FakeMemory m_inner;
};

class FaultyVideo : public FlyCapture2Video {
public:
    FaultyVideo(FaultBoard& board, std::unique_ptr<FlyCapture2Video> inner)
        : m_board(board)
        , m_inner(std::move(inner))
    {
    }
    Error Open(const std::string& strFileName, const MJPGOption& option) override
    {
        if (m_board.Enter(Seam::OpenVideo) == Way::Fails)
            return { ErrorType::FileOpenFailed, "no room" };
        return m_inner->Open(strFileName, option);
    }
    Error Append(const Image& image) override
    {
        if (m_board.Enter(Seam::AppendVideo) == Way::Fails)
            return ErrorType::FileWriteFailed;
        return m_inner->Append(image);
    }
    Error Close() override
    {
        const bool bFails = m_board.Enter(Seam::CloseVideo) == Way::Fails;
        const Error error = m_inner->Close();
        return bFails ? Error(ErrorType::FileCloseFailed) : error;
    }
    std::vector<std::string> GetFiles() const override
    {
        (void)m_board.Enter(Seam::GetFiles);
        return m_inner->GetFiles();
    }

private:
    FaultBoard& m_board;
    std::unique_ptr<FlyCapture2Video> m_inner;
};

class FaultyVideos : public VideoWriters {
public:
    explicit FaultyVideos(FaultBoard& board)
        : m_board(board)
    {
    }
    std::unique_ptr<FlyCapture2Video> Create() override
    {
        (void)m_board.Enter(Seam::CreateVideo);
        return std::make_unique<FaultyVideo>(m_board, m_inner.Create());
    }
    Error ReadBack(const std::string& strFile, int& iFrames) override
    {
        const std::optional<Way> way = m_board.Enter(Seam::ReadBack);
        if (way == Way::Fails)
            return { ErrorType::FileCloseFailed, "there is no index" };
        const Error error = m_inner.ReadBack(strFile, iFrames);
        if (way == Way::Differs)
            --iFrames;
        return error;
    }
    std::vector<BarCodeFile> Files() const { return m_inner.Files(); }

private:
    FaultBoard& m_board;
    BarCodeVideos m_inner;
};

/// Leaves pictures as they are: the recording is what counts.
class FaultyConverter : public PixelConverter {
public:
    explicit FaultyConverter(FaultBoard& board)
        : m_board(board)
    {
    }
    Error Convert(const ImageView& /*source*/, PixelFormat /*eDestination*/, std::uint8_t* /*pDestination*/,
        std::size_t /*uiDestinationStride*/) const override
    {
        return m_board.Enter(Seam::Convert) == Way::Fails ? ErrorType::ConversionFailed : ErrorType::Ok;
    }

private:
    FaultBoard& m_board;
};

class CountingSidecar : public TakeSidecar {
public:
    explicit CountingSidecar(FaultBoard& board)
        : m_board(board)
    {
    }
    void Write(const TakeReport& /*report*/) override { (void)m_board.Enter(Seam::WriteSidecar); }

private:
    FaultBoard& m_board;
};

class FaultyPartner : public PartnerLink {
public:
    FaultyPartner(FaultBoard& board, Clock& clock)
        : m_board(board)
        , m_clock(clock)
    {
    }
    /// Windows that exist.
    FakePartnerLink& Desktop() { return m_inner; }
    std::shared_ptr<PartnerWindow> FindWindow(std::string_view strTitle) override
    {
        if (m_board.Enter(Seam::FindWindow) == Way::Fails)
            return nullptr;
        auto window = m_inner.FindWindow(strTitle);
        return window ? std::make_shared<Window>(*this, std::move(window)) : nullptr;
    }
    /// The program's own listener belongs to the desktop, not to the document.
    std::unique_ptr<PartnerListener> Listen(
        std::string_view strTitle, std::function<void(const PartnerMessage&)> handler, std::string& strError) override
    {
        return m_inner.Listen(strTitle, std::move(handler), strError);
    }

private:
    class Window : public PartnerWindow {
    public:
        Window(FaultyPartner& owner, std::shared_ptr<PartnerWindow> inner)
            : m_owner(owner)
            , m_inner(std::move(inner))
        {
        }
        bool Post(int iCommand) override
        {
            return m_owner.m_board.Enter(Seam::PostPartner) != Way::Fails && m_inner->Post(iCommand);
        }
        // A partner that does not answer is waited for two seconds, or until the wait is cancelled.
        bool Send(int iCommand) override
        {
            const std::optional<Way> way = m_owner.m_board.Enter(Seam::SendPartner);
            if (way == Way::Fails)
                return false;
            const bool bTold = m_inner->Send(iCommand);
            const ClockTime limit = m_owner.m_clock.Now() + 2 * kNsPerSecond;
            while (way == Way::Hung && !m_bCancelled && m_owner.m_clock.Now() < limit)
                m_owner.m_clock.SleepMs(1);
            return bTold;
        }
        void Cancel() override
        {
            (void)m_owner.m_board.Enter(Seam::CancelPartner);
            m_bCancelled = true;
            m_inner->Cancel();
        }

    private:
        FaultyPartner& m_owner;
        std::shared_ptr<PartnerWindow> m_inner;
        std::atomic<bool> m_bCancelled = false;
    };

    FaultBoard& m_board;
    Clock& m_clock;
    FakePartnerLink m_inner;
};

class FaultyPaths : public Paths {
public:
    FaultyPaths(FaultBoard& board, std::string strFolder)
        : m_board(board)
    {
        m_inner.m_drives['c'] = std::move(strFolder);
    }
    // Asked for at the start of the program, before there is a document.
    std::string ApplicationData() const override { return m_inner.ApplicationData(); }
    std::optional<std::string> WorkingDirectory() const override { return m_inner.WorkingDirectory(); }
    std::optional<std::string> Drive(char cLetter, std::string& strError) const override
    {
        if (m_board.Enter(Seam::Drive) != Way::Fails)
            return m_inner.Drive(cLetter, strError);
        strError = "no such drive";
        return std::nullopt;
    }

private:
    FaultBoard& m_board;
    FakePaths m_inner;
};

class FaultyEncoding : public TextEncoding {
public:
    explicit FaultyEncoding(FaultBoard& board)
        : m_board(board)
    {
    }
    std::string Decode(std::string_view strBytes) const override
    {
        (void)m_board.Enter(Seam::Decode);
        return std::string(strBytes);
    }
    std::optional<std::string> Encode(std::string_view strText) const override
    {
        return m_board.Enter(Seam::Encode) == Way::Fails ? std::nullopt : std::optional(std::string(strText));
    }

private:
    FaultBoard& m_board;
};

} // namespace vireo::test
