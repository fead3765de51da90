/**
 * @file
 * What tests work with: the emulated box of this process on its virtual clock, the daemon on it, and what it prints.
 * Each test case runs in a process of its own, so everything starts fresh.
 */
#pragma once

#include "emulator/inprocess/inprocess.h"

#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <string_view>

namespace bench {

using namespace std::chrono_literals;

/** The box behind platform/ in this process. */
inline emu::Box& box()
{
    return emu::inprocess_box();
}

/** Give the box one command; a refused one fails the test. Time passes while one waits. */
void tell(std::string_view line);

/** Give the box one command and return what it answers. */
std::string ask(std::string_view line);

/** Let virtual time pass; the daemon's threads run meanwhile. */
void run_for(std::chrono::microseconds duration);

/** Path for a file of the test's own, in a folder that other tests beside it do not share and that goes with the box.
 */
std::string scratch(const std::string& name);

/** Virtual time since power-on. */
std::chrono::microseconds now();

/** Captures what the process prints (descriptors 0, 1 and 2) from construction until destruction. */
class Output {
public:
    Output();
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /** The text since the last call. */
    std::string take();

private:
    void show() const;

    int file_;
    int saved_[3];
    long taken_ = 0;
};

/** Run something and return what the process printed meanwhile. */
template<class Body>
std::string printed(Body&& body)
{
    std::string text;
    {
        Output output;
        body();
        text = output.take();
    }
    if (testing::Test::HasFailure()) std::fputs(text.c_str(), stdout); // it may hold the failure's own text
    return text;
}

/** How often a text stands in another one. */
size_t count(std::string_view text, std::string_view wanted);

/** The daemon, in a thread of its own from the next run_for() on, for the rest of the process. */
class Daemon {
public:
    explicit Daemon(std::initializer_list<const char*> options = {});
};

} // namespace bench
