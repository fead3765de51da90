#include "emulator/protocol.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace emu {

bool plausible(const MessageHeader& header)
{
    return header.magic == MessageHeader::MAGIC && header.size <= PAYLOAD_LIMIT && header.ask >= Ask::Root &&
           header.ask <= Ask::Command;
}

int connect_to_box(const std::string& socket_path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socket_path.size() >= sizeof address.sun_path) return -ENAMETOOLONG;
    std::memcpy(address.sun_path, socket_path.data(), socket_path.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return -errno;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
    const int error = errno;
    ::close(socket);
    return -error;
}

static bool send_bytes(int socket, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        bytes = bytes.subspan(static_cast<size_t>(sent));
    }
    return true;
}

static bool receive_bytes(int socket, std::span<uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t got = ::recv(socket, bytes.data(), bytes.size(), 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes = bytes.subspan(static_cast<size_t>(got));
    }
    return true;
}

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
    if (!plausible(message.header)) return false;
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
