/**
 * @file
 * A client's connection to the box's process: the bytes that came and those still to go, the nodes of the box that it
 * has open, and the command whose last answer is still to come. Nothing here waits.
 */
#pragma once

#include "emulator/box.h"
#include "emulator/remote/protocol.h"

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace emu {

class Session {
public:
    /** Take over a connected, non-blocking socket. */
    Session(Box& box, int socket);
    /** Close the socket and the client's nodes, and end its command. */
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    int socket() const { return socket_; }
    /** Whether the client is gone, or not worth listening to. */
    bool gone() const { return gone_; }
    bool has_answers_to_send() const { return !out_.empty(); }
    /** Take in what can be read, and answer the questions in it. */
    void read();
    /** Send what can be sent. */
    void write();

    /** Name of the client's program, empty when it has not told; and its process. */
    const std::string& program() const { return program_; }
    pid_t process() const { return process_; }

private:
    void take_questions();
    void answer(const Message& message);
    void send(MessageHeader header, std::span<const uint8_t> payload);
    void send_reply(const Reply& reply);
    int32_t open_node(const Message& message);
    int32_t close_node(int handle);
    int32_t try_request(const Message& message, std::vector<uint8_t>& reply);
    int32_t request(const Message& message, std::vector<uint8_t>& reply);
    int32_t dma_request(const Message& message, std::vector<uint8_t>& reply);

    Box& box_;
    int socket_;
    pid_t process_ = 0;
    bool gone_ = false;
    bool busy_ = false; ///< a command's last answer is still to come; what the client asks meanwhile waits
    std::string program_, folder_;
    std::shared_ptr<Listener> listener_;
    std::vector<uint8_t> in_, out_; ///< bytes not yet understood, and not yet sent
    std::vector<int> handles_;      ///< open nodes of the box that are this client's
};

} // namespace emu
