#pragma once
#include "common/MemoryHook.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

// Unaligned owning array with the same resize rule; elements are neither constructed nor moved, so
// it holds trivially copyable records only.
template <typename T> class fast_array {
public:
    fast_array() = default;
    explicit fast_array(size_t count) { resize(count); }
    fast_array(const fast_array&) = delete;
    fast_array& operator=(const fast_array&) = delete;
    fast_array(fast_array&& o) noexcept { swap(o); }
    fast_array& operator=(fast_array&& o) noexcept {
        if (this != &o) {
            release();
            swap(o);
        }
        return *this;
    }
    virtual ~fast_array() { release(); }

    bool resize(size_t count) {
        if (count == m_count)
            return true;
        release();
        if (count == 0)
            return true;
        m_data = static_cast<T*>(GS_MEMORY::Allocate(count, sizeof(T)));
        if (!m_data)
            return false;
        m_count = count;
        return true;
    }
    void release() {
        std::free(m_data);
        m_data = nullptr;
        m_count = 0;
    }
    void swap(fast_array& o) noexcept {
        std::swap(m_data, o.m_data);
        std::swap(m_count, o.m_count);
    }
    T* data() { return m_data; }
    const T* data() const { return m_data; }
    size_t size() const { return m_count; }
    bool empty() const { return m_count == 0; }
    T& operator[](size_t i) { return m_data[i]; }
    const T& operator[](size_t i) const { return m_data[i]; }
    T* begin() { return m_data; }
    T* end() { return m_data + m_count; }
    const T* begin() const { return m_data; }
    const T* end() const { return m_data + m_count; }

private:
    T* m_data = nullptr;
    size_t m_count = 0;
};
