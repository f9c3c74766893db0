// Tasks first in, first out, in one block of memory that is kept: a queue of blocks allocates and frees as it moves on,
// which costs a busy pool more than the tasks themselves.
#pragma once

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace tandor {

using Task = std::function<void()>;

class TaskRing {
public:
    TaskRing() = default;
    TaskRing(TaskRing&& other) noexcept
        : slots_(std::move(other.slots_)),
          front_(std::exchange(other.front_, 0)),
          size_(std::exchange(other.size_, 0)) {}
    TaskRing& operator=(TaskRing&& other) noexcept {
        slots_ = std::move(other.slots_);
        front_ = std::exchange(other.front_, 0);
        size_ = std::exchange(other.size_, 0);
        return *this;
    }

    [[nodiscard]] bool Empty() const { return size_ == 0; }
    [[nodiscard]] std::size_t Size() const { return size_; }

    // std::bad_alloc may leave; nothing has changed then.
    void Push(Task&& task) {
        if (size_ == slots_.size()) Grow();
        At(size_).swap(task);
        ++size_;
    }

    // Takes the front of a ring that is not empty. A block that a flood has grown is given back when the flood is over.
    Task Take() {
        Task task;
        task.swap(At(0));
        front_ = (front_ + 1) & (slots_.size() - 1);
        if (--size_ == 0 && slots_.size() > kMostKept) *this = {};
        return task;
    }

private:
    static constexpr std::size_t kFirst = 16;  // sizes are powers of two
    static constexpr std::size_t kMostKept = 8192;

    Task& At(std::size_t index) { return slots_[(front_ + index) & (slots_.size() - 1)]; }

    void Grow() {
        std::vector<Task> larger(std::max(kFirst, 2 * slots_.size()));
        for (std::size_t i = 0; i < size_; ++i) larger[i].swap(At(i));
        slots_ = std::move(larger);
        front_ = 0;
    }

    std::vector<Task> slots_;
    std::size_t front_ = 0;
    std::size_t size_ = 0;
};

}  // namespace tandor
