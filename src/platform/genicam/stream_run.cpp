#include "platform/genicam/stream_run.h"

#include <algorithm>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace vireo {

namespace {

constexpr std::size_t kFirstBuffers = 24; ///< given at the start: 50 ms of 400 frames a second
constexpr std::size_t kMoreBuffers = 16; ///< given when fewer than kLowWater wait to be filled
constexpr gint kLowWater = 8;
constexpr unsigned int kSocketBuffer = 4U << 20; ///< bytes; for systems that forbid packet sockets
constexpr std::size_t kPage = 4096;
constexpr std::uint64_t kLargestGap = 20'000; ///< frames; beyond it a number goes backwards
constexpr int kNice = -10; ///< where real time is not allowed
constexpr guint64 kPopTimeoutUs = 1'000'000; ///< a frame that was announced is there or about to be

/// The kernel keeps packets for a quarter of a second at most: whoever fetches them goes before those who look at
/// pictures. Where the system does not allow it, all is as before.
void TakePrecedence()
{
    sched_param realTime {};
    realTime.sched_priority = sched_get_priority_min(SCHED_RR);
    if (pthread_setschedparam(pthread_self(), SCHED_RR, &realTime) != 0)
        (void)setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNice);
}

} // namespace

std::shared_ptr<BufferMemory> BufferMemory::Make(std::size_t uiFrameBytes, std::size_t uiFrames)
{
    const std::size_t uiPitch = (uiFrameBytes + kPage - 1) / kPage * kPage;
    void* pBytes =
        mmap(nullptr, uiPitch * uiFrames, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pBytes == MAP_FAILED)
        return nullptr;
    return std::shared_ptr<BufferMemory>(new BufferMemory(static_cast<std::uint8_t*>(pBytes), uiPitch, uiFrames));
}

BufferMemory::~BufferMemory() { munmap(m_pBytes, m_uiPitch * m_uiFrames); }

StreamRun::~StreamRun() { Close(); }

Error StreamRun::Open(OpenDevice& device, std::size_t uiBuffers, std::shared_ptr<BufferMemory>& memory)
{
    Features& features = *device.features;
    if (Error error = ReadFrameShape(device, m_shape); !error.IsOk())
        return error;
    GErrorSlot slot;
    const guint uiPayload = arv_camera_get_payload(device.camera.get(), slot.Out());
    if (slot)
        return features.Translate(slot.Get(), "payload size", ErrorType::InvalidSettings);
    m_uiFrameBytes = std::max<std::size_t>(uiPayload, std::size_t { m_shape.uiWidth } * m_shape.uiHeight);
    if (!memory || !memory->Holds(m_uiFrameBytes, uiBuffers))
        memory = BufferMemory::Make(m_uiFrameBytes, uiBuffers);
    if (!memory)
        return features.Fail(ErrorType::OutOfResources, "no memory for driver buffers");
    m_memory = memory;
    m_uiBuffers = uiBuffers;
    m_bWideIds = !device.bGigE;
    m_link->BeginRun(uiBuffers);
    m_stream.reset(arv_camera_create_stream(device.camera.get(), OnStream, this, slot.Out()));
    if (!m_stream || slot)
        return slot ? features.Translate(slot.Get(), "stream", ErrorType::OutOfResources)
                    : features.Fail(ErrorType::OutOfResources, "no stream");
    if (ARV_IS_GV_STREAM(m_stream.get()))
        g_object_set(m_stream.get(), "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
            static_cast<int>(kSocketBuffer), "packet-resend",
            device.remembered.gigeConfig.enablePacketResend ? ARV_GV_STREAM_PACKET_RESEND_ALWAYS
                                                            : ARV_GV_STREAM_PACKET_RESEND_NEVER,
            nullptr);
    if (ARV_IS_GV_STREAM(m_stream.get()))
        m_tap = std::make_unique<ArrivalTap>(arv_gv_stream_get_port(ARV_GV_STREAM(m_stream.get())));
    PushFresh(m_stream.get(), kFirstBuffers);
    m_pFed = m_stream.get();
    return {};
}

/// Buffers are handed out as they are needed: the driver fills them in turn, and each one that it has
/// had stays in memory.
void StreamRun::PushFresh(ArvStream* pStream, std::size_t uiCount)
{
    for (; uiCount > 0 && m_uiPushed < m_uiBuffers; uiCount--) {
        arv_stream_push_buffer(
            pStream, arv_buffer_new_full(m_uiFrameBytes, m_memory->Frame(m_uiPushed), nullptr, nullptr));
        m_uiPushed++;
    }
}

