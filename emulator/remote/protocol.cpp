#include "emulator/remote/protocol.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace emu {

bool plausible(const MessageHeader& header)
{
    return header.magic == MessageHeader::MAGIC && header.size <= PAYLOAD_LIMIT && header.ask >= Ask::Root &&
           header.ask <= Ask::Folder;
}

std::chrono::milliseconds default_patience()
{
    constexpr double usual = 10, longest = 86'400; // seconds
    const char* chosen = std::getenv("CAPD_BOX_TIMEOUT");
    const double seconds = chosen != nullptr ? std::strtod(chosen, nullptr) : usual;
    return std::chrono::milliseconds(static_cast<long>(1000 * (seconds > 0 ? std::min(seconds, longest) : usual)));
}

int connect_to_box(const std::string& socket_path, std::chrono::milliseconds patience)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socket_path.size() >= sizeof address.sun_path) return -ENAMETOOLONG;
    std::memcpy(address.sun_path, socket_path.data(), socket_path.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return -errno;
    // The sending limit holds for the connection, too: a box that hangs accepts nobody.
    const auto ms = std::max<int64_t>(patience.count(), 1);
    const timeval limit = {.tv_sec = ms / 1000, .tv_usec = ms % 1000 * 1000};
    const bool limited = ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0 &&
                         ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0;
    if (limited && ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
    const int error = errno == EAGAIN ? ETIMEDOUT : errno;
    ::close(socket);
    return -error;
}

namespace {

bool send_bytes(int socket, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) {
            errno = errno == EAGAIN ? ETIMEDOUT : ECONNRESET;
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(sent));
    }
    return true;
}

bool receive_bytes(int socket, std::span<uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t got = ::recv(socket, bytes.data(), bytes.size(), 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            errno = got < 0 && errno == EAGAIN ? ETIMEDOUT : ECONNRESET;
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(got));
    }
    return true;
}

} // namespace

bool send_message(int socket, MessageHeader header, std::span<const uint8_t> payload)
{
    header.size = static_cast<uint32_t>(payload.size());
    uint8_t bytes[sizeof header];
    std::memcpy(bytes, &header, sizeof header);
    return send_bytes(socket, bytes) && send_bytes(socket, payload);
}

bool receive_message(int socket, Message& message)
{
    uint8_t bytes[sizeof message.header];
    if (!receive_bytes(socket, bytes)) return false;
    std::memcpy(&message.header, bytes, sizeof bytes);
    if (!plausible(message.header)) {
        errno = EPROTO;
        return false;
    }
    message.payload.resize(message.header.size);
    return receive_bytes(socket, message.payload);
}

std::string default_socket()
{
    const char* chosen = std::getenv("CAPD_BOX");
    const std::string root = DEFAULT_ROOT;
    return chosen != nullptr && *chosen != '\0' ? chosen : root + SOCKET_IN_ROOT;
}

} // namespace emu
