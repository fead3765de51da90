/**
 * @file
 * Turns of the threads on the virtual clock.
 */
#pragma once

#include "emulator/timeline.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace emu {

class Turns {
public:
    explicit Turns(Timeline& time) : time_(time) {}

    /** Give the calling thread, the first and only one so far, the turn. */
    void begin();

    /**
     * Sleep the calling thread. One that has the turn lets time pass and the others run; events of the box happen in
     * between. One that the daemon has created joins here: until its first sleep it runs beside the one with the turn.
     */
    void sleep(Micros duration);

    /** Start a thread whose first turn comes when the caller sleeps. */
    void start(std::function<void()> body);

private:
    struct Thread {
        Micros wake;
        uint64_t order;           ///< who asked first goes first at the same moment
        std::atomic<int> turn{0}; ///< 1: it is this thread's
    };

    static void give_turn(Thread& thread);
    static void await_turn(Thread& thread);

    Thread* add(Micros wake);
    Thread* next();
    void wait_for_strangers();

    Timeline& time_;
    std::mutex lock_;
    std::vector<std::unique_ptr<Thread>> threads_;
    uint64_t order_ = 0;
    size_t foreign_ = 0;     ///< threads of the process that are none of the daemon's or the bench's
    bool strangers_ = false; ///< a started thread may have started others that have not joined yet
    static thread_local Thread* self_;
};

} // namespace emu
