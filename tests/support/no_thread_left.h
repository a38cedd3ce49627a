#pragma once
#include <cstddef>
#include <pthread.h>

namespace vireo::test {

/// As long as it is there, the system has no thread to give to this process: each would need a stack that fits nowhere.
class NoThreadLeft {
public:
    NoThreadLeft()
    {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t tooMuch;
        pthread_getattr_default_np(&tooMuch);
        pthread_attr_setstacksize(&tooMuch, std::size_t { 1 } << 48);
        pthread_setattr_default_np(&tooMuch);
        pthread_attr_destroy(&tooMuch);
    }
    ~NoThreadLeft()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    NoThreadLeft(const NoThreadLeft&) = delete;
    NoThreadLeft& operator=(const NoThreadLeft&) = delete;

private:
    pthread_attr_t m_before {};
};

} // namespace vireo::test
