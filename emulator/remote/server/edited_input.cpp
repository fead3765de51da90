#include "emulator/remote/server/edited_input.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <editline/readline.h>
#include <termios.h>
#include <unistd.h>

namespace emu {

namespace {

EditedInput* the_terminal = nullptr; // for the library's call, which says nothing of whom it is for

termios modes_before; // as the terminal was found

/**
 * Ctrl-Z. The shell gets its terminal back as it was. The library's own way is not taken: it sets the terminal up again
 * even when the box is continued in the background.
 */
void stop(int /*signal*/)
{
    if (!others_have_terminal(STDIN_FILENO)) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &modes_before);
    ::kill(::getpid(), SIGSTOP);
}

/** Whether somebody else has set the terminal up for whole lines, as a shell does when a job was stopped. */
bool takes_whole_lines()
{
    termios modes{};
    return ::tcgetattr(STDIN_FILENO, &modes) == 0 && (modes.c_lflag & ICANON) != 0;
}

} // namespace

EditedInput::EditedInput()
{
    the_terminal = this;
}

EditedInput::~EditedInput()
{
    if (editing_ && !others_have_terminal(STDIN_FILENO)) leave();
    if (begun_) ::signal(SIGTSTP, SIG_DFL);
    the_terminal = nullptr;
}

/** The library looks at the terminal when it is first used, so that must be in the foreground. */
void EditedInput::begin()
{
    begun_ = true;
    ::tcgetattr(STDIN_FILENO, &modes_before);
    std::setlocale(LC_CTYPE, "");
    rl_catch_signals = 0;
    using_history();
    struct sigaction stopping {};
    stopping.sa_handler = stop;
    stopping.sa_flags = SA_RESTART;
    ::sigaction(SIGTSTP, &stopping, nullptr);
}

void EditedInput::edit()
{
    if (begun_)
        rl_callback_handler_remove(); // the library believes that the terminal is still set up
    else
        begin();
    rl_callback_handler_install("box> ", take_line);
    editing_ = true;
}

void EditedInput::leave()
{
    rl_callback_handler_remove();
    std::printf("\n");
    std::fflush(stdout);
    editing_ = false;
}

/** The foreground comes and goes without a word, so it is looked for now and then. */
int EditedInput::fd()
{
    if (ended_) return -1;
    const auto now = std::chrono::steady_clock::now();
    if (now >= next_look_) {
        next_look_ = now + std::chrono::milliseconds(100);
        const bool mine = !others_have_terminal(STDIN_FILENO);
        if (mine && (takes_whole_lines() || (begun_ && !editing_))) edit();
        if (!mine) editing_ = false;
    }
    return editing_ ? STDIN_FILENO : -1;
}

/** After a line the prompt waits until the answer is printed. */
void EditedInput::read(const std::function<void(std::string)>& take)
{
    if (others_have_terminal(STDIN_FILENO)) return;
    take_ = &take;
    rl_callback_read_char();
    take_ = nullptr;
    if (!ended_) return;
    leave();
    print("no more commands are read here; Ctrl-C switches the box off");
}

void EditedInput::take_line(char* line)
{
    the_terminal->editing_ = false;
    the_terminal->next_look_ = {};
    if (line == nullptr) {
        the_terminal->ended_ = true;
        return;
    }
    if (*line != '\0') add_history(line);
    (*the_terminal->take_)(line);
    std::free(line);
}

void EditedInput::print(std::string_view text)
{
    if (text.empty()) return;
    if (editing_) std::printf("\r\033[K"); // what is being typed comes back below
    std::printf("%.*s%s", static_cast<int>(text.size()), text.data(), text.ends_with('\n') ? "" : "\n");
    std::fflush(stdout);
    if (editing_) rl_forced_update_display();
}

} // namespace emu