/// In the driver's own thread.
void StreamRun::OnStream(void* pRun, ArvStreamCallbackType eType, ArvBuffer* pBuffer)
{
    if (eType == ARV_STREAM_CALLBACK_TYPE_INIT)
        TakePrecedence();
    if (eType != ARV_STREAM_CALLBACK_TYPE_BUFFER_DONE)
        return;
    auto& run = *static_cast<StreamRun*>(pRun);
    run.m_link->FrameDone(pBuffer != nullptr && arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_SUCCESS);
    ArvStream* pStream = run.m_pFed;
    if (pStream == nullptr)
        return;
    gint iFree = 0;
    gint iFull = 0;
    arv_stream_get_n_buffers(pStream, &iFree, &iFull);
    if (iFree < kLowWater)
        run.PushFresh(pStream, kMoreBuffers);
}

void StreamRun::Close()
{
    m_uiResends = Statistics().resends;
    m_pFed = nullptr;
    if (m_pBorrowed != nullptr)
        g_object_unref(m_pBorrowed);
    m_pBorrowed = nullptr;
    m_tap.reset();
    GObjectPtr<ArvStream> stream;
    {
        std::lock_guard lock(m_csStream);
        stream = std::move(m_stream);
    }
}

void StreamRun::Return()
{
    if (m_pBorrowed != nullptr)
        arv_stream_push_buffer(m_stream.get(), m_pBorrowed);
    m_pBorrowed = nullptr;
}

StreamRun::Frame StreamRun::Next()
{
    Return();
    ArvBuffer* pBuffer = arv_stream_timeout_pop_buffer(m_stream.get(), kPopTimeoutUs);
    if (pBuffer == nullptr)
        return {};
    m_pBorrowed = pBuffer;
    CountGap(arv_buffer_get_frame_id(pBuffer));
    Frame frame;
    if (arv_buffer_get_status(pBuffer) != ARV_BUFFER_STATUS_SUCCESS) {
        m_counters.uiIncomplete++;
        return frame;
    }
    // A camera that sends chunks beside the image does not tell the image's size.
    const auto uiWidth = static_cast<std::uint32_t>(arv_buffer_get_image_width(pBuffer));
    const auto uiHeight = static_cast<std::uint32_t>(arv_buffer_get_image_height(pBuffer));
    std::size_t uiBytes = 0;
    const void* pData = arv_buffer_get_data(pBuffer, &uiBytes);
    if ((uiWidth != 0 && (uiWidth != m_shape.uiWidth || uiHeight != m_shape.uiHeight))
        || uiBytes < std::size_t { m_shape.uiWidth } * m_shape.uiHeight) {
        m_counters.uiIncomplete++;
        return frame;
    }
    frame.pData = static_cast<std::uint8_t*>(const_cast<void*>(pData));
    frame.uiTimeNs = arv_buffer_get_timestamp(pBuffer);
    frame.bComplete = true;
    if (m_tap)
        frame.age = m_tap->AgeOf(arv_buffer_get_frame_id(pBuffer));
    return frame;
}

/// Frames that never came show as a gap in the numbers. Where the driver had no buffer, they count as
/// underruns, else as incomplete.
void StreamRun::CountGap(std::uint64_t uiFrameId)
{
    // 16-bit numbers wrap from 65535 to 1.
    const std::uint64_t uiStep = m_bWideIds ? uiFrameId - m_uiLastId : (uiFrameId + 65535 - m_uiLastId) % 65535;
    if (!m_bFirst && (uiStep == 0 || uiStep > kLargestGap))
        return; // one that was given up on and came in behind a later one
    const std::uint64_t uiLost = m_bFirst ? 0 : uiStep - 1;
    m_bFirst = false;
    m_uiLastId = uiFrameId;
    if (uiLost == 0)
        return;
    guint64 uiGood = 0;
    guint64 uiBad = 0;
    guint64 uiUnderruns = 0;
    arv_stream_get_statistics(m_stream.get(), &uiGood, &uiBad, &uiUnderruns);
    (uiUnderruns != m_uiLastUnderruns ? m_counters.uiUnderruns : m_counters.uiIncomplete) += uiLost;
    m_uiLastUnderruns = uiUnderruns;
}

StreamStatistics StreamRun::Statistics() const
{
    std::lock_guard lock(m_csStream);
    StreamStatistics statistics { m_counters.uiIncomplete, m_counters.uiUnderruns, m_uiResends };
    if (m_stream && ARV_IS_GV_STREAM(m_stream.get())) {
        guint64 uiResent = 0;
        guint64 uiMissing = 0;
        arv_gv_stream_get_statistics(ARV_GV_STREAM(m_stream.get()), &uiResent, &uiMissing);
        statistics.resends = uiResent;
    }
    return statistics;
}

} // namespace vireo
