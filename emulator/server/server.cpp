#include "emulator/server/server.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace emu {

namespace {

/** A recording that the box keeps the books of grows this often. */
constexpr int LOOK_INTERVAL_MS = 200;

/** A client that leaves so much unread is not listening. */
constexpr size_t UNSENT_LIMIT = 4 * PAYLOAD_LIMIT;

std::runtime_error failure(const std::string& what)
{
    return std::runtime_error(what + ": " + std::strerror(errno));
}

} // namespace

Server::Server(Box& box, std::string socket_path) : box_(box), socket_path_(std::move(socket_path))
{
    listen_at(socket_path_);
}

Server::~Server()
{
    for (Client& client : clients_) ::close(client.socket);
    ::close(listener_);
    ::unlink(socket_path_.c_str());
}

void Server::listen_at(const std::string& path)
{
    if (const int other = connect_to_box(path); other >= 0) {
        ::close(other);
        throw std::runtime_error("another box answers at " + path);
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long for a socket: " + path);
    std::memcpy(address.sun_path, path.data(), path.size());
    struct stat there {};
    if (::lstat(path.c_str(), &there) == 0) {
        if (!S_ISSOCK(there.st_mode)) throw std::runtime_error("there is something else than a socket: " + path);
        ::unlink(path.c_str()); // left by a box that did not end well
    }
    listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener_ < 0) throw failure("socket");
    if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, 16) != 0) {
        const int error = errno;
        ::close(listener_);
        throw std::runtime_error(path + ": " + std::strerror(error));
    }
}

void Server::run(int stop_fd)
{
    std::vector<pollfd> waits;
    while (!box_.switched_off()) {
        waits = {{stop_fd, POLLIN, 0}, {terminal_, POLLIN, 0}, {listener_, POLLIN, 0}};
        for (const Client& client : clients_)
            waits.push_back({client.socket, static_cast<short>(client.out.empty() ? POLLIN : POLLIN | POLLOUT), 0});
        if (::poll(waits.data(), waits.size(), patience()) < 0 && errno != EINTR) throw failure("poll");
        follow_clock();
        if (waits[0].revents != 0) break;
        auto wait = waits.begin() + 3;
        for (Client& client : clients_) {
            if ((wait->revents & POLLOUT) != 0) write_to(client);
            if ((wait->revents & (POLLIN | POLLHUP | POLLERR)) != 0) read_from(client);
            ++wait;
        }
        if (waits[1].revents != 0) read_terminal();
        if (waits[2].revents != 0) accept_client();
        std::erase_if(clients_, [](const Client& client) { return client.gone; });
    }
}

void Server::follow_clock()
{
    const auto passed = std::chrono::steady_clock::now() - power_on_;
    box_.time().advance_to(static_cast<Micros>(std::chrono::duration_cast<std::chrono::microseconds>(passed).count()));
    box_.encoder().catch_up();
}

/** How long poll() may wait, in milliseconds. */
int Server::patience() const
{
    const Micros next = box_.time().next(), now = box_.time().now();
    if (next == NEVER) return LOOK_INTERVAL_MS;
    return static_cast<int>(std::clamp<Micros>((next - std::min(next, now) + 999) / 1000, 1, LOOK_INTERVAL_MS));
}

void Server::accept_client()
{
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket >= 0) clients_.push_back({.socket = socket, .in = {}, .out = {}, .handles = {}});
}

void Server::forget(Client& client)
{
    if (client.gone) return;
    for (int handle : client.handles) box_.close(handle);
    ::close(client.socket);
    client.gone = true;
}

void Server::read_from(Client& client)
{
    uint8_t bytes[65536];
    const ssize_t got = client.gone ? 0 : ::recv(client.socket, bytes, sizeof bytes, 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) return forget(client);
    client.in.insert(client.in.end(), bytes, bytes + got);
    Message message;
    size_t used = 0;
    while (!client.gone && client.in.size() - used >= sizeof message.header) {
        std::memcpy(&message.header, client.in.data() + used, sizeof message.header);
        if (!plausible(message.header)) return forget(client);
        if (client.in.size() - used < sizeof message.header + message.header.size) break;
        const auto payload = client.in.begin() + static_cast<ptrdiff_t>(used + sizeof message.header);
        message.payload.assign(payload, payload + message.header.size);
        used += sizeof message.header + message.header.size;
        answer(client, message);
    }
    client.in.erase(client.in.begin(), client.in.begin() + static_cast<ptrdiff_t>(used));
    if (!client.gone) write_to(client);
}

