#pragma once
// Owning 16-byte aligned array for pixel paths: a resize reserves raw memory and constructs nothing,
// because the caller writes every byte and must not pay for initialisation.
#include "common/MemoryHook.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

// 16-byte aligned array. Capacity is the byte size plus 32 so that the aligned start always fits.
template <typename T> class sse_array {
public:
    sse_array() = default;
    explicit sse_array(size_t count) { resize(count); }
    sse_array(const sse_array&) = delete;
    sse_array& operator=(const sse_array&) = delete;
    sse_array(sse_array&& o) noexcept { swap(o); }
    sse_array& operator=(sse_array&& o) noexcept {
        if (this != &o) {
            release();
            swap(o);
        }
        return *this;
    }
    virtual ~sse_array() { release(); }

    // Resizing to the current size keeps the content; any other size frees first, so content is lost.
    // Returns false when the memory cannot be had (the array is then empty).
    bool resize(size_t count) {
        if (count > (SIZE_MAX - 32) / sizeof(T)) {
            release();
            return false;
        }
        const size_t bytes = count * sizeof(T);
        if (bytes == m_bytes)
            return true;
        release();
        if (bytes == 0)
            return true;
        m_raw = static_cast<uint8_t*>(GS_MEMORY::Allocate(count, sizeof(T), 32));
        if (!m_raw)
            return false;
        m_aligned = reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(m_raw) + 15) & ~uintptr_t(15));
        m_capacity = bytes + 32;
        m_bytes = bytes;
        return true;
    }
    // Makes this a byte-for-byte copy of another array. False when the memory cannot be had (this
    // array is then empty).
    bool copy_from(const sse_array& o) {
        if (this == &o)
            return true;
        if (!resize(o.size()))
            return false;
        if (o.m_bytes)
            std::memcpy(m_aligned, o.m_aligned, o.m_bytes);
        return true;
    }
    void release() {
        std::free(m_raw);
        m_raw = nullptr;
        m_aligned = nullptr;
        m_capacity = 0;
        m_bytes = 0;
    }
    void swap(sse_array& o) noexcept {
        std::swap(m_raw, o.m_raw);
        std::swap(m_aligned, o.m_aligned);
        std::swap(m_capacity, o.m_capacity);
        std::swap(m_bytes, o.m_bytes);
    }

    T* data() { return m_aligned; }
    const T* data() const { return m_aligned; }
    size_t size() const { return m_bytes / sizeof(T); }
    size_t byte_size() const { return m_bytes; }
    size_t capacity() const { return m_capacity; }
    bool empty() const { return m_bytes == 0; }
    T& operator[](size_t i) { return m_aligned[i]; }
    const T& operator[](size_t i) const { return m_aligned[i]; }

private:
    uint8_t* m_raw = nullptr;
    T* m_aligned = nullptr;
    size_t m_capacity = 0;
    size_t m_bytes = 0;
};
