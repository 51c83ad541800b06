#pragma once

#include <atomic>

// A reference-counted singleton: the first Get makes the instance, the last
// Release deletes it.
template <class T>
class CSingleton
{
public:
    static T* Get()
    {
        if (s_count.fetch_add(1) == 0)
            s_instance = new T();
        return s_instance;
    }

    virtual void Release()
    {
        if (s_count.fetch_sub(1) == 1) {
            T* instance = s_instance;
            s_instance = nullptr;
            delete instance;
        }
    }

protected:
    CSingleton() = default;
    virtual ~CSingleton() = default;
    CSingleton(const CSingleton&) = delete;
    CSingleton& operator=(const CSingleton&) = delete;

private:
    static inline T* s_instance = nullptr;
    static inline std::atomic<int> s_count{0};
};
