/**
 * @file
 * Commands from the box's own terminal, or from a pipe: one after the other, each when the one before has its last
 * answer. Nothing here waits.
 */
#pragma once

#include "emulator/box.h"
#include "emulator/remote/server/line_input.h"

#include <deque>
#include <memory>
#include <string>

namespace emu {

class Console {
public:
    Console(Box& box, std::unique_ptr<LineInput> input);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /** The descriptor to read when poll() says so, -1 while nothing is wanted. */
    int fd() { return busy_ && !input_->interactive() ? -1 : input_->fd(); }
    void read();
    void print(std::string_view text) { input_->print(text); }

private:
    void take(std::string line);
    void run_next();
    void listen();

    Box& box_;
    std::unique_ptr<LineInput> input_;
    std::shared_ptr<Listener> listener_;
    std::deque<std::string> lines_; ///< still to be run
    bool busy_ = false;             ///< the last answer of a command is still to come
};

} // namespace emu
