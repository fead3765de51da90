/**
 * @file
 * The box's own terminal: a prompt, a line that can be edited, and the lines of before with the arrow keys. The
 * terminal is touched only while the box is the job in its foreground; in the background it goes on without it.
 *
 * One object at a time, which the editing library needs, and one thread.
 */
#pragma once

#include "emulator/remote/server/line_input.h"

#include <chrono>

namespace emu {

class EditedInput : public LineInput {
public:
    /** For standard input and output, which are a terminal. */
    EditedInput();
    /** Give the terminal back as it was. */
    ~EditedInput() override;
    EditedInput(const EditedInput&) = delete;
    EditedInput& operator=(const EditedInput&) = delete;

    int fd() override;
    void read(const std::function<void(std::string)>& take) override;
    void print(std::string_view text) override;
    bool interactive() const override { return true; }

private:
    void begin();
    void edit();
    void leave();
    static void take_line(char* line);

    bool begun_ = false;   ///< the library is in use
    bool editing_ = false; ///< the terminal is set up and the prompt is there
    bool ended_ = false;   ///< somebody has typed the end of input
    std::chrono::steady_clock::time_point next_look_{};
    const std::function<void(std::string)>* take_ = nullptr; ///< while the library reads
};

} // namespace emu
