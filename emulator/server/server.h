/**
 * @file
 * The box's process: one loop that lets the box's time follow the machine's clock, answers clients on its socket and
 * takes commands from a terminal. One thread; it waits in poll() and nowhere else.
 */
#pragma once

#include "emulator/box.h"
#include "emulator/protocol.h"

#include <chrono>
#include <list>
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

    /** Take commands from a descriptor too, a line each; its end is no reason to stop. */
    void read_commands(int fd) { terminal_ = fd; }

    /** Work until "quit", or until something can be read from a descriptor (-1: none). */
    void run(int stop_fd);

private:
    struct Client {
        int socket;
        std::vector<uint8_t> in, out; ///< bytes not yet understood, and not yet sent
        std::vector<int> handles;     ///< open nodes of the box that are this client's
        bool gone = false;
    };

    void listen_at(const std::string& path);
    void follow_clock();
    int patience() const;
    void accept_client();
    void read_from(Client& client);
    void write_to(Client& client);
    void answer(Client& client, const Message& message);
    int32_t open_node(Client& client, const Message& message);
    int32_t close_node(Client& client, int handle);
    int32_t request(Client& client, const Message& message, std::vector<uint8_t>& reply);
    int32_t dma_request(const Message& message, std::vector<uint8_t>& reply);
    void forget(Client& client);
    void read_terminal();

    Box& box_;
    std::string socket_path_;
    int listener_ = -1;
    int terminal_ = -1;
    std::string typed_; ///< the beginning of a line
    std::list<Client> clients_;
    std::chrono::steady_clock::time_point power_on_ = std::chrono::steady_clock::now();
};

} // namespace emu
