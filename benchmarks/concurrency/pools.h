// Thread pools under one face: ours, Boost.Asio's, the system's, and a plain one of the standard library.
#pragma once

#include <windows.h>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "tandor/thread_pool.h"

namespace tandor::bench {

inline constexpr unsigned kWorkers = 4;

// Work is a trivially copyable functor no larger than a pointer, so that the system's pool needs no allocation for it.
class OurPool {
public:
    explicit OurPool(unsigned workers = kWorkers) : pool_(workers) { pool_.Start(); }
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

// As it is written everywhere. With the tool chain here, its parts are winpthreads'.
class StandardPool {
public:
    StandardPool() {
        for (unsigned i = 0; i < kWorkers; ++i) workers_.emplace_back([this] { Work(); });
    }
    ~StandardPool() {
        {
            const std::lock_guard hold(mutex_);
            stop_ = true;
        }
        condition_.notify_all();
        for (std::thread& worker : workers_) worker.join();
    }
    StandardPool(const StandardPool&) = delete;
    StandardPool& operator=(const StandardPool&) = delete;
    template <class Task>
    void Submit(Task task) {
        {
            const std::lock_guard hold(mutex_);
            tasks_.emplace_back(task);
        }
        condition_.notify_one();
    }

private:
    void Work() {
        for (;;) {
            std::function<void()> task;
            {
                std::unique_lock hold(mutex_);
                condition_.wait(hold, [this] { return stop_ || !tasks_.empty(); });
                if (tasks_.empty()) return;
                task = std::move(tasks_.front());
                tasks_.pop_front();
            }
            task();
        }
    }

    std::mutex mutex_;
    std::condition_variable condition_;
    std::deque<std::function<void()>> tasks_;
    bool stop_ = false;
    std::vector<std::thread> workers_;
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

protected:
    TP_CALLBACK_ENVIRON environment_;
};

// One whose destructor waits for what was submitted, as the others' do; a cleanup group costs each submission
// something.
class JoinedSystemPool : public SystemPool {
public:
    JoinedSystemPool() : group_(::CreateThreadpoolCleanupGroup()) {
        ::SetThreadpoolCallbackCleanupGroup(&environment_, group_, nullptr);
    }
    ~JoinedSystemPool() {
        ::CloseThreadpoolCleanupGroupMembers(group_, FALSE, nullptr);
        ::CloseThreadpoolCleanupGroup(group_);
    }
    JoinedSystemPool(const JoinedSystemPool&) = delete;
    JoinedSystemPool& operator=(const JoinedSystemPool&) = delete;

private:
    TP_CLEANUP_GROUP* group_;
};

}  // namespace tandor::bench
