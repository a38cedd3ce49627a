#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

// Under a sanitizer the plain copy is used: it is the one that the sanitizer sees.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define VIREO_SANITIZED_COPY 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define VIREO_SANITIZED_COPY 1
#endif
#endif
#if defined(__SSE2__) && !defined(VIREO_SANITIZED_COPY)
#define VIREO_STREAMING_COPY 1
#include <emmintrin.h>
#endif

namespace vireo {

/// Copies `uiBytes` from `pSource` to `pDestination`; any alignment, no overlap. Any thread.
///
/// Stores around the cache: a recorded frame is not read again for seconds, so fetching its old
/// contents into the cache only to overwrite them would cost as much as the copy itself. The bytes are
/// visible to other threads when it returns, as after memcpy.
inline void CopyFrame(void* pDestination, const void* pSource, std::size_t uiBytes)
{
#ifdef VIREO_STREAMING_COPY
    constexpr std::size_t kStore = sizeof(__m128i);
    constexpr std::size_t kStep = 4 * kStore;
    auto* pTo = static_cast<std::uint8_t*>(pDestination);
    const auto* pFrom = static_cast<const std::uint8_t*>(pSource);
    const std::size_t uiOff = reinterpret_cast<std::uintptr_t>(pTo) % kStore;
    const std::size_t uiHead = uiOff == 0 ? 0 : kStore - uiOff;
    if (uiBytes >= uiHead + kStep) {
        std::memcpy(pTo, pFrom, uiHead);
        pTo += uiHead;
        pFrom += uiHead;
        uiBytes -= uiHead;
        for (; uiBytes >= kStep; uiBytes -= kStep, pTo += kStep, pFrom += kStep) {
            const auto* pRead = reinterpret_cast<const __m128i*>(pFrom);
            auto* pWrite = reinterpret_cast<__m128i*>(pTo);
            const __m128i first = _mm_loadu_si128(pRead);
            const __m128i second = _mm_loadu_si128(pRead + 1);
            const __m128i third = _mm_loadu_si128(pRead + 2);
            const __m128i fourth = _mm_loadu_si128(pRead + 3);
            _mm_stream_si128(pWrite, first);
            _mm_stream_si128(pWrite + 1, second);
            _mm_stream_si128(pWrite + 2, third);
            _mm_stream_si128(pWrite + 3, fourth);
        }
        // Streaming stores are not ordered with a later release store; the fence is what orders them.
        _mm_sfence();
    }
    if (uiBytes > 0)
        std::memcpy(pTo, pFrom, uiBytes);
#else
    if (uiBytes > 0)
        std::memcpy(pDestination, pSource, uiBytes);
#endif
}

} // namespace vireo
