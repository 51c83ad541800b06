#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

// Room for the control block of the one shared_ptr through which a pooled
// texture or target is lent out. Pooled objects go out every frame, and the
// slot makes lending them allocate nothing; should a second block be wanted
// while the first lives, it comes from the heap as usual.
//
// The slot lives in the lent object: declare it before any weak_ptr member
// that may point into it, so that it outlives them.
class CLendSlot
{
public:
    CLendSlot() = default;
    CLendSlot(const CLendSlot&) = delete;
    CLendSlot& operator=(const CLendSlot&) = delete;

    void* Take(std::size_t bytes, std::size_t alignment)
    {
        if (m_taken || bytes > sizeof(m_storage) || alignment > alignof(std::max_align_t))
            return ::operator new(bytes);
        m_taken = true;
        return m_storage;
    }
    void Give(void* memory, std::size_t)
    {
        if (memory == m_storage)
            m_taken = false;
        else
            ::operator delete(memory);
    }

    // `object` under a shared_ptr whose deleter is `deleter` and whose
    // control block lives in this slot.
    template <class T, class TDeleter>
    std::shared_ptr<T> Share(T* object, TDeleter deleter)
    {
        return std::shared_ptr<T>(object, std::move(deleter), TAllocator<T>(*this));
    }

private:
    template <class T>
    struct TAllocator
    {
        using value_type = T;
        explicit TAllocator(CLendSlot& slot) : m_slot(&slot) {}
        template <class U>
        TAllocator(const TAllocator<U>& other) : m_slot(other.m_slot)
        {
        }
        T* allocate(std::size_t count) { return static_cast<T*>(m_slot->Take(count * sizeof(T), alignof(T))); }
        void deallocate(T* memory, std::size_t count) { m_slot->Give(memory, count * sizeof(T)); }
        template <class U>
        bool operator==(const TAllocator<U>& other) const
        {
            return m_slot == other.m_slot;
        }
        CLendSlot* m_slot;
    };

    alignas(std::max_align_t) unsigned char m_storage[96];
    bool m_taken = false;
};
