#include "emulator/remote/server/server.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace emu {

namespace {

/** A recording that the box keeps the books of grows this often; a terminal that comes back is noticed as soon. */
constexpr int LOOK_INTERVAL_MS = 200;

/** Name of the program that the box is made for; a second one pulls at the same registers. */
constexpr std::string_view DAEMON = "capd-emu";

std::runtime_error failure(const std::string& what)
{
    return std::runtime_error(what + ": " + std::strerror(errno));
}

} // namespace

Server::Server(Box& box, std::string socket_path) : box_(box), socket_path_(std::move(socket_path))
{
    listen_at(socket_path_);
    box_.commands().add_show("clients", [this] { return describe_clients(); });
    box_.commands().add_facts("clients", [this] { return client_facts(); });
}

Server::~Server()
{
    ::close(listener_);
    ::unlink(socket_path_.c_str());
}

void Server::listen_at(const std::string& path)
{
    const int other = connect_to_box(path);
    if (other >= 0) {
        ::close(other);
        throw std::runtime_error("another box answers at " + path);
    }
    if (other == -ENAMETOOLONG) throw std::runtime_error("too long for a socket: " + path);
    if (other != -ENOENT && other != -ECONNREFUSED) throw std::runtime_error(path + ": " + std::strerror(-other));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
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

void Server::read_commands(std::unique_ptr<LineInput> input)
{
    console_ = std::make_unique<Console>(box_, std::move(input));
}

void Server::print(std::string_view text)
{
    if (console_)
        console_->print(text);
    else
        PlainInput(-1).print(text);
}

void Server::run(int stop_fd)
{
    std::vector<pollfd> waits;
    while (!box_.switched_off()) {
        const int console = console_ ? console_->fd() : -1;
        waits = {{stop_fd, POLLIN, 0}, {console, POLLIN, 0}, {accepts() ? listener_ : -1, POLLIN, 0}};
        for (const Session& client : clients_) {
            const short wanted = client.has_answers_to_send() ? POLLIN | POLLOUT : POLLIN;
            waits.push_back({client.socket(), wanted, 0});
        }
        if (::poll(waits.data(), waits.size(), patience()) < 0 && errno != EINTR) throw failure("poll");
        follow_clock();
        if (waits[0].revents != 0) break;
        auto wait = waits.begin() + 3;
        for (Session& client : clients_) {
            if ((wait->revents & POLLOUT) != 0) client.write();
            if ((wait->revents & (POLLIN | POLLHUP | POLLERR)) != 0) client.read();
            ++wait;
        }
        if (waits[1].revents != 0) console_->read();
        if (waits[2].revents != 0) accept_client();
        forget_gone();
        look_for_second_daemon();
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

bool Server::accepts() const
{
    return std::chrono::steady_clock::now() >= accept_again_;
}

/** Who cannot be given a descriptor waits in the queue until another client leaves. */
void Server::accept_client()
{
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket >= 0) {
        clients_.emplace_back(box_, socket);
        full_ = false;
        return;
    }
    if (errno != EMFILE && errno != ENFILE && errno != ENOBUFS && errno != ENOMEM) return;
    const std::string why = std::strerror(errno);
    accept_again_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(LOOK_INTERVAL_MS);
    if (!full_) print("no more than " + std::to_string(clients_.size()) + " clients: " + why);
    full_ = true;
}

void Server::forget_gone()
{
    clients_.remove_if([](const Session& client) { return client.gone(); });
}

size_t Server::daemons() const
{
    const auto is_daemon = [](const Session& client) { return client.program() == DAEMON; };
    return static_cast<size_t>(std::count_if(clients_.begin(), clients_.end(), is_daemon));
}

/** Say it once for each time that it comes to this. */
void Server::look_for_second_daemon()
{
    const bool crowded = daemons() > 1;
    if (crowded && !crowded_) print("clients:\n" + describe_clients());
    crowded_ = crowded;
}

std::string Server::describe_clients() const
{
    std::string text;
    for (const Session& client : clients_)
        if (!client.program().empty())
            text += client.program() + ", process " + std::to_string(client.process()) + "\n";
    if (text.empty()) return "nobody\n";
    return text + (daemons() > 1 ? "more than one daemon works on this box; stop all but one\n" : "");
}

Json Server::client_facts() const
{
    Json list = Json::array();
    for (const Session& client : clients_)
        if (!client.program().empty()) list.push_back({{"program", client.program()}, {"process", client.process()}});
    return {{"programs", list}, {"daemons", daemons()}};
}

} // namespace emu
