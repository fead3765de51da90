/**
 * @file
 * The box's process: one loop that lets the box's time follow the machine's clock, answers clients on its socket and
 * takes commands from a terminal. One thread; it waits in poll() and nowhere else.
 */
#pragma once

#include "emulator/box.h"
#include "emulator/remote/server/console.h"
#include "emulator/remote/server/session.h"

#include <chrono>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace emu {

class Server {
public:
    /** Listen on a socket. Throws std::runtime_error when another box answers there or it cannot be made. */
    Server(Box& box, std::string socket_path);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /** Take commands from there too, a line each; its end is no reason to stop. */
    void read_commands(std::unique_ptr<LineInput> input);
    /** Print something where the commands' answers are printed. */
    void print(std::string_view text);

    /** Work until "quit", or until something can be read from a descriptor (-1: none). */
    void run(int stop_fd);

private:
    void listen_at(const std::string& path);
    void follow_clock();
    int patience() const;
    void accept_client();
    bool accepts() const;
    void forget_gone();
    void look_for_second_daemon();
    size_t daemons() const;
    std::string describe_clients() const;
    Json client_facts() const;

    Box& box_;
    std::string socket_path_;
    int listener_ = -1;
    std::unique_ptr<Console> console_;
    std::list<Session> clients_;
    std::chrono::steady_clock::time_point power_on_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point accept_again_{}; ///< there are no descriptors for another client before
    bool full_ = false, crowded_ = false; ///< said that there are no descriptors, or more daemons than one
};

} // namespace emu
