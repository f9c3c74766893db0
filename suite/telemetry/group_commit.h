// Writes what several threads bring at the same time in one go, on one of these threads.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace pelora {

// The first thread to come leads: it writes what has gathered, its own item among it, while those who come meanwhile
// gather for the next turn. No thread is started, and each call returns after its item was written.
template <class Item>
class GroupCommit {
public:
    using Clock = std::chrono::steady_clock;
    using Batch = std::vector<Item*>;
    // Gives the items that have gathered until now. Called once by a writer, as late as it can.
    using Take = std::function<Batch()>;

    // Has `item` written by some thread's `write(take)`, which must not throw and leaves each item's result in the
    // item; items of a write that never took them stay as they were. Returns false when nobody had begun to write it at
    // the deadline: it will not be written then.
    template <class Write>
    bool Submit(Item& item, Clock::time_point deadline, Write write) {
        Entry entry{&item};
        std::unique_lock lock(mutex_);
        waiting_.push_back(&entry);
        while (entry.stage != Stage::kDone) {
            if (!leading_) {
                Lead(lock, write);
            } else if (entry.stage == Stage::kTaken) {
                changed_.wait(lock);
            } else if (changed_.wait_until(lock, deadline) == std::cv_status::timeout &&
                       entry.stage == Stage::kWaiting && leading_) {
                std::erase(waiting_, &entry);
                return false;
            }
        }
        return true;
    }

private:
    enum class Stage { kWaiting, kTaken, kDone };
    struct Entry {
        Item* item;
        Stage stage = Stage::kWaiting;
    };

    template <class Write>
    void Lead(std::unique_lock<std::mutex>& lock, Write& write) {
        leading_ = true;
        lock.unlock();
        write(Take([this] { return TakeGathered(); }));
        lock.lock();
        leading_ = false;
        if (taken_.empty()) taken_.swap(waiting_);  // the writer failed before it took them
        for (Entry* const entry : taken_) entry->stage = Stage::kDone;
        taken_.clear();
        changed_.notify_all();
    }

    Batch TakeGathered() {
        const std::lock_guard lock(mutex_);
        taken_.swap(waiting_);
        Batch batch;
        batch.reserve(taken_.size());
        for (Entry* const entry : taken_) {
            entry->stage = Stage::kTaken;
            batch.push_back(entry->item);
        }
        return batch;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Entry*> waiting_, taken_;
    bool leading_ = false;
};

}  // namespace pelora
