/**
 * @file
 * The connection of this process to its box: made when it is first needed, and again when the box comes back after it
 * was gone. Handles of device nodes stay good meanwhile: their nodes are opened anew.
 *
 * While the box is gone a request waits before it fails, from 10 ms on and longer each time up to half a second, so
 * that programs that poll neither fill the processor nor their logs. Opening a node and asking for the root do not
 * wait. An outage and its end are each said once on standard error. Any thread; one exchange at a time.
 */
#pragma once

#include "emulator/remote/protocol.h"

#include <array>
#include <chrono>
#include <mutex>
#include <string>

namespace emu {

class Link {
public:
    /** Open a device node. @return a handle above 0; -ENOENT without node or box, -EMFILE when there are too many */
    int open(const std::string& path);
    /** A request to a node. @return the driver's result; -EBADF for no handle, -ENODEV without a box or its node */
    int request(int handle, Ask ask, uint32_t code, std::span<const uint8_t> payload, Message& reply);
    void close(int handle);

    /** The box's root folder as it was told last, empty when there is no box. */
    std::string root();
    /** The same, but wait as a request does and make sure that the box is there. */
    std::string root_of_live_box();

private:
    using Clock = std::chrono::steady_clock;
    using Guard = std::unique_lock<std::mutex>;

    struct Node {
        std::string path;        ///< empty: not in use
        int handle = 0;          ///< the box's
        unsigned connection = 0; ///< that the box's handle belongs to
    };

    bool connect();
    bool connect_patiently(Guard& guard);
    bool exchange(const MessageHeader& header, std::span<const uint8_t> payload, Message& reply);
    bool still_there();
    void lose(int error);
    int open_node(Node& node);
    void complain(const std::string& what, int error);

    std::mutex lock_;
    int socket_ = -1;
    unsigned connection_ = 0; ///< counts them
    bool complained_ = false;
    std::chrono::milliseconds pause_{0};
    Clock::time_point next_try_{}; ///< nobody connects before
    std::string root_;
    std::array<Node, 64> nodes_; ///< by handle; the first is never used
};

} // namespace emu
