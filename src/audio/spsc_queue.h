#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>

// A lock-free queue for one producer thread and one consumer thread, for
// handing buffers to the realtime audio callback and getting them back.
template <typename T, std::size_t Capacity>
class SpscQueue {
public:
    bool push(const T& value)
    {
        const std::size_t head = m_head.load(std::memory_order_relaxed);
        const std::size_t next = (head + 1) % Capacity;
        if (next == m_tail.load(std::memory_order_acquire))
            return false;
        m_items[head] = value;
        m_head.store(next, std::memory_order_release);
        return true;
    }
    std::optional<T> pop()
    {
        const std::size_t tail = m_tail.load(std::memory_order_relaxed);
        if (tail == m_head.load(std::memory_order_acquire))
            return std::nullopt;
        T value = m_items[tail];
        m_tail.store((tail + 1) % Capacity, std::memory_order_release);
        return value;
    }

private:
    std::array<T, Capacity> m_items{};
    std::atomic<std::size_t> m_head{0};
    std::atomic<std::size_t> m_tail{0};
};
