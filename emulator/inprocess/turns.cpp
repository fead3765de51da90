#include "emulator/inprocess/turns.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace emu {

thread_local Turns::Thread* Turns::self_ = nullptr;

Turns::Thread* Turns::add(Micros wake)
{
    const std::lock_guard guard(lock_);
    threads_.emplace_back(new Thread{.wake = wake, .order = ++order_});
    return threads_.back().get();
}

/** Threads that this process has; some may belong to what runs it, such as an emulator of its processor. */
static size_t count_tasks()
{
    namespace fs = std::filesystem;
    std::error_code error;
    return static_cast<size_t>(
        std::distance(fs::directory_iterator("/proc/self/task", error), fs::directory_iterator()));
}

void Turns::begin()
{
    foreign_ = count_tasks() - 1;
    self_ = add(time_.now());
}

void Turns::start(std::function<void()> body)
{
    Thread* thread = add(time_.now());
    strangers_ = true;
    std::thread([thread, body = std::move(body)] {
        self_ = thread;
        await_turn(*thread);
        body();
    }).detach();
}

void Turns::give_turn(Thread& thread)
{
    thread.turn.store(1, std::memory_order_release);
    thread.turn.notify_one();
}

/**
 * Most turns come within microseconds, less than it takes to put a core to sleep and wake it up: two virtual hours have
 * more than a million of them.
 */
void Turns::await_turn(Thread& thread)
{
    for (int tries = 0; tries < 300; ++tries) {
        if (thread.turn.exchange(0, std::memory_order_acquire) == 1) return;
        std::this_thread::yield();
    }
    while (thread.turn.exchange(0, std::memory_order_acquire) == 0) thread.turn.wait(0);
}

Turns::Thread* Turns::next()
{
    const std::lock_guard guard(lock_);
    Thread* first = nullptr;
    for (const auto& thread : threads_) {
        const bool sooner = first == nullptr || thread->wake < first->wake ||
                            (thread->wake == first->wake && thread->order < first->order);
        if (sooner) first = thread.get();
    }
    return first;
}

/**
 * A thread that the daemon has just created joins when it first sleeps; until it has, time must not move, or runs would
 * differ. It takes a moment on a busy machine; one that never sleeps is not waited for longer than two seconds.
 */
void Turns::wait_for_strangers()
{
    for (int tries = 0; tries < 2000; ++tries) {
        {
            const std::lock_guard guard(lock_);
            if (count_tasks() <= threads_.size() + foreign_) return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Turns::sleep(Micros duration)
{
    if (self_ == nullptr) {
        self_ = add(time_.now() + duration);
        await_turn(*self_);
        return;
    }
    if (strangers_ && self_ != threads_.front().get()) {
        strangers_ = false;
        wait_for_strangers();
    }
    self_->wake = time_.now() + duration;
    self_->order = ++order_;
    Thread* chosen = next();
    time_.advance_to(chosen->wake);
    if (chosen == self_) return;
    Thread* self = self_;
    give_turn(*chosen);
    await_turn(*self);
}

} // namespace emu
