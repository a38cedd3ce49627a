#pragma once
#include <cstddef>
#include <memory>

namespace vireo {

constexpr std::size_t kCameraSlots = 9; ///< slots that always exist, one per camera
constexpr unsigned int kMaxGrabThreads = 4; ///< cameras that capture at once

/// One T per camera slot: nine, or as many as cameras are connected when that is more (every camera
/// that is found is connected and configured before a number beyond four is refused). Elements never move.
template <typename T> class PerCamera {
public:
    PerCamera()
        : m_elements(std::make_unique<T[]>(kCameraSlots))
    {
    }
    T& operator[](std::size_t uiCamera) { return m_elements[uiCamera]; }
    const T& operator[](std::size_t uiCamera) const { return m_elements[uiCamera]; }
    std::size_t size() const { return m_uiSize; }
    T* begin() { return m_elements.get(); }
    T* end() { return m_elements.get() + m_uiSize; }
    const T* begin() const { return m_elements.get(); }
    const T* end() const { return m_elements.get() + m_uiSize; }

    /// Makes room for `uiCount` cameras; new contents throughout when it has to grow. Only while nothing
    /// else uses the elements.
    void EnsureSize(std::size_t uiCount)
    {
        if (uiCount <= m_uiSize)
            return;
        m_elements = std::make_unique<T[]>(uiCount);
        m_uiSize = uiCount;
    }

private:
    std::size_t m_uiSize = kCameraSlots;
    std::unique_ptr<T[]> m_elements;
};

} // namespace vireo
