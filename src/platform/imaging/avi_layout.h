#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vireo::avi {

// Sizes of the container's parts in bytes, the same for who writes a file and who reads it back.
constexpr std::size_t kMarkBytes = 4;
constexpr std::size_t kChunkHeadBytes = 8; ///< mark and size
constexpr std::size_t kListHeadBytes = 12; ///< a chunk's head and the list's own mark
constexpr std::size_t kIndexEntryBytes = 16;
constexpr std::size_t kMainHeaderBytes = 56; ///< without its chunk's head
constexpr std::string_view kFrameMark = "00dc"; ///< a compressed picture of the first stream

/// A chunk's content with the byte that keeps the next one at an even place.
constexpr std::uint64_t Padded(std::uint64_t uiBytes) { return uiBytes + uiBytes % 2; }

} // namespace vireo::avi
