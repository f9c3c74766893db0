// Three thread pools under one face: ours, Boost.Asio's and the system's.
#pragma once

#include <windows.h>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "tandor/thread_pool.h"

namespace tandor::bench {

inline constexpr unsigned kWorkers = 4;

// Work is a trivially copyable functor no larger than a pointer, so that the system's pool needs no allocation for it.
class OurPool {
public:
    OurPool() : pool_(kWorkers) { pool_.Start(); }
    template <class Work>
    void Submit(Work work) {
        (void)pool_.Submit(work);
    }

private:
    TandorUtil::ThreadPool pool_;
};

class AsioPool {
public:
    AsioPool() : pool_(kWorkers) {}
    ~AsioPool() { pool_.join(); }
    AsioPool(const AsioPool&) = delete;
    AsioPool& operator=(const AsioPool&) = delete;
    template <class Work>
    void Submit(Work work) {
        boost::asio::post(pool_, work);
    }

private:
    boost::asio::thread_pool pool_;
};

class SystemPool {
public:
    SystemPool() : pool_(::CreateThreadpool(nullptr)) {
        ::SetThreadpoolThreadMaximum(pool_, kWorkers);
        ::SetThreadpoolThreadMinimum(pool_, kWorkers);
        ::InitializeThreadpoolEnvironment(&environment_);
        ::SetThreadpoolCallbackPool(&environment_, pool_);
    }
    ~SystemPool() { ::CloseThreadpool(pool_); }
    SystemPool(const SystemPool&) = delete;
    SystemPool& operator=(const SystemPool&) = delete;
    template <class Work>
    void Submit(Work work) {
        static_assert(sizeof(Work) == sizeof(void*));
        ::TrySubmitThreadpoolCallback(&Run<Work>, __builtin_bit_cast(void*, work), &environment_);
    }

private:
    template <class Work>
    static void CALLBACK Run(TP_CALLBACK_INSTANCE*, void* context) {
        __builtin_bit_cast(Work, context)();
    }

    TP_POOL* pool_;
    TP_CALLBACK_ENVIRON environment_;
};

}  // namespace tandor::bench
