/**
 * @file
 * Where the box's commands come from besides its socket: a pipe, a file, or a terminal. Nothing here waits.
 */
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace emu {

class LineInput {
public:
    virtual ~LineInput() = default;

    /** The descriptor to read when poll() says so; -1 at its end, and while another job has the terminal. */
    virtual int fd() = 0;
    /** Read what is there and hand over the lines that are complete. */
    virtual void read(const std::function<void(std::string)>& take) = 0;
    /** Print an answer, or what happens meanwhile. A text without a line feed gets one. */
    virtual void print(std::string_view text) = 0;
    /** Whether somebody sits there: what they type next ends what they waited for. */
    virtual bool interactive() const { return false; }
};

/** Whether a descriptor is a terminal that another job has: reading it would stop the process. */
bool others_have_terminal(int fd);

/** Lines as they come, without a prompt. */
class PlainInput : public LineInput {
public:
    explicit PlainInput(int fd) : fd_(fd) {}

    int fd() override;
    void read(const std::function<void(std::string)>& take) override;
    void print(std::string_view text) override;

private:
    int fd_;
    std::string begun_; ///< of a line
    bool too_long_ = false;
};

} // namespace emu
