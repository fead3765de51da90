#include "emulator/inprocess/turns.h"

#include "emulator/inprocess/stack_change.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <pthread.h>
#include <sys/mman.h>

namespace emu {

namespace {

/** As much as a thread has on the box; only pages that are used take memory. */
constexpr size_t STACK_SIZE = size_t{8} << 20;

/** A stack whose last page ends the process instead of letting it write into something else. */
void* make_stack()
{
    void* stack = mmap(nullptr, STACK_SIZE, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    constexpr size_t LARGEST_PAGE = 65536;
    if (stack == MAP_FAILED || mprotect(stack, LARGEST_PAGE, PROT_NONE) != 0) std::abort();
    return stack;
}

/** The turns whose thread begins; makecontext() passes integers only. */
Turns* beginning;

} // namespace

void Turns::begin()
{
    current_ = &add({});
    pthread_attr_t attributes;
    void* stack = nullptr;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) std::abort();
    pthread_attr_getstack(&attributes, &stack, &current_->stack_size);
    pthread_attr_destroy(&attributes);
    current_->stack = stack;
}

Turns::Thread& Turns::add(std::function<void()> body)
{
    threads_.emplace_back(new Thread{.wake = time_.now(), .order = ++order_, .body = std::move(body)});
    Thread& thread = *threads_.back();
    if (!thread.body) return thread;
    getcontext(&thread.context);
    thread.context.uc_stack.ss_sp = make_stack();
    thread.context.uc_stack.ss_size = STACK_SIZE;
    thread.stack = thread.context.uc_stack.ss_sp;
    thread.stack_size = STACK_SIZE;
    makecontext(&thread.context, &Turns::run_current, 0);
    return thread;
}

/** All of a started thread. One whose body returns is never due again. */
void Turns::run_current()
{
    enter_stack(nullptr);
    Turns& turns = *beginning;
    turns.current_->body();
    turns.sleep(NEVER - turns.time_.now());
    std::abort();
}

void Turns::start(std::function<void()> body)
{
    add(std::move(body));
}

void Turns::start_now(std::function<void()> body)
{
    Thread& thread = add(std::move(body));
    current_->wake = time_.now();
    current_->order = ++order_;
    change_to(thread);
}

Turns::Thread& Turns::next() const
{
    return **std::ranges::min_element(threads_, {},
                                      [](const auto& thread) { return std::pair(thread->wake, thread->order); });
}

void Turns::change_to(Thread& chosen)
{
    Thread& self = *current_;
    if (&chosen == &self) return;
    self.saved_errno = errno;
    current_ = &chosen;
    beginning = this;
    void* left = nullptr;
    leave_stack(chosen.stack, chosen.stack_size, &left);
    swapcontext(&self.context, &chosen.context);
    enter_stack(left);
    errno = self.saved_errno;
}

void Turns::sleep(Micros duration)
{
    current_->wake = time_.now() + duration;
    current_->order = ++order_;
    Thread& chosen = next();
    time_.advance_to(chosen.wake);
    change_to(chosen);
}

} // namespace emu
