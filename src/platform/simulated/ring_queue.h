#pragma once
#include <cstddef>
#include <vector>

namespace vireo {

/// First in, first out, over memory that it keeps: nothing is allocated once it has been as long before.
template <typename T> class RingQueue {
public:
    bool Empty() const { return m_uiSize == 0; }
    std::size_t Size() const { return m_uiSize; }
    const T& Front() const { return m_items[m_uiFirst]; }
    void Push(const T& item)
    {
        if (m_uiSize == m_items.size())
            Grow();
        m_items[(m_uiFirst + m_uiSize) % m_items.size()] = item;
        ++m_uiSize;
    }
    T Pop()
    {
        const T item = m_items[m_uiFirst];
        m_uiFirst = (m_uiFirst + 1) % m_items.size();
        --m_uiSize;
        return item;
    }
    void Clear() { m_uiSize = 0; }

private:
    void Grow()
    {
        std::vector<T> larger(m_items.empty() ? 16 : 2 * m_items.size());
        for (std::size_t i = 0; i < m_uiSize; ++i)
            larger[i] = m_items[(m_uiFirst + i) % m_items.size()];
        m_items.swap(larger);
        m_uiFirst = 0;
    }

    std::vector<T> m_items;
    std::size_t m_uiFirst = 0;
    std::size_t m_uiSize = 0;
};

} // namespace vireo
