#include "emulator/inprocess/turns.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace emu {

thread_local Turns::Thread* Turns::self_ = nullptr;

Turns::Thread* Turns::add(Micros wake)
{
    const std::lock_guard guard(lock_);
    threads_.push_back(std::make_unique<Thread>(wake, ++order_));
    return threads_.back().get();
}

void Turns::join()
{
    if (self_ != nullptr) return;
    const bool first = threads_.empty(); // the bench, before any other thread exists
    self_ = add(time_.now());
    if (!first) self_->turn.acquire();
}

void Turns::start(std::function<void()> body)
{
    join();
    Thread* thread = add(time_.now());
    strangers_ = true;
    std::thread([thread, body = std::move(body)] {
        self_ = thread;
        thread->turn.acquire();
        body();
    }).detach();
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

/** A thread that the daemon has just created joins by itself; until it has, time must not move, or runs would differ.
 */
void Turns::wait_for_strangers()
{
    namespace fs = std::filesystem;
    for (int tries = 0; tries < 100; ++tries) {
        std::error_code error;
        const auto tasks = std::distance(fs::directory_iterator("/proc/self/task", error), fs::directory_iterator());
        const std::lock_guard guard(lock_);
        if (error || static_cast<size_t>(tasks) <= threads_.size()) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Turns::sleep(Micros duration)
{
    join();
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
    chosen->turn.release();
    self->turn.acquire();
}

} // namespace emu