void Server::write_to(Client& client)
{
    if (client.gone || client.out.empty()) return;
    const ssize_t sent = ::send(client.socket, client.out.data(), client.out.size(), MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (sent < 0) return forget(client);
    client.out.erase(client.out.begin(), client.out.begin() + sent);
}

void Server::answer(Client& client, const Message& message)
{
    MessageHeader header = message.header;
    std::vector<uint8_t> payload;
    const auto say = [&payload](std::string_view text) { payload.assign(text.begin(), text.end()); };
    switch (message.header.ask) {
    case Ask::Root:
        header.number = 0;
        say(box_.root().path());
        break;
    case Ask::Open: header.number = open_node(client, message); break;
    case Ask::Close: header.number = close_node(client, message.header.number); break;
    case Ask::Request:
    case Ask::RequestValue:
        try {
            header.number = request(client, message, payload);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "boxemu: a request failed: %s\n", error.what());
            header.number = -EIO;
        }
        break;
    case Ask::Command: {
        const Reply reply = box_.command(message.text());
        header.number = reply.ok ? 0 : -EINVAL;
        say(reply.text);
        break;
    }
    }
    if (client.gone) return;
    payload.resize(std::min(payload.size(), PAYLOAD_LIMIT));
    header.size = static_cast<uint32_t>(payload.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(&header);
    client.out.insert(client.out.end(), bytes, bytes + sizeof header);
    client.out.insert(client.out.end(), payload.begin(), payload.end());
    if (client.out.size() > UNSENT_LIMIT) forget(client);
}

int32_t Server::open_node(Client& client, const Message& message)
{
    const int handle = box_.open(message.text());
    if (handle > 0) client.handles.push_back(handle);
    return handle;
}

int32_t Server::close_node(Client& client, int handle)
{
    if (std::erase(client.handles, handle) == 0) return -EBADF;
    box_.close(handle);
    return 0;
}

/** A request whose payload has not the size that its code states ends the connection: what follows is not to be
 * trusted. */
int32_t Server::request(Client& client, const Message& message, std::vector<uint8_t>& reply)
{
    const int handle = message.header.number;
    const uint32_t code = message.header.code;
    if (std::find(client.handles.begin(), client.handles.end(), handle) == client.handles.end()) return -EBADF;
    const bool by_value = message.header.ask == Ask::RequestValue;
    if (!by_value && is_dma_request(code)) return dma_request(message, reply);
    int32_t value = 0;
    if (message.payload.size() != (by_value ? sizeof value : record_size(code))) {
        forget(client);
        return -EINVAL;
    }
    if (by_value) {
        std::memcpy(&value, message.payload.data(), sizeof value);
        return box_.request_value(handle, code, value);
    }
    reply = message.payload;
    const int result = box_.request(handle, code, reply.data());
    if (!driver_writes(code)) reply.clear();
    return result;
}

int32_t Server::dma_request(const Message& message, std::vector<uint8_t>& reply)
{
    struct {
        uint32_t address, size;
        uint8_t* buffer;
    } record{};
    constexpr size_t words = 8;
    const bool reads = driver_writes(message.header.code);
    if (message.payload.size() < words) return -EINVAL;
    std::memcpy(&record, message.payload.data(), words);
    if (record.size > DMA_LIMIT || (!reads && message.payload.size() != words + record.size)) return -EINVAL;
    std::vector<uint8_t> buffer(record.size);
    if (!reads) std::copy(message.payload.begin() + words, message.payload.end(), buffer.begin());
    record.buffer = buffer.data();
    const int result = box_.request(message.header.number, message.header.code, &record);
    if (reads && result >= 0) reply = std::move(buffer);
    return result;
}

void Server::read_terminal()
{
    char bytes[4096];
    const ssize_t got = ::read(terminal_, bytes, sizeof bytes);
    if (got <= 0) {
        terminal_ = -1;
        return;
    }
    typed_.append(bytes, static_cast<size_t>(got));
    for (size_t end; (end = typed_.find('\n')) != std::string::npos; typed_.erase(0, end + 1)) {
        const Reply reply = box_.command(std::string_view(typed_).substr(0, end));
        if (reply.text.empty()) continue;
        std::printf("%s%s", reply.text.c_str(), reply.text.ends_with('\n') ? "" : "\n");
        std::fflush(stdout);
    }
}

} // namespace emu
