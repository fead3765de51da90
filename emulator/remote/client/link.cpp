#include "emulator/remote/client/link.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace emu {

namespace {

constexpr std::chrono::milliseconds FIRST_PAUSE{10}, LONGEST_PAUSE{500};

} // namespace

/** Once per outage. */
void Link::complain(const std::string& what, int error)
{
    if (!complained_) std::fprintf(stderr, "%s: %s\n", what.c_str(), std::strerror(error));
    complained_ = true;
}

void Link::lose(int error)
{
    ::close(socket_);
    socket_ = -1;
    root_.clear();
    complain(error == ETIMEDOUT ? "the box does not answer" : "the box is gone", error);
}

bool Link::exchange(const MessageHeader& header, std::span<const uint8_t> payload, Message& reply)
{
    if (send_message(socket_, header, payload) && receive_message(socket_, reply)) return true;
    lose(errno);
    return false;
}

bool Link::connect()
{
    if (socket_ >= 0) return true;
    if (Clock::now() < next_try_) return false;
    const std::string path = default_socket();
    const int result = connect_to_box(path);
    Message reply;
    if (result >= 0) {
        socket_ = result;
        if (exchange({.ask = Ask::Root}, as_bytes(program_invocation_short_name), reply)) {
            if (complained_) std::fprintf(stderr, "the box is back at %s\n", path.c_str());
            root_ = reply.text();
            ++connection_;
            complained_ = false;
            pause_ = {};
            return true;
        }
    } else {
        complain("no box at " + path, -result);
    }
    pause_ = std::clamp(2 * pause_, FIRST_PAUSE, LONGEST_PAUSE);
    next_try_ = Clock::now() + pause_;
    return false;
}

bool Link::connect_patiently(Guard& guard)
{
    const auto when = next_try_;
    if (socket_ < 0 && Clock::now() < when) {
        guard.unlock();
        std::this_thread::sleep_until(when);
        guard.lock();
    }
    return connect();
}

/** A box that went away while nobody asked it anything is noticed here. */
bool Link::still_there()
{
    uint8_t byte;
    const ssize_t got = ::recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return true;
    lose(ECONNRESET);
    return false;
}

int Link::open_node(Node& node)
{
    Message reply;
    if (!exchange({.ask = Ask::Open}, as_bytes(node.path), reply)) return -ENODEV;
    node.handle = reply.header.number;
    node.connection = connection_;
    return node.handle;
}

int Link::open(const std::string& path)
{
    const Guard guard(lock_);
    const auto free = std::find_if(nodes_.begin() + 1, nodes_.end(), [](const Node& n) { return n.path.empty(); });
    if (free == nodes_.end()) return -EMFILE;
    if (!connect()) return -ENOENT;
    Node node{.path = path};
    const int result = open_node(node);
    if (result <= 0) return result == -ENODEV ? -ENOENT : result;
    *free = std::move(node);
    return static_cast<int>(free - nodes_.begin());
}

int Link::request(int handle, Ask ask, uint32_t code, std::span<const uint8_t> payload, Message& reply)
{
    Guard guard(lock_);
    if (!connect_patiently(guard)) return -ENODEV;
    if (handle <= 0 || static_cast<size_t>(handle) >= nodes_.size()) return -EBADF;
    Node& node = nodes_[static_cast<size_t>(handle)];
    if (node.path.empty()) return -EBADF;
    if (node.connection != connection_ && open_node(node) <= 0) {
        node.connection = 0;
        return -ENODEV;
    }
    const MessageHeader header{.ask = ask, .number = node.handle, .code = code};
    return exchange(header, payload, reply) ? reply.header.number : -ENODEV;
}

void Link::close(int handle)
{
    const Guard guard(lock_);
    if (handle <= 0 || static_cast<size_t>(handle) >= nodes_.size()) return;
    Node& node = nodes_[static_cast<size_t>(handle)];
    Message reply;
    if (socket_ >= 0 && !node.path.empty() && node.connection == connection_)
        exchange({.ask = Ask::Close, .number = node.handle}, {}, reply);
    node = {};
}

std::string Link::root()
{
    const Guard guard(lock_);
    return connect() ? root_ : std::string();
}

std::string Link::root_of_live_box()
{
    Guard guard(lock_);
    if (socket_ >= 0) still_there();
    return connect_patiently(guard) ? root_ : std::string();
}

} // namespace emu
